#include "Dravin/engine/geometry_choice.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "host/base/text.h"
#include "host/math/noise3.h"

namespace {

constexpr float kSameColor = 0.0001f;  // squared distance
constexpr float kFarthest = 2147483647.0f;
constexpr float kMostOctaves = 5;

float DistanceSquared(Color a, Color b) {
    Color d = a - b;
    return d.r * d.r + d.g * d.g + d.b * d.b;
}

// Negative and not-a-number probabilities count as none.
float Weight(float probability) { return probability > 0 ? probability : 0; }

// Leading decimal digits with a sign, like the C library's conversion; 0 without any.
int32_t LeadingInteger(std::string_view text) {
    size_t i = 0;
    bool negative = i < text.size() && text[i] == '-';
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
    int64_t value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
        value = std::min<int64_t>(value * 10 + (text[i] - '0'), INT32_MAX);
    return int32_t(negative ? -value : value);
}

double InverseNormal(double u) {
    constexpr double a[] = {-3.969683028665376e+01, 2.209460984245205e+02,  -2.759285104469687e+02,
                            1.383577518672690e+02,  -3.066479806614716e+01, 2.506628277459239e+00};
    constexpr double b[] = {-5.447609879822406e+01, 1.615858368580409e+02, -1.556989798598866e+02,
                            6.680131188771972e+01, -1.328068155288572e+01};
    constexpr double c[] = {-7.784894002430293e-03, -3.223964580411365e-01, -2.400758277161838e+00,
                            -2.549732539343734e+00, 4.374664141464968e+00,  2.938163982698783e+00};
    constexpr double d[] = {7.784695709041462e-03, 3.224671290700398e-01, 2.445134137142996e+00,
                            3.754408661907416e+00};
    constexpr double kLow = 0.02425, kHigh = 0.97575;
    auto tail = [&](double q) {
        return (((((c[0] * q + c[1]) * q + c[2]) * q + c[3]) * q + c[4]) * q + c[5]) /
               ((((d[0] * q + d[1]) * q + d[2]) * q + d[3]) * q + 1);
    };
    if (u < kLow) return tail(std::sqrt(-2 * std::log(u)));
    if (u > kHigh) return -tail(std::sqrt(-2 * std::log(1 - u)));
    double q = u - 0.5, r = q * q;
    return (((((a[0] * r + a[1]) * r + a[2]) * r + a[3]) * r + a[4]) * r + a[5]) * q /
           (((((b[0] * r + b[1]) * r + b[2]) * r + b[3]) * r + b[4]) * r + 1);
}

}  // namespace

std::vector<int32_t> ParseSpecIds(std::string_view text) {
    std::vector<int32_t> ids;
    for (const std::string& piece : Split(text, ' '))
        if (int32_t id = LeadingInteger(piece); id >= 1) ids.push_back(id);
    return ids;
}

TGeometryChoice::TGeometryChoice(const TGeometrySettings& settings,
                                 const std::vector<TSpecimen>& specimens)
    : m_settings(settings) {
    // Modes that do not exist count as the first.
    bool known = m_settings.mode == kByColorMap || m_settings.mode == kByClusters;
    if (!known) m_settings.mode = kByProbability;
    for (const TSpecimen& s : specimens) {
        m_probabilities.push_back(Weight(s.probability));
        m_colors.push_back(s.colorId);
        m_specIds.push_back(s.specId);
    }
    m_groupOfRow.assign(specimens.size(), -1);
    m_unrestricted.allowed.assign(specimens.size(), 1);
    if (specimens.empty()) return;
    m_table.emplace(m_probabilities);
    if (m_settings.mode != kByProbability) MakeGroups(specimens);
    if (m_settings.mode == kByClusters) MakeClusters();
}

void TGeometryChoice::MakeGroups(const std::vector<TSpecimen>& specimens) {
    size_t n = specimens.size();
    for (size_t i = 0; i < n; ++i) {
        if (m_groupOfRow[i] >= 0) continue;
        std::vector<float> weights(n, 0.0f);
        for (size_t j = 0; j < n; ++j) {
            if (j != i && !(DistanceSquared(m_colors[i], m_colors[j]) <= kSameColor)) continue;
            weights[j] = m_probabilities[j];
            m_groupOfRow[j] = int32_t(m_groupTables.size());
        }
        m_groupTables.emplace_back(weights);
    }
}

void TGeometryChoice::MakeClusters() {
    size_t n = m_probabilities.size();
    for (size_t i = 0; i < n; ++i) {
        float weight = m_probabilities[i] * 0.01f;
        auto same = std::find_if(m_clusters.begin(), m_clusters.end(),
                                 [&](const Cluster& c) { return c.group == m_groupOfRow[i]; });
        if (same == m_clusters.end())
            same = m_clusters.insert(m_clusters.end(), {int32_t(i), 0, 0, m_groupOfRow[i]});
        same->row = int32_t(i);
        same->weight += weight;
    }
    float sum = 0;
    for (const Cluster& c : m_clusters) sum += c.weight;
    for (Cluster& c : m_clusters) c.threshold = c.weight = sum > 0 ? c.weight / sum : 0;
    std::stable_sort(m_clusters.begin(), m_clusters.end(),
                     [](const Cluster& a, const Cluster& b) { return a.weight > b.weight; });

    // Each threshold is the cluster's share among itself and all after it, as a noise level.
    float after = m_clusters.back().threshold;
    for (size_t r = m_clusters.size() - 1; r-- > 0;) {
        after += m_clusters[r].threshold;
        float share = after <= 0 ? 1.0f : m_clusters[r].threshold / after;
        m_clusters[r].threshold = NoiseLevelOfProbability(share);
    }
    m_clusters.back().threshold = 1.0f;
}

std::optional<TAreaGeometry> TGeometryChoice::Restrict(std::string_view specIds) const {
    std::vector<int32_t> ids = ParseSpecIds(specIds);
    if (ids.empty() || m_specIds.empty()) return std::nullopt;
    TAreaGeometry area;
    std::vector<float> weights;
    for (size_t i = 0; i < m_specIds.size(); ++i) {
        bool allowed = std::find(ids.begin(), ids.end(), m_specIds[i]) != ids.end();
        area.allowed.push_back(allowed);
        weights.push_back(allowed ? m_probabilities[i] : 0.0f);
    }
    area.table.emplace(weights);
    return area;
}

int32_t TGeometryChoice::NearestRow(const TAreaGeometry& area, const Color& color) const {
    float best = kFarthest;
    int32_t row = 0;
    for (size_t i = 0; i < m_colors.size(); ++i) {
        if (!area.allowed[i]) continue;
        float distance = DistanceSquared(m_colors[i], color);
        if (distance < best) best = distance, row = int32_t(i);
    }
    return row;
}

int32_t TGeometryChoice::DrawInGroup(const TAreaGeometry& area, int32_t row, float g1) const {
    int32_t group = m_groupOfRow[size_t(row)];
    if (group < 0 || area.table) return row;
    return int32_t(m_groupTables[size_t(group)].Sample(g1));
}

size_t TGeometryChoice::ChooseCluster(const TAreaGeometry& area, const Point3& position,
                                      float jitter) const {
    auto allowed = [&](size_t r) { return area.allowed[size_t(m_clusters[r].row)] != 0; };
    size_t r = 0, last = m_clusters.size() - 1;
    for (; r < last; ++r) {
        if (!allowed(r)) continue;
        Point3 q{position.x / m_settings.clusterSize, position.y / m_settings.clusterSize,
                 float(m_settings.seed + uint32_t(r))};
        if (FractalNoise(q, m_settings.clusterOctaves) + jitter < m_clusters[r].threshold) break;
    }
    while (r > 0 && !allowed(r)) --r;
    return r;
}

int32_t TGeometryChoice::Assign(const TAreaGeometry& area, const Point3& g, const Color& color,
                                const Point3& position, std::span<int32_t> counts) const {
    int32_t byProbability = int32_t((area.table ? *area.table : *m_table).Sample(g.x));
    if (m_settings.mode == kByProbability || g.y < m_settings.noise) return byProbability;
    int32_t row = 0;
    if (m_settings.mode == kByColorMap) {
        row = NearestRow(area, color);
    } else {
        float jitter = (g.z - 0.5f) * m_settings.clusterEdge * 0.5f;
        size_t cluster = ChooseCluster(area, position, jitter);
        if (!counts.empty()) ++counts[cluster];
        row = m_clusters[cluster].row;
    }
    return DrawInGroup(area, row, g.x);
}

float NoiseLevelOfProbability(float u) {
    double x = u <= 0 ? -3.0 : u >= 1 ? 3.0 : std::clamp(InverseNormal(u), -3.0, 3.0);
    return float(x * (1.0 / 6.0) + 0.5);
}

float FractalNoise(const Point3& q, float octaves) {
    float remaining = std::clamp(octaves, 1.0f, kMostOctaves), frequency = 1, sum = 0;
    for (; remaining >= 1; remaining -= 1, frequency *= 2) sum += Noise3(q * frequency) / frequency;
    if (remaining > 0) sum += Noise3(q * frequency) * remaining / frequency;
    return std::clamp(sum + 0.5f, 0.0f, 1.0f);
}

std::vector<float> NormaliseProbabilities(std::vector<float> probabilities) {
    float sum = std::accumulate(probabilities.begin(), probabilities.end(), 0.0f);
    if (sum > 0.0001f)
        for (float& p : probabilities) p = p * 100 / sum;
    return probabilities;
}

std::vector<float> RandomiseProbabilities(size_t numRows, TNuRandom& generator) {
    std::vector<float> probabilities(numRows);
    for (float& p : probabilities) p = float((uint64_t{generator.Step()} * 100 >> 32) + 1);
    return probabilities;
}

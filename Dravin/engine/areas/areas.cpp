#include "Dravin/engine/areas/areas.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// A line of a row in the distribution frame.
struct FlatLine {
    std::vector<Point2> points;
    bool closed = false;
    float top = -std::numeric_limits<float>::max();
    double measure = 0;
    Box2 box;
};

FlatLine Flatten(const PolyLine& line, const Matrix3& toFrame) {
    FlatLine flat;
    flat.closed = line.closed;
    for (const Point3& point : line.points) {
        Point3 p = point * toFrame;
        if (!IsFinite(p) || !IsFlatPlace({p.x, p.y})) continue;
        flat.points.push_back({p.x, p.y});
        flat.top = std::max(flat.top, p.z);
        flat.box += Point2{p.x, p.y};
    }
    return flat;
}

bool BoxContains(const Box2& outer, const Box2& inner) {
    return outer.min.x <= inner.min.x && outer.min.y <= inner.min.y && outer.max.x >= inner.max.x &&
           outer.max.y >= inner.max.y;
}

// Most of the points decide, so that curves that touch still nest.
bool LiesIn(const FlatLine& inner, const TPolyArea& outer) {
    size_t inside = 0;
    for (Point2 p : inner.points) inside += outer.Inside(p);
    return inside * 2 > inner.points.size();
}

std::vector<int> ParentsOf(const std::vector<FlatLine>& lines) {
    std::vector<TPolyArea> areas;
    for (const FlatLine& line : lines)
        areas.push_back(TPolyArea::Polygon(line.closed ? line.points : std::vector<Point2>{}));
    std::vector<int> parents(lines.size(), -1);
    for (size_t i = 0; i < lines.size(); ++i) {
        if (areas[i].IsEmpty()) continue;
        for (size_t j = 0; j < lines.size(); ++j) {
            if (j == i || !(areas[j].Measure() > areas[i].Measure())) continue;
            if (!BoxContains(lines[j].box, lines[i].box) || !LiesIn(lines[i], areas[j])) continue;
            bool nearer =
                parents[i] < 0 || areas[j].Measure() < areas[size_t(parents[i])].Measure();
            if (nearer) parents[i] = int(j);
        }
    }
    return parents;
}

TPolyArea MakeArea(const FlatLine& line, const TAreaRow& row) {
    size_t fewest = row.settings.exclude ? 3 : 2;
    if (line.closed && !row.forceOpen && line.points.size() >= fewest)
        return TPolyArea::Polygon(line.points);
    if (!row.settings.HasFalloffBand()) return {};
    return TPolyArea::Band(line.points, line.closed, row.settings.bandWidth);
}

void AddArea(TAreaGroup& group, TPolyArea area, float top) {
    if (area.IsEmpty()) return;
    Box2 box = area.Bounds();
    group.bounds += Point3{box.min.x, box.min.y, top};
    group.bounds += Point3{box.max.x, box.max.y, top};
    group.areas.push_back(std::move(area));
}

void AddFootprint(const TAreaRow& row, const Matrix3& toFrame, TAreas& areas) {
    if (row.footprint->IsEmpty()) return;
    TAreaGroup group;
    group.settings = row.settings;
    group.footprint = row.footprint;
    group.toObject = Inverse(toFrame);
    group.bounds = toFrame.BoxTransform(row.footprint->Bounds());
    areas.numExcludeAreas += row.settings.exclude;
    (row.settings.exclude ? areas.exclude : areas.include).push_back(std::move(group));
}

void AddRow(const TAreaRow& row, const Matrix3& toFrame, TAreas& areas) {
    if (row.footprint) return AddFootprint(row, toFrame, areas);
    std::vector<FlatLine> lines;
    for (const PolyLine& line : row.shape.lines) lines.push_back(Flatten(line, toFrame));
    std::vector<int> parents(lines.size(), -1);
    if (!row.oneGroup) parents = NestingParents(row.shape);

    std::vector<TAreaGroup> groups(row.oneGroup ? 1 : lines.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        size_t outermost = i;
        while (parents[outermost] >= 0) outermost = size_t(parents[outermost]);
        AddArea(groups[row.oneGroup ? 0 : outermost], MakeArea(lines[i], row), lines[i].top);
    }
    for (TAreaGroup& group : groups) {
        if (group.areas.empty()) continue;
        group.settings = row.settings;
        if (row.settings.exclude) areas.numExcludeAreas += group.areas.size();
        (row.settings.exclude ? areas.exclude : areas.include).push_back(std::move(group));
    }
}

float CurveFactor(const FalloffCurve& curve, float x, bool invert) {
    return EvalFalloffCurve(&curve, x, invert) * 0.01f;
}

bool Rejects(const FalloffCurve& curve, float percent, float range, float distance, bool invert,
             float r) {
    float reach = percent * range * 0.01f;
    return reach >= kSmallestFalloff && CurveFactor(curve, 1 - distance / reach, invert) <= r;
}

constexpr float kEverywhere = std::numeric_limits<float>::max();

}  // namespace

// --- groups
// ---------------------------------------------------------------------------------------

double TAreaGroup::Measure() const {
    double measure = 0;
    for (const TPolyArea& area : areas) measure += area.Measure();
    return measure;
}

bool TAreaGroup::Inside(Point2 p) const {
    if (footprint) return footprint->Inside(InObject(p));
    bool inside = false;
    for (const TPolyArea& area : areas) inside ^= area.Inside(p);
    return inside;
}

TPolyArea::TBorder TAreaGroup::NearestBorder(Point2 p, float limit, TSegmentCursor* cursors) const {
    if (footprint) {
        Point2 q = InObject(p), border = footprint->NearestBorder(q);
        // Back by the same turn: the plane of the distribution is only rotated about z.
        Matrix3 toFrame = Inverse(toObject);
        Point3 place = Point3{border.x, border.y, 0} * toFrame;
        return {footprint->BorderDistance(q), {place.x, place.y}};
    }
    TPolyArea::TBorder nearest{limit, {}};
    for (size_t i = 0; i < areas.size(); ++i) {
        if (!areas[i].BorderMayBeWithin(p, nearest.distance)) continue;
        TPolyArea::TBorder border = areas[i].NearestBorder(p, &cursors[i]);
        if (border.distance < nearest.distance) nearest = border;
    }
    return nearest;
}

std::vector<int> NestingParents(const PolyShape& shape) {
    std::vector<FlatLine> lines;
    for (const PolyLine& line : shape.lines) lines.push_back(Flatten(line, {}));
    return ParentsOf(lines);
}

TAreas BuildAreas(std::span<const TAreaRow> rows, const Matrix3& toFrame) {
    TAreas areas;
    for (const TAreaRow& row : rows) AddRow(row, toFrame, areas);
    return areas;
}

// --- tests
// ----------------------------------------------------------------------------------------

TAreaTest::TAreaTest(const TAreas& areas, const TAreaGroup* group, const TAreaSettings& ground)
    : m_group(group), m_settings(group ? &group->settings : &ground) {
    for (const TAreaGroup& exclude : areas.exclude)
        if (exclude.settings.order > m_settings->order) m_excludes.push_back(&exclude);
    if (m_group) m_numAreas = m_group->areas.size();
    for (const TAreaGroup* exclude : m_excludes) m_numAreas += exclude->areas.size();
}

bool TAreaTest::Excludes(Point2 p) const {
    return std::any_of(m_excludes.begin(), m_excludes.end(),
                       [&](const TAreaGroup* group) { return group->Inside(p); });
}

bool TAreaTest::HasFootprints() const {
    auto has = [](const TAreaGroup* group) { return group && group->footprint; };
    return has(m_group) || std::any_of(m_excludes.begin(), m_excludes.end(), has);
}

TAreaDistances TAreaTest::Distances(Point2 p, std::vector<TSegmentCursor>& cursors) const {
    cursors.resize(m_numAreas);
    TSegmentCursor* next = cursors.data();
    TAreaDistances d;
    if (m_group) {
        TPolyArea::TBorder border = m_group->NearestBorder(p, kNoDistance, next);
        d.include = border.distance;
        d.includeNearest = border.nearest;
        next += m_group->areas.size();
    }
    for (const TAreaGroup* group : m_excludes) {
        TPolyArea::TBorder border = group->NearestBorder(p, d.exclude, next);
        next += group->areas.size();
        if (!(border.distance < d.exclude)) continue;
        d.exclude = border.distance;
        d.excludeNearest = border.nearest;
        d.excludeArea = &group->settings;
    }
    return d;
}

bool TAreaTest::Row::Crossings::IsInside(float at) {
    while (passed < x.size() && x[passed] <= at) ++passed;
    return (x.size() - passed) % 2 == 1;
}

void TAreaTest::Row::Start(float y) {
    m_include = {std::move(m_include.x), 0};
    m_include.x.clear();
    if (!m_test.m_group || m_test.m_group->footprint) {
        m_include.x.push_back(kEverywhere);
    } else {
        for (const TPolyArea& area : m_test.m_group->areas) area.AppendRowCrossings(y, m_include.x);
        if (m_test.m_group->areas.size() > 1) std::sort(m_include.x.begin(), m_include.x.end());
    }
    m_exclude = {std::move(m_exclude.x), 0};
    m_exclude.x.clear();
    MergeExcludes(y);
    m_nextChange = -kEverywhere;
}

// What any of the exclude groups covers, as the ends of disjoint intervals.
void TAreaTest::Row::MergeExcludes(float y) {
    m_intervals.clear();
    for (const TAreaGroup* group : m_test.m_excludes) {
        m_group.clear();
        for (const TPolyArea& area : group->areas) area.AppendRowCrossings(y, m_group);
        std::sort(m_group.begin(), m_group.end());
        for (size_t i = 0; i + 1 < m_group.size(); i += 2)
            m_intervals.emplace_back(m_group[i], m_group[i + 1]);
    }
    std::sort(m_intervals.begin(), m_intervals.end());
    std::vector<float>& ends = m_exclude.x;
    for (auto [enters, leaves] : m_intervals) {
        if (!ends.empty() && enters <= ends.back())
            ends.back() = std::max(ends.back(), leaves);
        else
            ends.insert(ends.end(), {enters, leaves});
    }
}

float TAreaTest::Row::Crossings::Next() const {
    return passed < x.size() ? x[passed] : kEverywhere;
}

void TAreaTest::Row::Advance(float x) {
    bool included = m_include.IsInside(x), excluded = m_exclude.IsInside(x);
    m_passes = included && !excluded;
    m_nextChange = std::min(m_include.Next(), m_exclude.Next());
}

float TAreaTest::Row::NextInside() const {
    auto next = [](const Crossings& c, bool wantInside) {
        bool inside = (c.x.size() - c.passed) % 2 == 1;
        return inside == wantInside ? -kEverywhere : c.Next();
    };
    return std::max(next(m_include, true), next(m_exclude, false));
}

// --- falloffs
// -------------------------------------------------------------------------------------

bool IncludeFalloffRejects(const TAreaFalloffs& f, const TAreaSettings& area,
                           const TAreaDistances& d, float r) {
    if (!f.densityCurve || d.include >= kNoDistance || !area.HasFalloffBand()) return false;
    bool nearer = d.include <= d.exclude;
    if (!nearer && (f.effectsActive || f.densityExclude > 0)) return false;
    return Rejects(*f.densityCurve, area.densityFalloffPercent, f.densityInclude, d.include,
                   area.invertFalloff, r);
}

bool ExcludeFalloffRejects(const TAreaFalloffs& f, const TAreaDistances& d, float r) {
    if (!f.densityCurve || !d.excludeArea) return false;
    return Rejects(*f.densityCurve, d.excludeArea->densityFalloffPercent, f.densityExclude,
                   d.exclude, d.excludeArea->invertFalloff, r);
}

float AreaScaleFalloff(const TAreaFalloffs& f, const TAreaSettings& area, const TAreaDistances& d) {
    bool includeSide = f.scaleExclude <= kSmallestFalloff || !d.excludeArea ||
                       (d.include <= d.exclude && f.scaleInclude >= kSmallestFalloff);
    const TAreaSettings& by = includeSide ? area : *d.excludeArea;
    float range = by.scaleFalloffPercent * 0.01f * (includeSide ? f.scaleInclude : f.scaleExclude);
    float distance = includeSide ? d.include : d.exclude;
    float t = range > kSmallestFalloff ? distance / range : 1;
    return std::clamp(CurveFactor(*f.scaleCurve, 1 - t, by.invertFalloff), 0.0f, 1.0f);
}

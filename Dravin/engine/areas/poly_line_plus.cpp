#include "Dravin/engine/areas/poly_line_plus.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kSmallestMove = 0.0001f;
constexpr float kBeyond = 0.1f;  // how far past a limit a straight search looks

Point3 Flat(Point3 p) { return {p.x, p.y, 0}; }
float PlanarDistance(const Point3& a, const Point3& b) { return Length(Flat(a - b)); }
float Fraction(float u) { return u - std::floor(u); }

// Direction of a mitred corner and how far its vertex moves, from the directions to both
// neighbours.
struct Corner {
    Point3 direction;
    float move;
};

Corner MitreCorner(const Point3& toPrevious, const Point3& toNext, float s) {
    float cosine = DotProd(toPrevious, toNext);
    float half =
        cosine < -0.9999939f ? 1.5707964f : -std::acos(std::clamp(cosine, -1.0f, 1.0f)) / 2;
    float cut = s / std::tan(half), sign = s < 0 ? -1.0f : 1.0f;
    return {Normalize(toNext - toPrevious), sign * std::sqrt(cut * cut + s * s)};
}

}  // namespace

PolyLinePlus::PolyLinePlus(const PolyLine& line) : m_flags(line.closed ? uint32_t{kClosed} : 0) {
    m_points.resize(line.points.size());
    for (size_t i = 0; i < line.points.size(); ++i) m_points[i].p = line.points[i];
}

int PolyLinePlus::NumSegments() const {
    int n = NumPoints();
    return n < 2 ? 0 : IsClosed() ? n : n - 1;
}

Box3 PolyLinePlus::Bounds() const {
    Box3 box;
    for (const PolyPtPlus& point : m_points) box += point.p;
    return box;
}

uint32_t PolyLinePlus::PointWord(int i) const {
    return m_points.empty() ? 0 : m_points[size_t(std::clamp(i, 0, NumPoints() - 1))].word;
}

void PolyLinePlus::Cache() const {
    if (m_cached) return;
    m_cumulative.clear();
    m_fractions.clear();
    m_length = 0;
    int n = NumPoints();
    for (int s = 0; s < NumSegments(); ++s) {
        m_length += ::Length(PointAt((s + 1) % n) - PointAt(s));
        m_cumulative.push_back(m_length);
    }
    for (float c : m_cumulative) m_fractions.push_back(m_length > 0 ? c / m_length : 1.0f);
    m_cached = true;
}

float PolyLinePlus::Length() const {
    Cache();
    return m_length;
}

float PolyLinePlus::LengthBetween(int i, int j) const {
    int n = NumPoints();
    if (i == j || i < 0 || j < 0 || i >= n || j >= n) return 0;
    Cache();
    int low = std::min(i, j), high = std::max(i, j);
    return m_cumulative[size_t(high - 1)] - (low > 0 ? m_cumulative[size_t(low - 1)] : 0);
}

Point3 PolyLinePlus::Interpolate(int segment, float t) const {
    int n = NumPoints();
    if (n == 0) return {};
    int s = std::clamp(segment, 0, n - 1);
    const Point3 &a = PointAt(s), &b = PointAt((s + 1) % n);
    return a + (b - a) * t;
}

Point3 PolyLinePlus::Tangent(int s, float t, SegmentLimits limits) const {
    int n = NumPoints();
    if (n < 2) return {};
    if (limits.first >= 0 && s < limits.first) return Tangent(limits.first, 0.5f);
    if (limits.last >= 0 && s > limits.last) return Tangent(limits.last, 0.5f);
    auto along = [&](int from, int to) { return Normalize(PointAt(to) - PointAt(from)); };

    // The end of a segment is the start of the next one.
    if (t == 1) {
        ++s;
        t = 0;
        if (RepeatsFirst() && s + 1 >= n - 1) {
            if (limits.last >= 0) return along(n - 2, n - 1);
            s = 0;
        }
        if (limits.last >= 0 && s >= limits.first && s > 0) return along(s - 1, std::min(s, n - 1));
        if (IsClosed() && s >= n) s = 0;
    }
    if (t != 0) return along(s % n, (s + 1) % n);

    // At a vertex: the bisector of the directions in and out.
    int previous = s - 1;
    if (previous < 0) {
        if (IsClosed())
            previous = n - 1;
        else if (RepeatsFirst())
            previous = n - 2;
        else
            return along(s, (s + 1) % n);
    }
    if (s >= n - 1 && !Wraps()) return along(n - 2, n - 1);
    if (limits.first >= 0) previous = std::max(previous, limits.first);
    if (limits.last >= 0) s = std::min(s, limits.last);
    if (previous == s) return along(s, (s + 1) % n);
    const Point3& vertex = PointAt(s);
    Point3 out = Normalize(Interpolate(s, 0.01f) - vertex);
    Point3 in = Normalize(Interpolate(previous, 0.99f) - vertex);
    return Normalize(out - in);
}

PolyLinePlus::Place PolyLinePlus::PositionAt(float u, SegmentLimits limits) const {
    Cache();
    int n = NumPoints();
    if (n == 0) return {};
    if (n == 1) return {PointAt(0), 0, u};
    float low = 0, high = 1;
    int start = 0, end = n - 1;
    if (limits.first > 0 && limits.first < n - 1)
        low = m_fractions[size_t(limits.first - 1)], start = limits.first;
    if (limits.last >= 1 && limits.last < n)
        high = m_fractions[size_t(limits.last - 1)], end = limits.last;

    if (u < low) {
        if (limits.first >= 0 || !Wraps())
            return {PointAt(start) - Tangent(start, 0.5f) * ((low - u) * m_length), start, u};
        u = Fraction(u);
    }
    if (u > high) {
        if (limits.last >= 0 || !Wraps()) {
            int s = end - 1;
            return {PointAt(s + 1) + Tangent(s, 0.5f) * ((u - high) * m_length), s, u};
        }
        u = Fraction(u);
    }
    if (m_length == 0 || u == 0) return {PointAt(0), 0, u};
    if (u == 1) {
        if (IsClosed()) return {PointAt(0), 0, 1};
        return {PointAt(n - 1), NumSegments() - 1, 1};
    }
    auto found = std::lower_bound(m_fractions.begin(), m_fractions.end(), u);
    int i = std::min(int(found - m_fractions.begin()), NumSegments() - 1);
    float before = i > 0 ? m_fractions[size_t(i - 1)] : 0;
    float share = m_fractions[size_t(i)] - before;
    float t = i == 0 ? u / m_fractions[0] : share > 0 ? (u - before) / share : 1;
    return {Interpolate(i, t), i, t};
}

Point3 PolyLinePlus::TangentAt(float u, SegmentLimits limits) const {
    int s = PositionAt(u, limits).segment;
    if (limits.first >= 0) s = std::max(s, limits.first);
    if (limits.last >= 0) s = std::min(s, limits.last);
    return Tangent(s, 0.5f, limits);
}

// In the plane from the first point through all segments before the place to the place itself.
float PolyLinePlus::PlanarTo(const Place& place) const {
    int n = NumPoints();
    float sum = 0;
    for (int s = 0; s < place.segment; ++s) sum += PlanarDistance(PointAt(s), PointAt((s + 1) % n));
    return sum + PlanarDistance(PointAt(place.segment), place.position);
}

float PolyLinePlus::PlanarLength(float u1, float u2) const {
    float low = std::min(u1, u2), high = std::max(u1, u2);
    int last = NumSegments() - 1;
    if (Wraps() && last >= 0) {
        // Whole turns count, too: a line's end is its start, but not at no distance from it.
        float turn = PlanarTo({PointAt((last + 1) % NumPoints()), last, 1});
        auto at = [&](float u) {
            float turns = std::floor(u);
            return turns * turn + PlanarTo(PositionAt(u - turns));
        };
        return at(high) - at(low);
    }
    Place from = PositionAt(low), to = PositionAt(high);
    if (from.segment == to.segment) return PlanarDistance(from.position, to.position);
    Point3 at = from.position;
    float sum = 0;
    for (int s = from.segment; s < to.segment; ++s) {
        const Point3& next = PointAt(s + 1);
        sum += PlanarDistance(at, next);
        at = next;
    }
    return sum + PlanarDistance(at, to.position);
}

float PolyLinePlus::StraightDistance(float u1, float u2, SegmentLimits limits) const {
    return ::Length(PositionAt(u1, limits).position - PositionAt(u2, limits).position);
}

float PolyLinePlus::Distance(float u1, float u2, PathMetric metric, SegmentLimits limits) const {
    if (metric == PathMetric::kPlanar) return PlanarLength(u1, u2);
    if (metric == PathMetric::kStraight) return StraightDistance(u1, u2, limits);
    return Length() * std::abs(u2 - u1);
}

float PolyLinePlus::Advance(float u, float d, PathMetric metric, SegmentLimits limits) const {
    if (std::abs(d) < kSmallestMove || Length() == 0) return u;
    if (metric == PathMetric::kPlanar) return AdvancePlanar(u, d);
    if (metric == PathMetric::kStraight) return AdvanceStraight(u, d, limits);
    return u + d / Length();
}

// Walks from vertex to vertex until the planar sum would pass |d|.
float PolyLinePlus::AdvancePlanar(float u, float d) const {
    int n = NumPoints(), segments = NumSegments(), step = d > 0 ? 1 : -1;
    if (n < 2) return u;
    Place here = PositionAt(u);
    Point3 at = here.position;
    float rest = std::abs(d), fraction = u;
    int s = here.segment;
    for (int count = 0; count <= segments; ++count) {
        int vertex = d > 0 ? (s + 1) % n : s;
        float target = d > 0 ? m_fractions[size_t(s)] : FractionBefore(s);
        float reach = PlanarDistance(at, PointAt(vertex));
        if (reach >= rest && reach > 0) return fraction + (target - fraction) * (rest / reach);
        rest -= reach;
        at = PointAt(vertex);
        fraction = target;
        s += step;
        if (s >= 0 && s < segments) continue;
        if (!Wraps()) break;
        s = (s + segments) % segments;
        fraction = d > 0 ? 0.0f : 1.0f;
    }
    // Past the end of an open line: along its last segment.
    int last = std::clamp(s - step, 0, segments - 1);
    float planar = PlanarDistance(PointAt(last), PointAt((last + 1) % n));
    if (planar <= 0) return fraction;
    float share = m_fractions[size_t(last)] - FractionBefore(last);
    return fraction + float(step) * share * (rest / planar);
}

// The first place in the direction of d that lies |d| away in a straight line: a vertex beyond it
// is found, then the segment that reaches it is cut by the sphere around the start.
float PolyLinePlus::AdvanceStraight(float u, float d, SegmentLimits limits) const {
    int n = NumPoints(), segments = NumSegments();
    if (n < 2) return u;
    Place here = PositionAt(u, limits);
    Point3 center = here.position;
    float radius = std::abs(d);
    bool forward = d > 0;
    int first = limits.first >= 0 ? limits.first : 0;
    int last = limits.last >= 0 ? std::min(limits.last, segments) : segments;
    Point3 inside = center;
    float insideFraction = u;
    auto cut = [&](const Point3& outside, float outsideFraction) {
        Point3 a = inside - center, step = outside - inside;
        float qa = DotProd(step, step), qb = 2 * DotProd(a, step),
              qc = DotProd(a, a) - radius * radius;
        float root = std::sqrt(std::max(0.0f, qb * qb - 4 * qa * qc));
        float t = qa > 0 ? std::clamp((-qb + root) / (2 * qa), 0.0f, 1.0f) : 0;
        return insideFraction + (outsideFraction - insideFraction) * t;
    };
    int s = here.segment;
    while (forward ? s < last : s >= first) {
        const Point3& vertex = PointAt(forward ? (s + 1) % n : s);
        float fraction = forward ? m_fractions[size_t(s)] : FractionBefore(s);
        if (::Length(vertex - center) >= radius) return cut(vertex, fraction);
        inside = vertex;
        insideFraction = fraction;
        s += forward ? 1 : -1;
    }
    float beyond = insideFraction + (forward ? kBeyond : -kBeyond);
    for (int i = 0; i < 64 && ::Length(PositionAt(beyond, limits).position - center) < radius; ++i)
        beyond += forward ? kBeyond : -kBeyond;
    return cut(PositionAt(beyond, limits).position, beyond);
}

std::pair<float, float> PolyLinePlus::VertexAngle(int i) const {
    int n = NumPoints(), previous = i - 1, next = i + 1;
    std::pair<float, float> straight{kPi, kPi};
    if (i < 0 || i >= n || n < 2) return straight;
    if (previous < 0) {
        if (!RepeatsFirst()) return straight;
        previous = n - 2;
    }
    if (next >= n) {
        if (!RepeatsFirst()) return straight;
        next = 1;
    }
    Point3 a = Normalize(PointAt(previous) - PointAt(i)), b = Normalize(PointAt(next) - PointAt(i));
    Point3 c = CrossProd(a, b);
    float angle = std::atan2(::Length(c), DotProd(a, b));
    return {c.z > 0 ? 2 * kPi - angle : angle, angle};
}

float PolyLinePlus::FractionOfPoint(int i) const {
    Cache();
    if (i < 1 || m_length == 0 || m_cumulative.empty()) return 0;
    return m_cumulative[std::min(size_t(i - 1), m_cumulative.size() - 1)] / m_length;
}

float PolyLinePlus::FractionAtEnd(int segment) const {
    Cache();
    if (segment < 0 || size_t(segment) >= m_fractions.size()) return 1;
    return m_fractions[size_t(segment)];
}

Point3 PolyLinePlus::ChordDirection() const {
    if (NumPoints() < 2) return {};
    return Normalize(PointAt(NumPoints() - 1) - PointAt(0));
}

void PolyLinePlus::Offset(float distance) {
    int n = NumPoints();
    if (n < 2) return;
    float s = -distance;
    std::vector<Point3> before;
    for (const PolyPtPlus& point : m_points) before.push_back(point.p);
    auto direction = [&](int from, int to) {
        return Normalize(Flat(before[size_t(to)] - before[size_t(from)]));
    };
    for (int i = 0; i < n; ++i) {
        Corner corner;
        if (!IsClosed() && i == 0)
            corner = {direction(0, 1), s};
        else if (!IsClosed() && i == n - 1)
            corner = {direction(n - 2, n - 1), s};
        else
            corner = MitreCorner(direction(i, (i + n - 1) % n), direction(i, (i + 1) % n), s);
        const Point3& p = before[size_t(i)];
        SetPoint(i, {p.x + corner.direction.y * corner.move, p.y - corner.direction.x * corner.move,
                     p.z});
    }
}

PolyShapePlus::PolyShapePlus(const PolyShape& shape) {
    for (const PolyLine& line : shape.lines) lines.emplace_back(line);
}

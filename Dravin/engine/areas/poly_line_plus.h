// Polylines with positions and tangents at a fraction of their length: what paths are sampled by.
//
// A fraction u is a share of the total length, 0 at the first point and 1 at the end. Open lines
// extrapolate along their first and last segment, closed ones wrap around. Segment s runs from
// point s to point (s + 1) mod n. Segment limits, where given, keep a query between two points.
// Lengths are cached at the first query and dropped when points change; queries of a line whose
// cache stands may run in several threads.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "host/geom/poly_line.h"

class TDirector {
public:
    virtual ~TDirector() = default;
};

// A director with one growable buffer of its own.
class TDirector1D : public TDirector {
public:
    std::vector<float> buffer;
};

struct PolyPtPlus {
    Point3 p;
    uint32_t flags = 0;
    uint32_t aux[2]{};
    uint32_t more[5]{};
    uint32_t word = 0;

    virtual ~PolyPtPlus() = default;
};

struct SegmentLimits {
    int first = -1, last = -1;  // -1: none
};

// How distances along a line are taken.
enum class PathMetric { kLength, kPlanar, kStraight };

class PolyLinePlus : public TDirector1D {
public:
    enum Flags : uint32_t { kClosed = 1, kRepeatsFirst = 2 };

    PolyLinePlus() = default;
    explicit PolyLinePlus(const PolyLine& line);

    int NumSegments() const;
    int NumPoints() const { return int(m_points.size()); }
    bool IsClosed() const { return m_flags & kClosed; }
    // The first point stands at the end again; wrapping around then skips the last one.
    bool RepeatsFirst() const { return m_flags & kRepeatsFirst; }
    void SetFlags(uint32_t flags) { m_flags = flags, m_cached = false; }
    Box3 Bounds() const;
    const Point3& PointAt(int i) const { return m_points[size_t(i)].p; }
    void SetPoint(int i, const Point3& p) { m_points[size_t(i)].p = p, m_cached = false; }
    uint32_t PointWord(int i) const;

    float Length() const;
    // Between points i and j; 0 when one of them does not exist.
    float LengthBetween(int i, int j) const;
    Point3 Interpolate(int segment, float t) const;
    Point3 Tangent(int segment, float t, SegmentLimits limits = {}) const;

    struct Place {
        Point3 position;
        int segment = 0;
        float t = 0;
    };
    Place PositionAt(float u, SegmentLimits limits = {}) const;
    Point3 TangentAt(float u, SegmentLimits limits = {}) const;

    // In the xy plane from one fraction through the points in between to the other; on lines that
    // wrap around with every whole turn.
    float PlanarLength(float u1, float u2) const;
    float StraightDistance(float u1, float u2, SegmentLimits limits = {}) const;
    float Distance(float u1, float u2, PathMetric metric, SegmentLimits limits = {}) const;
    // The fraction at distance d from u; a negative d goes backward.
    float Advance(float u, float d, PathMetric metric, SegmentLimits limits = {}) const;

    // Angles on the left and the right of the path at a point, in [0, 2 pi); pi where no corner is.
    std::pair<float, float> VertexAngle(int i) const;
    float FractionToLength(float u) const { return Length() * u; }
    float LengthToFraction(float d) const { return Length() > 0 ? d / Length() : 0; }
    float FractionOfPoint(int i) const;
    // Share of the length at the end of segment s.
    float FractionAtEnd(int segment) const;
    // From the first point to the last; zero for fewer than two points.
    Point3 ChordDirection() const;

    // Moves the line to its left by `distance` in the xy plane, corners mitred.
    void Offset(float distance);

private:
    void Cache() const;
    float FractionBefore(int point) const { return point < 1 ? 0 : m_fractions[size_t(point - 1)]; }
    float PlanarTo(const Place& place) const;
    float AdvancePlanar(float u, float d) const;
    float AdvanceStraight(float u, float d, SegmentLimits limits) const;
    bool Wraps() const { return IsClosed() || RepeatsFirst(); }

    std::vector<PolyPtPlus> m_points;
    uint32_t m_flags = 0;
    mutable bool m_cached = false;
    mutable float m_length = 0;
    mutable std::vector<float> m_cumulative, m_fractions;  // one a segment
};

// Lines of a shape, in order.
class PolyShapePlus {
public:
    explicit PolyShapePlus(const PolyShape& shape);
    virtual ~PolyShapePlus() = default;

    std::vector<PolyLinePlus> lines;
    Box3 bounds;  // starts empty
    int32_t flag = 0;
};

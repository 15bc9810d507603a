// Segments in the plane: where a row crosses one, and what on it is nearest to a point.
//
// These few expressions decide on which side of a border an item stands, so every index over
// segments calls them and changes nothing about their rounding.
#pragma once

#include <cmath>

#include "host/math/point.h"

// Coordinates beyond it are no use: products of them, and with them crossings and distances, leave
// the range of single precision.
inline constexpr float kLargestFlatCoordinate = 1e15f;

// Whether both coordinates are numbers within it.
inline bool IsFlatPlace(Point2 p) {
    return std::abs(p.x) <= kLargestFlatCoordinate && std::abs(p.y) <= kLargestFlatCoordinate;
}

struct TFlatSegment {
    Point2 a, b;

    // Whether the row meets the segment: its y range is closed below and open above.
    bool Spans(float y) const { return (a.y <= y && y < b.y) || (b.y <= y && y < a.y); }
    // Where it does; meaningful only for a row that the segment spans.
    float CrossingOf(float y) const { return a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y); }
    // Point of the segment nearest to p.
    Point2 NearestTo(Point2 p) const {
        Point2 d = b - a, q = p - a;
        float lengthSquared = d.x * d.x + d.y * d.y;
        float t = lengthSquared > 0 ? (q.x * d.x + q.y * d.y) / lengthSquared : 0;
        if (t < 0) return a;
        if (t > 1) return b;
        return a + d * t;
    }
};

inline float DistanceSquared(Point2 a, Point2 b) {
    Point2 d = a - b;
    return d.x * d.x + d.y * d.y;
}

// A place on a surface under a vertical ray, and the face that gives it: the arithmetic that all
// kinds of surfaces share, so that the same triangle gives the same bits in each.
#pragma once

#include <cmath>
#include <cstdint>

#include "host/math/point.h"

struct TSurfHit {
    Point3 point;
    Point3 normal;  // of the face, unit length
    int32_t face = -1;
    float bary1 = 0, bary2 = 0;  // weights of the second and third corner

    Point3 Barycentric() const { return {1 - bary1 - bary2, bary1, bary2}; }
};

// A hit lies above this height.
inline constexpr float kLowestHit = -2147483648.0f;

// A face for hit tests: its corners in the plane, and its height over the first corner as
// z = az + slopeX * (x - ax) + slopeY * (y - ay), which keeps its digits far from the origin.
struct TFaceRecord {
    float ax, ay, bx, by, cx, cy;
    float az, slopeX, slopeY;

    float HeightAt(float x, float y) const { return az + slopeX * (x - ax) + slopeY * (y - ay); }
};

// False for a face that cannot be hit: a corner that is not finite, or no extent in the plane.
inline bool MakeFaceRecord(const Point3& a, const Point3& b, const Point3& c, TFaceRecord* record) {
    if (!IsFinite(a) || !IsFinite(b) || !IsFinite(c)) return false;
    // Twice the signed area in the plane; a vertical or empty face has none and cannot be hit.
    double e1x = double(b.x) - a.x, e1y = double(b.y) - a.y, e1z = double(b.z) - a.z;
    double e2x = double(c.x) - a.x, e2y = double(c.y) - a.y, e2z = double(c.z) - a.z;
    double area = e1x * e2y - e1y * e2x;
    if (area == 0) return false;
    *record = {a.x,
               a.y,
               b.x,
               b.y,
               c.x,
               c.y,
               a.z,
               float((e1z * e2y - e1y * e2z) / area),
               float((e1x * e2z - e1z * e2x) / area)};
    return std::isfinite(record->slopeX) && std::isfinite(record->slopeY);
}

inline TSurfHit MakeFaceHit(const TFaceRecord& r, float x, float y, size_t face, float z) {
    float e1x = r.bx - r.ax, e1y = r.by - r.ay, e2x = r.cx - r.ax, e2y = r.cy - r.ay;
    float dx = x - r.ax, dy = y - r.ay, area = e1x * e2y - e1y * e2x;
    TSurfHit hit;
    hit.point = {x, y, z};
    // The plane's slopes give the normal without a look at the mesh; the winding gives its side.
    float up = area > 0 ? 1.0f : -1.0f;
    float scale = up / std::sqrt(r.slopeX * r.slopeX + r.slopeY * r.slopeY + 1);
    hit.normal = {-r.slopeX * scale, -r.slopeY * scale, scale};
    hit.face = int32_t(face);
    if (area == 0) {
        // A face so small or thin that its area needs more digits.
        double fine = double(e1x) * e2y - double(e1y) * e2x;
        hit.bary1 = float((double(dx) * e2y - double(dy) * e2x) / fine);
        hit.bary2 = float((double(e1x) * dy - double(e1y) * dx) / fine);
        return hit;
    }
    hit.bary1 = (dx * e2y - dy * e2x) / area;
    hit.bary2 = (e1x * dy - e1y * dx) / area;
    return hit;
}

// Does the horizontal ray from (x, y) towards +x cross the edge? Half-open in y, so that a row
// through a vertex counts once. The lower end comes first whatever the face's winding: both faces
// of a shared edge then compute the same value, and no point falls between them.
inline bool CrossesRay(float x, float y, float ax, float ay, float bx, float by) {
    bool up = ay < by;
    float lowX = up ? ax : bx, lowY = up ? ay : by;
    float highX = up ? bx : ax, highY = up ? by : ay;
    bool spans = (lowY <= y) & (y < highY);
    bool right = (highX - lowX) * (y - lowY) > (x - lowX) * (highY - lowY);
    return spans & right;
}

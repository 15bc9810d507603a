// The top view of objects as a region: a raster of what they cover, with distances around it.
//
// The footprint is drawn into a square image around the bounding sphere of its points, and turned
// into an exact distance map; a query is a rounding and one memory read. Coordinates are in object
// space. Never changed once made; threads may share one.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "common/image/distance_map.h"
#include "host/math/box.h"

// What covers the ground.
struct TFootprint {
    struct Disc {
        Point3 center;
        float radius = 0;
    };
    std::vector<std::array<Point3, 3>> triangles;
    std::vector<Disc> discs;
    std::vector<Point3> points;  // what the bounding sphere goes around
};

// Keeps the part of a triangle at or below z = top: up to two triangles are appended.
void AppendSliced(const std::array<Point3, 3>& triangle, float top,
                  std::vector<std::array<Point3, 3>>& triangles);

// Small sphere around the points (Ritter 1990). No points give radius 0; so does a radius above
// 1e20.
struct TBoundingSphere {
    Point3 center;
    float radius = 0;
};
TBoundingSphere BoundingSphere(std::span<const Point3> points);

class TFootprintArea {
public:
    static constexpr int kLargestResolution = 8192;

    // resolution: side of the image in pixels, taken into [1, kLargestResolution]. depth: distances
    // are measured inside the footprint, too.
    TFootprintArea(const TFootprint& footprint, int resolution, bool depth, int threads);

    // Nothing is covered: every point is 1e20 away.
    bool IsEmpty() const { return m_outside.Width() == 0; }
    // Square around the sphere, between the lowest and the highest point.
    const Box3& Bounds() const { return m_bounds; }
    float UnitsPerPixel() const { return m_unitsPerPixel; }

    // Distance from the point to the footprint, 0 inside.
    float DistanceTo(Point2 p) const { return Distance(m_outside, p); }
    bool Inside(Point2 p) const { return DistanceTo(p) < 0.0001f; }
    // Distance to its border from either side, and the place of the border that the slope of the
    // distances points at.
    float BorderDistance(Point2 p) const;
    Point2 NearestBorder(Point2 p) const;

private:
    float Distance(const image::TImage<float>& map, Point2 p) const;

    TBoundingSphere m_sphere;
    Box3 m_bounds;
    image::TImage<float> m_outside, m_inside;  // m_inside: only with depth
    float m_pixelsPerUnit = 0, m_unitsPerPixel = 0;
};

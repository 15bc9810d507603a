// From a space to the pixels of a picture, as a pinhole camera sees it or in parallel projection.
//
// A pixel covers [x, x + 1) x [y, y + 1), y down. What lies nearer to the camera's plane than
// `nearest` has no place in the picture; in parallel projection, nor has what lies beyond `extent`.
#pragma once

#include <algorithm>
#include <cstdint>

#include "host/math/matrix3.h"

// Where a point stands in the picture; nearness falls with the depth along the camera's axis and
// runs linearly over the picture on straight lines: 1 / depth, in parallel projection 1 - depth /
// extent.
struct TScreenPoint {
    float x = 0, y = 0, nearness = 0;
};

class TViewportCamera {
public:
    // At the origin, one pixel.
    TViewportCamera() : TViewportCamera(Matrix3(), 60, 1, 1) {}
    // transform: rows are the camera's right, up and backward axes and its place, in the space that
    // is looked at. fovDegrees: across, in (0, 180). width, height: pixels, above 0.
    TViewportCamera(const Matrix3& transform, float fovDegrees, int width, int height,
                    float nearest = 1e-3f);
    // In parallel projection. viewWidth: of the picture, in units of the space, above 0.
    static TViewportCamera Parallel(const Matrix3& transform, float viewWidth, int width,
                                    int height, float extent);

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    float Nearest() const { return m_nearest; }
    bool IsParallel() const { return m_isParallel; }
    // Half the width of the view, at depth 1 or in parallel projection everywhere.
    float SlopeX() const { return m_slopeX; }
    float SlopeY() const { return m_slopeY; }
    // Depth beyond which nothing has a place, in parallel projection.
    float Extent() const { return m_extent; }
    // Pixels that a unit length covers at a depth above 0.
    float PixelsAt(float depth) const { return m_isParallel ? m_focal : m_focal / depth; }
    float DepthOf(float nearness) const {
        return m_isParallel ? (1 - nearness) * m_extent : 1 / nearness;
    }
    // The same view of what stands in a space of its own.
    TViewportCamera Of(const Matrix3& toWorld) const;
    // The same view in `factor` times the pixels a side.
    TViewportCamera Enlarged(int factor) const;

    // To camera space.
    const Matrix3& Transform() const { return m_toView; }
    // Camera space: x right, y up, z backward.
    Point3 ToView(const Point3& p) const { return p * m_toView; }
    // Of a point in camera space, whose depth -z must be above 0.
    TScreenPoint ToScreen(const Point3& view) const {
        if (m_isParallel)
            return {m_centerX + m_focal * view.x, m_centerY - m_focal * view.y,
                    1 + view.z / m_extent};
        float nearness = -1 / view.z;
        return {m_centerX + m_focal * view.x * nearness, m_centerY - m_focal * view.y * nearness,
                nearness};
    }
    // False when the point is not in front of the camera.
    bool Project(const Point3& p, TScreenPoint* out) const {
        Point3 view = ToView(p);
        if (!(-view.z >= m_nearest)) return false;
        *out = ToScreen(view);
        return true;
    }
    // Sides of the view beyond which a point of camera space lies, as bits; 0: it is in view.
    enum Side : uint32_t { kLeft = 1, kRight = 2, kBelow = 4, kAbove = 8, kBehind = 16 };
    uint32_t Sides(const Point3& view) const {
        float depth = -view.z, spread = m_isParallel ? 1 : depth;
        float x = spread * m_slopeX, y = spread * m_slopeY;
        return (view.x < -x ? kLeft : 0u) | (view.x > x ? kRight : 0u) |
               (view.y < -y ? kBelow : 0u) | (view.y > y ? kAbove : 0u) |
               (depth < m_nearest ? kBehind : 0u);
    }
    // Over the corners of a box: the sides that all lie beyond, and those that any does.
    struct BoxSides {
        uint32_t all = 31, any = 0;
    };
    BoxSides SidesOf(const Box3& box) const;

private:
    Matrix3 m_toView;
    int m_width, m_height;
    float m_focal, m_centerX, m_centerY, m_slopeX, m_slopeY, m_nearest;
    bool m_isParallel = false;
    float m_extent = 0;
};

#include "Dravin/engine/areas/footprint_area.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kSmallestRadius = 0.0001f;

Point3 PointAtHeight(const Point3& a, const Point3& b, float z) {
    return a + (b - a) * ((z - a.z) / (b.z - a.z));
}

}  // namespace

void AppendSliced(const std::array<Point3, 3>& triangle, float top,
                  std::vector<std::array<Point3, 3>>& triangles) {
    std::array<Point3, 4> kept;
    size_t count = 0;
    for (size_t i = 0; i < 3; ++i) {
        const Point3 &a = triangle[i], &b = triangle[(i + 1) % 3];
        if (a.z <= top) kept[count++] = a;
        if ((a.z <= top) != (b.z <= top)) kept[count++] = PointAtHeight(a, b, top);
    }
    for (size_t i = 2; i < count; ++i) triangles.push_back({kept[0], kept[i - 1], kept[i]});
}

TBoundingSphere BoundingSphere(std::span<const Point3> points) {
    if (points.empty()) return {};
    // The farthest apart of the three pairs of extremes.
    TBoundingSphere sphere;
    for (int axis = 0; axis < 3; ++axis) {
        auto less = [axis](const Point3& a, const Point3& b) { return a[axis] < b[axis]; };
        auto [low, high] = std::minmax_element(points.begin(), points.end(), less);
        float radius = Length(*high - *low) / 2;
        if (axis > 0 && !(radius > sphere.radius)) continue;
        sphere = {(*low + *high) * 0.5f, radius};
    }
    for (const Point3& p : points) {
        float distance = Length(p - sphere.center);
        if (!(distance > sphere.radius)) continue;
        float radius = (sphere.radius + distance) / 2;
        sphere.center += (p - sphere.center) * ((radius - sphere.radius) / distance);
        sphere.radius = radius;
    }
    if (!(sphere.radius <= image::kFar)) sphere.radius = 0;
    return sphere;
}

TFootprintArea::TFootprintArea(const TFootprint& footprint, int resolution, bool depth, int threads)
    : m_sphere(BoundingSphere(footprint.points)) {
    float r = m_sphere.radius;
    if (r < kSmallestRadius) return;
    resolution = std::clamp(resolution, 1, kLargestResolution);
    m_bounds = {m_sphere.center - Point3{r, r, r}, m_sphere.center + Point3{r, r, r}};
    Box3 box;
    for (const Point3& p : footprint.points) box += p;
    m_bounds.min.z = box.min.z;
    m_bounds.max.z = box.max.z;
    m_pixelsPerUnit = float(resolution) / (2 * r);
    m_unitsPerPixel = 1 / m_pixelsPerUnit;

    image::TImage<uint8_t> covered(resolution, resolution);
    auto pixel = [&](const Point3& p) {
        return image::PixelPoint{(double(p.x) - m_bounds.min.x) * m_pixelsPerUnit,
                                 (double(p.y) - m_bounds.min.y) * m_pixelsPerUnit};
    };
    for (const auto& [a, b, c] : footprint.triangles)
        image::DrawTriangle(covered, pixel(a), pixel(b), pixel(c));
    for (const TFootprint::Disc& disc : footprint.discs) {
        image::PixelPoint p = pixel(disc.center);
        float radius = std::clamp(disc.radius * m_pixelsPerUnit, 1.0f, 2.0f * float(resolution));
        image::DrawDisc(covered, int(std::lround(p.x)), int(std::lround(p.y)), int(radius));
    }
    m_outside = image::DistanceMap(covered, false, threads);
    if (depth) m_inside = image::DistanceMap(covered, true, threads);
}

float TFootprintArea::Distance(const image::TImage<float>& map, Point2 p) const {
    if (map.Width() == 0) return image::kFar;
    float dx = p.x - m_sphere.center.x, dy = p.y - m_sphere.center.y;
    float e = std::sqrt(dx * dx + dy * dy), gap = 0;
    if (e >= m_sphere.radius) {
        gap = e - m_sphere.radius;
        float f = m_sphere.radius / e;
        p = {m_sphere.center.x + dx * f, m_sphere.center.y + dy * f};
    }
    float column = std::round((p.x - m_bounds.min.x) * m_pixelsPerUnit);
    float row = std::round((p.y - m_bounds.min.y) * m_pixelsPerUnit);
    bool known =
        column >= 0 && row >= 0 && column < float(map.Width() - 1) && row < float(map.Height() - 1);
    float pixels = known ? map.At(int(column) + 1, int(row) + 1) : image::kFar;
    return pixels * m_unitsPerPixel + gap;
}

float TFootprintArea::BorderDistance(Point2 p) const {
    float outside = DistanceTo(p);
    return outside < 0.0001f && m_inside.Width() > 0 ? Distance(m_inside, p) : outside;
}

Point2 TFootprintArea::NearestBorder(Point2 p) const {
    float step = m_unitsPerPixel;
    float dx = BorderDistance({p.x + step, p.y}) - BorderDistance({p.x - step, p.y});
    float dy = BorderDistance({p.x, p.y + step}) - BorderDistance({p.x, p.y - step});
    float length = std::sqrt(dx * dx + dy * dy);
    if (!(length > 0)) return p;
    return p - Point2{dx, dy} * (BorderDistance(p) / length);
}

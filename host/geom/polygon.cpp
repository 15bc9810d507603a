#include "host/geom/polygon.h"

#include <numeric>

namespace {

// Newell's method: twice the area times the normal, robust for polygons that are not quite flat.
Point3 AreaVector(std::span<const Point3> p) {
    Point3 sum;
    for (size_t i = 0; i < p.size(); ++i)
        sum += CrossProd(p[i] - p[0], p[(i + 1) % p.size()] - p[0]);
    return sum;
}

// Positive where a, b, c turn left seen from the normal's tip.
float Turn(const Point3& a, const Point3& b, const Point3& c, const Point3& normal) {
    return DotProd(CrossProd(b - a, c - b), normal);
}

bool IsConvex(std::span<const Point3> p, const Point3& normal) {
    size_t n = p.size();
    for (size_t i = 0; i < n; ++i)
        if (Turn(p[i], p[(i + 1) % n], p[(i + 2) % n], normal) < 0) return false;
    return true;
}

void AppendFan(size_t n, std::vector<Triple>& triangles) {
    for (uint32_t i = 1; i + 1 < n; ++i) triangles.push_back({0, i, i + 1});
}

bool IsInside(const Point3& q, const Point3& a, const Point3& b, const Point3& c,
              const Point3& normal) {
    return Turn(a, b, q, normal) >= 0 && Turn(b, c, q, normal) >= 0 && Turn(c, a, q, normal) >= 0;
}

// Whether corner k of the remaining ring is an ear: it turns left and no other corner lies in it.
bool IsEar(std::span<const Point3> p, const std::vector<uint32_t>& ring, size_t k,
           const Point3& normal) {
    size_t n = ring.size();
    const Point3 &a = p[ring[(k + n - 1) % n]], &b = p[ring[k]], &c = p[ring[(k + 1) % n]];
    if (Turn(a, b, c, normal) <= 0) return false;
    for (uint32_t i : ring) {
        const Point3& q = p[i];
        if (q == a || q == b || q == c) continue;
        if (IsInside(q, a, b, c, normal)) return false;
    }
    return true;
}

}  // namespace

void TriangulatePolygon(std::span<const Point3> corners, std::vector<Triple>& triangles) {
    size_t n = corners.size();
    if (n == 3) return triangles.push_back({0, 1, 2});
    Point3 normal = AreaVector(corners);
    bool hasArea = IsFinite(normal) && normal != Point3{};
    if (!hasArea || n > kMaxEarCorners || IsConvex(corners, normal)) return AppendFan(n, triangles);

    std::vector<uint32_t> ring(n);
    std::iota(ring.begin(), ring.end(), 0u);
    while (ring.size() > 3) {
        // A ring that crosses itself may have no ear; any corner is cut then, so that it ends.
        size_t ear = 0;
        while (ear < ring.size() && !IsEar(corners, ring, ear, normal)) ++ear;
        if (ear == ring.size()) ear = 0;
        size_t m = ring.size();
        triangles.push_back({ring[(ear + m - 1) % m], ring[ear], ring[(ear + 1) % m]});
        ring.erase(ring.begin() + ptrdiff_t(ear));
    }
    triangles.push_back({ring[0], ring[1], ring[2]});
}

uint8_t PolygonEdgeFlags(const Triple& t, size_t n) {
    uint8_t flags = 0;
    for (size_t k = 0; k < 3; ++k)
        if ((t[k] + 1) % n == t[(k + 1) % 3]) flags |= uint8_t(1 << k);
    return flags;
}

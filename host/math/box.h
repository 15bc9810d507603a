// Axis-aligned boxes. A fresh box is empty (minimum above maximum) and contains nothing.
#pragma once

#include <algorithm>
#include <limits>

#include "host/math/point.h"

struct Box2 {
    Point2 min{std::numeric_limits<float>::max(), std::numeric_limits<float>::max()};
    Point2 max{-std::numeric_limits<float>::max(), -std::numeric_limits<float>::max()};

    bool IsEmpty() const { return min.x > max.x || min.y > max.y; }
    Box2& operator+=(Point2 p) {
        min = {std::min(min.x, p.x), std::min(min.y, p.y)};
        max = {std::max(max.x, p.x), std::max(max.y, p.y)};
        return *this;
    }
    float Width() const { return max.x - min.x; }
    float Height() const { return max.y - min.y; }
    friend bool operator==(const Box2&, const Box2&) = default;
};

struct Box3 {
    Point3 min{std::numeric_limits<float>::max(), std::numeric_limits<float>::max(),
               std::numeric_limits<float>::max()};
    Point3 max{-std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(),
               -std::numeric_limits<float>::max()};

    bool IsEmpty() const { return min.x > max.x || min.y > max.y || min.z > max.z; }
    Box3& operator+=(const Point3& p) {
        for (int i = 0; i < 3; ++i) {
            min[i] = std::min(min[i], p[i]);
            max[i] = std::max(max[i], p[i]);
        }
        return *this;
    }
    Box3& operator+=(const Box3& b) {
        if (!b.IsEmpty()) *this += b.min, *this += b.max;
        return *this;
    }
    Point3 Width() const { return IsEmpty() ? Point3{} : max - min; }
    Point3 Center() const { return (min + max) * 0.5f; }
    // Corner i in 0..7: bit 0 selects x, bit 1 y, bit 2 z of the maximum.
    Point3 operator[](int i) const {
        return {i & 1 ? max.x : min.x, i & 2 ? max.y : min.y, i & 4 ? max.z : min.z};
    }
    friend bool operator==(const Box3&, const Box3&) = default;
};

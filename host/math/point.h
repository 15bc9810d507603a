// Points and vectors of 32-bit floats, under the host SDK's names.
//
// Plain values: no invariant, freely copied, comparable component by component. Vectors are rows;
// a point is transformed as point * matrix (matrix3.h).
#pragma once

#include <cmath>

struct Point2 {
    float x = 0, y = 0;

    friend Point2 operator+(Point2 a, Point2 b) { return {a.x + b.x, a.y + b.y}; }
    friend Point2 operator-(Point2 a, Point2 b) { return {a.x - b.x, a.y - b.y}; }
    friend Point2 operator*(Point2 a, float s) { return {a.x * s, a.y * s}; }
    friend bool operator==(Point2, Point2) = default;
};

struct Point3 {
    float x = 0, y = 0, z = 0;

    float& operator[](int i) { return (&x)[i]; }
    float operator[](int i) const { return (&x)[i]; }

    Point3& operator+=(const Point3& b) { return *this = *this + b; }
    Point3& operator-=(const Point3& b) { return *this = *this - b; }
    Point3& operator*=(float s) { return *this = *this * s; }

    friend Point3 operator+(const Point3& a, const Point3& b) {
        return {a.x + b.x, a.y + b.y, a.z + b.z};
    }
    friend Point3 operator-(const Point3& a, const Point3& b) {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }
    // Component by component.
    friend Point3 operator*(const Point3& a, const Point3& b) {
        return {a.x * b.x, a.y * b.y, a.z * b.z};
    }
    friend Point3 operator*(const Point3& a, float s) { return {a.x * s, a.y * s, a.z * s}; }
    friend Point3 operator*(float s, const Point3& a) { return a * s; }
    friend Point3 operator/(const Point3& a, float s) { return {a.x / s, a.y / s, a.z / s}; }
    friend Point3 operator-(const Point3& a) { return {-a.x, -a.y, -a.z}; }
    friend bool operator==(const Point3&, const Point3&) = default;
};

inline float DotProd(const Point3& a, const Point3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Point3 CrossProd(const Point3& a, const Point3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline float LengthSquared(const Point3& a) { return DotProd(a, a); }
inline float Length(const Point3& a) { return std::sqrt(LengthSquared(a)); }

// Unit vector of a; the zero vector stays zero.
inline Point3 Normalize(const Point3& a) {
    float length = Length(a);
    return length > 0 ? a / length : Point3{};
}

inline bool IsFinite(const Point3& a) {
    return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}

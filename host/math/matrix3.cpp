#include "host/math/matrix3.h"

#include <algorithm>
#include <cmath>

#include "host/math/degrees.h"
#include "host/math/sin_cos.h"

Matrix3 Matrix3::RotationX(float radians) {
    auto [s, c] = SinCosOf(radians);
    return {{{1, 0, 0}, {0, c, s}, {0, -s, c}, {}}};
}

Matrix3 Matrix3::RotationY(float radians) {
    auto [s, c] = SinCosOf(radians);
    return {{{c, 0, -s}, {0, 1, 0}, {s, 0, c}, {}}};
}

Matrix3 Matrix3::RotationZ(float radians) {
    auto [s, c] = SinCosOf(radians);
    return {{{c, s, 0}, {-s, c, 0}, {0, 0, 1}, {}}};
}

// A rotation about one axis mixes the two other rows only.
void Matrix3::PreRotateX(float radians) {
    auto [s, c] = SinCosOf(radians);
    Point3 y = row[1], z = row[2];
    row[1] = y * c + z * s;
    row[2] = z * c - y * s;
}

void Matrix3::PreRotateY(float radians) {
    auto [s, c] = SinCosOf(radians);
    Point3 x = row[0], z = row[2];
    row[0] = x * c - z * s;
    row[2] = x * s + z * c;
}

void Matrix3::PreRotateZ(float radians) {
    auto [s, c] = SinCosOf(radians);
    Point3 x = row[0], y = row[1];
    row[0] = x * c + y * s;
    row[1] = y * c - x * s;
}

Box3 Matrix3::BoxTransform(const Box3& box) const {
    Box3 result;
    if (box.IsEmpty()) return result;
    for (int i = 0; i < 8; ++i) result += PointTransform(box[i]);
    return result;
}

bool Matrix3::Equals(const Matrix3& m, float tolerance) const {
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 3; ++k)
            if (!(std::abs(row[i][k] - m.row[i][k]) <= tolerance)) return false;
    return true;
}

Matrix3 Inverse(const Matrix3& m) {
    double a[3][3];
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k) a[i][k] = m.row[i][k];
    auto cofactor = [&](int i, int k) {
        int i1 = (i + 1) % 3, i2 = (i + 2) % 3, k1 = (k + 1) % 3, k2 = (k + 2) % 3;
        return a[i1][k1] * a[i2][k2] - a[i1][k2] * a[i2][k1];
    };
    double det = a[0][0] * cofactor(0, 0) + a[0][1] * cofactor(0, 1) + a[0][2] * cofactor(0, 2);
    if (det == 0 || !std::isfinite(det)) return {};

    double inv[3][3];
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k) inv[i][k] = cofactor(k, i) / det;
    Matrix3 result;
    for (int k = 0; k < 3; ++k) {
        double translation = 0;
        for (int i = 0; i < 3; ++i) {
            result.row[i][k] = float(inv[i][k]);
            translation -= double(m.row[3][i]) * inv[i][k];
        }
        result.row[3][k] = float(translation);
    }
    return result;
}

// The rows of the inverse transpose are the cross products of the other two rows over the
// determinant, of which only the sign counts.
Matrix3 NormalTransform(const Matrix3& m) {
    float sign = m.Determinant() < 0 ? -1.0f : 1.0f;
    return {{CrossProd(m.row[1], m.row[2]) * sign,
             CrossProd(m.row[2], m.row[0]) * sign,
             CrossProd(m.row[0], m.row[1]) * sign,
             {}}};
}

// Shepperd's method (1978): start from the largest component, so that nothing cancels.
Quat Quat::FromMatrix(const Matrix3& m) {
    const Point3 &x = m.row[0], &y = m.row[1], &z = m.row[2];
    float trace = x.x + y.y + z.z;
    Quat q;
    if (trace > 0) {
        float s = std::sqrt(trace + 1) * 2;
        q = {(y.z - z.y) / s, (z.x - x.z) / s, (x.y - y.x) / s, s / 4};
    } else if (x.x > y.y && x.x > z.z) {
        float s = std::sqrt(1 + x.x - y.y - z.z) * 2;
        q = {s / 4, (y.x + x.y) / s, (z.x + x.z) / s, (y.z - z.y) / s};
    } else if (y.y > z.z) {
        float s = std::sqrt(1 + y.y - x.x - z.z) * 2;
        q = {(y.x + x.y) / s, s / 4, (z.y + y.z) / s, (z.x - x.z) / s};
    } else {
        float s = std::sqrt(1 + z.z - x.x - y.y) * 2;
        q = {(z.x + x.z) / s, (z.y + y.z) / s, s / 4, (x.y - y.x) / s};
    }
    return q;
}

Matrix3 Quat::ToMatrix() const {
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)},
             {2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)},
             {2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)},
             {}}};
}

Quat Quat::Normalized() const {
    double length = std::sqrt(double(x) * x + double(y) * y + double(z) * z + double(w) * w);
    if (!(length > 0)) return {};
    return {float(x / length), float(y / length), float(z / length), float(w / length)};
}

Quat Slerp(const Quat& a, const Quat& b, float u) {
    double dot = double(a.x) * b.x + double(a.y) * b.y + double(a.z) * b.z + double(a.w) * b.w;
    double sign = dot < 0 ? -1 : 1;
    dot = std::min(dot * sign, 1.0);
    // Nearly the same rotation: a straight line is as good, and the sine below nearly zero.
    double fromA = 1 - double(u), fromB = double(u);
    if (dot < 0.99999) {
        double angle = std::acos(dot), sine = std::sin(angle);
        fromA = std::sin(fromA * angle) / sine;
        fromB = std::sin(fromB * angle) / sine;
    }
    fromB *= sign;
    return Quat{float(a.x * fromA + b.x * fromB), float(a.y * fromA + b.y * fromB),
                float(a.z * fromA + b.z * fromB), float(a.w * fromA + b.w * fromB)}
        .Normalized();
}

Matrix3 EulerDegreesToMatrix(const Point3& degrees) {
    auto radians = [](float angle) { return float(angle * kRadiansOfDegree); };
    return Matrix3::RotationX(radians(degrees.x)) * Matrix3::RotationY(radians(degrees.y)) *
           Matrix3::RotationZ(radians(degrees.z));
}

AffineParts Decompose(const Matrix3& m) {
    AffineParts parts;
    parts.translation = m.row[3];
    float sign = m.Determinant() < 0 ? -1.0f : 1.0f;
    Matrix3 rotation;
    rotation.row[0] = Normalize(m.row[0]) * sign;
    rotation.row[1] = m.row[1] * sign - rotation.row[0] * DotProd(m.row[1] * sign, rotation.row[0]);
    rotation.row[1] = Normalize(rotation.row[1]);
    rotation.row[2] = CrossProd(rotation.row[0], rotation.row[1]);
    parts.rotation = Quat::FromMatrix(rotation);
    parts.scale = Point3{Length(m.row[0]), Length(m.row[1]), Length(m.row[2])} * sign;
    return parts;
}

Matrix3 Compose(const AffineParts& parts) {
    return Matrix3::Scaling(parts.scale) * parts.rotation.ToMatrix() *
           Matrix3::Translation(parts.translation);
}

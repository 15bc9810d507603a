// Affine 4x3 matrix with the host SDK's semantics: the rows are the x, y and z axes and the
// translation; points are row vectors, transformed as point * matrix; a * b applies a first.
//
// Single precision throughout. "Pre" operations act before the matrix (on its local coordinates),
// plain ones after it. Thread safe as any plain value.
#pragma once

#include "host/math/box.h"
#include "host/math/point.h"

struct Quat;

struct Matrix3 {
    Point3 row[4]{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};

    static Matrix3 Translation(const Point3& t) { return {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, t}}; }
    static Matrix3 Scaling(const Point3& s) {
        return {{{s.x, 0, 0}, {0, s.y, 0}, {0, 0, s.z}, {0, 0, 0}}};
    }
    // Rotations about one axis, counter-clockwise seen from the axis' tip, angle in radians.
    static Matrix3 RotationX(float radians);
    static Matrix3 RotationY(float radians);
    static Matrix3 RotationZ(float radians);

    const Point3& GetRow(int i) const { return row[i]; }
    void SetRow(int i, const Point3& p) { row[i] = p; }
    const Point3& GetTrans() const { return row[3]; }
    void SetTrans(const Point3& t) { row[3] = t; }
    void NoTrans() { row[3] = {}; }
    void Zero() { *this = {{{}, {}, {}, {}}}; }

    Point3 PointTransform(const Point3& p) const {
        return row[0] * p.x + row[1] * p.y + row[2] * p.z + row[3];
    }
    Point3 VectorTransform(const Point3& v) const {
        return row[0] * v.x + row[1] * v.y + row[2] * v.z;
    }
    // Determinant of the 3x3 part; negative for a mirroring matrix.
    float Determinant() const { return DotProd(CrossProd(row[0], row[1]), row[2]); }
    // Box around the transformed box; an empty box stays empty.
    Box3 BoxTransform(const Box3& box) const;

    void PreTranslate(const Point3& t) { row[3] = PointTransform(t); }
    void PreScale(const Point3& s) {
        for (int i = 0; i < 3; ++i) row[i] *= s[i];
    }
    void PreRotateX(float radians);
    void PreRotateY(float radians);
    void PreRotateZ(float radians);

    bool Equals(const Matrix3& m, float tolerance) const;
    friend bool operator==(const Matrix3&, const Matrix3&) = default;
};

inline Point3 operator*(const Point3& p, const Matrix3& m) { return m.PointTransform(p); }
inline Matrix3 operator*(const Matrix3& a, const Matrix3& b) {
    return {{b.VectorTransform(a.row[0]), b.VectorTransform(a.row[1]), b.VectorTransform(a.row[2]),
             b.PointTransform(a.row[3])}};
}

// Inverse, computed in double precision; the identity when the matrix is singular.
Matrix3 Inverse(const Matrix3& m);

// Carries normals of surfaces through `m`, by its VectorTransform: the inverse transpose up to a
// positive factor, so that a normal stays perpendicular to its surface under any scale, and a
// mirrored surface keeps its outer side outside. Without translation; results are not unit length.
// Where `m` flattens space the plane that is left has its normal all the same.
Matrix3 NormalTransform(const Matrix3& m);

// Rotation by a unit quaternion, counter-clockwise about (x, y, z) by 2 acos(w), for row vectors.
struct Quat {
    float x = 0, y = 0, z = 0, w = 1;

    static Quat FromMatrix(const Matrix3& m);  // of an orthonormal, right-handed matrix
    Matrix3 ToMatrix() const;
    // Of unit length; the identity for a quaternion of no length.
    Quat Normalized() const;
    friend bool operator==(const Quat&, const Quat&) = default;
};

// At u of 0..1 from a to b, both of unit length, along the shorter arc at even speed.
// Source: Shoemake, Animating Rotation with Quaternion Curves, SIGGRAPH 1985.
Quat Slerp(const Quat& a, const Quat& b, float u);

// Rotation about X, then Y, then Z (row vectors), angles in degrees: the order of scene files.
Matrix3 EulerDegreesToMatrix(const Point3& degrees);

// m = scale (along the axes of the result's own frame) * rotation * translation, with shear
// dropped: axis lengths become the scale; a mirroring matrix gives all three factors negative.
struct AffineParts {
    Point3 translation;
    Quat rotation;
    Point3 scale{1, 1, 1};
};
AffineParts Decompose(const Matrix3& m);
Matrix3 Compose(const AffineParts& parts);

#include "host/math/matrix3.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

constexpr float kRight = 1.5707964f;

void ExpectNear(const Point3& a, const Point3& b) {
    EXPECT_NEAR(a.x, b.x, 1e-5);
    EXPECT_NEAR(a.y, b.y, 1e-5);
    EXPECT_NEAR(a.z, b.z, 1e-5);
}

TEST(Matrix3, PointsAreRowVectors) {
    ExpectNear(Point3{1, 0, 0} * Matrix3::RotationZ(kRight), {0, 1, 0});
    ExpectNear(Point3{0, 1, 0} * Matrix3::RotationX(kRight), {0, 0, 1});
    ExpectNear(Point3{0, 0, 1} * Matrix3::RotationY(kRight), {1, 0, 0});
    EXPECT_EQ((Point3{1, 2, 3} * Matrix3::Translation({10, 20, 30})), (Point3{11, 22, 33}));
}

TEST(Matrix3, AProductAppliesItsFirstFactorFirst) {
    Matrix3 m = Matrix3::RotationZ(kRight) * Matrix3::Translation({5, 0, 0});
    ExpectNear(Point3{1, 0, 0} * m, {5, 1, 0});
}

TEST(Matrix3, PreOperationsActBeforeTheMatrix) {
    Matrix3 base = Matrix3::RotationX(0.3f) * Matrix3::Translation({1, 2, 3});
    Matrix3 x = base, y = base, z = base, t = base;
    x.PreRotateX(0.7f), y.PreRotateY(0.7f), z.PreRotateZ(0.7f), t.PreTranslate({1, 1, 1});
    EXPECT_TRUE(x.Equals(Matrix3::RotationX(0.7f) * base, 1e-6f));
    EXPECT_TRUE(y.Equals(Matrix3::RotationY(0.7f) * base, 1e-6f));
    EXPECT_TRUE(z.Equals(Matrix3::RotationZ(0.7f) * base, 1e-6f));
    EXPECT_TRUE(t.Equals(Matrix3::Translation({1, 1, 1}) * base, 1e-6f));
}

TEST(Matrix3, TheInverseUndoes) {
    Matrix3 m = Matrix3::Scaling({2, 3, 4}) * EulerDegreesToMatrix({10, 20, 30}) *
                Matrix3::Translation({100, -50, 7});
    ExpectNear(Point3{1, 2, 3} * m * Inverse(m), {1, 2, 3});
    Matrix3 zero;
    zero.Zero();
    EXPECT_EQ(Inverse(zero), Matrix3{});
}

TEST(Matrix3, DecomposeFindsScaleRotationAndTranslation) {
    Matrix3 rotation = EulerDegreesToMatrix({30, -40, 110});
    AffineParts parts =
        Decompose(Matrix3::Scaling({2, 3, 4}) * rotation * Matrix3::Translation({1, 2, 3}));
    ExpectNear(parts.scale, {2, 3, 4});
    ExpectNear(parts.translation, {1, 2, 3});
    EXPECT_TRUE(parts.rotation.ToMatrix().Equals(rotation, 1e-5f));
    AffineParts mirrored = Decompose(Matrix3::Scaling({-1, 1, 1}));
    EXPECT_LT(mirrored.scale.x * mirrored.scale.y * mirrored.scale.z, 0);
}

TEST(Matrix3, NormalsStayPerpendicularToTheirPlanes) {
    // A 45 degree slope stretched to twice its height rises by atan(2) = 63.4 degrees.
    Point3 n = NormalTransform(Matrix3::Scaling({1, 1, 2})).VectorTransform({-1, 0, 1});
    ExpectNear(Normalize(n), Normalize(Point3{-2, 0, 1}));
    Matrix3 m = Matrix3::Scaling({2, 0.5f, -3}) * EulerDegreesToMatrix({20, 50, -70}) *
                Matrix3::Translation({5, 6, 7});
    m.row[0] += Point3{0.3f, 0, 0.1f};  // sheared, too
    Point3 a{1, 2, 3}, b{-2, 1, 0.5f};
    Point3 moved = NormalTransform(m).VectorTransform(CrossProd(a, b));
    EXPECT_NEAR(DotProd(moved, m.VectorTransform(a)), 0, 1e-4);
    EXPECT_NEAR(DotProd(moved, m.VectorTransform(b)), 0, 1e-4);
}

TEST(Matrix3, MirroredNormalsKeepTheirSide) {
    Matrix3 mirror = NormalTransform(Matrix3::Scaling({-1, 1, 1}));
    ExpectNear(mirror.VectorTransform({0, 0, 1}), {0, 0, 1});
    ExpectNear(mirror.VectorTransform({1, 0, 0}), {-1, 0, 0});
    // What is flattened to a plane has that plane's normal.
    Point3 flat = NormalTransform(Matrix3::Scaling({1, 1, 0})).VectorTransform({0.6f, 0, 0.8f});
    ExpectNear(Normalize(flat), {0, 0, 1});
}

TEST(Matrix3, BoxesStayBoxesAndEmptyOnesEmpty) {
    Box3 box = Matrix3::RotationZ(kRight).BoxTransform({{0, 0, 0}, {2, 1, 3}});
    ExpectNear(box.min, {-1, 0, 0});
    ExpectNear(box.max, {0, 2, 3});
    EXPECT_TRUE(Matrix3{}.BoxTransform(Box3{}).IsEmpty());
}

TEST(Quat, EveryBranchReadsTheMatrixBack) {
    for (Point3 degrees : {Point3{0, 0, 0}, Point3{179, 0, 0}, Point3{0, 179, 0}, Point3{0, 0, 179},
                           Point3{120, 60, -75}}) {
        Matrix3 m = EulerDegreesToMatrix(degrees);
        EXPECT_TRUE(Quat::FromMatrix(m).ToMatrix().Equals(m, 1e-5f));
    }
}

}  // namespace

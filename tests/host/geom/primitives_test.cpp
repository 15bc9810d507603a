#include "host/geom/primitives.h"

#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

#include "host/geom/mesh_tools.h"

namespace {

float Area(const Mesh& mesh) {
    float area = 0;
    for (size_t f = 0; f < mesh.NumFaces(); ++f) area += Length(mesh.FaceNormalUnscaled(f)) / 2;
    return area;
}

// Divergence theorem: positive when the faces look outwards.
float Volume(const Mesh& mesh) {
    float volume = 0;
    for (const Face& face : mesh.faces)
        volume += DotProd(mesh.verts[face.v[0]],
                          CrossProd(mesh.verts[face.v[1]], mesh.verts[face.v[2]])) /
                  6;
    return volume;
}

void ExpectMappedWithinUnitSquare(const Mesh& mesh) {
    EXPECT_EQ(Validate(mesh), "");
    ASSERT_NE(mesh.Map(1), nullptr);
    for (const Point3& t : mesh.Map(1)->verts) {
        EXPECT_GE(std::min(t.x, t.y), -1e-6f);
        EXPECT_LE(std::max(t.x, t.y), 1 + 1e-6f);
    }
}

}  // namespace

TEST(Primitives, PlaneIsCentredAndFacesUp) {
    Mesh plane = MakePlane(4, 2, 3, 5);
    ExpectMappedWithinUnitSquare(plane);
    EXPECT_EQ(plane.NumFaces(), 30u);
    EXPECT_EQ(plane.BoundingBox().min, (Point3{-2, -1, 0}));
    EXPECT_EQ(plane.BoundingBox().max, (Point3{2, 1, 0}));
    EXPECT_NEAR(Area(plane), 8, 1e-5);
    EXPECT_GT(plane.FaceNormalUnscaled(0).z, 0);
}

TEST(Primitives, PlaneMappingFollowsPosition) {
    Mesh plane = MakePlane(4, 2, 2, 2);
    for (size_t f = 0; f < plane.NumFaces(); ++f)
        for (int k = 0; k < 3; ++k) {
            Point3 p = plane.verts[plane.faces[f].v[k]];
            Point3 t = plane.Map(1)->verts[plane.Map(1)->faces[f][k]];
            EXPECT_FLOAT_EQ(t.x, p.x / 4 + 0.5f);
            EXPECT_FLOAT_EQ(t.y, p.y / 2 + 0.5f);
        }
}

TEST(Primitives, BoxStandsOnItsPivot) {
    Mesh box = MakeBox(2, 3, 4);
    ExpectMappedWithinUnitSquare(box);
    EXPECT_EQ(box.verts.size(), 8u);
    EXPECT_EQ(box.NumFaces(), 12u);
    EXPECT_EQ(box.BoundingBox().min, (Point3{-1, -1.5f, 0}));
    EXPECT_EQ(box.BoundingBox().max, (Point3{1, 1.5f, 4}));
    EXPECT_NEAR(Area(box), 2 * (6 + 8 + 12), 1e-4);
    EXPECT_NEAR(Volume(box), 24, 1e-4);
}

TEST(Primitives, SegmentedBoxIsWelded) {
    // A box surface of n cells an edge has 6 n^2 + 2 grid points.
    EXPECT_EQ(MakeBox(0.7f, 0.3f, 0.1f, 5).verts.size(), 6u * 25 + 2);
}

TEST(Primitives, SphereApproachesItsVolume) {
    Mesh sphere = MakeSphere(2, 128);
    ExpectMappedWithinUnitSquare(sphere);
    EXPECT_NEAR(Volume(sphere), 4.0 / 3 * std::numbers::pi * 8, 0.1);
    for (const Point3& p : sphere.verts) EXPECT_NEAR(Length(p), 2, 1e-5);
}

TEST(Primitives, CoarsestSphereIsABipyramid) {
    Mesh sphere = MakeSphere(1, 0);  // raised to 3 round, 2 from pole to pole
    EXPECT_EQ(sphere.verts.size(), 5u);
    EXPECT_EQ(sphere.NumFaces(), 6u);
    EXPECT_GT(Volume(sphere), 0);
}

TEST(Primitives, ConeAndCylinderStandOnTheirPivot) {
    Mesh cone = MakeCone(1, 3, 256), cylinder = MakeCylinder(1, 3, 256);
    ExpectMappedWithinUnitSquare(cone);
    ExpectMappedWithinUnitSquare(cylinder);
    EXPECT_NEAR(Volume(cone), std::numbers::pi, 0.01);
    EXPECT_NEAR(Volume(cylinder), 3 * std::numbers::pi, 0.01);
    EXPECT_EQ(cone.BoundingBox().min.z, 0);
    EXPECT_EQ(cylinder.BoundingBox().max.z, 3);
}

TEST(Primitives, SegmentCountsAreBounded) {
    EXPECT_EQ(MakeCone(1, 1, -5).verts.size(), 5u);
    EXPECT_EQ(MakeCone(1, 1, 1 << 30).verts.size(), size_t{kMaxSegments} + 2);
}

TEST(Primitives, DegenerateSizesStayValid) {
    for (const Mesh& mesh : {MakePlane(0, 0), MakeBox(0, 0, 0, 2), MakeSphere(0), MakeCone(0, 0),
                             MakeCylinder(0, 1)}) {
        EXPECT_EQ(Validate(mesh), "");
        EXPECT_FALSE(FirstNonFiniteVertex(mesh));
        for (const Point3& t : mesh.Map(1)->verts) EXPECT_TRUE(IsFinite(t));
    }
}

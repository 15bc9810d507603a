#include "Dravin/geometry/mesh_sample.h"

#include <cmath>
#include <set>

#include <gtest/gtest.h>

#include "common/nurandom/nurandom.h"
#include "host/geom/mesh_tools.h"
#include "host/geom/primitives.h"

namespace {

std::shared_ptr<const Mesh> Share(Mesh mesh) {
    return std::make_shared<const Mesh>(std::move(mesh));
}

TDravinMeshSample Sample(Mesh mesh, const Matrix3& toReal = {}) {
    return {Share(std::move(mesh)), toReal, Interval::Forever()};
}

// Boxes side by side along x, `gap` apart, in one mesh.
Mesh Boxes(int n, float gap) {
    Mesh mesh;
    for (int i = 0; i < n; ++i)
        AppendMesh(mesh, TransformedMesh(MakeBox(1, 1, 1),
                                         Matrix3::Translation({float(i) * (1 + gap), 0, 0})));
    return mesh;
}

}  // namespace

TEST(MeshSample, UnitMeshFillsTheUnitBox) {
    TDravinMeshSample sample = Sample(MakeBox(2, 3, 4));
    EXPECT_EQ(sample.Size().size, (Point3{2, 3, 4}));
    EXPECT_FLOAT_EQ(sample.Size().aspect, 1.5f);
    EXPECT_EQ(sample.Size().bounds.min, (Point3{-0.5f, -0.5f, 0}));
    EXPECT_EQ(sample.Size().bounds.max, (Point3{0.5f, 0.5f, 1}));
    EXPECT_EQ(sample.UnitMesh().BoundingBox(), sample.Size().bounds);
    EXPECT_EQ(sample.Size().numFaces, 12);
    EXPECT_TRUE(sample.Size().valid);
    EXPECT_FALSE(sample.Size().degenerate);
}

TEST(MeshSample, SizeIsMeasuredUnderTheMatrix) {
    Matrix3 m = Matrix3::Scaling({2, 2, 2}) * Matrix3::RotationZ(1.5707963f) *
                Matrix3::Translation({0, 0, 5});
    TDravinMeshSample sample = Sample(MakeBox(1, 3, 4), m);
    EXPECT_NEAR(sample.Size().size.x, 6, 1e-5);
    EXPECT_NEAR(sample.Size().size.y, 2, 1e-5);
    EXPECT_NEAR(sample.Size().size.z, 8, 1e-5);
    EXPECT_NEAR(sample.Size().bounds.min.z, 5.0f / 8, 1e-6);
}

TEST(MeshSample, FlatSourceHasHeightOneAndTheDegenerateFlag) {
    TDravinMeshSample sample = Sample(MakePlane(4, 2));
    EXPECT_EQ(sample.Size().size, (Point3{4, 2, 1}));
    EXPECT_TRUE(sample.Size().degenerate);
    EXPECT_EQ(sample.Size().normalize.row[2], (Point3{0, 0, 1}));
}

TEST(MeshSample, ExtentsAtTheLimitCount) {
    Mesh plane = MakePlane(0.0001f, 0.00005f);
    TDravinMeshSize size = MeasureMesh(plane, {});
    EXPECT_EQ(size.size.x, 0.0001f);
    EXPECT_EQ(size.size.y, 1);
}

TEST(MeshSample, MirroringMatrixTurnsFacesRound) {
    TDravinMeshSample sample = Sample(MakePlane(1, 1), Matrix3::Scaling({-1, 1, 1}));
    EXPECT_GT(sample.UnitMesh().FaceNormalUnscaled(0).z, 0);
}

TEST(MeshSample, EmptySampleMeasuresOne) {
    TDravinMeshSample none, empty = Sample(Mesh());
    EXPECT_EQ(none.Size().size, (Point3{1, 1, 1}));
    EXPECT_FALSE(none.Size().valid);
    EXPECT_EQ(none.Validity(), Interval::Forever());
    EXPECT_TRUE(none.UnitMesh().faces.empty());
    EXPECT_EQ(empty.Size().size, (Point3{1, 1, 1}));
    EXPECT_TRUE(empty.Size().degenerate);
    EXPECT_TRUE(empty.Size().bounds.IsEmpty());
}

TEST(MeshSample, NotANumberIsPassedOver) {
    Mesh box = MakeBox(1, 1, 1);
    box.verts.push_back({NAN, 0, INFINITY});
    EXPECT_EQ(MeasureMesh(box, {}).size, (Point3{1, 1, 1}));
}

TEST(MeshElements, DisconnectedPartsAreOneElementEach) {
    TDravinMeshElements elements = AnalyseElements(Boxes(3, 0.5f));
    ASSERT_EQ(elements.elements.size(), 3u);
    for (size_t f = 0; f < 36; ++f) EXPECT_EQ(elements.elementOfFace[f], f / 12);
    EXPECT_NEAR(elements.elements[1].centroid.x, 1.5f, 1e-6);
    EXPECT_NEAR(elements.elements[1].centroid.z, 0.5f, 1e-6);
}

TEST(MeshElements, MaterialIdsDivideConnectedFaces) {
    Mesh box = MakeBox(1, 1, 1);
    for (Face& face : box.faces) face.matID = face.smGroup == 2 ? 1 : 0;  // the top alone
    TDravinMeshElements elements = AnalyseElements(box);
    EXPECT_EQ(elements.elements.size(), 2u);
    EXPECT_EQ(elements.elementOfFace[2], elements.elementOfFace[3]);
    EXPECT_EQ(elements.elementOfFace[0], elements.elementOfFace[11]);
}

TEST(MeshElements, EdgesOfThreeFacesAndAnyWindingJoin) {
    Mesh fan;
    fan.verts = {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {-1, 0, 0}, {0, 0, 1}, {9, 9, 9}};
    fan.faces = {{{0, 1, 2}}, {{0, 1, 3}}, {{0, 1, 4}}, {{4, 5, 2}}};
    TDravinMeshElements elements = AnalyseElements(fan);
    ASSERT_EQ(elements.elements.size(), 2u);  // the last face shares vertices, but no edge
    EXPECT_EQ(elements.elementOfFace, (std::vector<uint32_t>{0, 0, 0, 1}));
}

TEST(MeshElements, RandomValuesFollowTheFaceCountAndOrder) {
    TDravinMeshElements elements = AnalyseElements(Boxes(2, 1));
    TNuRandom generator(24u * 123456u);
    for (size_t e = 0; e < 2; ++e) {
        EXPECT_EQ(elements.elements[e].random1, generator.Random());
        EXPECT_EQ(elements.elements[e].random2, generator.Random());
    }
    EXPECT_EQ(elements.RandomsOfFace(13).first, elements.elements[1].random1);
    // A larger gap changes no count: the values stay.
    EXPECT_EQ(AnalyseElements(Boxes(2, 7)).elements[1].random2, elements.elements[1].random2);
}

TEST(MeshElements, EmptyMeshHasNone) { EXPECT_TRUE(AnalyseElements(Mesh()).elements.empty()); }

TEST(MeshCloud, ObjectWithoutFacesHasAnEmptyCloud) {
    EXPECT_TRUE(Sample(Mesh()).Cloud().points.empty());
    EXPECT_TRUE(TDravinMeshSample().Cloud().points.empty());
}

TEST(MeshCloud, FirstPointsFollowTheTableOfRandomNumbers) {
    // On one triangle every draw picks face 0; u and v are the second and third number of a triple.
    Mesh triangle;
    triangle.verts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    triangle.faces = {{{0, 1, 2}, 0, 7}};
    TMeshCloud cloud = MakeMeshCloud(triangle, AnalyseElements(triangle), 1);
    ASSERT_EQ(cloud.points.size(), 25000u);
    TNuRandom generator(123456);
    for (size_t k = 0; k < 100; ++k) {
        generator.Random();
        float u = generator.Random(), v = generator.Random();
        if (u + v > 1) u = 1 - u, v = 1 - v;
        ASSERT_EQ(cloud.points[k].position, (Point3{u, v, 0}));
        EXPECT_EQ(cloud.points[k].matID, 7);
    }
    // The light comes from (1, 1, 4): cosine 4 / sqrt(18) with a face that looks up.
    EXPECT_FLOAT_EQ(cloud.points[0].shade, float(4 / std::sqrt(18.0)));
}

TEST(MeshCloud, PointsFollowTheArea) {
    // Two planes, one with three times the area of the other: a quarter of the points is on the
    // small one, with a standard deviation of sqrt(n p q) = 68.
    Mesh mesh = MakePlane(3, 1);
    Mesh small = TransformedMesh(MakePlane(1, 1), Matrix3::Translation({0, 0, 5}));
    TurnFaces(small);
    AppendMesh(mesh, small);
    TMeshCloud cloud = MakeMeshCloud(mesh, AnalyseElements(mesh), 1);
    int onSmall = 0;
    for (const TMeshCloudPoint& p : cloud.points) {
        onSmall += p.position.z == 5;
        EXPECT_EQ(p.element, p.position.z == 5 ? 1u : 0u);
        EXPECT_EQ(p.shade == 0, p.position.z == 5);  // the small one looks down
    }
    EXPECT_NEAR(onSmall, 6250, 4 * 68);
}

TEST(MeshCloud, ThreadsDoNotChangeIt) {
    Mesh sphere = MakeSphere(1, 64);
    TDravinMeshElements elements = AnalyseElements(sphere);
    auto color = [](size_t f) { return uint32_t(f * 3); };
    TMeshCloud one = MakeMeshCloud(sphere, elements, 1, color);
    TMeshCloud four = MakeMeshCloud(sphere, elements, 4, color);
    std::set<uint32_t> colors;
    for (size_t k = 0; k < one.points.size(); ++k) {
        ASSERT_EQ(one.points[k].position, four.points[k].position);
        ASSERT_EQ(one.points[k].color, four.points[k].color);
        colors.insert(one.points[k].color);
    }
    EXPECT_GT(colors.size(), 500u);
}

TEST(MeshCloud, FacesWithoutAreaAreHarmless) {
    Mesh mesh;
    mesh.verts = {{0, 0, 0}, {NAN, 0, 0}, {1, 1, 1}};
    mesh.faces = {{{0, 0, 0}}, {{0, 1, 2}}};
    EXPECT_EQ(MakeMeshCloud(mesh, AnalyseElements(mesh), 1).points.size(), 25000u);
}

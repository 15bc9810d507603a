#include "host/geom/mesh_tools.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "host/geom/primitives.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

void ExpectNear(const Point3& a, const Point3& b, float tolerance = 1e-5f) {
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

}  // namespace

TEST(VertexNormals, SeparateGroupsAreFlat) {
    Mesh box = MakeBox(1, 1, 1);
    std::vector<Point3> normals = VertexNormals(box);
    for (size_t c = 0; c < normals.size(); ++c)
        ExpectNear(normals[c], Normalize(box.FaceNormalUnscaled(c / 3)));
}

TEST(VertexNormals, OneGroupOnACubePointsAlongTheDiagonals) {
    // Weighting by angle makes the three sides count alike however they are split in triangles.
    Mesh box = MakeBox(2, 2, 2);
    for (Face& face : box.faces) face.smGroup = 4;
    std::vector<Point3> normals = VertexNormals(box);
    for (size_t c = 0; c < normals.size(); ++c)
        ExpectNear(normals[c], Normalize(box.verts[box.faces[c / 3].v[c % 3]] - Point3{0, 0, 1}));
}

TEST(VertexNormals, NoGroupIsFlatAndSharedBitSmooths) {
    Mesh roof;  // two faces meeting at a right angle along y
    roof.verts = {{0, 0, 0}, {0, 1, 0}, {-1, 0, -1}, {1, 0, -1}};
    roof.faces = {{{0, 1, 2}, 0}, {{1, 0, 3}, 0}};
    ExpectNear(VertexNormals(roof)[0], Normalize({-1, 0, 1}));
    roof.faces[0].smGroup = 6, roof.faces[1].smGroup = 3;
    ExpectNear(VertexNormals(roof)[0], {0, 0, 1});
    roof.faces[1].smGroup = 1;
    ExpectNear(VertexNormals(roof)[0], Normalize({-1, 0, 1}));
}

TEST(VertexNormals, ExplicitNormalsWinAndAreNormalised) {
    Mesh plane = MakePlane(1, 1);
    plane.normals.verts = {{3, 0, 4}};
    plane.normals.faces.assign(2, {0, 0, 0});
    for (const Point3& n : VertexNormals(plane)) ExpectNear(n, {0.6f, 0, 0.8f});
}

TEST(VertexNormals, FaceWithoutAreaPointsUp) {
    Mesh mesh;
    mesh.verts = {{0, 0, 0}};
    mesh.faces = {{{0, 0, 0}, 1}};
    EXPECT_EQ(VertexNormals(mesh), std::vector<Point3>(3, {0, 0, 1}));
}

TEST(WeldVertices, MergesIdenticalBitsOnly) {
    Mesh mesh;
    mesh.verts = {
        {1, 2, 3}, {0, 0, 0}, {1, 2, 3}, {-0.0f, 0, 0}, {1, 2, std::nextafter(3.0f, 4.0f)}};
    mesh.faces = {{{2, 1, 4}}, {{0, 3, 2}}};
    EXPECT_EQ(WeldVertices(mesh), 1u);
    EXPECT_EQ(mesh.verts.size(), 4u);
    EXPECT_EQ(mesh.faces[0].v, (Triple{0, 1, 3}));
    EXPECT_EQ(mesh.faces[1].v, (Triple{0, 2, 0}));
}

TEST(WeldVertices, EmptyMeshAndManyCopies) {
    Mesh mesh;
    EXPECT_EQ(WeldVertices(mesh), 0u);
    mesh.verts.assign(100000, {5, 5, 5});
    EXPECT_EQ(WeldVertices(mesh), 99999u);
}

TEST(TurnFaces, EdgeFlagsFollowTheirEdges) {
    Mesh mesh;
    mesh.verts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    mesh.faces = {{{0, 1, 2}, 0, 0, Face::kEdge1 | Face::kHidden}};  // edge 1-2 is visible
    mesh.MakeMap(1) = {mesh.verts, {{0, 1, 2}}};
    TurnFaces(mesh);
    EXPECT_EQ(mesh.faces[0].v, (Triple{1, 0, 2}));
    EXPECT_EQ(mesh.faces[0].flags, Face::kEdge2 | Face::kHidden);  // edge 2-1 is now the third
    EXPECT_EQ(mesh.Map(1)->faces[0], (Triple{1, 0, 2}));
}

TEST(TurnFaces, TwiceChangesNothing) {
    Mesh mesh = MakeBox(1, 2, 3, 2), twice = mesh;
    TurnFaces(twice);
    TurnFaces(twice);
    EXPECT_EQ(mesh, twice);
}

TEST(TransformMesh, MirrorKeepsTheOutsideOutside) {
    Mesh plane = MakePlane(1, 1);
    TransformMesh(plane, Matrix3::Scaling({-1, 1, 1}));
    EXPECT_GT(plane.FaceNormalUnscaled(0).z, 0);
    TransformMesh(plane, Matrix3::Scaling({1, 1, -1}));
    EXPECT_LT(plane.FaceNormalUnscaled(0).z, 0);
}

TEST(TransformMesh, NormalsFollowTheInverseTranspose) {
    // The plane x + z = 0 stretched by 2 along x becomes x / 2 + z = 0.
    Mesh mesh = MakePlane(1, 1);
    mesh.normals = {{Normalize({1, 0, 1})}, {{0, 0, 0}, {0, 0, 0}}};
    TransformMesh(mesh, Matrix3::Scaling({2, 1, 1}));
    ExpectNear(mesh.normals.verts[0], Normalize({0.5f, 0, 1}));
    TransformMesh(mesh, Matrix3::Scaling({1, 1, -1}));
    ExpectNear(mesh.normals.verts[0], Normalize({0.5f, 0, -1}));
}

TEST(AppendMesh, FillsMissingChannels) {
    Mesh mesh = MakePlane(1, 1), bare = MakePlane(1, 1);
    bare.maps.clear();
    bare.MakeMap(0) = {{{1, 0, 0}}, {{0, 0, 0}, {0, 0, 0}}};
    AppendMesh(mesh, bare);
    EXPECT_EQ(Validate(mesh), "");
    EXPECT_EQ(mesh.NumFaces(), 4u);
    EXPECT_EQ(mesh.Map(0)->verts[mesh.Map(0)->faces[0][0]], (Point3{}));
    EXPECT_EQ(mesh.Map(0)->verts[mesh.Map(0)->faces[2][0]], (Point3{1, 0, 0}));
}

TEST(FillMissingColors, WhiteStandsWhereThereAreNone) {
    Mesh plain = MakePlane(1, 1), red = MakePlane(1, 1), empty;
    red.MakeMap(0) = {{{1, 0, 0}}, {{0, 0, 0}, {0, 0, 0}}};
    FillMissingColors(plain, red);
    EXPECT_EQ(Validate(plain), "");
    EXPECT_EQ(plain.Map(0)->verts[plain.Map(0)->faces[1][2]], (Point3{1, 1, 1}));
    EXPECT_EQ(red.Map(0)->verts, (std::vector<Point3>{{1, 0, 0}}));
    FillMissingColors(empty, red);
    EXPECT_EQ(empty, Mesh());
}

TEST(AppendMesh, ToAnEmptyMeshIsACopy) {
    Mesh mesh, box = MakeBox(1, 2, 3);
    AppendMesh(mesh, box);
    EXPECT_EQ(mesh, box);
}

TEST(MeshOfFaces, KeepsTheirVerticesAndChannelsOnly) {
    Mesh plane = MakePlane(2, 2, 2, 2);
    std::vector<uint8_t> keep(plane.NumFaces(), 0);
    keep[0] = keep[1] = 1;  // the first quad
    Mesh part = MeshOfFaces(plane, keep);
    EXPECT_EQ(Validate(part), "");
    EXPECT_EQ(part.NumFaces(), 2u);
    EXPECT_EQ(part.verts.size(), 4u);
    EXPECT_EQ(part.maps[1].verts.size(), 4u);
    EXPECT_EQ(part.BoundingBox().Width(), (Point3{1, 1, 0}));
    for (size_t f : {0u, 1u})
        for (size_t k = 0; k < 3; ++k)
            EXPECT_EQ(part.verts[part.faces[f].v[k]], plane.verts[plane.faces[f].v[k]]);
    keep.assign(plane.NumFaces(), 0);
    EXPECT_TRUE(MeshOfFaces(plane, keep).verts.empty());
}

TEST(DropNonFinite, RemovesVerticesWithTheirFaces) {
    Mesh plane = MakePlane(2, 2, 2, 2);
    EXPECT_FALSE(FirstNonFiniteVertex(plane));
    plane.verts[8].y = kNaN;  // the last corner, used by the two faces of its cell
    EXPECT_EQ(FirstNonFiniteVertex(plane), 8u);
    EXPECT_EQ(DropNonFiniteVertices(plane), 1u);
    EXPECT_EQ(plane.NumFaces(), 6u);
    EXPECT_EQ(Validate(plane), "");
}

TEST(Validate, NamesTheFaceAndTheIndex) {
    Mesh mesh = MakePlane(1, 1);
    mesh.faces[1].v[2] = 99;
    EXPECT_EQ(Validate(mesh), "face 1: vertex index 99 of 4");
    mesh = MakePlane(1, 1);
    mesh.MakeMap(1).faces.pop_back();
    EXPECT_EQ(Validate(mesh), "channel 1: 1 faces, the mesh has 2");
}

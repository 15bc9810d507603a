#include "host/geom/mesh_motion.h"

#include <gtest/gtest.h>

#include "host/geom/mesh_tools.h"

namespace {

// The corner of a cube: three triangles that share no normal, and one normal of a slanted kind
// that all of them share.
Mesh Corner() {
    Mesh mesh;
    mesh.verts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    mesh.faces = {{{0, 2, 1}}, {{0, 1, 3}}, {{0, 3, 2}}};
    float s = std::sqrt(1 / 3.0f);
    mesh.normals.verts = {{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}, {-s, -s, -s}};
    mesh.normals.faces = {{3, 0, 0}, {3, 1, 1}, {3, 2, 2}};
    return mesh;
}

std::vector<Point3> Moved(const Mesh& mesh, const Matrix3& m) {
    std::vector<Point3> verts;
    for (const Point3& p : mesh.verts) verts.push_back(p * m);
    return verts;
}

void ExpectNear(const Point3& a, const Point3& b) {
    EXPECT_LE(Length(a - b), 1e-6f) << a.x << " " << a.y << " " << a.z;
}

}  // namespace

TEST(MoveVertices, NormalsTurnWithTheFaces) {
    Mesh mesh = Corner();
    const Mesh rest = mesh;
    Matrix3 turn = EulerDegreesToMatrix({30, -50, 110});
    Matrix3 move = Matrix3::Scaling({3, 3, 3}) * turn * Matrix3::Translation({5, 6, 7});
    MoveVertices(mesh, Moved(rest, move));
    EXPECT_EQ(mesh.verts, Moved(rest, move));
    for (size_t n = 0; n < rest.normals.verts.size(); ++n)
        ExpectNear(mesh.normals.verts[n], rest.normals.verts[n] * turn);
    EXPECT_EQ(mesh.faces, rest.faces);
}

// A slope of 45 degrees in x, flattened by half in z: its normal (-1, 0, 1) becomes (-1, 0, 2).
TEST(MoveVertices, FacesThatStretchKeepTheirNormalsUpright) {
    Mesh mesh;
    mesh.verts = {{0, 0, 0}, {1, 0, 1}, {0, 1, 0}};
    mesh.faces = {{{0, 1, 2}}};
    float s = std::sqrt(0.5f);
    mesh.normals = {{{-s, 0, s}}, {{0, 0, 0}}};
    MoveVertices(mesh, Moved(mesh, Matrix3::Scaling({1, 1, 0.5f})));
    ExpectNear(mesh.normals.verts[0], Normalize(Point3{-1, 0, 2}));
}

TEST(MoveVertices, FacesWithoutAreaKeepWhatTheyHave) {
    Mesh mesh = Corner();
    const Mesh rest = mesh;
    MoveVertices(mesh, std::vector<Point3>(4));
    EXPECT_EQ(mesh.normals, rest.normals);
    MoveVertices(mesh, rest.verts);  // and from nothing back again
    EXPECT_EQ(mesh.normals, rest.normals);

    Mesh plain;
    plain.verts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    plain.faces = {{{0, 1, 2}}};
    MoveVertices(plain, {{0, 0, 1}, {1, 0, 1}, {0, 1, 1}});
    EXPECT_TRUE(plain.normals.IsEmpty());
    EXPECT_EQ(Validate(plain), "");
}

#include "Dravin/engine/surface_array.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Dravin/engine/surfaces.h"
#include "tests/Dravin/engine/test_input.h"

namespace {

// A bumpy terrain of n x n cells over [0, n]^2.
std::shared_ptr<const Mesh> Terrain(int n) {
    auto mesh = std::make_shared<Mesh>();
    for (int j = 0; j <= n; ++j)
        for (int i = 0; i <= n; ++i)
            mesh->verts.push_back({float(i), float(j), std::sin(i * 0.7f) + std::cos(j * 0.9f)});
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            uint32_t a = uint32_t(j * (n + 1) + i), b = a + 1, c = a + uint32_t(n) + 1, d = c + 1;
            mesh->faces.push_back({{a, b, d}});
            mesh->faces.push_back({{a, d, c}});
        }
    return mesh;
}

// The obvious way: all faces, barycentric weights in double precision.
bool BruteHit(const Mesh& mesh, double x, double y, double* z) {
    bool found = false;
    for (const Face& f : mesh.faces) {
        Point3 a = mesh.verts[f.v[0]], b = mesh.verts[f.v[1]], c = mesh.verts[f.v[2]];
        double area =
            (double(b.x) - a.x) * (double(c.y) - a.y) - (double(b.y) - a.y) * (double(c.x) - a.x);
        double v = ((x - a.x) * (double(c.y) - a.y) - (y - a.y) * (double(c.x) - a.x)) / area;
        double w = ((double(b.x) - a.x) * (y - a.y) - (double(b.y) - a.y) * (x - a.x)) / area;
        if (v < 0 || w < 0 || v + w > 1) continue;
        double h = a.z + v * (double(b.z) - a.z) + w * (double(c.z) - a.z);
        if (!found || h > *z) *z = h;
        found = true;
    }
    return found;
}

TEST(SurfaceArray, AgreesWithBruteForceOnATerrain) {
    auto mesh = Terrain(20);
    TSurfXYArray array(mesh);
    TNuRandom random(1);
    for (int k = 0; k < 2000; ++k) {
        float x = random.Random() * 20, y = random.Random() * 20;
        TSurfHit hit;
        double z = 0;
        ASSERT_TRUE(array.CellHit(x, y, &hit));
        ASSERT_TRUE(BruteHit(*mesh, x, y, &z));
        EXPECT_NEAR(hit.point.z, z, 1e-5);
        Point3 b = hit.Barycentric();
        const Triple& t = mesh->faces[size_t(hit.face)].v;
        Point3 p = mesh->verts[t[0]] * b.x + mesh->verts[t[1]] * b.y + mesh->verts[t[2]] * b.z;
        EXPECT_NEAR(p.x, x, 1e-4);
        EXPECT_NEAR(p.y, y, 1e-4);
    }
}

TEST(SurfaceArray, NoPointFallsBetweenTheFacesOfAClosedTerrain) {
    auto mesh = Terrain(8);
    TSurfXYArray array(mesh);
    TSurfHit hit;
    for (int j = 0; j < 64; ++j)
        for (int i = 0; i < 64; ++i)  // along edges, diagonals and through vertices
            EXPECT_TRUE(array.CellHit(float(i) / 8, float(j) / 8, &hit)) << i << " " << j;
}

TEST(SurfaceArray, TheGridBoundsAreInclusive) {
    // The far edge of a face belongs to the next one, but a point there is still looked up: a
    // second face that reaches beyond it is hit at exactly the first one's maximum x.
    TSurfXYArray array(SquareMesh(0, 0, 4, 4));
    TSurfHit hit;
    EXPECT_TRUE(array.CellHit(0, 0, &hit));
    EXPECT_FALSE(array.CellHit(4.0001f, 1, &hit));
    EXPECT_FALSE(array.CellHit(-0.0001f, 1, &hit));

    auto two = std::make_shared<Mesh>(*SquareMesh(0, 0, 4, 4));
    two->verts.insert(two->verts.end(), {{4, 5, 1}, {0, 5, 1}, {4, -1, 1}});
    two->faces.push_back({{4, 5, 6}});
    TSurfXYArray both(two);
    EXPECT_EQ(both.GridBounds().max.x, 4);
    EXPECT_TRUE(both.CellHit(std::nextafter(4.0f, 0.0f), 2, &hit));
    EXPECT_FALSE(both.CellHit(std::nextafter(4.0f, 5.0f), 2, &hit));
}

TEST(SurfaceArray, DownwardFacesAreHitAndFlagged) {
    auto mesh = std::make_shared<Mesh>(*SquareMesh(0, 0, 4, 4, 2));
    for (Face& f : mesh->faces) std::swap(f.v[1], f.v[2]);
    TSurfXYArray array(mesh);
    TSurfHit hit;
    ASSERT_TRUE(array.CellHit(1, 2, &hit));
    EXPECT_EQ(hit.point.z, 2);
    EXPECT_TRUE(array.IsReversed(hit.face));
    EXPECT_EQ(hit.normal, (Point3{0, 0, -1}));
}

TEST(SurfaceArray, BadFacesAreLeftOut) {
    auto mesh = std::make_shared<Mesh>(*SquareMesh(0, 0, 4, 4));
    float nan = std::numeric_limits<float>::quiet_NaN(),
          inf = std::numeric_limits<float>::infinity();
    mesh->verts.insert(mesh->verts.end(), {{nan, 0, 0}, {inf, 1, 1}, {2, 2, 9}});
    mesh->faces.push_back({{0, 1, 4}});    // not a number
    mesh->faces.push_back({{0, 1, 5}});    // infinite
    mesh->faces.push_back({{0, 1, 1}});    // no area
    mesh->faces.push_back({{0, 1, 999}});  // no such vertex
    TSurfXYArray array(mesh);
    TSurfHit hit;
    ASSERT_TRUE(array.CellHit(1, 2, &hit));
    EXPECT_LT(hit.face, 2);
    EXPECT_EQ(array.Bounds().max.x, 4);

    TSurfXYArray empty(std::make_shared<Mesh>());
    EXPECT_FALSE(empty.CellHit(0, 0, &hit));
    EXPECT_TRUE(empty.GridBounds().IsEmpty());
}

TEST(SurfaceArray, ThreadsDoNotChangeIt) {
    auto mesh = Terrain(150);
    TSurfXYArray one(mesh, 1), eight(mesh, 8);
    for (float x = 0.3f; x < 150; x += 1.7f) {
        TSurfHit a, b;
        ASSERT_EQ(one.CellHit(x, x / 2, &a), eight.CellHit(x, x / 2, &b));
        EXPECT_EQ(a.face, b.face);
        EXPECT_EQ(a.point, b.point);
    }
}

TEST(SurfaceHit, ItemsLandOnTheUpperOfTwoSurfaces) {
    TBuildInput input;
    AddSurface(input, SquareMesh(0, 0, 4, 4, 1));
    AddSurface(input, SquareMesh(0, 0, 2, 4, 3));
    EXPECT_EQ(SurfaceHit(input, {1, 1, 0})->point.z, 3);
    EXPECT_EQ(SurfaceHit(input, {3, 1, 0})->point.z, 1);
    EXPECT_FALSE(SurfaceHit(input, {5, 1, 0}));
}

TEST(SurfaceHit, TheDropRunsAlongTheSurfacesOwnZAxis) {
    // Turned by 90 degrees about Y the square stands upright: local z points along object x.
    TBuildInput input;
    AddSurface(input, SquareMesh(-4, -4, 4, 4, 2), Matrix3::RotationY(1.5707964f));
    auto hit = SurfaceHit(input, {7, 1, 1});
    ASSERT_TRUE(hit);
    EXPECT_NEAR(hit->point.x, 2, 1e-5);
    EXPECT_NEAR(hit->point.z, 1, 1e-5);
    EXPECT_NEAR(hit->faceNormal.x, 1, 1e-6);
}

TEST(WorkingNormal, FollowsTheDirectionPercent) {
    Point3 slope = Normalize(Point3{1, 0, 1});
    EXPECT_EQ(WorkingNormal(slope, 100), (Point3{0, 0, 1}));
    EXPECT_EQ(WorkingNormal(slope, -100), (Point3{0, 0, -1}));
    EXPECT_NEAR(WorkingNormal(slope, 0).x, slope.x, 1e-6);
    Point3 lean = WorkingNormal(slope, -60),
           expected = Normalize(slope * 0.4f + Point3{0, 0, -0.6f});
    EXPECT_NEAR(lean.x, expected.x, 1e-6);
    EXPECT_NEAR(lean.z, expected.z, 1e-6);
}

}  // namespace

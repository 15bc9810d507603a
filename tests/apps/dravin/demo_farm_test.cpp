#include "apps/dravin/demo_farm.h"

#include <gtest/gtest.h>

#include <cmath>

#include "host/base/thread_pool.h"
#include "host/geom/mesh_tools.h"
#include "host/io/mesh_import.h"
#include "tests/temp_folder.h"

using namespace demo;

namespace {

const Valley& TheValley() {
    static const Valley valley(NumProcessors());
    return valley;
}

}  // namespace

TEST(Patch, CornersLieOnItsBorder) {
    for (int i = 0; i < 24; ++i) {
        Point2 p = kPasture.Corner(i, 24);
        EXPECT_NEAR(kPasture.Reach(p.x, p.y), 1, 1e-4f);
        Point2 half = (p + kPasture.center) * 0.5f;
        EXPECT_NEAR(kPasture.Reach(half.x, half.y), 0.5f, 1e-4f);
    }
    EXPECT_EQ(kYard.Reach(kYard.center.x, kYard.center.y), 0);
}

TEST(RoadMesh, LiesOnTheLandAndLooksUp) {
    TempFolder folder;
    std::string error;
    auto mesh = ImportMesh(folder.Write("track.obj", RoadMesh(TheValley())), "", &error);
    ASSERT_TRUE(mesh) << error;
    EXPECT_EQ(Validate(*mesh), "");
    EXPECT_GT(mesh->NumFaces(), 4000u);
    for (const Point3& p : mesh->verts) {
        ASSERT_NEAR(p.z - TheValley().Height(p.x, p.y), 0.035f, 2e-3f);  // written in millimetres
        ASSERT_LT(std::fabs(p.x - RoadX(p.y)), 2.f);
    }
    for (const Face& f : mesh->faces)
        ASSERT_GT(CrossProd(mesh->verts[f.v[1]] - mesh->verts[f.v[0]],
                            mesh->verts[f.v[2]] - mesh->verts[f.v[0]])
                      .z,
                  0);
}

TEST(RoadPicture, IsWholeInTheMiddleAndRaggedAtItsBorders) {
    int open = 0;
    for (float y = 0; y < kRoadTile; y += 0.1f) {
        EXPECT_EQ(RoadOpacity(0, y), 1);
        EXPECT_EQ(RoadOpacity(kRoadHalfWidth, y), 0);
        open += RoadOpacity(1.36f, y) > 0.5f;
    }
    EXPECT_GT(open, 20);
    EXPECT_LT(open, 140);
}

TEST(RoadPicture, Repeats) {
    for (float x = -1.5f; x < 1.6f; x += 0.25f) {
        Color start = RoadColor(x, 0), end = RoadColor(x, kRoadTile);
        EXPECT_NEAR(start.r, end.r, 1e-4f);
        EXPECT_NEAR(start.g, end.g, 1e-4f);
        EXPECT_NEAR(RoadOpacity(x, 0), RoadOpacity(x, kRoadTile), 1e-3f);
    }
}

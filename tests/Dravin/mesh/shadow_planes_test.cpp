#include "Dravin/mesh/shadow_planes.h"

#include <gtest/gtest.h>

namespace {

TDravinItem Item() {
    TDravinItem item;
    item.position = {1, 2, 0.5f};
    item.width = 2, item.height = 3;
    item.centerPercent = 30;
    item.shadowDirection = {0.6f, 0.8f};
    return item;
}

void ExpectVerts(const TShadowPlane& plane, const Point3 (&expected)[4]) {
    for (size_t k = 0; k < 4; ++k)
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(plane.verts[k][i], expected[k][i], 1e-4) << k << " " << i;
}

}  // namespace

// Base (0.994, 1.992), across (-0.8, 0.6): 0.6 to the left of it, 1.4 to the right.
TEST(ShadowPlanes, VerticalPlaneStandsBehindTheItem) {
    TShadowPlane plane = VerticalShadowPlane(Item(), {});
    ExpectVerts(plane, {{1.474f, 1.632f, 0.5f},
                        {1.474f, 1.632f, 3.5f},
                        {-0.126f, 2.832f, 3.5f},
                        {-0.126f, 2.832f, 0.5f}});
    EXPECT_EQ(plane.mapFaces[0], (Triple{2, 3, 0}));
    EXPECT_EQ(plane.mapFaces[1], (Triple{0, 1, 2}));
}

// 1.4 to the left, 0.6 to the right; left and right of the image are exchanged.
TEST(ShadowPlanes, MirroredItemsMirrorThePlaneAndItsImage) {
    TDravinItem item = Item();
    item.mirrored = 1;
    TShadowPlane plane = VerticalShadowPlane(item, {});
    ExpectVerts(plane, {{2.114f, 1.152f, 0.5f},
                        {2.114f, 1.152f, 3.5f},
                        {0.514f, 2.352f, 3.5f},
                        {0.514f, 2.352f, 0.5f}});
    EXPECT_EQ(plane.mapFaces[0], (Triple{3, 2, 1}));
    EXPECT_EQ(plane.mapFaces[1], (Triple{1, 0, 3}));
}

// At 0.5 + 3 * 5 %, half a side 1 * 80 %: ahead (0.48, 0.64), aside (-0.64, 0.48).
TEST(ShadowPlanes, HorizontalPlaneLiesAboveTheBase) {
    TShadowPlane plane = HorizontalShadowPlane(Item(), {});
    ExpectVerts(plane, {{1.16f, 0.88f, 0.65f},
                        {-0.12f, 1.84f, 0.65f},
                        {0.84f, 3.12f, 0.65f},
                        {2.12f, 2.16f, 0.65f}});
    EXPECT_EQ(plane.mapFaces[0], (Triple{0, 3, 2}));
    EXPECT_EQ(plane.mapFaces[1], (Triple{2, 1, 0}));
}

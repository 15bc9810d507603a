#include "Dravin/viewport/cloud_rule.h"

#include <gtest/gtest.h>

namespace {

// At the origin, along -Z, a right angle wide: a unit at depth 1 covers 100 pixels, the middle is
// at (100, 50).
const TViewportCamera kCamera({}, 90, 200, 100);

TEST(ViewportCamera, ProjectsPoints) {
    TScreenPoint p;
    ASSERT_TRUE(kCamera.Project({1, 0.5f, -10}, &p));
    EXPECT_NEAR(p.x, 110, 1e-4);
    EXPECT_NEAR(p.y, 45, 1e-4);
    EXPECT_NEAR(p.nearness, 0.1f, 1e-7);
    EXPECT_FALSE(kCamera.Project({0, 0, 1}, &p));
    EXPECT_FALSE(kCamera.Project({0, 0, 0}, &p));
    // Twice the pixels, seen from a space that lies 3 to the right.
    ASSERT_TRUE(kCamera.Enlarged(2).Of(Matrix3::Translation({3, 0, 0})).Project({-2, 0, -10}, &p));
    EXPECT_NEAR(p.x, 220, 1e-3);
}

TEST(ItemRectangle, HoldsTheCorners) {
    TItemRectangle r = ItemRectangle(kCamera, {{-1, -1, -10}, {1.05f, 1, -10}});
    EXPECT_FALSE(r.isHidden);
    EXPECT_EQ(r.left, 90);
    EXPECT_EQ(r.right, 110);
    EXPECT_EQ(r.area, 21u * 21u);
    EXPECT_TRUE(ItemRectangle(kCamera, {{11, -1, -10}, {13, 1, -10}}).isHidden);
    EXPECT_TRUE(ItemRectangle(kCamera, {{-1, -1, 2}, {1, 1, 3}}).isHidden);
    // Cut at the border: pixels 190 to 199.
    r = ItemRectangle(kCamera, {{9, -1, -10}, {11, 1, -10}});
    EXPECT_EQ(r.right - r.left + 1, 10);
    // Around the camera: all of it.
    EXPECT_EQ(ItemRectangle(kCamera, {{-1, -1, -1}, {1, 1, 1}}).area, 200u * 100u);
}

TEST(ItemRectangle, OnePixel) {
    TItemRectangle r = ItemRectangle(kCamera, {{0.01f, 0.01f, -10}, {0.02f, 0.02f, -10}});
    EXPECT_EQ(r.area, 1u);
    EXPECT_EQ(NumDots(r.area, DotsPerPixel(0.5f, false), false), 1);
}

TEST(NumDots, FollowsAreaAndDensity) {
    float usual = DotsPerPixel(0.5f, false);  // 0.025 a pixel
    EXPECT_EQ(NumDots(441, usual, false), 11);
    EXPECT_EQ(NumDots(441, DotsPerPixel(1, false), false), 22);
    EXPECT_EQ(NumDots(441, usual, true), 5);
    EXPECT_EQ(NumDots(441, DotsPerPixel(0.5f, true), false), 3);
    EXPECT_EQ(NumDots(41, usual, true), 1);
    EXPECT_EQ(NumDots(2'000'000, usual, false), 25000);
    EXPECT_EQ(NumDots(0xFFFFFFFF, DotsPerPixel(1000, false), false), 25000);
}

class DotColors : public testing::Test {
protected:
    TViewScatter scatter;
    TViewItem item;
    TMeshCloudPoint point;

    void SetUp() override {
        scatter.palette = {{1, 1, 1}, {0.4f, 0.2f, 0.1f}, {0, 0.8f, 0}};
        scatter.prototypes.resize(1);
        scatter.prototypes[0].palette = {1, 2};
        scatter.prototypes[0].idColor = {0, 0, 0.6f};
        scatter.dotShade = 0;
    }
    void Expect(Color wanted) const {
        Color c = DotColor(scatter, item, point);
        EXPECT_NEAR(c.r, wanted.r, 1e-6);
        EXPECT_NEAR(c.g, wanted.g, 1e-6);
        EXPECT_NEAR(c.b, wanted.b, 1e-6);
    }
};

TEST_F(DotColors, ComeFromThePalette) {
    Expect({0.4f, 0.2f, 0.1f});
    point.matID = 3;  // wraps around to the second
    Expect({0, 0.8f, 0});
    scatter.usesIdColor = true;
    Expect({0, 0, 0.6f});
}

TEST_F(DotColors, OfSelectedItemsOnlyWhereItemsAreEdited) {
    item.flags = TViewItem::kSelected;
    Expect({0.4f, 0.2f, 0.1f});
    scatter.isEdited = true;
    Expect({1, 1, 1});
}

TEST_F(DotColors, TintMultipliesAndLightDarkens) {
    item.tint[0] = 255, item.tint[1] = 51;  // 1, 0.2, 0
    item.tintAmount = 255;
    Expect({0.4f, 0.04f, 0});
    item.tintAmount = 51;  // a fifth: 0.2 * 0.2 * 0.2 + 0.8 * 0.2 = 0.168
    Expect({0.4f, 0.168f, 0.08f});
    item.tintAmount = 0;
    scatter.dotShade = 0.5f;  // in the dark a half, in full light all
    Expect({0.2f, 0.1f, 0.05f});
    point.shade = 1;
    Expect({0.4f, 0.2f, 0.1f});
}

}  // namespace

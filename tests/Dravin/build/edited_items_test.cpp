#include "Dravin/build/edited_items.h"

#include <gtest/gtest.h>

#include "host/scene/host_context.h"

TEST(EulerDegreesOf, IsTheInverseOfTheMatrix) {
    for (Point3 angles : {Point3{0, 0, 0}, {10, 20, 30}, {-170, 80, 95}, {45, -60, -135}}) {
        Point3 found = EulerDegreesOf(EulerDegreesToMatrix(angles));
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(found[i], angles[i], 1e-3f);
    }
    // A quarter turn about z takes x to y.
    EXPECT_NEAR(EulerDegreesOf({{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {}}}).z, 90, 1e-4f);
}

TEST(EulerDegreesOf, PutsAllIntoXWhereYIsARightAngle) {
    for (float y : {90.0f, -90.0f}) {
        Matrix3 turned = EulerDegreesToMatrix({30, y, 20});
        Point3 found = EulerDegreesOf(turned);
        EXPECT_EQ(found.z, 0);
        EXPECT_TRUE(EulerDegreesToMatrix(found).Equals(turned, 1e-3f)) << y;
    }
}

TEST(EditedItems, AreLeftAloneInGenerateMode) {
    HostContext host;
    auto object = TDravin::Create();
    TEditedItems items(*object, 0);
    items.Create({1, 2, 3}, 1, 1, 1);
    items.SetSeed(0, 7);
    EXPECT_EQ(items.Count(), 0);
    EXPECT_EQ(items.Seed(0), 0xffffffffu);
    EXPECT_EQ(items.Geometry(0), 0xffffffffu);
    EXPECT_TRUE(object->StoredItems().empty());
}

TEST(EditedItems, ThatNothingShowsKeepTheirSize) {
    HostContext host;
    auto object = TDravin::Create();
    object->Block(kEditionParams).SuspendAccessors();
    object->Block(kEditionParams).SetValue(editionParams::kMode, 0, 1);
    TEditedItems items(*object, 0);
    items.Create({1, 2, 3}, 5, 5, 0);  // without a geometry list nothing can be measured
    ASSERT_EQ(items.Count(), 1);
    EXPECT_EQ(object->StoredItems()[0].sizeFactor, (Point3{1, 1, 1}));
    EXPECT_EQ(items.Geometry(0), 1u);
    items.Delete(1);
    items.Delete(-1);
    EXPECT_EQ(items.Count(), 1);
    items.Delete(0);
    EXPECT_EQ(items.Count(), 0);
}

#include "host/base/near_path.h"

#include <gtest/gtest.h>

TEST(NearPath, IsRelativeBelowTheFolder) {
    EXPECT_EQ(NearPath("/project/maps/a.png", "/project"), "maps/a.png");
    EXPECT_EQ(NearPath("/project/./maps/../b.png", "/project/"), "b.png");
    EXPECT_EQ(NearPath("b.png", ""), "b.png");
    EXPECT_EQ(NearPath("", "/project"), "");
}

TEST(NearPath, IsAbsoluteTooFarAbove) {
    EXPECT_EQ(NearPath("/project/maps/a.png", "/project/scenes"), "/project/maps/a.png");
    EXPECT_EQ(NearPath("/project/maps/a.png", "/project/scenes", 1), "../maps/a.png");
    EXPECT_EQ(NearPath("/project/maps/a.png", "/project/scenes/deep", 1), "/project/maps/a.png");
    EXPECT_EQ(NearPath("/project/maps/a.png", "/project/scenes/deep", 2), "../../maps/a.png");
}

TEST(NearPath, PathsThatLeaveAFolder) {
    EXPECT_FALSE(LeavesFolder("maps/a.png"));
    EXPECT_FALSE(LeavesFolder("..maps/a.png"));
    EXPECT_FALSE(LeavesFolder(""));
    EXPECT_TRUE(LeavesFolder("../a.png"));
    EXPECT_TRUE(LeavesFolder("/a.png"));
}

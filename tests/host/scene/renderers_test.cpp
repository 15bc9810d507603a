#include "host/scene/renderers.h"

#include <gtest/gtest.h>

#include "host/scene/host_context.h"

namespace {

TEST(Renderers, TheProgramsOwnAreThere) {
    Renderers renderers;
    ASSERT_EQ(renderers.All().size(), 2u);
    EXPECT_EQ(renderers.Current().id, kRayTracerId);
    EXPECT_EQ(renderers.Find("Scanline")->id, kScanlineRendererId);
}

TEST(Renderers, NumbersAreTakenOnce) {
    Renderers renderers;
    EXPECT_TRUE(renderers.Register({{1, 2}, "Other"}));
    EXPECT_FALSE(renderers.Register({{1, 2}, "Third"}));
    EXPECT_FALSE(renderers.Register({{}, "Nobody"}));
    EXPECT_EQ(renderers.Find(ClassId{1, 2})->name, "Other");
}

TEST(Renderers, AnUnknownOneIsNotChosen) {
    Renderers renderers;
    EXPECT_FALSE(renderers.SetCurrent({1, 2}));
    EXPECT_EQ(renderers.Current().id, kRayTracerId);
}

TEST(Renderers, TheCurrentOneMayGo) {
    Renderers renderers;
    renderers.Register({{1, 2}, "Other"});
    renderers.SetCurrent({1, 2});
    EXPECT_TRUE(renderers.Unregister({1, 2}));
    EXPECT_FALSE(renderers.Unregister({1, 2}));
    EXPECT_EQ(renderers.Current().id, kRayTracerId);
    EXPECT_TRUE(renderers.Unregister(kRayTracerId));
    EXPECT_EQ(renderers.Current().id, kScanlineRendererId);
    EXPECT_FALSE(renderers.Unregister(kScanlineRendererId));  // there is always one
}

TEST(Renderers, BelongToTheSession) {
    HostContext first;
    first.State<Renderers>().SetCurrent(kScanlineRendererId);
    EXPECT_EQ(CurrentRendererId(), kScanlineRendererId);
    HostContext second;
    EXPECT_EQ(CurrentRendererId(), kRayTracerId);
}

}  // namespace

#include "Dravin/render/engine_registry.h"

#include <gmock/gmock.h>

#include "tests/Dravin/render/render_fixture.h"

namespace {

class EngineRegistry : public RenderFixture {};

TEST_F(EngineRegistry, RegisteringTwiceKeepsOneEntry) {
    Pack().registerEngine();
    Pack().registerEngine();
    const auto& engines = TEngineRegistry::Current().Engines();
    ASSERT_EQ(engines.size(), 1u);
    EXPECT_EQ(engines[0].classA, kRenderer.a);
    EXPECT_EQ(engines[0].classB, kRenderer.b);
    EXPECT_EQ(engines[0].version, 0u);
    EXPECT_EQ(engines[0].flag, 0);
}

TEST_F(EngineRegistry, FeaturesAreKeptAndTheLevelIsTold) {
    uint32_t features[3] = {512, 1, 7};
    Pack().setEngineFeatures(features);
    EXPECT_THAT(features, testing::ElementsAre(512u, 1u, 513u));
    const TDravinEngine* engine = TEngineRegistry::Current().Find(kRenderer);
    ASSERT_TRUE(engine);
    EXPECT_EQ(engine->version, 512u);
    EXPECT_EQ(engine->flag, 1);
    features[1] = 2;  // 1 alone sets the flag
    Pack().setEngineFeatures(features);
    EXPECT_EQ(engine->flag, 0);
    Pack().setEngineFeatures(nullptr);
    EXPECT_EQ(TEngineRegistry::Current().Engines().size(), 1u);
}

// Whoever begins a render of nodes takes them, registered or not.
TEST_F(EngineRegistry, WhoRegistersTakesInstances) {
    EXPECT_FALSE(CurrentRendererTakesInstances());
    TBuildFlags flags;
    flags.render = true;
    object->Build().BuildMesh(0, flags);
    EXPECT_EQ(object->Build().ObjectMesh().Statistics().instancedItems, 0);
    Trees().IDravinRenderBegin(0);
    EXPECT_GT(object->Build().ObjectMesh().Statistics().instancedItems, 0);
    Trees().IDravinRenderEnd(0);
    Pack().registerEngine();
    EXPECT_TRUE(CurrentRendererTakesInstances());
    object->Build().BuildMesh(0, flags);
    EXPECT_GT(object->Build().ObjectMesh().Statistics().instancedItems, 0);
}

TEST_F(EngineRegistry, EachRendererHasItsOwn) {
    AskFor(512);
    UseRenderer({1, 2}, "Other");
    EXPECT_FALSE(TEngineRegistry::Current().Find({1, 2}));
    Pack().registerEngine();
    EXPECT_EQ(TEngineRegistry::Current().Find({1, 2})->version, 0u);
    EXPECT_EQ(TEngineRegistry::Current().Find(kRenderer)->version, 512u);
}

TEST_F(EngineRegistry, SessionsShareNothing) {
    AskFor(512);
    HostContext other;
    EXPECT_TRUE(TEngineRegistry::Current().Engines().empty());
    EXPECT_EQ(CurrentRendererId(), kRayTracerId);
}

}  // namespace

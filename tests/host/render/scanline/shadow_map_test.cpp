// Shadow maps over the geometry of a real scene, seen straight from above unless told otherwise.
#include "host/scene/shadow_map.h"

#include <gmock/gmock.h>

#include <cmath>

#include "host/params/clone_map.h"
#include "host/render/scanline/shadow_scene.h"
#include "host/scene/node.h"
#include "tests/host/render/render_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class ShadowMap : public testing::Test {
protected:
    RenderScene scene;
    Mesh plate = MakePlane(2, 2);
    std::shared_ptr<StandardMtl> white = MakeMtl({1, 1, 1});
    std::shared_ptr<ShadowMapType> type = NewDefaultShadowMapType();
    std::unique_ptr<ShadowGenerator> generator;
    std::vector<std::string> problems;
    uint64_t memory = 1 << 30;
    std::shared_ptr<LightObject> light;  // null: of no scene
    // Of no meaning to the map.
    HitPlace nowhere;
    RenderMaterial plain;
    HitContext sc{nowhere, plain, 0, RayKind::kCamera};

    void SetUp() override {
        type->SetMapSize(0, 8);
        type->SetMapBias(0, 0);
        type->SetMapRange(0, 0);
    }
    // The square [-4, 4] of a light at height 10: a pixel is a unit.
    int Update(LightKind kind = LightKind::kDirectional, float param = 4) {
        ScanScene geometry(scene);
        ScanShadowScene shadows(geometry, 2, [this] { return memory; });
        generator = type->CreateShadowGenerator(light.get(), {kind}, 0);
        int result =
            generator->Update({0, &shadows, Matrix3::Translation({0, 0, 10}), 1, param, 0});
        problems = shadows.Problems();
        return result;
    }
    float At(int x, int y) { return generator->Buffer()[y * 8 + x]; }
    float Lit(float x, float y, float z) { return generator->Sample(sc, x, y, z, 0, 0); }
};

}  // namespace

TEST_F(ShadowMap, RowsRunAgainstTheLightsY) {
    // A plate of 2 x 2 about (2, 3) at height 1: columns 5 and 6, rows 0 and 1, depth 9.
    scene.nodes = {{&plate, white.get(), Matrix3::Translation({2, 3, 1})}};
    EXPECT_EQ(Update(), 1);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            bool isPlate = (x == 5 || x == 6) && y < 2;
            EXPECT_EQ(At(x, y), isPlate ? 9 : INFINITY) << x << ' ' << y;
        }
    EXPECT_THAT(problems, IsEmpty());
}

TEST_F(ShadowMap, TheNearestOfAllCounts) {
    scene.nodes = {{&plate, white.get(), Matrix3::Translation({0, 0, 1})},
                   {&plate, white.get(), Matrix3::Translation({0, 0, 4})},
                   {&plate, white.get(), Matrix3::Translation({0, 0, 2})}};
    Update();
    EXPECT_EQ(At(4, 4), 6);
}

TEST_F(ShadowMap, WhoCastsNoShadowsIsNotSeen) {
    auto tree = INode::Create("tree"), rock = INode::Create("rock");
    scene.nodes = {{&plate, white.get(), Matrix3::Translation({0, 0, 1}), nullptr, rock.get()},
                   {&plate, white.get(), Matrix3::Translation({0, 0, 4}), nullptr, tree.get()}};
    tree->castsShadows = false;
    Update();
    EXPECT_EQ(At(4, 4), 9);
    tree->castsShadows = true;
    light = std::make_shared<LightObject>();
    light->SetShadowNodes({tree});
    Update();
    EXPECT_EQ(At(4, 4), 9);
    light->includesShadowNodes = true;
    Update();
    EXPECT_EQ(At(4, 4), 6);
    tree->castsShadows = false;
    Update();
    EXPECT_EQ(At(4, 4), INFINITY);
}

TEST_F(ShadowMap, APlaceIsLitUpToWhatTheMapSees) {
    scene.nodes = {{&plate, white.get(), Matrix3::Translation({0, 0, 1})}};
    Update();
    EXPECT_EQ(Lit(4.5f, 4.5f, 9), 1);
    EXPECT_EQ(Lit(4.5f, 4.5f, 9.01f), 0);
    EXPECT_EQ(Lit(1.5f, 4.5f, 9.01f), 1);
    EXPECT_EQ(generator->QuickSample(4, 4, 9.5f), 0);
    EXPECT_EQ(generator->QuickSample(1, 4, 9.5f), 1);
    EXPECT_EQ(Lit(-3, 4, 99), 1);  // outside the map
    EXPECT_EQ(Lit(NAN, 4, 99), 1);
}

TEST_F(ShadowMap, TheSampleRangeIsTheSideOfASquare) {
    scene.nodes = {{&plate, white.get(), Matrix3::Translation({0, 0, 1})}};
    type->SetMapRange(0, 2);
    Update();
    // The plate covers columns 3 and 4, [3, 5). Squares of side 2 about x: [x - 1, x + 1).
    EXPECT_EQ(Lit(4, 4, 10), 0);
    EXPECT_NEAR(Lit(5, 4, 10), 0.5f, 1e-6f);
    EXPECT_NEAR(Lit(5.5f, 4, 10), 0.75f, 1e-6f);
    EXPECT_NEAR(Lit(5, 5, 10), 0.75f, 1e-6f);
    EXPECT_EQ(Lit(6, 4, 10), 1);
    EXPECT_NEAR(generator->FiltSample(4, 4, 10, 4), 0.75f, 1e-6f);  // 4 of 16 pixels
    // Six steps of 5/6: at 1.42, 2.25, 3.08, 3.92, 4.75 and 5.58, the middle three in the shadow.
    EXPECT_NEAR(generator->LineSample({1, 4, 10}, {6, 4, 10}), 0.5f, 1e-6f);
}

TEST_F(ShadowMap, WideRangesTakeAGridOfPlaces) {
    scene.nodes = {{&plate, white.get(), Matrix3::Translation({0, 0, 1})}};
    type->SetMapSize(0, 64);
    type->SetMapRange(0, 1e9f);
    Update();
    // The whole map: a sixteenth of it is dark, 16 x 16 of 64 x 64 pixels.
    EXPECT_NEAR(Lit(32, 32, 10), 15 / 16.f, 1e-6f);
}

TEST_F(ShadowMap, BiasIsALengthOrANumberOfPixels) {
    scene.nodes = {{&plate, white.get(), Matrix3::Translation({0, 0, 1})}};
    type->SetMapBias(0, 0.5f);
    type->SetAbsoluteMapBias(0, true);
    type->SetMapSize(0, 16);
    Update();
    EXPECT_EQ(Lit(8.5f, 8.5f, 9.4f), 1);
    EXPECT_EQ(Lit(8.5f, 8.5f, 9.6f), 0);
    // A pixel is half a unit now.
    type->SetAbsoluteMapBias(0, false);
    Update();
    EXPECT_EQ(Lit(8.5f, 8.5f, 9.2f), 1);
    EXPECT_EQ(Lit(8.5f, 8.5f, 9.3f), 0);
}

TEST_F(ShadowMap, NeighboursAreComparedWithThePlaneOfTheSurface) {
    // A roof that rises by one a unit of x, without any bias.
    Matrix3 slope{{{1, 0, 1}, {0, 1, 0}, {0, 0, 1}, {}}};
    Mesh roof = MakePlane(8, 8);
    scene.nodes = {{&roof, white.get(), slope}};
    type->SetMapRange(0, 3);
    Update();
    float z = 10 - 0.5f + 1e-4f;  // at x = 0.5, column 4.5
    EXPECT_NEAR(generator->Sample(sc, 4.5f, 4.5f, z - 2e-4f, -1, 0), 1, 1e-6f);
    EXPECT_LT(generator->Sample(sc, 4.5f, 4.5f, z - 2e-4f, 0, 0), 0.7f);
}

TEST_F(ShadowMap, MapsWithPerspectiveSeeAnAngle) {
    // A right angle at height 10: the plate at depth 5 is 2 of 10 wide, 1.6 of 8 pixels.
    scene.nodes = {{&plate, white.get(), Matrix3::Translation({0, 0, 5})}};
    Update(LightKind::kSpot, 3.14159265f / 2);
    EXPECT_NEAR(At(4, 4), 5, 1e-4f);
    EXPECT_NEAR(At(3, 3), 5, 1e-4f);
    EXPECT_EQ(At(5, 4), INFINITY);
}

TEST_F(ShadowMap, MasksCutHoles) {
    auto cut = MakeMtl({1, 1, 1});
    cut->opacityMap = MakeStripes();  // u in [0, 1/4) and [1/2, 3/4) is opaque
    Mesh roof = MakePlane(8, 8);
    scene.nodes = {{&roof, cut.get(), Matrix3::Translation({0, 0, 1})}};
    Update();
    std::vector<bool> isSolid;
    for (int x = 0; x < 8; ++x) isSolid.push_back(At(x, 4) == 9);
    EXPECT_THAT(isSolid, ElementsAre(true, true, false, false, true, true, false, false));
}

TEST_F(ShadowMap, NoSizeMeansNoShadows) {
    scene.nodes = {{&plate, white.get(), {}}};
    type->SetMapSize(0, 0);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(generator->Buffer(), nullptr);
    EXPECT_EQ(Lit(0, 0, 100), 1);
    EXPECT_THAT(problems, ElementsAre("a light casts no shadows: the size of its shadow map is 0; "
                                      "give it pixels"));
}

TEST_F(ShadowMap, SizesBeyondTheMemoryAreRefused) {
    scene.nodes = {{&plate, white.get(), {}}};
    type->SetMapSize(0, 999999);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(generator->Buffer(), nullptr);
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_THAT(problems[0],
                HasSubstr("999999 x 999999 pixels takes 3999.99 GB, 1.07 GB are free"));
    memory = 8 * 8 * sizeof(float);
    type->SetMapSize(0, 8);
    Update();
    EXPECT_NE(generator->Buffer(), nullptr);
    --memory;
    Update();
    EXPECT_EQ(generator->Buffer(), nullptr);
}

TEST_F(ShadowMap, CopiesHaveParametersOfTheirOwn) {
    CloneMap map;
    auto copy = std::dynamic_pointer_cast<ShadowMapType>(type->Clone(map));
    map.Finish();
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->MapSize(0), 8);
    copy->SetMapSize(0, 64);
    EXPECT_EQ(type->MapSize(0), 8);
}

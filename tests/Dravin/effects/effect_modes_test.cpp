// Effects run in every mode of distribution, and on hand-edited items.
#include <gtest/gtest.h>

#include "Dravin/effects/effect_programs.h"
#include "tests/Dravin/engine/test_input.h"

namespace {

TBuildInput TwoRows() {
    TBuildInput input;
    input.specimens = {CubeSpecimen(100), CubeSpecimen(0)};
    input.transforms.applyRotation = true;
    return input;
}

TBuildInput PathInput() {
    TBuildInput input = TwoRows();
    input.distributionMode = kDistPath;
    TPathNode node;
    node.lines.emplace_back(PolyLine{{{0, 0, 0}, {10, 0, 0}}, false});
    node.lines.back().Length();
    input.points.path.nodes = {node};
    input.points.path.spacing = 3;
    return input;
}

TBuildInput ReferenceInput() {
    TBuildInput input = TwoRows();
    input.distributionMode = kDistReference;
    for (int i = 0; i < 5; ++i) {
        TReferenceObject r;
        r.point = {float(i), 0, 0};
        r.userId = i;
        input.points.reference.objects.push_back(r);
    }
    return input;
}

TBuildInput ParticleInput() {
    TBuildInput input = TwoRows();
    input.distributionMode = kDistParticles;
    input.points.particles.systems.resize(1);
    for (int i = 0; i < 5; ++i) {
        TParticle p;
        p.point = {float(i), 0, 0};
        p.age = i * 100;
        input.points.particles.systems[0].push_back(p);
    }
    return input;
}

TBuildInput UvInput() {
    TBuildInput input = TwoRows();
    input.surfaceMode = kSurfaceUV;
    input.transforms.scatterUv = true;
    input.grid.imageWidth = input.grid.imageHeight = 10;
    input.density = WhiteMap(10, 10);
    auto mesh = SquareMesh(0, 0, 20, 10);
    AddSurface(input, mesh);
    input.surfaces.back().uv = TSurfUVArray::Make(mesh, 1);
    return input;
}

TBuildInput StoredInput() {
    TBuildInput input = TwoRows();
    input.customEdit = input.transforms.customEdit = true;
    static const std::vector<TStoredItem> stored = [] {
        std::vector<TStoredItem> items(5);
        for (int i = 0; i < 5; ++i) {
            items[size_t(i)].storedPosition = {float(i), 0, 0};
            items[size_t(i)].seed = uint32_t(i);
            items[size_t(i)].userId = i;
        }
        return items;
    }();
    input.storedItems = stored;
    return input;
}

BuiltItems RunProgram(TBuildInput input, const std::string& source) {
    TEffectNames names;
    auto compiled = names.names.compile(source);
    EXPECT_TRUE(compiled.code) << compiled.error;
    TEffectPrograms programs;
    programs.programs.emplace_back(compiled.code, names.names.initial_values(), names.itemSlot);
    input.effects = &programs;
    return Build(input);
}

class EffectModes : public testing::TestWithParam<TBuildInput (*)()> {};

TEST_P(EffectModes, AttributesAreWrittenAndVectorsKept) {
    size_t count = Build(GetParam()()).items.size();
    ASSERT_GT(count, 3u);
    BuiltItems built = RunProgram(GetParam()(), "dpItem.tintMult = 0.5; return [1, 2, 3];");
    ASSERT_EQ(built.items.size(), count);
    for (const TDravinItem& item : built.items) {
        EXPECT_EQ(item.tintBlend, 0.5f);
        EXPECT_EQ(item.effectVector, (Point3{1, 2, 3}));
    }
}

TEST_P(EffectModes, ARangeThatAProgramWritesTurnsTheItem) {
    BuiltItems built =
        RunProgram(GetParam()(), "dpItem.randRotMin = [0, 0, 90]; dpItem.randRotMax = [0, 0, 90];");
    ASSERT_GT(built.items.size(), 3u);
    for (const TDravinItem& item : built.items) EXPECT_NEAR(item.rotation.z, 1.5707963f, 1e-5);
}

TEST_P(EffectModes, ATintSurvivesTheSecondTryThatAProgramAsksFor) {
    // The tint follows the first try only, where the item still shows the first row.
    BuiltItems built = RunProgram(GetParam()(),
                                  "dpItem.tintMult = if(dpItem.geomID == 0, 0.4, dpItem.tintMult);"
                                  "dpItem.tintColor = [0.1, 0.2, 0.3]; dpItem.geomID = 1;");
    ASSERT_GT(built.items.size(), 3u);
    for (const TDravinItem& item : built.items) {
        EXPECT_EQ(item.tintBlend, 0.4f);
        EXPECT_EQ(item.tintColor, (Color{0.1f, 0.2f, 0.3f}));
    }
}

TEST_P(EffectModes, ATintThatIsReadAndWrittenBackStays) {
    TBuildInput input = GetParam()();
    input.transforms.tintMin = input.transforms.tintMax = 40;
    BuiltItems built = RunProgram(
        std::move(input), "dpItem.tintMult = dpItem.tintMult; dpItem.randRotMax = [0, 0, 90];");
    ASSERT_GT(built.items.size(), 3u);
    for (const TDravinItem& item : built.items) EXPECT_FLOAT_EQ(item.tintBlend, 0.4f);
}

INSTANTIATE_TEST_SUITE_P(All, EffectModes,
                         testing::Values(PathInput, ReferenceInput, ParticleInput, UvInput,
                                         StoredInput));

// The row of a stored item stays; all others show the row that the program chose.
TEST(EffectGeometry, ReplacesTheItemsOfPointsAndMappings) {
    for (auto make : {PathInput, ReferenceInput, ParticleInput, UvInput}) {
        size_t count = Build(make()).items.size();
        BuiltItems built = RunProgram(make(), "dpItem.geomID = 1;");
        ASSERT_EQ(built.items.size(), count);
        for (const TDravinItem& item : built.items) EXPECT_EQ(item.specimenIndex, 1);
    }
}

TEST(EffectGeometry, OfAStoredItemCountsForTheBuildOnly) {
    TBuildInput input = StoredInput();
    input.specimens[1].elements[0].meshSize = {1, 1, 5};
    BuiltItems built = RunProgram(std::move(input), "dpItem.geomID = 1;");
    ASSERT_EQ(built.items.size(), 5u);
    EXPECT_EQ(built.items[0].height, 5);
    EXPECT_EQ(built.items[0].specimenIndex, 0);
}

TEST(EffectVisibility, AnItemThatIsHiddenKeepsNoVectorOfEarlierEffects) {
    TEffectNames names;
    TEffectPrograms programs;
    for (const char* source : {"return [1, 2, 3];", "dpItem.visible = dpItem.userID % 2;"}) {
        auto compiled = names.names.compile(source);
        ASSERT_TRUE(compiled.code) << compiled.error;
        programs.programs.emplace_back(compiled.code, names.names.initial_values(), names.itemSlot);
    }
    TBuildInput input = StoredInput();
    input.effects = &programs;
    for (const TDravinItem& item : Build(input).items)
        EXPECT_EQ(item.effectVector, item.discarded ? Point3{} : (Point3{1, 2, 3}));
}

TEST(EffectVisibility, HiddenItemsLeaveTheListUnlessTheyAreStored) {
    std::string hide = "dpItem.visible = dpItem.userID % 2;";
    EXPECT_EQ(RunProgram(ReferenceInput(), hide).items.size(), 2u);
    BuiltItems stored = RunProgram(StoredInput(), hide);
    ASSERT_EQ(stored.items.size(), 5u);
    for (const TDravinItem& item : stored.items)
        EXPECT_EQ(item.discarded != 0, item.userId % 2 == 0);
    EXPECT_EQ(stored.statistics.discardedItems, 3);
}

TEST(EffectVisibility, ParticlesKnowTheirAge) {
    BuiltItems built = RunProgram(ParticleInput(), "dpItem.visible = dpItem.particleAge > 150;");
    EXPECT_EQ(built.items.size(), 3u);
}

}  // namespace

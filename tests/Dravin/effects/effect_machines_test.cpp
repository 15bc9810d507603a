// However programs come to run on the items - in place, gathered, one by one, on the plain machine
// - they leave the same.
#include "Dravin/effects/effect_machines.h"

#include <gtest/gtest.h>

#include "Dravin/effects/tavuvm_expr/expr_lang.h"
#include "Dravin/engine/item_list.h"
#include "tests/Dravin/engine/test_input.h"

namespace {

TEffectPrograms Chain(std::initializer_list<const char*> sources) {
    TEffectPrograms chain;
    for (const char* source : sources) {
        TEffectNames names;
        tavuvm_expr::compilation c = names.names.compile(source);
        EXPECT_TRUE(c.code) << c.error;
        chain.programs.emplace_back(c.code, names.names.initial_values(), names.itemSlot);
    }
    return chain;
}

// 10,000 cells: many batches.
TBuildInput ManyItems() {
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    AddSurface(input, SquareMesh(-50, -50, 50, 50));
    input.transforms.applyRotation = input.transforms.applyScale = true;
    input.transforms.rotMaxDegrees = {10, 20, 300};
    return input;
}

std::vector<TDravinItem> ItemsOf(TBuildInput& input, const TEffectPrograms& programs) {
    input.effects = &programs;
    std::vector<TDravinItem> items = Build(input).items;
    input.effects = nullptr;
    return items;
}

bool SamePoint(const Point3& a, const Point3& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

void ExpectSame(const std::vector<TDravinItem>& a, const std::vector<TDravinItem>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i) {
        bool same = SamePoint(a[i].position, b[i].position) && SamePoint(a[i].scale, b[i].scale) &&
                    SamePoint(a[i].rotation, b[i].rotation) && a[i].width == b[i].width &&
                    a[i].collisionRadius == b[i].collisionRadius &&
                    a[i].tintBlend == b[i].tintBlend && a[i].seed == b[i].seed &&
                    a[i].specimenIndex == b[i].specimenIndex &&
                    SamePoint(a[i].effectVector, b[i].effectVector);
        for (int row = 0; row < 3; ++row)
            same = same && SamePoint(a[i].transform.row[row], b[i].transform.row[row]);
        ASSERT_TRUE(same) << i;
    }
}

// A program that draws, turns, moves and returns, after one that hides items so that the others
// stand together, apart, or nearly alone.
class EffectMachines : public testing::TestWithParam<const char*> {};

TEST_P(EffectMachines, AgreeHoweverManyItemsAreLeft) {
    TBuildInput input = ManyItems();
    TEffectPrograms programs =
        Chain({GetParam(),
               "real r = randomReal(0, 1); int n = randomInt(-5, 5);"
               "dpItem.rotation.z = dpItem.rotation.z + r; dpItem.scale = dpItem.scale * (1 + r);"
               "dpItem.position.x = dpItem.position.x + n + dpItem.distYPixel * 0.5;"
               "dpItem.tintMult = length(dpItem.xrotaxis) * r; return [r, n, 1];"});
    std::vector<TDravinItem> batched = ItemsOf(input, programs);
    programs.plainOnly = true;
    ASSERT_GT(batched.size(), 20u);
    ExpectSame(batched, ItemsOf(input, programs));
}

TEST_P(EffectMachines, AgreeOnItemsWhoseRunFails) {
    TBuildInput input = ManyItems();
    TEffectPrograms programs =
        Chain({GetParam(),
               "real r = randomReal(0, 1); dpItem.tintMult = r; int x = round(0.1 / (r > 0.5));",
               "dpItem.scale = dpItem.scale * randomReal(1, 2);"});
    std::vector<TDravinItem> batched = ItemsOf(input, programs);
    programs.plainOnly = true;
    ExpectSame(batched, ItemsOf(input, programs));
    size_t numTinted = 0;  // those whose run did not fail
    for (const TDravinItem& item : batched) numTinted += item.tintBlend > 0.5f;
    EXPECT_GT(numTinted, batched.size() / 4);
    EXPECT_LT(numTinted, batched.size() * 3 / 4);
}

TEST_P(EffectMachines, AgreeOnFunctionsOfTheHost) {
    TBuildInput input = ManyItems();
    input.specimens = {CubeSpecimen(60), CubeSpecimen(40)};
    TEffectPrograms programs =
        Chain({GetParam(),
               "dpItem.position.z = dpSurfaceHitZ(dpItem.position + [45, 0, 3]) + dpRandomGeom();"
               "dpItem.tintMult = randomReal(0, 1);"});
    std::vector<TDravinItem> batched = ItemsOf(input, programs);
    programs.plainOnly = true;
    ExpectSame(batched, ItemsOf(input, programs));
}

INSTANTIATE_TEST_SUITE_P(ItemsLeft, EffectMachines,
                         testing::Values("dpItem.visible = 1;", "dpItem.visible = randomInt(0, 5);",
                                         "dpItem.visible = randomReal(0, 1) < 0.2;",
                                         "dpItem.visible = randomReal(0, 1) < 0.005;"));

// What a program passes from one attribute to another was read before anything was written.
TEST(EffectAttributes, ChangePlaces) {
    TBuildInput input = ManyItems();
    std::vector<TDravinItem> before = ItemsOf(input, Chain({"dpItem.tintMult = 0;"}));
    TEffectPrograms programs =
        Chain({"vector p = dpItem.position; dpItem.position = dpItem.scale; dpItem.scale = p;"});
    std::vector<TDravinItem> after = ItemsOf(input, programs);
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < after.size(); ++i) {
        ASSERT_EQ(after[i].position, before[i].scale);
        ASSERT_EQ(after[i].scale, before[i].position);
    }
}

// A rotation turns the axes; an axis that the program stores as it read it turns back.
TEST(EffectAttributes, AnAxisThatIsStoredIsTheOneThatWasRead) {
    TBuildInput input = ManyItems();
    std::vector<TDravinItem> before = ItemsOf(input, Chain({"dpItem.tintMult = 0;"}));
    std::vector<TDravinItem> after = ItemsOf(
        input, Chain({"dpItem.rotation.z = dpItem.rotation.z + 1; dpItem.xrotaxis.z = 0.125;"}));
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < after.size(); ++i) {
        Point3 x = before[i].transform.row[0];
        ASSERT_EQ(after[i].transform.row[0], (Point3{x.x, x.y, 0.125f}));
        ASSERT_NE(after[i].transform.row[1], before[i].transform.row[1]);
    }
}

// Chosen for all three parts: columns of groups that programs do not write into cost memory.
TEST(EffectGroups, AListKeepsWhatProgramsWrite) {
    struct {
        const char* source;
        uint32_t groups;
    } cases[] = {
        {"dpItem.position = dpItem.position * 2; dpItem.tintMult = dpItem.userID;", 0},
        {"dpItem.rotation.x = 1;", kGroupKept},
        {"dpItem.randScaleMax = [1, 1, 1];", kGroupKept},
        {"dpItem.geomID = 1;", kGroupKept},
        {"dpItem.animSample = 1;", kGroupLooks},
        {"return [1, 2, 3];", kGroupSource},
        {"int a[3]; dpItem.rotation.x = a[dpItem.userID];", kGroupKept},
    };
    TBuildInput input = GroundInput();
    const uint32_t without = input.ItemGroupsNeeded();
    for (const auto& c : cases) {
        TEffectPrograms programs = Chain({c.source});
        input.effects = &programs;
        EXPECT_EQ(input.ItemGroupsNeeded(), without | c.groups) << c.source;
    }
}

}  // namespace

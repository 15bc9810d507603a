#include "Dravin/commands/item_restore.h"

#include <random>

#include "tests/Dravin/commands/items_fixture.h"

namespace {

class ItemRestores : public ItemsFixture {};

TEST_F(ItemRestores, OneMoveAmongAMillionTakesTheMemoryOfOneItem) {
    Edit(1'000'000);
    items->Select({500'000}, true);
    size_t before = scene.undo.Memory();
    Step([&] { items->Move({}, {}, {1, 0, 0}); });
    EXPECT_LT(scene.undo.Memory() - before, 2000u);
    scene.undo.Undo();
    EXPECT_EQ(List()[500'000].storedPosition.x, 500'000);
    scene.undo.Redo();
    EXPECT_EQ(List()[500'000].storedPosition.x, 500'001);
}

TEST_F(ItemRestores, ADragIsOneRecordWithTheFirstPlaces) {
    Edit(3);
    items->Select({0, 2}, true);
    Step([&] {
        for (int i = 0; i < 10; ++i) items->Move({}, {}, {0, 1, 0});
        items->Select({1}, true);
        items->Move({}, {}, {0, 1, 0});
    });
    std::vector<TStoredItem> after = List();
    EXPECT_EQ(after[0].storedPosition.y, 11);
    EXPECT_EQ(after[1].storedPosition.y, 1);
    scene.undo.Undo();
    for (const TStoredItem& item : List()) EXPECT_EQ(item.storedPosition.y, 0);
    EXPECT_FALSE(List()[1].selected);
    scene.undo.Redo();
    EXPECT_EQ(List(), after);
    EXPECT_EQ(object->heldItems, nullptr);
}

TEST_F(ItemRestores, ALaterItemOfTheSameDragIsKeptToo) {
    Edit(4);
    Step([&] {
        auto shift = [](TStoredItem& item) { item.userId += 5; };
        ChangeItems(*object, {1}, shift, TItemRecord::kOncePerHold);
        ChangeItems(*object, {0, 1, 3}, shift, TItemRecord::kOncePerHold);
    });
    EXPECT_EQ(List()[1].userId, 10);
    scene.undo.Undo();
    for (const TStoredItem& item : List()) EXPECT_EQ(item.userId, 0);
}

TEST_F(ItemRestores, WhatACancelledHoldChangedComesBack) {
    Edit(5);
    items->Select({1, 3}, true);
    std::vector<TStoredItem> before = List();
    scene.undo.Begin();
    items->Move({}, {}, {1, 1, 1});
    items->Delete();
    scene.undo.Cancel();
    EXPECT_EQ(List(), before);
    EXPECT_EQ(object->heldItems, nullptr);
}

TEST_F(ItemRestores, OtherChangesOfTheListTakeWhatDiffers) {
    Edit(100'000);
    std::vector<TStoredItem> list = List();
    list.erase(list.begin() + 50'000);
    size_t before = scene.undo.Memory();
    Step([&] { object->SetStoredItems(list); });
    EXPECT_LT(scene.undo.Memory() - before, 2000u);
    scene.undo.Undo();
    EXPECT_EQ(List().size(), 100'000u);
    EXPECT_EQ(List()[50'000].seed, 50'000u);
}

// One of the operations at random, on whatever is selected then.
void DoSomething(TItemCommands& items, std::minstd_rand& random, ScriptedUserInterface& ui) {
    auto below = [&](size_t n) { return int(random() % n); };
    ui.answers.assign(1, below(4) == 0 ? Answer::kNo : Answer::kYes);
    switch (below(15)) {
        case 0:
            return items.Select({below(30), below(30)}, below(2) == 0, true, below(3) == 0);
        case 1:
            return items.Select(TGeneralSelection(below(3)));
        case 2:
            return items.Move({}, {}, {float(below(9)), 1, 0});
        case 3:
            return items.Rotate({}, {}, Quat{0, 0, 0.6f, 0.8f}, below(2) == 0);
        case 4:
            return items.Scale({2, 1, 0.5f});
        case 5:
            return items.Clone();
        case 6:
            return items.Delete();
        case 7:
            items.Add({float(below(20)), 0, 0}, TAddChoice(below(3)));
            return;
        case 8:
            items.SetProperties({}, below(3), below(3));
            return;
        case 9:
            items.Reseed();
            return;
        case 10:
            items.RandomiseGeometry();
            return;
        case 11:
            items.ResetSizes();
            return;
        case 12:
            items.StoreTransforms();
            return;
        case 13:
            items.Detach();
            return;
        default:
            items.SelectByType(0);
    }
}

// What item edits can change of a scene: the nodes, the items of each object, and the transform
// parameters that storing transforms resets.
struct SceneState {
    std::vector<std::string> names;
    std::vector<std::vector<TStoredItem>> items;
    std::vector<float> transforms;
    bool operator==(const SceneState&) const = default;
};

SceneState StateOf(const Scene& scene) {
    SceneState state;
    for (INode* node : scene.Nodes()) {
        state.names.push_back(node->GetName());
        auto* object = dynamic_cast<TDravin*>(node->GetObjectRef());
        if (!object) continue;
        state.items.push_back(object->StoredItems());
        const IParamBlock2& block = object->Block(kTransformParams);
        for (const ParamDef& def : block.GetDesc().params)
            if (def.type == ParamType::kFloat && !def.list)
                state.transforms.push_back(block.GetFloat(def.id));
    }
    return state;
}

TEST_F(ItemRestores, AThousandRandomEditsAreUndoneToTheBeginningAndRedoneToTheEnd) {
    AddRow(plane);
    size_t largest = 0;
    for (uint32_t seed = 1; seed <= 1000; ++seed) {
        std::minstd_rand random(seed);
        Set(kTransformParams, transformParams::kApplyscale, true);
        Set(kTransformParams, transformParams::kScalexmin, 50.0f);
        Edit(12);
        std::vector<SceneState> states{StateOf(scene)};
        for (uint32_t i = 0; i < 6 + seed % 8; ++i) {
            size_t steps = scene.undo.NumUndoSteps();
            Step([&] {
                for (uint32_t n = 0; n < 1 + i % 3; ++n) DoSomething(*items, random, *ui);
            });
            if (scene.undo.NumUndoSteps() > steps) states.push_back(StateOf(scene));
        }
        largest = std::max(largest, states.size());
        for (size_t i = states.size(); i-- > 1;) {
            ASSERT_TRUE(StateOf(scene) == states[i]) << seed << ", step " << i;
            ASSERT_TRUE(scene.undo.Undo());
        }
        ASSERT_TRUE(StateOf(scene) == states[0]) << seed;
        for (size_t i = 1; i < states.size(); ++i) {
            ASSERT_TRUE(scene.undo.Redo());
            ASSERT_TRUE(StateOf(scene) == states[i]) << seed << ", step " << i;
        }
        while (scene.undo.Undo()) {
        }
    }
    EXPECT_GT(largest, 10u);
}

}  // namespace

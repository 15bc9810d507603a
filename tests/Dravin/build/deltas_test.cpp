#include <gtest/gtest.h>

#include "Dravin/build/delta_report.h"
#include "Dravin/list_restore.h"
#include "host/params/clone_map.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

class Deltas : public ScatterFixture {
protected:
    TItemDelta OfItem(size_t i) {
        TItemDelta delta;
        delta.id = object->Build().Items().Item(i).id;
        return delta;
    }
    bool Warned(const std::string& part) const {
        return std::any_of(log.begin(), log.end(), [&](const std::string& line) {
            return line.find(part) != std::string::npos;
        });
    }
    TItemDelta Unknown() const {
        TItemDelta delta;
        delta.id = {TItemId::kMap, 0, {1, 1000, 1, 1000}, 1};
        delta.move = {1, 1, 1};
        return delta;
    }
};

TEST_F(Deltas, OutdateTheBuildAndCanBeUndone) {
    host.SetCurrentScene(&scene);
    Run();
    TItemDelta delta = OfItem(0);
    delta.deleted = true;
    scene.undo.Begin();
    object->SetDelta(delta);
    scene.undo.Accept("delete");
    EXPECT_FALSE(object->Build().Validity().Contains(0));
    EXPECT_EQ(Run().Statistics().itemCount, 399);
    scene.undo.Undo();
    EXPECT_TRUE(object->Deltas().empty());
    EXPECT_EQ(Run().Statistics().itemCount, 400);
    scene.undo.Redo();
    EXPECT_EQ(Run().Statistics().itemCount, 399);
}

TEST_F(Deltas, OneItemHasOneTheLast) {
    TItemDelta first = Unknown(), second = Unknown();
    second.move = {7, 7, 7};
    object->SetDeltas({first, second});
    ASSERT_EQ(object->Deltas().size(), 1u);
    EXPECT_EQ(object->Deltas()[0], second);
}

TEST_F(Deltas, CopiesOfTheObjectHaveThem) {
    object->SetDelta(Unknown());
    CloneMap map;
    auto copy = std::dynamic_pointer_cast<TDravin>(object->Clone(map));
    EXPECT_EQ(copy->Deltas(), object->Deltas());
}

TEST_F(Deltas, ReportWhoseItemsNoLongerExist) {
    Run();
    TItemDelta moved = OfItem(5), gone = Unknown();
    moved.move = {0, 0, 1};
    object->SetDeltas({moved, gone});
    const TDeltaCounts& counts = Run(Render()).Statistics().deltas;
    EXPECT_TRUE(counts.isComplete);
    EXPECT_EQ(counts.changed, 1);
    EXPECT_EQ(counts.missing, std::vector<TItemId>{gone.id});
    EXPECT_TRUE(
        Warned("a change of single items is without effect, as the items no longer exist "
               "(g1.1000.1.1000/00000001)"));
    bool shown = false;
    for (const TPanelLine& line : object->Build().Panel())
        shown |= line.value == "1 changed, 0 deleted, 1 without item";
    EXPECT_TRUE(shown);
}

TEST_F(Deltas, AThinnedDisplayCannotTellWhatIsMissing) {
    object->SetDelta(Unknown());
    Set(kDispParams, dispParams::kVmaxitems, 50);
    const TDeltaCounts& counts = Run().Statistics().deltas;
    EXPECT_TRUE(counts.isUsed);
    EXPECT_FALSE(counts.isComplete);
    EXPECT_TRUE(counts.missing.empty());
}

TEST_F(Deltas, BecomePartOfItemsThatAreFrozen) {
    Run();
    TItemDelta delta = OfItem(5), deleted = OfItem(6);
    delta.move = {0.25f, 0.5f, 2};
    delta.scale = {2, 1, 3};
    deleted.deleted = true;
    object->SetDeltas({delta, deleted});
    Set(kSurfaceParams, surfaceParams::kLinkeditsurf, false);
    TDravinItem generated = Run().Items().Item(5);
    Set(kEditionParams, editionParams::kMode, 1);
    ASSERT_EQ(object->StoredItems().size(), 399u);
    TDravinItem edited = Run().Items().Item(5);
    EXPECT_EQ(edited.position.x, generated.position.x);
    EXPECT_EQ(edited.position.y, generated.position.y);
    EXPECT_EQ(edited.width, generated.width);
    EXPECT_EQ(edited.height, generated.height);
    EXPECT_EQ(edited.id.origin, TItemId::kEdited);
}

TEST(ListPatch, HoldsWhatDiffersAndGoesBothWays) {
    const std::vector<std::vector<int>> lists = {
        {}, {1}, {1, 2, 3}, {1, 3}, {1, 2, 2, 3}, {4, 2, 3}, {1, 2, 4}, {3, 2, 1}, {2, 2}};
    for (const auto& a : lists)
        for (const auto& b : lists) {
            std::vector<int> list = a;
            ListPatch<int> patch(a, b);
            EXPECT_EQ(patch.IsEmpty(), a == b);
            patch.Exchange(list);
            ASSERT_EQ(list, b);
            patch.Exchange(list);
            ASSERT_EQ(list, a);
        }
    std::vector<int> many(1000), changed = many;
    changed[500] = 1;
    EXPECT_EQ(ListPatch<int>(many, changed).Bytes(), sizeof(int));
}

}  // namespace

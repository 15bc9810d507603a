#include "common/pbstore/pb_store.h"

#include <gtest/gtest.h>

#include "host/scene/host_context.h"

namespace {

enum : ParamID { kName, kSize, kNode };

const ParamBlockDesc2& RowDesc() {
    static const ParamBlockDesc2 desc = {
        1,
        "rows",
        "Rows",
        0,
        true,
        {ParamDef(kName, "name", ParamType::kString).List(),
         ParamDef(kSize, "size", ParamType::kFloat).List().Default(7.0f),
         ParamDef(kNode, "node", ParamType::kNode).List()}};
    return desc;
}

struct PBStoreTest : testing::Test {
    HostContext context;
    ScriptedUserInterface* user = nullptr;
    std::shared_ptr<IParamBlock2> block = IParamBlock2::Create(RowDesc());
    PBStore store{block, {{kName, std::string("new")}, {kSize, {}}, {kNode, {}}}};

    PBStoreTest() {
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        context.SetUserInterface(std::move(scripted));
    }
    void Fill(std::initializer_list<const char*> names) {
        for (const char* name : names) {
            int row = store.Count();
            store.Set(0, row, 0, std::string(name));
            store.Set(1, row, 0, float(row));
        }
    }
    std::string Names() const {
        std::string all;
        for (int i = 0; i < block->Count(kName); ++i) all += block->GetString(kName, 0, i);
        return all;
    }
};

}  // namespace

TEST_F(PBStoreTest, ReadingBeyondTheEndGrowsAllColumns) {
    Fill({"a", "b", "c"});
    ParamValue value;
    EXPECT_TRUE(store.Get(1, 5, 0, &value));
    EXPECT_EQ(value, ParamValue(7.0f));
    for (ParamID id : {kName, kSize, kNode}) EXPECT_EQ(block->Count(id), 6);
    EXPECT_TRUE(store.Get(0, 5, 0, &value));
    EXPECT_EQ(value, ParamValue(std::string()));
}

TEST_F(PBStoreTest, GrowingNeverShortens) {
    block->SetCount(kSize, 9);
    store.EnsureRows(4);
    EXPECT_EQ(block->Count(kSize), 9);
    EXPECT_EQ(store.Count(), 4);
}

TEST_F(PBStoreTest, NegativeRowsAndUnknownColumnsAreErrors) {
    ParamValue value;
    EXPECT_FALSE(store.Get(0, -1, 0, &value));
    EXPECT_FALSE(store.Get(3, 0, 0, &value));
    EXPECT_FALSE(store.Set(-1, 0, 0, 1.0f));
    EXPECT_EQ(store.Count(), 0);
}

TEST_F(PBStoreTest, TextIsCutByCharacters) {
    Fill({"grünes"});
    ParamValue value;
    store.Get(0, 0, 0, &value, 3);
    EXPECT_EQ(value, ParamValue(std::string("grü")));
}

TEST_F(PBStoreTest, InsertTakesRowDefaultsAndOneUndoStep) {
    Fill({"a", "b"});
    store.Select({1});
    EXPECT_TRUE(store.Insert(1));
    EXPECT_EQ(Names(), "anewb");
    EXPECT_EQ(block->GetFloat(kSize, 0, 1), 7.0f);
    EXPECT_EQ(store.GetSelection(), std::vector<int>{2});
    EXPECT_FALSE(store.Insert(4));
    EXPECT_EQ(context.Undo().NumUndoSteps(), 1u);
    context.Undo().Undo();
    EXPECT_EQ(Names(), "ab");
    EXPECT_EQ(store.GetSelection(), std::vector<int>{1});
    context.Undo().Redo();
    EXPECT_EQ(Names(), "anewb");
    EXPECT_EQ(store.GetSelection(), std::vector<int>{2});
}

TEST_F(PBStoreTest, DeleteIgnoresRepeatedAndInvalidRows) {
    Fill({"a", "b", "c", "d"});
    store.Delete({2, 0, 2, 9, -1});
    EXPECT_EQ(Names(), "bd");
    EXPECT_EQ(block->GetFloat(kSize, 0, 1), 3.0f);
    store.Delete({9});
    EXPECT_EQ(context.Undo().NumUndoSteps(), 1u);
    context.Undo().Undo();
    EXPECT_EQ(Names(), "abcd");
}

TEST_F(PBStoreTest, MoveStandsAtTheIndexAfterwards) {
    Fill({"a", "b", "c", "d"});
    EXPECT_TRUE(store.Move(0, 2));
    EXPECT_EQ(Names(), "bcad");
    EXPECT_TRUE(store.Move(3, 0));
    EXPECT_EQ(Names(), "dbca");
    EXPECT_FALSE(store.Move(1, 1));
    EXPECT_FALSE(store.Move(0, 4));
    EXPECT_EQ(context.Undo().NumUndoSteps(), 2u);
}

TEST_F(PBStoreTest, FixedRowsNeitherMoveNorArePassed) {
    Fill({"a", "b", "c", "d"});
    store.SetFixedRows(1, 1);
    store.Select({1});
    EXPECT_FALSE(store.MoveUp());
    EXPECT_EQ(Names(), "abcd");
    EXPECT_TRUE(store.MoveDown());
    EXPECT_EQ(Names(), "acbd");
    EXPECT_EQ(store.GetSelection(), std::vector<int>{2});
    EXPECT_FALSE(store.MoveDown());
    EXPECT_FALSE(store.Move(3, 1));
}

TEST_F(PBStoreTest, MovingTwoRowsShowsTheMessage) {
    Fill({"a", "b"});
    store.Select({0, 1});
    EXPECT_FALSE(store.MoveDown());
    ASSERT_EQ(user->messages.size(), 1u);
    EXPECT_EQ(user->messages[0].text,
              "It is no possible to do this operation with multiple items selected");
    EXPECT_EQ(user->messages[0].caption, "Tavu Software");
    EXPECT_EQ(Names(), "ab");
}

TEST_F(PBStoreTest, WithoutASelectionMovingIsSilentAndCopyingSpeaks) {
    Fill({"a", "b"});
    EXPECT_FALSE(store.MoveUp());
    EXPECT_TRUE(user->messages.empty());
    EXPECT_FALSE(store.SingleSelection(true));
    EXPECT_EQ(user->messages.size(), 1u);
}

TEST_F(PBStoreTest, ControlsShowTheFirstRowAndWriteAll) {
    Fill({"a", "b", "c"});
    EXPECT_FALSE(store.GetSelected(1, 0));
    store.Select({2, 1});
    EXPECT_EQ(store.GetSelected(1, 0), ParamValue(1.0f));
    store.SetSelected(1, 0, 5.0f);
    EXPECT_EQ(block->GetFloat(kSize, 0, 0), 0.0f);
    EXPECT_EQ(block->GetFloat(kSize, 0, 2), 5.0f);
    EXPECT_EQ(context.Undo().NumUndoSteps(), 1u);
    context.Undo().Undo();
    EXPECT_EQ(block->GetFloat(kSize, 0, 2), 2.0f);
}

TEST_F(PBStoreTest, WritingWhatIsThereLeavesNoStep) {
    Fill({"a", "b", "c"});
    store.SetSelected(0, 0, std::string("x"));  // nothing is selected
    store.Select({0, 1});
    store.SetSelected(1, 0, 4.0f);
    size_t steps = context.Undo().NumUndoSteps();
    store.SetSelected(1, 0, 4.0f);
    store.Select({0, 1});
    EXPECT_EQ(context.Undo().NumUndoSteps(), steps);
    store.Select({0, 1, 2});
    store.SetSelected(1, 0, 4.0f);
    EXPECT_EQ(context.Undo().NumUndoSteps(), steps + 1);
    EXPECT_EQ(block->GetFloat(kSize, 0, 2), 4.0f);
    context.Undo().Undo();
    EXPECT_EQ(block->GetFloat(kSize, 0, 2), 2.0f);
    EXPECT_EQ(block->GetFloat(kSize, 0, 1), 4.0f);
}

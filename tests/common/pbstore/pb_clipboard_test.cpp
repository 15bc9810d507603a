#include "common/pbstore/pb_clipboard.h"

#include <gtest/gtest.h>

#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

enum : ParamID { kName, kNode, kId };

const ParamBlockDesc2& RowDesc() {
    static const ParamBlockDesc2 desc = {1,
                                         "rows",
                                         "Rows",
                                         0,
                                         true,
                                         {ParamDef(kName, "name", ParamType::kString).List(),
                                          ParamDef(kNode, "node", ParamType::kNode).List(),
                                          ParamDef(kId, "id", ParamType::kInt).List()}};
    return desc;
}

struct PBClipboardTest : testing::Test {
    HostContext context;
    Scene scene;
    ScriptedUserInterface* user = nullptr;
    std::shared_ptr<IParamBlock2> block = IParamBlock2::Create(RowDesc());
    PBStore store{block, {{kName, {}}, {kNode, {}}, {kId, {}}}};
    PBClipboard clipboard;
    std::shared_ptr<INode> oak = INode::Create("oak");

    PBClipboardTest() {
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        context.SetUserInterface(std::move(scripted));
        scene.AddNode(oak);
        for (int row = 0; row < 2; ++row) {
            store.Set(0, row, 0, std::string(row ? "b" : "a"));
            store.Set(2, row, 0, int32_t(row + 5));
        }
        store.Set(1, 1, 0, std::shared_ptr<ReferenceTarget>(oak));
        context.Undo().Clear();
    }
    std::string LastMessage() const {
        return user->messages.empty() ? "" : user->messages.back().text;
    }
};

TEST_F(PBClipboardTest, PastesTheCopiedRowAtTheEndAsOneStep) {
    store.Select({1});
    EXPECT_TRUE(clipboard.Copy(store, kId, 0));
    EXPECT_TRUE(clipboard.Paste(store, 0));
    ASSERT_EQ(store.Count(), 3);
    EXPECT_EQ(block->GetString(kName, 0, 2), "b");
    EXPECT_EQ(block->GetNode(kNode, 0, 2), oak.get());
    EXPECT_EQ(block->GetInt(kId, 0, 2), -1);  // not that of the row it was
    EXPECT_EQ(store.GetSelection(), std::vector<int>{2});
    EXPECT_EQ(context.Undo().NumUndoSteps(), 1u);
    EXPECT_TRUE(context.Undo().Undo());
    EXPECT_EQ(store.Count(), 2);
    EXPECT_EQ(block->Count(kNode), 2);
    EXPECT_EQ(store.GetSelection(), std::vector<int>{1});
    EXPECT_TRUE(context.Undo().Redo());
    EXPECT_EQ(block->GetString(kName, 0, 2), "b");
}

TEST_F(PBClipboardTest, CopyingNeedsOneRow) {
    for (std::vector<int> rows : {std::vector<int>{}, {0, 1}}) {
        store.Select(rows);
        user->messages.clear();
        EXPECT_FALSE(clipboard.Copy(store, kId, 0));
        EXPECT_EQ(LastMessage(), kMultipleSelectionMessage);
        EXPECT_TRUE(clipboard.IsEmpty());
    }
}

TEST_F(PBClipboardTest, AnEmptyClipboardIsTold) {
    EXPECT_FALSE(clipboard.Paste(store, 0));
    EXPECT_EQ(LastMessage(), "The clipboard is empty");
    EXPECT_EQ(store.Count(), 2);
    EXPECT_EQ(context.Undo().NumUndoSteps(), 0u);
}

TEST_F(PBClipboardTest, CopiesStayWhatTheyWere) {
    store.Select({0});
    EXPECT_TRUE(clipboard.Copy(store, {}, 0));
    store.Set(0, 0, 0, std::string("changed"));
    EXPECT_TRUE(clipboard.Paste(store, 0));
    EXPECT_EQ(block->GetString(kName, 0, 2), "a");
    EXPECT_EQ(block->GetInt(kId, 0, 2), 5);
}

TEST_F(PBClipboardTest, DeletedNodesArePastedAsNone) {
    store.Select({1});
    EXPECT_TRUE(clipboard.Copy(store, kId, 0));
    scene.DeleteNode(*oak);
    EXPECT_TRUE(clipboard.Paste(store, 0));
    EXPECT_EQ(block->GetNode(kNode, 0, 2), nullptr);
    EXPECT_EQ(block->GetString(kName, 0, 2), "b");
}

TEST_F(PBClipboardTest, TablesOfOtherColumnsTakeNothing) {
    store.Select({0});
    EXPECT_TRUE(clipboard.Copy(store, kId, 0));
    PBStore narrow{block, {{kName, {}}}};
    EXPECT_FALSE(clipboard.Paste(narrow, 0));
    EXPECT_EQ(store.Count(), 2);
}

}  // namespace

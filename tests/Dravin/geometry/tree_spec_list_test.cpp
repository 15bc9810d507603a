#include "Dravin/geometry/tree_spec_list.h"

#include <gtest/gtest.h>

#include "Dravin/params/dravin_params.h"
#include "host/scene/host_context.h"

namespace {

struct TreeSpecList : testing::Test {
    HostContext context;
    TNuRandom generator{123456};
    TTreeSpecList list{IParamBlock2::Create(DravinBlocks()[kGeomParams])};

    static TSpecEntry Row(const char* name, int kind, int id = -1) {
        TSpecEntry row;
        row.name = name;
        row.kind = kind;
        row.colorId = {1, 0, 0};
        row.specId = id;
        return row;
    }
};

}  // namespace

TEST_F(TreeSpecList, ColumnsStandInTheirOrder) {
    const int ids[] = {10, 11, 12, 13, 5, 7, 14, 15, 26, 19, 20, 8, 21, 22, 23, 24, 25};
    ASSERT_EQ(list.NumColumns(), int(std::size(ids)));
    for (int i = 0; i < list.NumColumns(); ++i) EXPECT_EQ(list.ColumnId(i), ids[i]);
}

TEST_F(TreeSpecList, RowsAreReadAsTheyWereWritten) {
    TSpecEntry row = Row("oak", kGeomCustom, 4);
    row.customObject = INode::Create("tree");
    row.material = std::make_shared<StandardMtl>();
    row.width = 1.5f, row.zOffset = -2, row.center = 10, row.probability = 0.25f;
    row.useMeshDimensions = false;
    list.AppendRow(row);
    EXPECT_EQ(list.Count(), 1);
    EXPECT_EQ(list.ReadRow(0, 0, generator), row);
}

TEST_F(TreeSpecList, InsertedRowsTakeTheRecordsDefaults) {
    list.Insert(0);
    TSpecEntry row = list.ReadRow(0, 0, generator);
    row.colorId = {};
    EXPECT_EQ(row, TSpecEntry());
}

TEST_F(TreeSpecList, BlackColorIdsAreDrawnOnce) {
    TSpecEntry black;
    list.AppendRow(black);
    TNuRandom same{123456};
    float r1 = same.Random(), r2 = same.Random(), r3 = same.Random();
    TSpecEntry row = list.ReadRow(0, 0, generator);
    EXPECT_EQ(row.colorId, (Point3{0.8f * r3 + 0.2f, 0.8f * r2 + 0.2f, 0.8f * r1 + 0.2f}));
    for (int i = 0; i < 3; ++i) {
        EXPECT_GE(row.colorId[i], 0.2f);
        EXPECT_LT(row.colorId[i], 1.0f);
    }
    EXPECT_EQ(list.ReadRow(0, 0, generator).colorId, row.colorId);
    EXPECT_EQ(context.Undo().NumUndoSteps(), 0u);
}

TEST_F(TreeSpecList, ColorIdsWithAnyComponentStay) {
    TSpecEntry row;
    row.colorId = {0, 0, 0.001f};
    list.AppendRow(row);
    EXPECT_EQ(list.ReadRow(0, 0, generator).colorId, row.colorId);
}

TEST_F(TreeSpecList, FindsRowsBySpecId) {
    list.AppendRow(Row("a", 1, 3));
    list.AppendRow(Row("b", 1, 7));
    EXPECT_EQ(list.FindBySpecId(7), 1);
    EXPECT_EQ(list.FindBySpecId(4), -1);
    EXPECT_EQ(list.FindBySpecId(0), 0);
    EXPECT_EQ(list.FindBySpecId(-5), 0);
}

TEST_F(TreeSpecList, RefreshesTemplatesBothWays) {
    auto scripted = std::make_unique<ScriptedUserInterface>();
    ScriptedUserInterface* user = scripted.get();
    context.SetUserInterface(std::move(scripted));
    const std::vector<std::string> templates = {"One Plane", "Two Planes"};
    TSpecEntry known = Row("a", 1), unknown = Row("b", 1), unnamed = Row("c", 1);
    known.templateName = "Two Planes";
    unknown.templateName = "two planes";
    unnamed.templateName = "", unnamed.templateId = 1;
    for (const TSpecEntry& row : {known, unknown, unnamed}) list.AppendRow(row);
    list.RefreshTemplateIds(templates);
    EXPECT_EQ(list.ReadRow(0, 0, generator).templateId, 1);
    EXPECT_EQ(list.ReadRow(1, 0, generator).templateName, "One Plane");
    EXPECT_EQ(list.ReadRow(2, 0, generator).templateName, "Two Planes");
    ASSERT_EQ(user->messages.size(), 1u);
    EXPECT_EQ(user->messages[0].text,
              "Geometry template 'two planes' not found !\nReplacing it by 'One Plane'");
    list.RefreshTemplateNames(std::vector<std::string>{"X", "Y"});
    EXPECT_EQ(list.ReadRow(0, 0, generator).templateName, "Y");
}

TEST_F(TreeSpecList, CustomObjectNamesFollowTheNodes) {
    TSpecEntry row = Row("a", kGeomCustom);
    row.customObject = INode::Create("rock");
    list.AppendRow(row);
    row.customObject = nullptr;
    row.customObjectName = "gone";
    list.AppendRow(row);
    list.RefreshCustomObjectNames();
    EXPECT_EQ(list.ReadRow(0, 0, generator).customObjectName, "rock");
    EXPECT_EQ(list.ReadRow(1, 0, generator).customObjectName, "");
}

TEST_F(TreeSpecList, MergingIntoItself) {
    list.AppendRow(Row("a", 1, 1));
    list.AppendRow(Row("b", 2, 2));
    MergeGeometryLists(list, list, true, generator);
    EXPECT_EQ(list.Count(), 2);
    auto mapping = MergeGeometryLists(list, list, false, generator);
    EXPECT_EQ(list.Count(), 4);
    EXPECT_EQ(mapping[1].targetIndex, 3);
    EXPECT_EQ(list.ReadRow(2, 0, generator).specId, -1);
}

TEST_F(TreeSpecList, EqualNamesOfDifferentKindsAreNotMerged) {
    TTreeSpecList other{IParamBlock2::Create(DravinBlocks()[kGeomParams])};
    list.AppendRow(Row("tree", kGeomTemplate));
    other.AppendRow(Row("tree", kGeomCustom, 5));
    auto mapping = MergeGeometryLists(list, other, true, generator);
    EXPECT_EQ(mapping[0].targetIndex, 1);
    EXPECT_EQ(list.ReadRow(1, 0, generator).specId, 5);
}

TEST_F(TreeSpecList, SharedGeneratorIsSeededWithEveryScene) {
    float first = SharedGenerator().Random();
    EXPECT_NE(SharedGenerator().Random(), first);
    context.notifications.Broadcast(HostNotify::kFilePreOpen);
    EXPECT_EQ(SharedGenerator().Random(), first);
}

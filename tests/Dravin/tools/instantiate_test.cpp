#include "Dravin/tools/instantiate.h"

#include <gmock/gmock.h>

#include "Dravin/proxy/instance_nodes.h"
#include "Dravin/tools/tool_commands.h"
#include "host/params/clone_map.h"
#include "tests/Dravin/build/scatter_fixture.h"

using namespace toolsParams;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Instances : public ScatterFixture {
protected:
    ScriptedUserInterface* user = nullptr;
    TDtools tools;
    TToolCommands commands{scene, tools};

    void SetUp() override {
        ScatterFixture::SetUp();
        host.SetCurrentScene(&scene);
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        host.SetUserInterface(std::move(scripted));
        node->SetLocalTM(Matrix3::Translation({0, 0, 5}));
        scene.Select(std::span<INode* const>(&node, 1));
        scene.undo.Clear();
    }
    void TearDown() override {
        host.SetCurrentScene(nullptr);
        ScatterFixture::TearDown();
    }
    void Set(ParamID id, int value) { tools.Block().SetValue(id, 0, value); }
    bool MakeThem() {
        user->answers = {Answer::kYes};
        return commands.Instantiate();
    }
    std::vector<INode*> Made() const { return InstanceNodesOf(*object, scene); }
    int Kind(int row) const {
        return object->Block(kGeomParams).GetInt(geomParams::kGeomlist, 0, row);
    }
    size_t NumItems() {
        const TDravinItemList& items = object->Build().Items();
        size_t count = 0;
        for (size_t i = 0; i < items.Count(); ++i) count += !items.Item(i).discarded;
        return count;
    }
};

}  // namespace

TEST_F(Instances, EveryItemBecomesANodeAtItsPlace) {
    ScatterFixture::Set(kTransformParams, transformParams::kApplyrotation, 1);
    box->SetObjectOffset({{0.5f, 0, 0}, {0, 0, 30}, {1, 1, 1}});
    box->SetMtl(std::make_shared<StandardMtl>());
    ASSERT_TRUE(MakeThem());
    std::vector<INode*> made = Made();
    ASSERT_GT(made.size(), 50u);
    ASSERT_EQ(made.size(), NumItems());
    EXPECT_EQ(made[0]->GetName(), "scatter_box_1");
    EXPECT_EQ(made[49]->GetName(), "scatter_box_50");
    EXPECT_EQ(made[0]->GetObjectRef(), box->GetObjectRef());
    EXPECT_EQ(made[0]->GetMtl(), box->GetMtl());
    // A corner of the mesh, by way of the unit size: the offset turns the box, whose bounds follow.
    const Matrix3 offset = box->GetObjectOffset().ToMatrix();
    Box3 bounds;
    for (const Point3& p : box->GetObjectRef()->GetRenderMesh(0)->verts) bounds += p * offset;
    Point3 size = bounds.max - bounds.min;
    for (size_t i : {size_t(0), size_t(33)}) {
        Point3 corner{1, 0.5f, 3}, real = corner * offset;
        Point3 unit{real.x / size.x, real.y / size.y, real.z / size.z};
        Point3 expected = unit * object->Build().Items().Item(i).fullTransform + Point3{0, 0, 5};
        Point3 found = corner * made[i]->GetObjectTM(0);
        EXPECT_NEAR(found.x, expected.x, 1e-4);
        EXPECT_NEAR(found.y, expected.y, 1e-4);
        EXPECT_NEAR(found.z, expected.z, 1e-4);
    }
}

TEST_F(Instances, RowsAreDisabledAndEnabledAgain) {
    ASSERT_TRUE(MakeThem());
    size_t first = Made().size();
    EXPECT_EQ(Kind(0), kGeomDisabled);
    ASSERT_TRUE(MakeThem());  // enables them before it starts
    EXPECT_EQ(Made().size(), first);
    Set(kEngeom, 0);
    EXPECT_FALSE(MakeThem());
    EXPECT_EQ(user->prompt, "There are not Custom Objects defined in the Geometry List");
    EXPECT_THAT(user->listener,
                ElementsAre("There are not Custom Objects defined in the Geometry List"));
    EXPECT_EQ(Made().size(), first);
    EXPECT_TRUE(commands.EnableGeometry());
    EXPECT_EQ(Kind(0), kGeomCustom);
    Set(kDisgeom, 0);
    ASSERT_TRUE(MakeThem());
    EXPECT_EQ(Kind(0), kGeomCustom);
}

TEST_F(Instances, OldOnesGoOrStay) {
    ASSERT_TRUE(MakeThem());
    size_t each = Made().size(), nodes = scene.Nodes().size();
    ASSERT_TRUE(MakeThem());
    EXPECT_EQ(scene.Nodes().size(), nodes);
    Set(kDeleteold, 0);
    ASSERT_TRUE(commands.Instantiate());  // asks nothing
    EXPECT_EQ(Made().size(), 2 * each);
    EXPECT_EQ(scene.Nodes().size(), nodes + each);
    EXPECT_FALSE(commands.DeleteInstances());  // nobody says yes
    user->answers = {Answer::kYes};
    EXPECT_TRUE(commands.DeleteInstances());
    EXPECT_THAT(Made(), IsEmpty());
    EXPECT_EQ(scene.Nodes().size(), nodes - each);
    EXPECT_EQ(user->prompt, "Deleting old instances...");
}

TEST_F(Instances, RefusalChangesNothing) {
    ASSERT_TRUE(MakeThem());
    size_t nodes = scene.Nodes().size();
    std::vector<INode*> made = Made();
    user->questions.clear();
    EXPECT_FALSE(commands.Instantiate());
    EXPECT_THAT(user->questions,
                ElementsAre("All instances created previously from this Dravin object will be "
                            "deleted.\nAre you sure ? (no undo)"));
    EXPECT_EQ(scene.Nodes().size(), nodes);
    EXPECT_EQ(Made(), made);
    EXPECT_EQ(Kind(0), kGeomDisabled);  // enabled on the way, and back
}

TEST_F(Instances, TemplatesStayItems) {
    object->Block(kGeomParams).SetValue(geomParams::kGeomlist, 0, int(kGeomTemplate), 0);
    AddRow(box);
    ASSERT_TRUE(MakeThem());
    size_t custom = 0;
    const TDravinItemList& items = object->Build().Items();
    for (size_t i = 0; i < items.Count(); ++i)
        custom += !items.Item(i).discarded && items.Item(i).specimenIndex == 1;
    EXPECT_GT(custom, 0u);
    EXPECT_LT(custom, items.Count());
    EXPECT_EQ(Made().size(), custom);
    EXPECT_EQ(Kind(0), kGeomTemplate);
}

TEST_F(Instances, AGroupKeepsThePlaces) {
    Set(kDisgeom, 0);
    ASSERT_TRUE(MakeThem());
    Matrix3 alone = Made()[3]->GetNodeTM(0);
    Set(kHierarchy, 1);
    ASSERT_TRUE(MakeThem());
    INode* head = scene.FindNode("scatter_instancegroup");
    ASSERT_NE(head, nullptr);
    EXPECT_TRUE(head->IsGroupHead());
    EXPECT_EQ(size_t(head->NumberOfChildren()), Made().size() - 1);
    EXPECT_EQ(head->GetNodeTM(0).GetTrans(), (Point3{0, 0, 5}));
    Matrix3 grouped = head->GetChildNode(3)->GetNodeTM(0);
    for (int row = 0; row < 4; ++row)
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(grouped.row[row][i], alone.row[row][i], 1e-5);
    user->answers = {Answer::kYes};
    commands.DeleteInstances();
    EXPECT_EQ(scene.FindNode("scatter_instancegroup"), nullptr);
    EXPECT_EQ(scene.FindNode("scatter_box_1"), nullptr);
}

TEST_F(Instances, ALayerIsMadeAndFrozen) {
    Set(kHierarchy, 2);
    ASSERT_TRUE(MakeThem());
    Layer* layer = scene.FindLayer("dravin_instances");
    ASSERT_NE(layer, nullptr);
    EXPECT_TRUE(layer->frozen);
    EXPECT_TRUE(layer->boxes);
    EXPECT_TRUE(Made()[0]->IsShownAsBox());
    EXPECT_EQ(Made()[0]->GetLayer(), "dravin_instances");
    tools.Block().SetValue(kLayername, 0, "trees");
    Set(kLayerfreeze, 0);
    Set(kLayerboxes, 0);
    ASSERT_TRUE(MakeThem());
    EXPECT_FALSE(scene.FindLayer("trees")->frozen);
    EXPECT_FALSE(scene.FindLayer("trees")->boxes);
    EXPECT_EQ(Made()[0]->GetLayer(), "trees");
}

TEST_F(Instances, OneStepOfUndo) {
    size_t nodes = scene.Nodes().size();
    ASSERT_TRUE(MakeThem());
    size_t made = Made().size();
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    EXPECT_TRUE(scene.undo.Undo());
    EXPECT_EQ(scene.Nodes().size(), nodes);
    EXPECT_THAT(Made(), IsEmpty());
    EXPECT_EQ(Kind(0), kGeomCustom);
    EXPECT_TRUE(scene.undo.Redo());
    EXPECT_EQ(Made().size(), made);
}

TEST_F(Instances, CancellingLeavesTheSceneAsItWas) {
    ScatterFixture::Set(kDistParams, distParams::kPixelsX, 100);
    ScatterFixture::Set(kDistParams, distParams::kPixelsY, 100);
    ASSERT_TRUE(MakeThem());
    std::vector<INode*> made = Made();
    ASSERT_GT(made.size(), 2000u);
    size_t nodes = scene.Nodes().size();
    user->stopAtPercent = 10;
    EXPECT_FALSE(MakeThem());
    EXPECT_EQ(Made(), made);
    EXPECT_EQ(scene.Nodes().size(), nodes);
    EXPECT_FALSE(user->progress.empty());
}

TEST_F(Instances, CopiesOfTheObjectHaveNone) {
    ASSERT_TRUE(MakeThem());
    CloneMap map;
    auto copy = std::dynamic_pointer_cast<TDravin>(object->Clone(map));
    EXPECT_THAT(InstanceNodesOf(*copy, scene), IsEmpty());
    EXPECT_FALSE(Made().empty());
}

TEST_F(Instances, NodesThatAreGoneAreNotMissed) {
    ASSERT_TRUE(MakeThem());
    size_t made = Made().size();
    scene.DeleteNode(*Made()[2]);
    EXPECT_EQ(Made().size(), made - 1);
    user->answers = {Answer::kYes};
    EXPECT_TRUE(commands.DeleteInstances());
    EXPECT_EQ(scene.FindNode("scatter_box_1"), nullptr);
}

#include "Dravin/panels/node_picks.h"

#include <gmock/gmock.h>

#include "host/scene/object.h"
#include "tests/Dravin/panels/panel_scene.h"

namespace {

using testing::ElementsAre;

struct NodePicks : PanelScene {
    TParamKey surfaces{surfaceParams::kSurflist}, camera{camParams::kCamera};
    INode *hill = AddMesh("hill"), *dune = AddMesh("dune"),
          *line = scene.AddNode("line", std::make_shared<ShapeObject>()),
          *eye = scene.AddNode("eye", std::make_shared<CameraObject>());

    NodePicks() { scene.undo.Clear(); }
    INode* AddMesh(const char* name) {
        return scene.AddNode(name, std::make_shared<TriObject>(std::make_shared<Mesh>()));
    }
};

}  // namespace

TEST_F(NodePicks, TheCounterKnowsOneFromMany) {
    TPanel panel = One();
    EXPECT_EQ(PickedText(panel, surfaces), "0 Surfaces");
    EXPECT_TRUE(PickNode(panel, surfaces, *hill));
    EXPECT_EQ(PickedText(panel, surfaces), "1 Surface");
    EXPECT_TRUE(PickNode(panel, surfaces, *dune));
    EXPECT_EQ(PickedText(panel, surfaces), "2 Surfaces");
    EXPECT_EQ(PickedText(panel, distParams::kDistrefnodes), "0 Objects");
}

TEST_F(NodePicks, WhatIsPickedTwiceIsThereOnce) {
    TPanel panel = One();
    EXPECT_TRUE(MayPick(panel, surfaces, *hill));
    EXPECT_TRUE(PickNode(panel, surfaces, *hill));
    EXPECT_FALSE(MayPick(panel, surfaces, *hill));
    EXPECT_TRUE(PickNode(panel, surfaces, *hill));
    EXPECT_THAT(panel.Read(surfaces).names, ElementsAre("hill"));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u) << "the second pick changes nothing";
    EXPECT_EQ(scene.undo.UndoName(), "Surface Added");
}

TEST_F(NodePicks, WhatIsClearedComesBack) {
    TPanel panel = One();
    PickNode(panel, surfaces, *hill);
    PickNode(panel, surfaces, *dune);
    EXPECT_TRUE(ClearPicked(panel, surfaces));
    EXPECT_EQ(scene.undo.UndoName(), "Surfaces Cleared");
    EXPECT_EQ(PickedText(panel, surfaces), "0 Surfaces");
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_THAT(panel.Read(surfaces).names, ElementsAre("hill", "dune"));
}

TEST_F(NodePicks, OtherKindsAreRefused) {
    TPanel panel = One();
    EXPECT_FALSE(MayPick(panel, camera, *hill));
    EXPECT_FALSE(PickNode(panel, camera, *hill));
    EXPECT_FALSE(PickNode(panel, distParams::kDistpathnodes, *hill)) << "it is no shape";
    EXPECT_TRUE(PickNode(panel, distParams::kDistpathnodes, *line));
    EXPECT_EQ(panel.Read(camera).text, "");
    EXPECT_TRUE(MayPick(panel, camera, *eye));
    EXPECT_TRUE(PickNode(panel, camera, *eye));
    EXPECT_EQ(panel.Read(camera).text, "eye");
    // An object stands on no surface that it is itself.
    EXPECT_FALSE(MayPick(panel, surfaces, *scene.FindNode("first")));
}

TEST_F(NodePicks, ByNameTheListIsWhatWasTicked) {
    TPanel panel = One();
    PickNode(panel, surfaces, *hill);
    TPickQuestion question = PickQuestionOf(panel, surfaces);
    EXPECT_EQ(question.title, "Select Surfaces by Name");
    EXPECT_THAT(question.names, testing::IsSupersetOf({"hill", "dune"}));
    EXPECT_THAT(question.ticked, ElementsAre("hill"));
    EXPECT_TRUE(PickByName(panel, surfaces, {"dune", "hill"}));
    EXPECT_THAT(panel.Read(surfaces).names, ElementsAre("dune", "hill"));
    EXPECT_EQ(scene.undo.UndoName(), "Surface Added");
    EXPECT_FALSE(PickByName(panel, surfaces, {"dune", "nowhere"}));
    EXPECT_THAT(panel.Read(surfaces).names, ElementsAre("dune", "hill"));
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_THAT(panel.Read(surfaces).names, ElementsAre("hill"));
}

TEST_F(NodePicks, RemovingTakesOneOut) {
    TPanel panel = One();
    PickByName(panel, surfaces, {"dune", "hill"});
    EXPECT_TRUE(RemovePicked(panel, surfaces, "dune"));
    EXPECT_THAT(panel.Read(surfaces).names, ElementsAre("hill"));
}

TEST_F(NodePicks, AnEmptyPanelTakesNothing) {
    TPanel none(scene, {});
    EXPECT_FALSE(MayPick(none, surfaces, *hill));
    EXPECT_EQ(PickedText(none, surfaces), "0 Surfaces");
    EXPECT_TRUE(ClearPicked(none, surfaces));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}

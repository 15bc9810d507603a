#include "Dravin/tools/lister_commands.h"

#include <gmock/gmock.h>

#include "Dravin/dravin.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

class ListerCommands : public testing::Test {
protected:
    HostContext host;
    Scene scene;
    INode* wood = scene.AddNode("wood", TDravin::Create());
    INode* rock = scene.AddNode("rock", std::make_shared<DummyObject>());
    INode* meadow = scene.AddNode("meadow", TDravin::Create());
    std::string error;

    void SetUp() override { host.SetCurrentScene(&scene); }
};

TEST_F(ListerCommands, RowsAreTheScatterObjects) {
    TListerCommands lister(scene);
    ASSERT_EQ(lister.NumRows(), 2u);
    EXPECT_EQ(&lister.Node(0), wood);
    EXPECT_EQ(lister.FindRow("meadow"), 1);
    EXPECT_EQ(lister.FindRow("rock"), -1);
    EXPECT_EQ(lister.Cell(0, 0), "0 models");
    EXPECT_EQ(lister.Cell(0, 3), "Generate");
    EXPECT_EQ(lister.Cell(2, 0), "");
    EXPECT_EQ(lister.Cell(0, 10), "");
}

TEST_F(ListerCommands, CellsAreThoseOfTheLastRefresh) {
    TListerCommands lister(scene);
    auto* object = static_cast<TDravin*>(wood->GetObjectRef());
    object->Block(kAnimParams).SetValue(animParams::kAnimation, 0, 1);
    EXPECT_EQ(lister.Cell(0, 8), "Static");
    lister.Refresh();
    EXPECT_EQ(lister.Cell(0, 8), "Follow");
}

TEST_F(ListerCommands, SelectsItsRowsAlone) {
    INode* const all[] = {wood, rock};
    scene.Select(all);
    TListerCommands lister(scene);
    lister.Select({1});
    EXPECT_THAT(scene.Selection(), testing::ElementsAre(meadow));
    host.Undo().Undo();
    EXPECT_THAT(scene.Selection(), testing::ElementsAre(wood, rock));
}

TEST_F(ListerCommands, HidesAndShowsByTheNodesHandle) {
    TListerCommands lister(scene);
    EXPECT_TRUE(lister.Hide(1, true, &error)) << error;
    EXPECT_TRUE(meadow->HiddenFlag());
    EXPECT_FALSE(wood->HiddenFlag());
    EXPECT_TRUE(lister.Hide(1, false, &error));
    EXPECT_FALSE(meadow->HiddenFlag());
    host.Undo().Undo();
    EXPECT_TRUE(meadow->HiddenFlag());
    EXPECT_FALSE(lister.Hide(2, true, &error));
    EXPECT_EQ(error, "the lister has no row 2; it has 2");
}

}  // namespace

// Settings of one scatter object for all.
#include "Dravin/dravin.h"
#include "tests/Dravin/commands/command_fixture.h"

using namespace camParams;

namespace {

struct ShareCommands : CommandFixture {
    std::shared_ptr<TDravin> other;
    INode* eye = nullptr;

    void SetUp() override {
        CommandFixture::SetUp();
        eye = scene.AddNode("eye", std::make_shared<CameraObject>());
        other = TDravin::Create();
        scene.AddNode("other", other);
        scene.undo.Clear();
    }
    TCommandResult RunOn(const char* command) { return table.Run(command, scene, "scatter", {}); }
    IParamBlock2& Cam(TDravin& of) { return of.Block(kCamParams); }
};

}  // namespace

TEST_F(ShareCommands, TheCameraGoesToAllAfterAYes) {
    Cam(*object).SetValue(kCamera, 0, eye->shared_from_this());
    ui->answers = {Answer::kNo, Answer::kYes};
    EXPECT_TRUE(RunOn("camera.assign"));
    EXPECT_EQ(Cam(*other).GetNode(kCamera), nullptr);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
    EXPECT_TRUE(RunOn("camera.assign"));
    EXPECT_EQ(Cam(*other).GetNode(kCamera), eye);
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(Cam(*other).GetNode(kCamera), nullptr);
}

TEST_F(ShareCommands, ParametersOfTheCameraAreCopiedAndNoOthers) {
    Cam(*object).SetValue(kCamera, 0, eye->shared_from_this());
    Cam(*object).SetValue(kCamfar, 0, 77.0f);
    Cam(*object).SetValue(kCamnear, 0, 7.0f);
    Cam(*object).SetValue(kCambho, 0, 5.0f);
    ui->answers = {Answer::kYes};
    EXPECT_TRUE(RunOn("camera.copy"));
    EXPECT_EQ(Cam(*other).GetFloat(kCamfar), 77.0f);
    EXPECT_EQ(Cam(*other).GetFloat(kCamnear), 7.0f);
    EXPECT_NE(Cam(*other).GetFloat(kCambho), 5.0f);
    EXPECT_EQ(Cam(*other).GetNode(kCamera), eye);
}

TEST_F(ShareCommands, TheLightGoesToAll) {
    INode* sun = scene.AddNode("sun", std::make_shared<LightObject>());
    object->Block(kShadowParams).SetValue(shadowParams::kLight, 0, sun->shared_from_this());
    ui->answers = {Answer::kYes};
    EXPECT_TRUE(RunOn("light.assign"));
    EXPECT_EQ(other->Block(kShadowParams).GetNode(shadowParams::kLight), sun);
}

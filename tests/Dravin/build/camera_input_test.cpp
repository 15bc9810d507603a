#include "Dravin/build/camera_input.h"

#include <gtest/gtest.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "host/base/log.h"
#include "host/scene/host_context.h"
#include "tests/Dravin/build/log_message.h"

using namespace camParams;

namespace {

class CameraInput : public testing::Test {
protected:
    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    std::shared_ptr<CameraObject> camera = std::make_shared<CameraObject>();
    std::shared_ptr<INode> cameraNode, target;
    std::vector<std::string> log;
    LogSink oldSink;
    int oldLevel = 0;

    void SetUp() override {
        oldSink = SetLogSink(
            [this](LogKind, const std::string& text) { log.push_back(MessageOfLine(text)); });
        oldLevel = SetLogLevel(2);
        DravinGlobals().options.forceLog = 1;
        camera->fovDegrees = 90;
        camera->envNear = 7;
        camera->envFar = 70;
        cameraNode = Add("cam", camera, {0, 0, 10});
        target = Add("target", std::make_shared<DummyObject>(), {3, 4, 5});
        scene.AddNode("scatter", object);
        Set(kCamfar, 50.0f);
        Set(kCamwidth, 0);
    }
    void TearDown() override {
        SetLogSink(oldSink);
        SetLogLevel(oldLevel);
    }
    std::shared_ptr<INode> Add(const char* name, std::shared_ptr<Object> shown, Point3 position) {
        auto node = INode::Create(name, std::move(shown));
        node->SetLocalTM(Matrix3::Translation(position));
        scene.AddNode(node);
        return node;
    }
    template <class T>
    void Set(ParamID id, const T& value) {
        object->Block(kCamParams).SetValue(id, 0, value);
    }
    TPreparedCamera Prepare(TCameraScene where = {}) {
        Interval valid = Interval::Forever();
        return PrepareCamera(TParameters(*object, 0, &valid), where, &valid);
    }
};

TEST_F(CameraInput, WithoutACameraNothingIsClippedOrFaded) {
    Set(kCamlimit, true);
    TPreparedCamera prepared = Prepare();
    EXPECT_FALSE(prepared.state.valid);
    EXPECT_FALSE(prepared.falloffs);
    EXPECT_FALSE(prepared.state.limitActive);
}

TEST_F(CameraInput, ACameraGivesPlaceAndView) {
    Set(kCamera, cameraNode);
    Set(kCamlimit, true);
    TCameraScene where;
    where.worldToObject = Matrix3::Translation({-1, 0, 0});
    TCameraState state = Prepare(where).state;
    EXPECT_TRUE(state.valid && state.limitActive);
    EXPECT_EQ(state.positionWorld, (Point3{0, 0, 10}));
    EXPECT_EQ(state.position, (Point3{-1, 0, 10}));
    EXPECT_EQ(state.lookAt, state.position);
    EXPECT_TRUE(state.view.Contains({8, 0, 0}));
    EXPECT_FALSE(state.view.Contains({10, 0, 0}));
    where.noLimit = true;
    EXPECT_FALSE(Prepare(where).state.limitActive);
}

TEST_F(CameraInput, TheNearLimitChangesNothing) {
    Set(kCamera, cameraNode);
    Set(kCamlimit, true);
    Set(kCamnear, 49.0f);
    EXPECT_TRUE(Prepare().state.view.Contains({0, 0, 5}));
}

TEST_F(CameraInput, RangesMayComeFromTheCamerasEnvironment) {
    Set(kCamera, cameraNode);
    Set(kCamdensear, 1.0f);
    EXPECT_EQ(Prepare().state.near, 1);
    EXPECT_EQ(Prepare().state.far, 1000);
    Set(kCamenvrange, true);
    Set(kCamlodenvrange, true);
    TCameraState state = Prepare().state;
    EXPECT_EQ(state.near, 7);
    EXPECT_EQ(state.far, 70);
    EXPECT_EQ(state.lodDistance, 70);
    EXPECT_EQ(object->Block(kCamParams).GetFloat(kCamdensear), 1);  // the parameter stays
}

TEST_F(CameraInput, ALookAtNodeIsBroughtIntoTheObjectsSpace) {
    Set(kLookat, target);
    TCameraScene where;
    where.worldToObject = Matrix3::Translation({0, 0, -5});
    TCameraState state = Prepare(where).state;
    EXPECT_TRUE(state.hasLookAt);
    EXPECT_EQ(state.lookAt, (Point3{3, 4, 0}));
}

TEST_F(CameraInput, AnotherNodeThanACameraLendsItsPlaceOnly) {
    Set(kCamera, target);
    Set(kCamlimit, true);
    Set(kCamenvrange, true);
    TPreparedCamera prepared = Prepare();
    EXPECT_EQ(prepared.state.position, (Point3{3, 4, 5}));
    EXPECT_TRUE(prepared.falloffs);
    EXPECT_FALSE(prepared.state.limitActive);
    EXPECT_EQ(prepared.state.far, 1000);
}

TEST_F(CameraInput, AViewStandsInWithoutClippingOrFalloffs) {
    Set(kCamlimit, true);
    TCameraScene where;
    where.view = ViewState{Matrix3::Translation({1, 2, 3}), 60};
    TPreparedCamera prepared = Prepare(where);
    EXPECT_TRUE(prepared.state.valid);
    EXPECT_EQ(prepared.state.position, (Point3{1, 2, 3}));
    EXPECT_FALSE(prepared.falloffs || prepared.state.limitActive);
}

TEST_F(CameraInput, AutomaticCamerasFollowTheRenderCamera) {
    CheckAutoCamera(*object, scene);
    EXPECT_FALSE(object->Block(kCamParams).GetNode(kCamera));
    scene.SetRenderCamera(cameraNode);
    CheckAutoCamera(*object, scene);
    EXPECT_FALSE(object->Block(kCamParams).GetNode(kCamera));  // not asked for
    Set(kCamauto, true);
    Set(kCamlookat, true);
    CheckAutoCamera(*object, scene);
    EXPECT_EQ(object->Block(kCamParams).GetNode(kCamera), cameraNode.get());
    EXPECT_EQ(object->Block(kCamParams).GetNode(kLookat), cameraNode.get());
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0], "CheckAutoCamera. Assigned camera from rendcam: 'cam'");
    EXPECT_EQ(log[1], "CheckAutoCamera. Assigned lookat from rendcam: 'cam'");
    CheckAutoCamera(*object, scene);
    EXPECT_EQ(log.size(), 2u);
}

TEST_F(CameraInput, WithoutARenderCameraThatOfTheViewIsTaken) {
    scene.SetViewCamera(cameraNode);
    Set(kCamauto, true);
    CheckAutoCamera(*object, scene);
    EXPECT_EQ(object->Block(kCamParams).GetNode(kCamera), cameraNode.get());
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], "CheckAutoCamera. Assigned camera from view: 'cam'");
    auto other = Add("other", std::make_shared<CameraObject>(), {});
    scene.SetRenderCamera(other);
    CheckAutoCamera(*object, scene);
    EXPECT_EQ(object->Block(kCamParams).GetNode(kCamera), other.get());
}

TEST_F(CameraInput, AViewThroughACameraShowsWhatItSees) {
    scene.SetView(ViewState{Matrix3::Translation({9, 9, 9}), 10});
    EXPECT_EQ(scene.ActiveView(0)->fovDegrees, 10);
    scene.SetViewCamera(cameraNode);
    EXPECT_EQ(scene.ActiveView(0)->fovDegrees, 90);
    EXPECT_EQ(scene.ActiveView(0)->transform.GetTrans(), (Point3{0, 0, 10}));
}

TEST_F(CameraInput, WithoutAFeatureTheCameraStaysAsItIs) {
    scene.SetRenderCamera(cameraNode);
    Set(kCamauto, true);
    Set(kCamlod, false);
    CheckAutoCamera(*object, scene);
    EXPECT_FALSE(object->Block(kCamParams).GetNode(kCamera));
    Set(kCamdensact, true);
    CheckAutoCamera(*object, scene);
    EXPECT_TRUE(object->Block(kCamParams).GetNode(kCamera));
}

TEST_F(CameraInput, ARenderAssignsItBeforeItsBuild) {
    scene.SetRenderCamera(cameraNode);
    Set(kCamauto, true);
    TBuildFlags flags;
    object->Build().BuildMesh(0, flags);
    EXPECT_FALSE(object->Block(kCamParams).GetNode(kCamera));
    flags.render = true;
    object->Build().BuildMesh(0, flags);
    EXPECT_TRUE(object->Block(kCamParams).GetNode(kCamera));
}

TEST_F(CameraInput, FieldsOfViewBeyondReasonAreToldAndTakenIn) {
    Set(kCamera, cameraNode);
    Set(kCamlimit, true);
    camera->fovDegrees = 180;
    TCameraState wide = Prepare().state;
    EXPECT_TRUE(wide.view.Contains({500, 0, 0}));
    EXPECT_FALSE(wide.view.Contains({0, 0, 11}));
    EXPECT_EQ(log.back(), "camera \"cam\" has a field of view of 180 degrees; 179 are used");
    camera->fovDegrees = 0;
    TCameraState narrow = Prepare().state;
    EXPECT_TRUE(narrow.view.Contains({0, 0, 0}));
    EXPECT_FALSE(narrow.view.Contains({0.1f, 0, 0}));
    EXPECT_EQ(log.back(), "camera \"cam\" has a field of view of 0 degrees; 0.01 are used");
}

}  // namespace

TEST_F(CameraInput, FalloffsWithoutACameraGetAWarning) {
    Prepare();
    EXPECT_TRUE(log.empty());
    Set(kCamdensact, true);
    Prepare();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_NE(log[0].find("no camera is set"), std::string::npos) << log[0];
    Set(kCamera, std::static_pointer_cast<ReferenceTarget>(cameraNode));
    Prepare();
    EXPECT_EQ(log.size(), 1u);
}

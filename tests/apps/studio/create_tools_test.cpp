// Objects made by hand in a view.
#include "apps/studio/tools/create_tool.h"

#include <QAction>
#include <QLabel>

#include "Dravin/dravin_globals.h"
#include "Dravin/proxy/dproxy.h"
#include "host/scene/host_context.h"
#include "host/script/script_system.h"
#include "tests/apps/studio/tools_fixture.h"

namespace {

struct CreateTools : Tools {
    ~CreateTools() override {
        Session().Look([](Scene&) { DravinGlobals().options.defaultCreationMode = 0; });
    }
    void SetMode(int mode) {
        Session().Look([mode](Scene&) { DravinGlobals().options.defaultCreationMode = mode; });
    }
    size_t NumNodes() {
        size_t n = 0;
        Rest();
        Session().Look([&](Scene& scene) { n = scene.Nodes().size(); });
        return n;
    }
    // The only node that is selected; null where it shows another kind of object.
    template <class Kind>
    Kind* Made() {
        Kind* made = nullptr;
        Rest();
        Session().Look([&](Scene& scene) {
            if (scene.Selection().size() == 1)
                made = dynamic_cast<Kind*>(scene.Selection()[0]->GetObjectRef());
        });
        return made;
    }
    Point3 PlaceMade() { return Selected().size() == 1 ? PlaceOf(Selected()[0]) : Point3{9, 9, 9}; }
};

}  // namespace

TEST_F(CreateTools, AClickPlacesAScatterObjectInOneStep) {
    OpenStones();
    std::string before = Saved("a.json");
    Trigger("create.scatter");
    EXPECT_TRUE(window->Action("create.scatter")->isChecked());
    EXPECT_TRUE(window->Tools().PromptLabel()->text().contains("Click where the object stands"));
    Click({2, 3, 0});
    ASSERT_TRUE(Made<TDravin>()) << window->LogText().toStdString();
    EXPECT_NEAR(PlaceMade().x, 2, 0.1);
    EXPECT_NEAR(PlaceMade().y, 3, 0.1);
    EXPECT_EQ(PlaceMade().z, 0);
    EXPECT_EQ(NumSteps(), 1u);
    EXPECT_FALSE(window->Action("create.scatter")->isChecked());
    Session().Undo();
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(CreateTools, ADragGivesTheIconItsSize) {
    OpenStones();
    SetMode(2);
    Trigger("create.scatter");
    size_t nodes = NumNodes();
    Drag(At({0, 0, 0}), At({3, 4, 0}));
    auto* object = Made<TDravin>();
    ASSERT_TRUE(object);
    EXPECT_EQ(NumNodes(), nodes + 1);
    float size = 0;
    Session().Look(
        [&](Scene&) { size = object->Block(kGenParams).GetFloat(genParams::kIconsize, 0); });
    EXPECT_NEAR(size, 5, 0.1);
    EXPECT_LT(Length(PlaceMade()), 0.1f) << "where the drag began";
    EXPECT_EQ(NumSteps(), 1u);
    Trigger("create.scatter");
    Click({2, 2, 0});
    EXPECT_EQ(NumNodes(), nodes + 1) << "no drag, no object";
}

TEST_F(CreateTools, FurtherClicksAddItemsWhereTheOptionsSaySo) {
    OpenSmall();
    LookFromAbove();
    SetMode(1);
    Trigger("create.scatter");
    Click({2, 3, 0});
    auto* object = Made<TDravin>();
    ASSERT_TRUE(object) << window->LogText().toStdString();
    EXPECT_TRUE(window->Action("items.add_by_click")->isChecked());
    Click({-4, -4, 0});
    Click({4, -4, 0});
    Session().Look([&](Scene&) { EXPECT_EQ(object->StoredItems().size(), 2u); });
    RightClick();
    EXPECT_FALSE(window->Action("items.add_by_click")->isChecked());
    Click({4, 4, 0});
    Session().Look([&](Scene&) { EXPECT_EQ(object->StoredItems().size(), 2u); });
}

TEST_F(CreateTools, ScriptsAndTheToolbarLeadToTheSameTools) {
    OpenStones();
    Session().Look([](Scene&) {
        HostContext::Current()->State<ScriptSystem>().Execute("startObjectCreation DravinLOD");
    });
    ASSERT_TRUE(hand::Wait([this] { return window->Action("create.lod")->isChecked(); }));
    Click({1, 1, 0});
    EXPECT_EQ(Selected().size(), 1u);
    EXPECT_EQ(Session().UndoName(), "Create LOD");
    window->Action("pack.create")->trigger();
    ASSERT_TRUE(hand::Wait([this] { return window->Action("create.scatter")->isChecked(); }));
}

TEST_F(CreateTools, APressPlacesAProxy) {
    OpenStones();
    Trigger("create.proxy");
    PressAt(At({3, 4, 0}));
    Rest();
    EXPECT_TRUE(Made<DProxy>()) << "its first point makes it";
    MoveTo(At({5, 5, 0}));
    ReleaseAt(At({5, 5, 0}));
    Settle();
    EXPECT_NEAR(PlaceMade().x, 3, 0.1);
    EXPECT_EQ(NumSteps(), 1u);
}

TEST_F(CreateTools, ALightIsLiftedByTheDrag) {
    OpenStones();
    ViewPose pose;  // from the front, on the ground, 40 units across
    pose.yaw = 0, pose.pitch = 0.5f, pose.distance = 40, pose.slope = 0.5f;
    View().Navigation().SetPose(pose);
    View().CameraChanged();
    Trigger("create.light");
    Drag(At({2, 0, 0}), At({2, 0, 6}));
    ASSERT_TRUE(Made<LightObject>());
    EXPECT_NEAR(PlaceMade().x, 2, 0.1);
    EXPECT_NEAR(PlaceMade().z, 6, 0.2);
    EXPECT_EQ(NumSteps(), 1u);
}

TEST_F(CreateTools, ACameraStandsWhereTheViewDoes) {
    OpenStones();
    ViewPose pose;
    pose.target = {1, 2, 3};
    View().Navigation().SetPose(pose);
    View().CameraChanged();
    Trigger("create.camera");
    auto* camera = Made<CameraObject>();
    ASSERT_TRUE(camera);
    EXPECT_LT(Length(PlaceMade() - pose.Transform().GetTrans()), 1e-4f);
    EXPECT_NEAR(std::tan(camera->fovDegrees.At(0) * M_PI / 360), pose.slope, 1e-4);
    EXPECT_EQ(NumSteps(), 1u);
    Trigger("view.camera");
    EXPECT_LT(Length(View().Navigation().Pose().Transform().row[2] - pose.Transform().row[2]),
              1e-4f)
        << "it sees the same";
}

TEST_F(CreateTools, ClicksDrawASpline) {
    OpenStones();
    std::string before = Saved("a.json");
    Trigger("create.spline");
    for (Point3 place : {Point3{0, -3, 0}, {3, -3, 0}, {3, 3, 0}}) Click(place);
    EXPECT_EQ(NumSteps(), 0u) << "nothing until it ends";
    hand::Key(&View(), Qt::Key_Return);
    auto* spline = Made<ShapeObject>();
    ASSERT_TRUE(spline);
    EXPECT_EQ(spline->shape.Get().splines.at(0).knots.size(), 3u);
    EXPECT_FALSE(spline->shape.Get().splines.at(0).closed);
    EXPECT_EQ(Session().UndoName(), "Create Spline");
    Session().Undo();
    EXPECT_EQ(Saved("b.json"), before);
    // The first point closes it; the right button ends it open.
    Trigger("create.spline");
    for (Point3 place : {Point3{0, -3, 0}, {3, -3, 0}, {3, 3, 0}, {0, -3, 0}}) Click(place);
    ASSERT_TRUE(Made<ShapeObject>());
    EXPECT_TRUE(Made<ShapeObject>()->shape.Get().splines.at(0).closed);
    Trigger("create.spline");
    for (Point3 place : {Point3{0, 3, 0}, {-3, 3, 0}}) Click(place);
    RightClick();
    ASSERT_TRUE(Made<ShapeObject>());
    EXPECT_EQ(Made<ShapeObject>()->shape.Get().splines.at(0).knots.size(), 2u);
    EXPECT_FALSE(window->Action("create.spline")->isChecked());
}

TEST_F(CreateTools, EveryWayOutLeavesTheSceneAsItWas) {
    OpenStones();
    SetMode(2);
    std::string before = Saved("a.json");
    std::function<void()> ways[] = {[this] { hand::Key(&View(), Qt::Key_Escape); },
                                    [this] {
                                        Send(QEvent::MouseButtonPress, {5, 5}, Qt::RightButton,
                                             Qt::LeftButton | Qt::RightButton, {});
                                    },
                                    [this] {
                                        QFocusEvent lost(QEvent::FocusOut);
                                        QApplication::sendEvent(&View(), &lost);
                                    }};
    for (const auto& way : ways) {
        Trigger("create.scatter");
        PressAt(At({0, 0, 0}));
        MoveTo(At({3, 4, 0}));
        way();
        ReleaseAt(At({3, 4, 0}));
        Settle();
        EXPECT_EQ(NumSteps(), 0u);
        if (window->Action("create.scatter")->isChecked()) RightClick();
        EXPECT_FALSE(window->Action("create.scatter")->isChecked());
    }
    Trigger("create.scatter");
    hand::Key(&View(), Qt::Key_Escape);
    EXPECT_FALSE(window->Action("create.scatter")->isChecked());
    Trigger("create.lod");
    Trigger("create.lod");
    EXPECT_FALSE(window->Action("create.lod")->isChecked()) << "its own action gives it up";
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(CreateTools, ViewsFromTheSideHaveAnUprightPlaneAndSnappingCounts) {
    OpenStones();
    View().Navigation().SetSide(ViewSide::kFront);
    View().CameraChanged();
    Trigger("tool.snap");
    Trigger("create.lod");
    Click({2.2f, 0, 2.8f});
    EXPECT_EQ(PlaceMade(), (Point3{2, 0, 3}));
}

// One corner gives the map its place, the other its size; the ratio is free then.
TEST_F(CreateTools, ClicksFitTheDistributionMap) {
    OpenSmall();
    LookFromAbove();
    Select({"meadow"});
    auto number = [this](auto id) {
        float value = 0;
        Rest();
        Session().Look(
            [&](Scene& scene) { value = Meadow(scene).Block(kDistParams).GetFloat(id, 0); });
        return value;
    };
    Trigger("map.fit_left_up");
    EXPECT_TRUE(window->Action("map.fit_left_up")->isChecked());
    size_t steps = NumSteps();
    Click({-6, 4, 0});
    EXPECT_NEAR(number(distParams::kOffsetX), -6, 0.1);
    EXPECT_NEAR(number(distParams::kOffsetY), 4, 0.1);
    EXPECT_FALSE(window->Action("map.fit_left_up")->isChecked()) << "one click";
    Trigger("map.fit_right_down");
    Click({2, -1, 0});
    EXPECT_NEAR(number(distParams::kUnitsX), 8, 0.1);
    EXPECT_NEAR(number(distParams::kUnitsY), 5, 0.1);
    EXPECT_EQ(NumSteps(), steps + 2);
    EXPECT_EQ(Selected(), std::vector<std::string>{"meadow"});
    Trigger("map.fit_left_up");
    RightClick();
    EXPECT_FALSE(window->Action("map.fit_left_up")->isChecked());
    EXPECT_EQ(NumSteps(), steps + 2);
}

TEST_F(CreateTools, WithoutAPlaceNothingIsMade) {
    OpenStones();
    ViewPose pose;  // up into the sky
    pose.pitch = -0.5f, pose.target = {0, 0, 50};
    View().Navigation().SetPose(pose);
    View().CameraChanged();
    Trigger("create.lod");
    size_t nodes = NumNodes();
    PressAt({100, 100});
    ReleaseAt({100, 100});
    Settle();
    EXPECT_EQ(NumNodes(), nodes);
    EXPECT_TRUE(window->Action("create.lod")->isChecked()) << "it still waits";
}

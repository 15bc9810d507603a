#include "apps/studio/windows/timeline.h"

#include <QToolButton>

#include "apps/studio/panels/number_field.h"
#include "apps/studio/windows/time_ruler.h"
#include "host/scene/host_context.h"
#include "host/scene/key_times.h"
#include "host/scene/transform_controller.h"
#include "tests/apps/studio/studio_window.h"

namespace {

// Frames of 160 ticks; the box moves between the frames 10 and 30.
constexpr const char* kMoving = R"({"dravin_scene": 1, "nodes": [
  {"name": "box", "type": "box", "width": 1, "length": 1, "height": 1,
   "position": {"keys": [[1600, [0, 0, 0]], [4800, [10, 0, 0]]]}}]})";

struct TimelineTest : StudioWindow {
    Timeline& Strip() { return window->Time(); }
    TimeRuler& Ruler() { return window->Time().Ruler(); }
    TimeValue Time() {
        // While it plays the scene is not always free: the look may come later.
        auto now = std::make_shared<std::optional<TimeValue>>();
        Session().Look([now](Scene& scene) { *now = scene.GetTime(); });
        EXPECT_TRUE(hand::Wait([&] { return now->has_value(); }));
        return now->value_or(-1);
    }
    static void Enter(QLineEdit* field, const char* text) {
        field->setFocus();
        field->selectAll();
        hand::Type(field, text);
        hand::Key(field, Qt::Key_Return);
    }
    void Select(const char* name) {
        Session().Do([name](Scene& scene) { scene.Select({{scene.FindNode(name)}}); });
        Rest();
    }
};

}  // namespace

TEST_F(TimelineTest, ADragOnTheRulerMovesThroughTime) {
    Open(kMoving);
    double x = Ruler().XOf(40);
    hand::Press(&Ruler(), {x, 20});
    Rest();
    EXPECT_EQ(Time(), 40 * 160);
    hand::Move(&Ruler(), {Ruler().XOf(70), 20});
    hand::Release(&Ruler(), {Ruler().XOf(70), 20});
    Rest();
    EXPECT_EQ(Time(), 70 * 160);
    EXPECT_FALSE(Session().IsModified());
    // Beyond the ends the ends are shown.
    hand::Press(&Ruler(), {Ruler().width() + 50.0, 20});
    hand::Release(&Ruler(), {Ruler().width() + 50.0, 20});
    Rest();
    EXPECT_EQ(Time(), 100 * 160);
}

TEST_F(TimelineTest, StepsToKeysOfTheSelection) {
    Open(kMoving);
    Strip().GoToKey(true);
    Rest();
    EXPECT_EQ(Time(), 0) << "nothing is selected";
    Select("box");
    Strip().GoToKey(true);
    Rest();
    EXPECT_EQ(Time(), 1600);
    Strip().GoToKey(true);
    Rest();
    EXPECT_EQ(Time(), 4800);
    Strip().GoToKey(true);
    Rest();
    EXPECT_EQ(Time(), 4800);
    Strip().GoToKey(false);
    Rest();
    EXPECT_EQ(Time(), 1600);
}

TEST_F(TimelineTest, TheRangeIsOneStepToUndo) {
    Open(kMoving);
    auto* last = Strip().findChild<NumberField*>("last");
    Enter(last, "250");
    Rest();
    Session().Look([](Scene& scene) { EXPECT_EQ(scene.timeRange->end, 250 * 160); });
    EXPECT_EQ(NumSteps(), 1u);
    Session().Undo();
    Rest();
    Session().Look([](Scene& scene) { EXPECT_EQ(scene.timeRange->end, 100 * 160); });
    Enter(last, "-5");
    Rest();
    EXPECT_EQ(NumSteps(), 0u) << "a range that ends before it begins";
}

TEST_F(TimelineTest, PlaysAndStops) {
    Open(kMoving);
    Strip().Play(true);
    EXPECT_TRUE(hand::Wait([this] { return Time() > 0; }));
    EXPECT_EQ(Time() % 160, 0) << "whole frames";
    Strip().Play(false);
    Rest();
    TimeValue stopped = Time();
    QTest::qWait(100);
    EXPECT_EQ(Time(), stopped);
    Strip().Play(true);
    OpenSmall();
    EXPECT_FALSE(Strip().IsPlaying()) << "another scene";
}

TEST_F(TimelineTest, AutoKeyMakesKeysOfChanges) {
    Open(kMoving);
    Strip().SetAutoKey(true);
    Session().SetTime(50 * 160);
    Rest();
    Session().Run("node.transform", "box", {{"to", ParamInput::Array{1.0, 2.0, 3.0}}});
    Rest();
    std::vector<TimeValue> keys;
    Session().Look([&](Scene& scene) { keys = KeyTimesOf(*scene.FindNode("box")); });
    // Rotation and scale had none: theirs begin at 0.
    EXPECT_EQ(keys, (std::vector<TimeValue>{0, 1600, 4800, 8000}));
    Strip().SetAutoKey(false);
    Session().SetTime(60 * 160);
    Session().Run("node.transform", "box", {{"to", ParamInput::Array{0.0, 0.0, 0.0}}});
    Rest();
    Session().Look([&](Scene& scene) { keys = KeyTimesOf(*scene.FindNode("box")); });
    EXPECT_EQ(keys.size(), 4u);
}

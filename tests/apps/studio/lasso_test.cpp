// Lassos: nodes, items and points, all of them or only those that are seen.
#include <QAction>

#include "host/scene/user_interface.h"
#include "tests/apps/studio/tools_fixture.h"

namespace {

struct Lassos : ItemTools {
    // The button goes down at the first place and up at the last.
    void Draw(const std::vector<Point3>& places, Qt::KeyboardModifiers modifiers = {}) {
        PressAt(At(places[0]), modifiers);
        for (size_t i = 1; i < places.size(); ++i)
            for (int k = 1; k <= 5; ++k)
                MoveTo(At(places[i - 1]) + (At(places[i]) - At(places[i - 1])) * k / 5.0);
        ReleaseAt(At(places.back()));
        Settle();
    }
};

using Names = std::vector<std::string>;

}  // namespace

TEST_F(Lassos, NodesThatLieInsideAreTaken) {
    OpenStones();
    Trigger("tool.lasso");
    ASSERT_TRUE(window->Action("tool.lasso")->isChecked());
    // Around the left stone, and through the right one.
    Draw({{-7, -2, 0}, {-3, -2, 0}, {-3, 2, 0}, {5, 0, 0}, {-7, 2, 0}});
    EXPECT_EQ(Selected(), Names{"left"});
    // A rectangle over all of this would take all three.
    Draw({{3, -2, 0}, {7, -2, 0}, {7, 2, 0}, {3, 2, 0}}, Qt::ControlModifier);
    EXPECT_EQ(Selected(), (Names{"left", "right"}));
    Trigger("tool.lasso");
    Drag(At({-8, -2, 0}), At({8, 6, 0}));
    EXPECT_EQ(Selected().size(), 3u) << "a rectangle again";
}

TEST_F(Lassos, EscapeGivesItUp) {
    OpenStones();
    Trigger("tool.lasso");
    size_t steps = NumSteps();
    PressAt(At({-7, -2, 0}));
    MoveTo(At({7, -2, 0}));
    MoveTo(At({7, 6, 0}));
    hand::Key(&View(), Qt::Key_Escape);
    ReleaseAt(At({-7, 6, 0}));
    Settle();
    EXPECT_EQ(Selected(), Names{});
    EXPECT_EQ(NumSteps(), steps);
}

TEST_F(Lassos, ItemsByTheirPlaces) {
    OpenItems(true);
    Trigger("tool.lasso");
    size_t inside = 0;
    for (const Point3& p : Built()) inside += p.x + p.y < -0.3f && p.x > -9.9f && p.y > -9.9f;
    ASSERT_GT(inside, 0u);
    ASSERT_LT(inside, Items().size());
    // The lower left triangle of the ground.
    Draw({{-9.9f, -9.9f, 0}, {9.6f, -9.9f, 0}, {-9.9f, 9.6f, 0}});
    EXPECT_EQ(NumSelected(), inside);
}

// A board over the left half hides what is below.
TEST_F(Lassos, OnlyWhatIsSeen) {
    OpenStones();
    Session().Do([](Scene& scene) {
        auto mesh = std::make_shared<Mesh>();
        mesh->verts = {{-9, -3, 3}, {-1, -3, 3}, {-1, 3, 3}, {-9, 3, 3}};
        mesh->faces = {Face{{0, 1, 2}}, Face{{0, 2, 3}}};
        scene.AddNode("board", std::make_shared<TriObject>(mesh));
    });
    Settle();
    Drag(At({-9.5f, -5, 0}), At({9, 6, 0}));
    EXPECT_EQ(Selected(), (Names{"left", "right", "child", "board"}));
    Trigger("select.only_seen");
    Drag(At({-9.5f, -5, 0}), At({9, 6, 0}));
    EXPECT_EQ(Selected(), (Names{"right", "child", "board"}));
}

TEST_F(Lassos, PointsThatAreSeen) {
    Open(R"({"dravin_scene": 1, "nodes": [
      {"name": "pond", "type": "spline", "lines": [
        {"closed": true, "points": [[-4, -4, 0], [4, -4, 0], [4, 4, 0], [-4, 4, 0]]}]},
      {"name": "stone", "type": "box", "width": 2, "length": 2, "height": 2,
       "position": [4, 4, 0]}]})");
    LookFromAbove();
    Select({"pond"});
    Trigger("points.edit");
    Trigger("tool.lasso");
    Draw({{-5, -5.5f, 0}, {5.5f, -5.5f, 0}, {5.5f, 5.5f, 0}, {-5, -3, 0}});
    EXPECT_EQ(window->Tools().Target().SelectedNumbers(), (std::vector<int>{0, 1, 2}));
    Trigger("select.only_seen");
    Draw({{-5, -5.5f, 0}, {5.5f, -5.5f, 0}, {5.5f, 5.5f, 0}, {-5, -3, 0}});
    EXPECT_EQ(window->Tools().Target().SelectedNumbers(), (std::vector<int>{0, 1}))
        << "the stone stands over the third";
}

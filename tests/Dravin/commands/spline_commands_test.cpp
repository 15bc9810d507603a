// Points of splines by commands: what the views' tool does, in numbers.
#include <gmock/gmock.h>

#include "Dravin/commands/all_commands.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

using testing::HasSubstr;

namespace {

struct SplineCommands : testing::Test {
    HostContext host;
    Scene scene;
    std::shared_ptr<ShapeObject> spline = std::make_shared<ShapeObject>();
    TCommandTable table = MakeCommandTable();

    // A triangle that is not closed, 10 to the right of the origin.
    SplineCommands() {
        host.SetCurrentScene(&scene);
        spline->shape = BezierShape{{{{{{0, 0, 0}}, {{4, 0, 0}}, {{0, 4, 0}}}, false}}};
        INode* node = scene.AddNode("path", spline);
        node->SetLocalTM(Matrix3::Translation({10, 0, 0}));
        scene.AddNode("box", std::make_shared<TriObject>());
        scene.undo.Clear();
    }
    TCommandResult Run(const char* name, TArguments arguments = {}, const char* node = "path") {
        return table.Run(name, scene, node, arguments);
    }
    static ParamInput Numbers(std::vector<double> values) {
        ParamInput::Array array;
        for (double v : values) array.emplace_back(v);
        return ParamInput(std::move(array));
    }
    const std::vector<BezierKnot>& Knots() { return spline->shape.Get().splines.at(0).knots; }
};

}  // namespace

TEST_F(SplineCommands, PointsMoveInTheWorldAsOneStep) {
    ASSERT_TRUE(Run("spline.move", {{"points", Numbers({0, 2})}, {"by", Numbers({1, 2, 3})}}));
    EXPECT_EQ(Knots()[0].p, (Point3{1, 2, 3}));
    EXPECT_EQ(Knots()[1].p, (Point3{4, 0, 0}));
    EXPECT_EQ(Knots()[2].p, (Point3{1, 6, 3}));
    ASSERT_TRUE(Run("spline.move", {{"points", 1}, {"to", Numbers({10, 9, 0})}}));
    EXPECT_EQ(Knots()[1].p, (Point3{0, 9, 0}));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 2u);
    scene.undo.Undo();
    scene.undo.Undo();
    EXPECT_EQ(Knots()[2].p, (Point3{0, 4, 0}));
}

TEST_F(SplineCommands, PointsAreInsertedDeletedAndListed) {
    TCommandResult inserted = Run("spline.insert", {{"behind", 0}, {"at", 0.25}});
    ASSERT_TRUE(inserted) << inserted.error;
    EXPECT_EQ(std::get<int64_t>(inserted.value.value), 1);
    EXPECT_EQ(Knots()[1].p, (Point3{1, 0, 0}));
    auto places = std::get<ParamInput::Array>(Run("spline.points").value.value);
    ASSERT_EQ(places.size(), 4u);
    EXPECT_EQ(std::get<double>(std::get<ParamInput::Array>(places[1].value)[0].value), 11);
    ASSERT_TRUE(Run("spline.delete", {{"points", Numbers({0, 3})}}));
    EXPECT_EQ(Knots().size(), 2u);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 2u);
    EXPECT_THAT(Run("spline.insert", {{"behind", 1}}).error, HasSubstr("no segment"));
    EXPECT_THAT(Run("spline.insert", {{"behind", -1}}).error, HasSubstr("no segment"));
}

TEST_F(SplineCommands, SplinesCloseAndGetHandles) {
    ASSERT_TRUE(Run("spline.close", {{"point", 1}}));
    EXPECT_TRUE(spline->shape.Get().splines[0].closed);
    EXPECT_THAT(Run("spline.close", {{"point", 1}}).error, HasSubstr("so already"));
    ASSERT_TRUE(Run("spline.handles", {{"points", Numbers({0, 1, 2})}, {"kind", "smooth"}}));
    EXPECT_NE(Knots()[0].in, Point3{});
    ASSERT_TRUE(Run("spline.handle", {{"point", 0}, {"side", "out"}, {"to", Numbers({10, 0, 5})}}));
    EXPECT_EQ(Knots()[0].out, (Point3{0, 0, 5}));
    EXPECT_LT(Knots()[0].in.z, 0);
    ASSERT_TRUE(Run("spline.handles", {{"points", 0}, {"kind", "corner"}}));
    EXPECT_EQ(Knots()[0].out, Point3{});
    ASSERT_TRUE(Run("spline.close", {{"point", 0}, {"closed", false}}));
    EXPECT_FALSE(spline->shape.Get().splines[0].closed);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 5u);
}

TEST_F(SplineCommands, WrongPointsChangeNothing) {
    BezierShape before = spline->shape;
    for (const char* command : {"spline.delete", "spline.move"})
        EXPECT_THAT(Run(command, {{"points", Numbers({0, 3})}}).error,
                    HasSubstr("there is no point 3 among 3"));
    EXPECT_THAT(Run("spline.close", {{"point", 3}}).error, HasSubstr("no point 3"));
    EXPECT_THAT(Run("spline.points", {}, "box").error, HasSubstr("shows no spline"));
    EXPECT_EQ(spline->shape.Get(), before);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}

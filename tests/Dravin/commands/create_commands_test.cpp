// Nodes made by commands: what a hand makes in a view, in numbers.
#include <cmath>

#include "Dravin/proxy/dproxy.h"
#include "tests/Dravin/commands/command_fixture.h"

using testing::HasSubstr;

namespace {

struct CreateCommands : CommandFixture {
    // The node that a command says it has made.
    INode* Made(const std::string& name, const TArguments& arguments) {
        TCommandResult result = Run(name, arguments);
        EXPECT_TRUE(result) << result.error;
        auto* text = std::get_if<std::string>(&result.value.value);
        return text ? scene.FindNode(*text) : nullptr;
    }
    std::string ErrorOf(const std::string& name, const TArguments& arguments) {
        size_t nodes = scene.Nodes().size();
        std::string error = Run(name, arguments).error;
        EXPECT_EQ(scene.Nodes().size(), nodes);
        return error;
    }
    static ParamInput Place(double x, double y, double z) {
        return ParamInput(ParamInput::Array{ParamInput(x), ParamInput(y), ParamInput(z)});
    }
};

}  // namespace

TEST_F(CreateCommands, ACameraLooksTowardAPlace) {
    INode* node = Made("camera.create",
                       {{"position", Place(0, -10, 0)}, {"toward", Place(0, 0, 0)}, {"fov", 60}});
    ASSERT_TRUE(node);
    auto& camera = dynamic_cast<CameraObject&>(*node->GetObjectRef());
    EXPECT_EQ(camera.fovDegrees.At(0), 60);
    Matrix3 tm = node->GetNodeTM(0);
    EXPECT_EQ(tm.GetTrans(), (Point3{0, -10, 0}));
    // Along its -Z, upright: +y ahead, x to the right.
    EXPECT_LT(Length(tm.row[2] - Point3{0, -1, 0}), 1e-6f);
    EXPECT_LT(Length(tm.row[0] - Point3{1, 0, 0}), 1e-6f);
    EXPECT_EQ(scene.undo.UndoName(), "Create Camera");
    scene.undo.Undo();
    EXPECT_EQ(scene.FindNode("Camera"), nullptr);
    for (ParamInput fov : {ParamInput(0), ParamInput(180), ParamInput(std::nan(""))})
        EXPECT_NE(ErrorOf("camera.create", {{"fov", fov}}), "");
}

TEST_F(CreateCommands, LightsOfEveryKindLookDownByDefault) {
    for (auto [name, kind] : {std::pair{"point", LightKind::kPoint},
                              {"spot", LightKind::kSpot},
                              {"directional", LightKind::kDirectional}}) {
        INode* node = Made("light.create", {{"kind", name}, {"position", Place(1, 2, 3)}});
        ASSERT_TRUE(node);
        EXPECT_EQ(dynamic_cast<LightObject&>(*node->GetObjectRef()).kind.Get(), kind);
        EXPECT_LT(Length(node->GetNodeTM(0).row[2] - Point3{0, 0, 1}), 1e-6f);
    }
    EXPECT_THAT(ErrorOf("light.create", {{"intensity", -1}}), HasSubstr("0 or more"));
}

TEST_F(CreateCommands, ASplineStandsAroundTheMiddleOfItsPoints) {
    INode* node =
        Made("spline.create", {{"points", PointRows({{0, 0, 1}, {4, 0, 1}, {4, 6, 1}, {0, 6, 1}})},
                               {"closed", ParamInput(true)}});
    ASSERT_TRUE(node);
    EXPECT_EQ(node->GetNodeTM(0).GetTrans(), (Point3{2, 3, 1}));
    const BezierShape& shape = dynamic_cast<ShapeObject&>(*node->GetObjectRef()).shape;
    ASSERT_EQ(shape.splines.size(), 1u);
    EXPECT_TRUE(shape.splines[0].closed);
    EXPECT_EQ(shape.splines[0].knots[1].p * node->GetObjectTM(0), (Point3{4, 0, 1}));
    EXPECT_THAT(ErrorOf("spline.create", {{"points", PointRows({{0, 0}})}}),
                HasSubstr("2 or more"));
    EXPECT_THAT(ErrorOf("spline.create",
                        {{"points", PointRows({{0, 0}, {1, 0}})}, {"closed", ParamInput(true)}}),
                HasSubstr("3 or more"));
    EXPECT_NE(ErrorOf("spline.create", {{"points", ParamInput("x")}}), "");
}

TEST_F(CreateCommands, AProxyStandsForItsSource) {
    INode* source = scene.Nodes().at(0);
    INode* node = Made("proxy.create",
                       {{"position", Place(3, 4, 0)}, {"source", ParamInput(source->GetName())}});
    ASSERT_TRUE(node);
    EXPECT_EQ(node->GetNodeTM(0).GetTrans(), (Point3{3, 4, 0}));
    EXPECT_EQ(dynamic_cast<DProxy&>(*node->GetObjectRef()).source.Get(), source);
    EXPECT_THAT(ErrorOf("proxy.create", {{"source", ParamInput("nobody")}}),
                HasSubstr("no node \"nobody\""));
}

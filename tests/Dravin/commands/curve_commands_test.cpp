#include <gtest/gtest.h>

#include "Dravin/commands/curve_session.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "tests/Dravin/commands/command_fixture.h"

namespace {

struct CurveCommands : testing::Test {
    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    TCommandTable table = MakeCommandTable();

    CurveCommands() {
        host.SetCurrentScene(&scene);
        scene.AddNode("meadow", object);
        scene.undo.Clear();
    }
    TCommandResult Run(const char* name, TArguments arguments) {
        return table.Run(name, scene, "meadow", arguments);
    }
};

}  // namespace

TEST_F(CurveCommands, SetsPointsAsOneStepAndGivesThemBack) {
    ASSERT_TRUE(Run("curve.set", {{"curve", "slope_scale"},
                                  {"points", PointRows({{0, 80, 0, 0, 0.25, -10}, {1, 5}})}}));
    const std::vector<CurvePoint>& points = object->CurveSet(kSlotSurfaceCurves)->Points(3);
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[0], (CurvePoint{0, 80, 0, 0, 0.25f, -10, 0}));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    auto rows =
        std::get<ParamInput::Array>(Run("curve.get", {{"curve", "slope_scale"}}).value.value);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(std::get<double>(std::get<ParamInput::Array>(rows[1].value)[1].value), 5);
    scene.undo.Undo();
    EXPECT_EQ(object->CurveSet(kSlotSurfaceCurves)->Points(3)[0].py, 100);
}

TEST_F(CurveCommands, WrongPointsChangeNothing) {
    for (const ParamInput& points : {PointRows({}), PointRows({{0.5, 1}, {0.4, 1}}),
                                     PointRows({{2, 1}}), PointRows({{0, 1, 2}}), ParamInput(3)}) {
        TCommandResult result = Run("curve.set", {{"curve", "spdenscurve"}, {"points", points}});
        EXPECT_NE(result.error.find("x rising from 0 to 1"), std::string::npos) << result.error;
    }
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}

TEST_F(CurveCommands, ACurveThatIsNoneNamesTheNearest) {
    TCommandResult result = Run("curve.edit", {{"curve", "slope_scal"}});
    EXPECT_NE(result.error.find("slope_scale"), std::string::npos) << result.error;
    EXPECT_FALSE(EditedCurve());
}

TEST_F(CurveCommands, TheEditorOpensAndCloses) {
    ASSERT_TRUE(Run("curve.edit", {{"curve", "spdenscurve"}}));
    ASSERT_TRUE(EditedCurve());
    EXPECT_EQ(EditedCurve()->title, "Area Density Falloff");
    ASSERT_TRUE(Run("curve.edit", {{"curve", "spscalcurve"}}));
    EXPECT_EQ(EditedCurve()->name, "spscalcurve");
    ASSERT_TRUE(Run("curve.edit", {{"curve", "spscalcurve"}}));
    EXPECT_FALSE(EditedCurve());
}

TEST_F(CurveCommands, CurvesOfEffectsGoWithTheirParameter) {
    ASSERT_TRUE(Run("effect.add", {{"name", "bend"}}));
    ASSERT_TRUE(Run("effect.parameter.add", {{"name", "profile"}, {"kind", "curve"}}));
    ASSERT_TRUE(
        Run("curve.set", {{"curve", "profile"}, {"points", PointRows({{0, 1}, {1, 0.5}})}}));
    auto place = FindCurve(*object, "profile", nullptr);
    ASSERT_TRUE(place);
    EXPECT_EQ(CurvePointsOf(*place)[1].py, 0.5f);
    EXPECT_EQ(CurveMaximum(*place), 1);
    ASSERT_TRUE(Run("curve.edit", {{"curve", "profile"}}));
    ASSERT_TRUE(Run("effect.parameter.delete", {{"parameter", "profile"}}));
    EXPECT_FALSE(EditedCurve());
}

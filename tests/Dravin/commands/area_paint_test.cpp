// Painted areas: strokes as commands with undo, the brush, and splines made of them.
#include "Dravin/commands/area_paint.h"

#include "tests/Dravin/commands/area_fixture.h"

using testing::HasSubstr;

namespace {

class AreaPaint : public AreaFixture {
protected:
    void SetUp() override {
        AreaFixture::SetUp();
        Must("area.add", {{"kind", "paint"}});
        scene.undo.Clear();
    }
    std::string Brush(TArguments arguments = {}) {
        TCommandResult result = Run("area.brush", arguments);
        EXPECT_TRUE(bool(result)) << result.error;
        auto* mode = std::get_if<std::string>(&result.value.value);
        return mode ? *mode : "none";
    }
};

}  // namespace

// --- strokes

TEST_F(AreaPaint, OneSampleIsOneClosedCircle) {
    ASSERT_TRUE(Dab(2, 3, 4));
    PolyShape painted = Painted();
    ASSERT_EQ(painted.lines.size(), 1u);
    const PolyLine& circle = painted.lines[0];
    EXPECT_TRUE(circle.closed);
    EXPECT_LE(circle.points.size(), 24u);
    for (const Point3& p : circle.points) {
        EXPECT_NEAR(Length(p - Point3{2, 3, 0}), 4, 0.002);
        EXPECT_EQ(p.z, 0);
    }
}

TEST_F(AreaPaint, StrokesAreStepsAndComeBackToTheBit) {
    ASSERT_TRUE(Dab(0, 0, 5));
    PolyShape first = Painted();
    ASSERT_TRUE(Dab(4, 0, 5));
    ASSERT_TRUE(Dab(1, 1, 1, {{"erase", true}}));
    PolyShape last = Painted();
    EXPECT_EQ(last.lines.size(), 2u);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 3u);
    EXPECT_EQ(scene.undo.UndoName(), "Paint Stroke");
    scene.undo.Undo();
    scene.undo.Undo();
    EXPECT_EQ(Painted(), first);
    scene.undo.Undo();
    EXPECT_TRUE(Painted().lines.empty());
    while (scene.undo.Redo()) {
    }
    EXPECT_EQ(Painted(), last);
}

// Scenes written by hand are not cut to steps until a stroke, and whole again after its undo.
TEST_F(AreaPaint, UndoGivesBackWhatNoBrushHasWritten) {
    PolyShape odd;
    odd.lines = {{{{0.00012345f, 0, 1}, {3.33333f, 0, 1}, {0, 3.33333f, 1}}, true},
                 {{{5, 5, 0}, {6, 6, 0}}, false}};
    auto paint = std::make_shared<TPaintShape>();
    paint->shape = odd;
    Areas().SetValue(areaParams::kArpaintlist, 0, paint, 0);
    scene.undo.Clear();
    ASSERT_TRUE(Dab(-5, -5, 1));
    EXPECT_EQ(Painted().lines.size(), 2u) << "the open line is gone";
    EXPECT_EQ(Painted().lines[0].points[0].z, 0);
    scene.undo.Undo();
    EXPECT_EQ(Painted(), odd);
}

TEST_F(AreaPaint, ARowWithoutAShapeGetsOne) {
    Areas().SetValue(areaParams::kArpaintlist, 0, nullptr, 0);
    scene.undo.Clear();
    ASSERT_TRUE(Dab(0, 0, 2));
    EXPECT_EQ(Painted().lines.size(), 1u);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    scene.undo.Undo();
    EXPECT_EQ(Areas().GetReference(areaParams::kArpaintlist, 0, 0), nullptr);
}

TEST_F(AreaPaint, StrokesThatChangeNothingAreNoSteps) {
    ASSERT_TRUE(Dab(0, 0, 2, {{"erase", true}}));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
    EXPECT_THAT(Dab(0, 0, 0.0001).error, HasSubstr("0.001 paints nothing"));
}

// The region is the object's own: where the node stands, and how it is turned, is taken off.
TEST_F(AreaPaint, PlacesAreInTheWorld) {
    node->SetLocalTM(Matrix3::Translation({100, 50, 7}));
    scene.undo.Clear();
    ASSERT_TRUE(Dab(103, 54, 2));
    Point3 middle = Painted().BoundingBox().Center();
    EXPECT_NEAR(middle.x, 3, 0.05);
    EXPECT_NEAR(middle.y, 4, 0.05);
}

// A strip over the plane of 20 x 20, cells of one: its items, and no others. An area without a
// shape counts for nothing, so that the object stands on its surface as if it had none.
TEST_F(AreaPaint, ItemsGrowWhereItIsPainted) {
    EXPECT_EQ(NumItems(), 400u) << "nothing is painted";
    Must("area.paint", {{"points", PointRows({{-8, 0}, {8, 0}})}, {"radius", 2.0}});
    size_t painted = NumItems();
    // 16 x 4 and the two ends of a circle: 76.6 square units.
    EXPECT_GT(painted, 55u);
    EXPECT_LT(painted, 95u);
    Must("area.paint",
         {{"points", PointRows({{-12, 0}, {12, 0}})}, {"radius", 5.0}, {"erase", true}});
    EXPECT_TRUE(Painted().lines.empty());
    EXPECT_EQ(NumItems(), 400u);
    scene.undo.Undo();
    EXPECT_EQ(NumItems(), painted);
}

// The other way round: what is painted is kept free.
TEST_F(AreaPaint, PaintThatExcludesKeepsItemsOut) {
    Areas().SetValue(areaParams::kArincexclist, 0, 1, 0);
    ASSERT_TRUE(Dab(0, 0, 4));
    size_t left = NumItems();
    // 16 pi = 50.3 cells of 400.
    EXPECT_GT(left, 400u - 70);
    EXPECT_LT(left, 400u - 35);
}

TEST_F(AreaPaint, SmoothingEvensAlongAStroke) {
    Must("area.paint", {{"points", PointRows({{0, 0}, {0, 5}, {5, 5}})}, {"radius", 0.5}});
    PolyShape rough = Painted();
    Must("area.paint", {{"points", PointRows({{0, 5}})}, {"radius", 2.0}, {"smooth", 1.0}});
    EXPECT_NE(Painted(), rough);
    EXPECT_THAT(Dab(0, 0, 1, {{"smooth", 1.0}, {"erase", true}}).error, HasSubstr("not both"));
    scene.undo.Undo();
    EXPECT_EQ(Painted(), rough);
}

TEST_F(AreaPaint, WrongCallsChangeNothing) {
    for (const ParamInput& points : {PointRows({}), PointRows({{1}}), PointRows({{1, 2, 3, 4}}),
                                     ParamInput(7), ParamInput("x")}) {
        TCommandResult result = Run("area.paint", {{"points", points}, {"radius", 1.0}});
        EXPECT_THAT(result.error, HasSubstr("takes [[x, y], ...]"));
    }
    EXPECT_THAT(Dab(0, 0, 1, {{"row", 4}}).error, HasSubstr("there is no row 4"));
    Must("area.insert");
    EXPECT_THAT(Dab(0, 0, 1, {{"row", 1}}).error, HasSubstr("row 1 is no paint area"));
    EXPECT_TRUE(Painted().lines.empty());
}

// Ids decide, whatever the order of the rows is by then.
TEST_F(AreaPaint, AreasAreFoundByTheirIdsWhenRowsMove) {
    Must("area.add", {{"kind", "paint"}});
    ASSERT_TRUE(Dab(0, 0, 2, {{"row", 0}}));
    int id = AreaIdOf(*object, 0);
    Must("area.down", {{"row", 0}});
    EXPECT_EQ(PaintRowOf(*object, id), 1);
    EXPECT_TRUE(Painted(0).lines.empty());
    EXPECT_EQ(Painted(1).lines.size(), 1u);
    // Rows of scenes written by hand all have the id -1.
    for (int row : {0, 1}) Areas().SetValue(areaParams::kAridlist, 0, -1, row);
    EXPECT_NE(AreaIdOf(*object, 0), AreaIdOf(*object, 1));
    ASSERT_TRUE(Dab(5, 5, 1, {{"row", 0}}));
    EXPECT_EQ(Painted(0).lines.size(), 1u);
    EXPECT_EQ(Painted(1).lines.size(), 1u);
}

TEST_F(AreaPaint, CopiesOfARowAreTheirOwn) {
    ASSERT_TRUE(Dab(0, 0, 2));
    Must("area.copy", {{"row", 0}});
    Must("area.paste");
    ASSERT_TRUE(Dab(6, 6, 1, {{"row", 1}}));
    EXPECT_EQ(Painted(0).lines.size(), 1u);
    EXPECT_EQ(Painted(1).lines.size(), 2u);
}

// In a scene of centimetres a step is a tenth of a unit.
TEST_F(AreaPaint, StepsFollowTheSceneUnit) {
    scene.unitScale = 0.01;
    EXPECT_THAT(Dab(0, 0, 0.05).error, HasSubstr("0.1 paints nothing"));
    ASSERT_TRUE(Dab(0, 0, 2.04));
    PolyShape painted = Painted();
    for (const Point3& p : painted.lines.at(0).points) {
        EXPECT_NEAR(p.x * 10, std::round(p.x * 10), 1e-4);
        EXPECT_LE(Length(p), 2.05f);
    }
}

// --- the brush

TEST_F(AreaPaint, PressingAgainEndsAndTheOtherButtonSwitches) {
    EXPECT_FALSE(PaintSession());
    EXPECT_EQ(Brush(), "paint");
    ASSERT_TRUE(PaintSession());
    EXPECT_EQ(PaintSession()->areaId, AreaIdOf(*object, 0));
    EXPECT_EQ(Brush({{"mode", "erase"}}), "erase") << "the tool is not left";
    EXPECT_EQ(PaintSession()->mode, TPaintMode::kErase);
    EXPECT_EQ(Brush({{"mode", "erase"}}), "");
    EXPECT_FALSE(PaintSession());
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
    EXPECT_TRUE(ui->messages.empty());
}

TEST_F(AreaPaint, AnotherAreaTakesTheBrush) {
    Must("area.add", {{"kind", "paint"}});
    EXPECT_EQ(Brush({{"row", 0}}), "paint");
    EXPECT_EQ(Brush({{"row", 1}}), "paint");
    EXPECT_EQ(PaintSession()->areaId, AreaIdOf(*object, 1));
    Must("area.delete", {{"rows", 1}});
    EXPECT_FALSE(PaintSession()) << "its area is gone";
}

TEST_F(AreaPaint, WithoutAnXYSurfaceTheToolDoesNotStart) {
    const char* text =
        "The Paint Tool requires a XY surface to work.\n\nPlease, assign it in the Surface "
        "rollout.";
    Set(kSurfaceParams, surfaceParams::kSurfmode, 1);
    EXPECT_EQ(Brush(), "");
    ASSERT_EQ(ui->messages.size(), 1u);
    EXPECT_EQ(ui->messages[0].text, text);
    EXPECT_EQ(ui->messages[0].caption, "Tavu Software");
    EXPECT_EQ(ui->listener, std::vector<std::string>{text});
    EXPECT_FALSE(PaintSession());
    Set(kSurfaceParams, surfaceParams::kSurfmode, 0);
    object->Block(kSurfaceParams).SetCount(surfaceParams::kSurflist, 0);
    EXPECT_EQ(Brush(), "");
    EXPECT_EQ(ui->messages.size(), 2u);
}

TEST_F(AreaPaint, LosingTheSurfaceEndsTheSession) {
    EXPECT_EQ(Brush(), "paint");
    object->Block(kSurfaceParams).SetCount(surfaceParams::kSurflist, 0);
    EXPECT_FALSE(PaintSession());
}

// A surface without geometry: no session, and nothing is said.
TEST_F(AreaPaint, SurfacesThatShowNothingAreNotPaintedOn) {
    plane->SetObjectRef(std::make_shared<ShapeObject>());
    EXPECT_EQ(PaintNodes(*object).size(), 0u);
    EXPECT_EQ(Brush(), "");
    EXPECT_TRUE(ui->messages.empty());
}

// Undo of a stroke works whether its session goes on or not.
TEST_F(AreaPaint, UndoOfAStrokeWorksInTheSessionAndAfterIt) {
    Brush();
    ASSERT_TRUE(Dab(0, 0, 3));
    PolyShape one = Painted();
    ASSERT_TRUE(Dab(3, 0, 3));
    scene.undo.Undo();
    EXPECT_EQ(Painted(), one);
    EndPaint();
    scene.undo.Undo();
    EXPECT_TRUE(Painted().lines.empty());
    scene.undo.Redo();
    EXPECT_EQ(Painted(), one);
}

// --- conversions

TEST_F(AreaPaint, PaintBecomesASplineAfterAQuestion) {
    node->SetLocalTM(Matrix3::Translation({100, 0, 0}));
    ASSERT_TRUE(Dab(100, 0, 5));
    ASSERT_TRUE(Dab(100, 0, 2, {{"erase", true}}));
    size_t items = NumItems();
    scene.undo.Clear();
    EXPECT_FALSE(Run("area.to_spline")) << "nobody says yes";
    EXPECT_EQ(ui->questions.back(),
              "The Paint Area will be converted into an Area Spline,\nand a new spline will be "
              "created in the scene.\n\nDo you want to continue ?");
    EXPECT_EQ(Type(0), kAreaPaint);
    ui->answers = {Answer::kYes};
    Must("area.to_spline");
    EXPECT_EQ(Type(0), kAreaSpline);
    ASSERT_TRUE(scene.FindNode("paint_area"));
    EXPECT_EQ(Areas().GetNode(areaParams::kArnodelist, 0, 0), scene.FindNode("paint_area"));
    EXPECT_EQ(NumItems(), items);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    scene.undo.Undo();
    EXPECT_EQ(Type(0), kAreaPaint);
    EXPECT_FALSE(scene.FindNode("paint_area"));
    EXPECT_EQ(NumItems(), items);
}

TEST_F(AreaPaint, ASplineBecomesPaintAfterAQuestion) {
    auto shape = std::make_shared<ShapeObject>();
    BezierShape curves;
    for (bool closed : {true, false})
        curves.splines.push_back({{{{0, 0, 3}}, {{4, 0, 3}}, {{4, 4, 3}}}, closed});
    shape->shape = curves;
    INode* pond = scene.AddNode("pond", shape);
    pond->SetLocalTM(Matrix3::Translation({1, 0, 0}));
    Must("area.add", {{"node", "pond"}});
    scene.undo.Clear();
    EXPECT_FALSE(Run("area.to_paint", {{"row", 1}}));
    EXPECT_EQ(ui->questions.back(),
              "The spline will be converted into a Paint Area.\n\nDo you want to continue ?");
    EXPECT_EQ(Type(1), kAreaSpline);
    ui->answers = {Answer::kYes};
    Must("area.to_paint", {{"row", 1}});
    EXPECT_EQ(Type(1), kAreaPaint);
    EXPECT_EQ(Painted(1).lines, (std::vector<PolyLine>{{{{1, 0, 0}, {5, 0, 0}, {5, 4, 0}}, true}}));
    EXPECT_EQ(Areas().GetNode(areaParams::kArnodelist, 0, 1), nullptr);
    scene.undo.Undo();
    EXPECT_EQ(Type(1), kAreaSpline);
    EXPECT_EQ(Areas().GetNode(areaParams::kArnodelist, 0, 1), pond);
    EXPECT_THAT(Run("area.to_paint", {{"row", 0}}).error, HasSubstr("row 0 is no spline area"));
}

// The list of areas: what its buttons do and refuse.
#include "tests/Dravin/commands/area_fixture.h"

using testing::HasSubstr;

namespace {

class AreaTable : public AreaFixture {};

}  // namespace

TEST_F(AreaTable, PaintAreasComeAboveTheSurfaces) {
    AddSurfaceRow();
    Must("area.add", {{"kind", "paint"}});
    EXPECT_EQ(Type(0), kAreaPaint);
    EXPECT_EQ(Type(1), kAreaSurface);
    EXPECT_EQ(Areas().GetString(areaParams::kArnamelist, 0, 0), "New paint");
    EXPECT_EQ(Areas().GetInt(areaParams::kArincexclist, 0, 0), 0);
    EXPECT_GT(Areas().GetInt(areaParams::kAridlist, 0, 0), 1);
    EXPECT_TRUE(Painted(0).lines.empty());
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    scene.undo.Undo();
    EXPECT_EQ(Areas().Count(areaParams::kArnamelist), 1);
}

TEST_F(AreaTable, ANodeOrPaintIsAdded) {
    EXPECT_THAT(Run("area.add").error, HasSubstr("\"node\" is missing"));
    EXPECT_THAT(Run("area.add", {{"kind", "paint"}, {"node", "box"}}).error,
                HasSubstr("has no \"node\""));
    Must("area.add", {{"node", "box"}, {"name", "keep out"}});
    EXPECT_EQ(Type(0), kAreaObject);
    EXPECT_EQ(Areas().GetString(areaParams::kArnamelist, 0, 0), "keep out");
}

TEST_F(AreaTable, TheSurfaceAreaStaysAtTheBottom) {
    Must("area.add", {{"node", "box"}});
    AddSurfaceRow();
    EXPECT_FALSE(Run("area.delete", {{"rows", 1}}));
    ASSERT_EQ(ui->messages.size(), 1u);
    EXPECT_EQ(ui->messages[0].text, "The Surface Area can be turned off, but not deleted");
    EXPECT_EQ(ui->messages[0].caption, "Dravin Pack");
    EXPECT_FALSE(Run("area.up", {{"row", 1}}));
    EXPECT_EQ(ui->messages[1].text, "The Surface Area can be moved from the bottom of the list");
    EXPECT_FALSE(Run("area.down", {{"row", 0}})) << "it would pass the surfaces";
    EXPECT_EQ(Type(0), kAreaObject);
    EXPECT_EQ(Type(1), kAreaSurface);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}

TEST_F(AreaTable, AreasMoveUpAndDown) {
    for (const char* name : {"a", "b", "c"}) Must("area.add", {{"node", "box"}, {"name", name}});
    auto names = [this] {
        std::string all;
        for (int i = 0; i < Areas().Count(areaParams::kArnamelist); ++i)
            all += Areas().GetString(areaParams::kArnamelist, 0, i);
        return all;
    };
    Must("area.up", {{"row", 2}});
    EXPECT_EQ(names(), "acb");
    Must("area.down", {{"row", 0}});
    EXPECT_EQ(names(), "cab");
    EXPECT_FALSE(Run("area.up", {{"row", 0}}));
    EXPECT_FALSE(Run("area.down", {{"row", 2}}));
    EXPECT_THAT(Run("area.down", {{"row", 9}}).error, HasSubstr("there is no row 9"));
    EXPECT_EQ(names(), "cab");
}

TEST_F(AreaTable, AKindThatIsMeantIsKeptTo) {
    EXPECT_THAT(Run("area.add", {{"kind", "spline"}, {"node", "box"}}).error,
                HasSubstr("\"box\" is no spline"));
    scene.AddNode("line", std::make_shared<ShapeObject>());
    scene.undo.Clear();
    EXPECT_THAT(Run("area.add", {{"kind", "object"}, {"node", "line"}}).error,
                HasSubstr("\"line\" is a spline"));
    EXPECT_EQ(Areas().Count(areaParams::kArnamelist), 0);
    Must("area.add", {{"kind", "spline"}, {"node", "line"}});
    EXPECT_EQ(Type(0), kAreaSpline);
}

TEST_F(AreaTable, SeveralAreAddedByName) {
    scene.AddNode("line", std::make_shared<ShapeObject>());
    scene.undo.Clear();
    ui->selections = {{"line", "box"}};
    Must("area.add_by_name");
    ASSERT_EQ(Areas().Count(areaParams::kArnamelist), 2);
    EXPECT_EQ(Type(0), kAreaSpline);
    EXPECT_EQ(Type(1), kAreaObject);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    // Nobody answers: nothing happens.
    Must("area.add_by_name");
    EXPECT_EQ(Areas().Count(areaParams::kArnamelist), 2);
    EXPECT_FALSE(
        Run("area.add_by_name", {{"nodes", ParamInput(ParamInput::Array{"box", "nowhere"})}}));
    EXPECT_EQ(Areas().Count(areaParams::kArnamelist), 2);
}

TEST_F(AreaTable, AnAreaHasItsOwnGeometry) {
    object->Build().BuildMesh(0, {});  // rows have ids
    int id = object->Block(kGeomParams).GetInt(geomParams::kSpecidlist, 0, 0);
    ASSERT_GE(id, 1);
    Must("area.add", {{"node", "box"}});
    std::string name = "0: " + object->Block(kGeomParams).GetString(geomParams::kNamelist, 0, 0);
    ui->selections = {{name}, {}};
    Must("area.geometry", {{"row", 0}});
    EXPECT_EQ(Areas().GetString(areaParams::kArspeclist, 0, 0), " " + std::to_string(id));
    EXPECT_TRUE(Areas().GetBool(areaParams::kArselspeclist, 0, 0));
    Must("area.geometry", {{"row", 0}});
    EXPECT_EQ(Areas().GetString(areaParams::kArspeclist, 0, 0), "") << "nothing was ticked";
    Must("area.geometry", {{"row", 0}, {"ids", ParamInput(ParamInput::Array{3, 7})}});
    EXPECT_EQ(Areas().GetString(areaParams::kArspeclist, 0, 0), " 3 7");
    EXPECT_FALSE(Run("area.geometry", {{"row", 5}, {"ids", ParamInput(ParamInput::Array{3})}}));
}

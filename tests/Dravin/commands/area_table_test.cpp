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

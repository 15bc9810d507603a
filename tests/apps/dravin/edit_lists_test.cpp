// Commands on lists, levels, the lister, presets and rebuilding, driven through the program.
#include <filesystem>

#include "tests/apps/dravin/edit_scene.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class EditLists : public EditScene {};

TEST_F(EditLists, RowsOfTheGeometryList) {
    ProgramRun run = Edit({"geometry.add node=bush", "geometry.copy row=1", "geometry.paste",
                           "geometry.move row=2 to=0", "geometry.delete rows=[1]",
                           "geometry.insert at=0", "geometry.delete rows=0"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "1\n2\n0\n");
    EXPECT_THAT(Out(), Not(HasSubstr("\"object\": \"tree\"")));
    run = Edit({"geometry.delete rows=[0, 7]"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("there is no row 7; the list has 1"));
    run = Edit({"geometry.paste"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("The clipboard is empty"));
}

TEST_F(EditLists, ProbabilitiesAreAskedFor) {
    EXPECT_EQ(Edit({"geometry.add node=bush", "geometry.normalise"}).out, "1\nfalse\n");
    ProgramRun run = Edit({"geometry.add node=bush", "geometry.normalise"}, "--yes");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "1\ntrue\n");
    EXPECT_THAT(Out(), HasSubstr("\"probability\": 50"));
}

TEST_F(EditLists, AreasAreSplinesAndObjects) {
    ProgramRun run = Edit({"area.add node=pond exclude=true", "area.add node=bush",
                           "area.move row=1 to=0", "area.copy row=0", "area.paste", "update"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("0\n1\n2\n"));
    EXPECT_THAT(Out(), HasSubstr("\"pond\""));
    // The rest of a row is as a description leaves it out.
    EXPECT_THAT(Out(), Not(HasSubstr("object_scale")));
    run = Edit({"area.add node=wood"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("cannot exclude its own items"));
}

TEST_F(EditLists, LevelsOfAnObject) {
    ProgramRun run = Edit({"lod.new", "lod.new", "lod.copy row=1", "lod.paste",
                           "lod.normalise of=both", "lod.delete rows=[0]"},
                          "--object lod");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "0\n1\n2\ntrue\n");
    EXPECT_THAT(Out(), HasSubstr("New LOD"));
    run = Edit({"lod.new"}, "--object tree");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("shows no LOD object"));
}

TEST_F(EditLists, AnObjectOfLevelsIsMade) {
    ProgramRun run = Edit({"lod.create position=[1,2,3]", "lod.create"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 2);
    std::string name = run.out.substr(0, run.out.find('\n'));
    run = Edit({"lod.create", "lod.new"}, "--object " + name);
    EXPECT_EQ(run.out, name + "\n1\n") << run.err;
}

TEST_F(EditLists, TheListerShowsSelectsAndHides) {
    ProgramRun run = Edit({"update", "lister.rows", "lister.select objects=wood",
                           "lister.hide objects=wood", "lister.rows"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("[[\"wood\",\"1 model\""));
    EXPECT_THAT(run.out, HasSubstr("items\",\"Generate\",\"No camera\",\"1 XY Surf\""));
    EXPECT_THAT(Out(), HasSubstr("\"hidden\": true"));
    EXPECT_EQ(Edit({"lister.hide objects=tree"}).code, 1);
}

TEST_F(EditLists, FrozenObjectsWaitForUpdate) {
    // Twice the spacing both ways, as the ratio is locked.
    ProgramRun run = Edit({"update", "update.freeze", "param.set name=units_x value=20",
                           "update.view", "update", "update.all", "update.freeze on=false",
                           "param.set name=units_x value=10", "update.view"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "400\n400\n100\n1\n400\n");
    run = Edit({"update", "param.set name=manualupdate value=true",
                "param.set name=units_x value=20", "update.view", "update"});
    EXPECT_EQ(run.out, "400\n400\n100\n");
}

TEST_F(EditLists, PresetsAskFirst) {
    EXPECT_EQ(Edit({"preset.save name=wood"}).out, "false\n");
    ProgramRun run = Edit({"param.set name=seed value=9", "preset.save name=wood", "preset.list",
                           "param.set name=seed value=1", "preset.load name=wood"},
                          "--yes");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("true\n[\"wood\"]\ntrue\n"));
    EXPECT_THAT(Out(), HasSubstr("\"seed\": 9"));
}

TEST_F(EditLists, PresetsTravelAsFiles) {
    ProgramRun run = Edit({"param.set name=seed value=9", "preset.export to=wood",
                           "param.set name=seed value=1", "preset.import from=wood.ope"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "true\ntrue\n");
    EXPECT_TRUE(m_folder.Read("wood.ope").starts_with("[Dravin.wood]\n"));
    EXPECT_THAT(Out(), HasSubstr("\"seed\": 9"));
    run = Edit({"preset.import from=nothing.ope"});
    EXPECT_EQ(run.out, "false\n");
    EXPECT_THAT(run.err, HasSubstr("nothing.ope"));
}

TEST_F(EditLists, ToolsWorkOnWhatIsSelected) {
    ProgramRun run = Edit({"tools.instantiate"});
    EXPECT_EQ(run.out, "false\n");
    EXPECT_THAT(run.err, HasSubstr("There are not Dravin objets selected"));
    run = Edit({"scene.select nodes=wood", "tools.export file=items.xml fields=index,seed,nothing",
                "tools.instantiate"},
               "--yes");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "true\ntrue\n");
    EXPECT_THAT(run.err, HasSubstr("there is no field \"nothing\""));
    EXPECT_TRUE(std::filesystem::exists(m_folder.File("items.xml")));
}

}  // namespace

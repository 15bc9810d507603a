// Commands on effects, driven through the program.
#include <filesystem>

#include "tests/apps/dravin/edit_scene.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class EditEffects : public EditScene {};

TEST_F(EditEffects, AnEffectIsMadeAndChanged) {
    ProgramRun run = Edit({"effect.add name=lean program=dpItem.tintMult = amount;",
                           "effect.parameter.add name=amount",
                           "effect.parameter.set parameter=amount value=0.25",
                           "effect.parameter.limit parameter=AMOUNT min=0.5 max=1",
                           "effect.parameter.describe parameter=amount text=How much",
                           "effect.parameter.list", "effect.errors"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("[[\"amount\",\"real\",0.5]]\n[]\n"));
    EXPECT_THAT(Out(), HasSubstr("\"dpItem.tintMult = amount;\""));
    EXPECT_THAT(Out(), HasSubstr("How much"));
}

TEST_F(EditEffects, NamesCountTheEffectsThatAreThere) {
    ProgramRun run = Edit({"effect.add", "effect.add", "effect.add", "effect.add",
                           "effect.delete effect=1", "effect.add", "effect.list"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("[\"Effect1\",\"Effect3\",\"Effect4\",\"Effect4\"]"));
}

TEST_F(EditEffects, TheListIsLockedWhileAWindowIsOpen) {
    ProgramRun run = Edit({"effect.add", "effect.edit", "effect.add"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("not allowed while Effects Editor or Browser is open"));
    run = Edit({"effect.add", "effect.edit", "effect.browse"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("Effects Editor is open"));
    run = Edit({"effect.add", "effect.edit", "effect.edit", "effect.add", "effect.up"});
    EXPECT_EQ(run.code, 0) << run.err;
}

TEST_F(EditEffects, ParametersOfEveryKind) {
    ProgramRun run = Edit({"effect.add", "effect.parameter.add name=at kind=node",
                           "effect.parameter.add name=map kind=texmap",
                           "effect.parameter.add name=fade kind=curve",
                           "effect.parameter.add name=wind kind=controller",
                           "effect.parameter.set parameter=at value=tree",
                           "effect.parameter.set parameter=map value=white",
                           "effect.parameter.set parameter=fade value=[1, 0]",
                           "effect.parameter.set parameter=wind value=[1, 2, 3]",
                           "effect.parameter.move parameter=wind to=up"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(Out(), HasSubstr("\"tree\""));
    run = Edit({"effect.add", "effect.parameter.add name=at kind=node",
                "effect.parameter.set parameter=at value=shrub"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("shrub"));
    run = Edit({"effect.add", "effect.parameter.add name=fade kind=curve",
                "effect.parameter.set parameter=fade value=[[0.5, 1], [0.25, 0]]"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("x rising from 0 to 1"));
}

TEST_F(EditEffects, HelpShowsTheDescription) {
    ProgramRun run = Edit({"effect.add", "effect.parameter.add name=amount",
                           "effect.parameter.help parameter=amount"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("No Description"));
}

TEST_F(EditEffects, EffectsGoToALibraryAndComeBack) {
    ProgramRun run =
        Edit({"effect.add program=dpItem.tintMult = 1;", "effect.library.save name=tints/full",
              "effect.library.list", "effect.add name=second",
              "effect.library.load effect=1 name=tints/full", "effect.program effect=1"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("[\"tints/\"]"));
    EXPECT_THAT(run.out, HasSubstr("dpItem.tintMult = 1;"));
    EXPECT_TRUE(
        std::filesystem::exists(m_folder.File("documents/Dravin Pack/effects/tints/full.xml")));
    EXPECT_THAT(m_folder.Read("config/dravin/settings.ini"), HasSubstr("EffectsDir"));
    run = Edit({"effect.library.rename name=tints/full to=tints/all",
                "effect.library.list folder=tints", "effect.library.delete name=tints",
                "effect.library.list"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("[\"all\"]\n[]\n"));
    EXPECT_EQ(Edit({"effect.library.delete name=../effects"}).code, 1);
}

TEST_F(EditEffects, TheLinkOfTheWindows) {
    ProgramRun run =
        Edit({"effect.link.info", "effect.add name=lean",
              "effect.link.update id=p1 name=count kind=integer",
              "effect.parameter.set parameter=count value=3", "effect.link.values",
              "effect.link.values reset=true", "effect.link.curves", "effect.link.node handle=1",
              "effect.mark", "effect.link.field handle=1 field=name text=oak"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("[[\"p1\",\"count\",\"integer\",\"3\"]]\n"
                                   "[[\"p1\",\"count\",\"integer\",\"undefined\"]]\ntree\n"));
    EXPECT_THAT(run.out, HasSubstr("[\"renderer\","));
    EXPECT_THAT(Out(), HasSubstr("\"oak\""));
    run = Edit({"effect.link.node handle=999"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("Internal Error"));
}

TEST_F(EditEffects, AWrongNameIsToldWithTheNearest) {
    ProgramRun run = Edit({"effect.add name=lean", "effect.enable effect=leen on=false"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("did you mean \"lean\"?"));
    run = Edit({"effect.add", "effect.load library=no_such_effect"});
    EXPECT_EQ(run.code, 1);
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("out.json")));
}

TEST_F(EditEffects, EachCommandIsOneStep) {
    ProgramRun run = Edit({"effect.add name=lean program=1;", "scene.undo", "effect.list",
                           "scene.redo", "effect.list"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("[]\n[\"lean\"]\n"));
}

}  // namespace

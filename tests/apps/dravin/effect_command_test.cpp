// `dravin effect`: checking, running and listing effects.
#include <gmock/gmock.h>

#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

class EffectCommand : public testing::Test {
protected:
    ProgramRun Effect(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {DRAVIN_BINARY_DIR "/apps/dravin/dravin", "effect"});
        return RunProgram(arguments, m_folder.File("."));
    }
    void WriteDefinition(const std::string& parameters, const std::string& program) const {
        m_folder.Write("e.xml", "<effects><effect version=\"1\"><expression>" + program +
                                    "</expression>" + parameters + "</effect></effects>");
    }
    TempFolder m_folder;
};

TEST_F(EffectCommand, ChecksAndRunsShippedEffectsByName) {
    EXPECT_EQ(Effect({"check", "random_hide"}).code, 0);
    EXPECT_EQ(Effect({"run", "random_hide", "--set", "percent=100"}).out, "dpItem.visible = 0\n");
    EXPECT_EQ(Effect({"run", "random_hide", "--set", "percent=0"}).out, "dpItem.visible = 1\n");
    EXPECT_EQ(Effect({"check", "random_hyde"}).code, 3);
}

TEST_F(EffectCommand, AFileComesBeforeAShippedEffectOfItsName) {
    m_folder.Write("random_hide", "print 7;");
    EXPECT_EQ(Effect({"run", "random_hide"}).out, "7\n");
}

TEST_F(EffectCommand, ListsTheShippedEffects) {
    EXPECT_THAT(Effect({"list"}).out, HasSubstr("\nrandom_hide: Hides a share of the items"));
}

// 1 / 2 is a half for a real parameter, also when it is set to a whole number.
TEST_F(EffectCommand, ValuesTakeTheKindAndTheLimitsOfTheirParameter) {
    WriteDefinition(R"(<parameter name="r" kind="real" value="1"/>
        <parameter name="i" kind="integer" value="1"/>
        <parameter name="l" kind="unit" value="1" min="0" max="4" limit="1"/>)",
                    "print r / 2; print i / 2; print l;");
    EXPECT_EQ(Effect({"run", "e.xml"}).out, "0.5\n0\n1\n");
    EXPECT_EQ(Effect({"run", "e.xml", "--set", "r=3", "--set", "i=5.5", "--set", "l=9"}).out,
              "1.5\n2\n4\n");
}

TEST_F(EffectCommand, ANodeIsGivenByItsPosition) {
    WriteDefinition(R"(<parameter name="n" kind="node"/>)", "print n.position;");
    EXPECT_EQ(Effect({"run", "e.xml"}).out, "[0,0,0]\n");
    EXPECT_EQ(Effect({"run", "e.xml", "--set", "N=[1,2,3]"}).out, "[1,2,3]\n");
    ProgramRun number = Effect({"run", "e.xml", "--set", "n=1"});
    EXPECT_EQ(number.code, 2);
    EXPECT_THAT(number.err, HasSubstr("expected the node's position, [x,y,z]"));
}

TEST_F(EffectCommand, UnknownParametersAreRefusedWithTheNearestName) {
    ProgramRun run = Effect({"run", "random_hide", "--set", "percnt=30"});
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.err, HasSubstr("no parameter \"percnt\", did you mean \"percent\"?"));
}

TEST_F(EffectCommand, ProgramsWithoutADefinitionTakeAnyName) {
    m_folder.Write("p.txt", "print amount * 2;");
    EXPECT_EQ(Effect({"run", "p.txt", "--set", "amount=3"}).out, "6\n");
    EXPECT_EQ(Effect({"run", "p.txt", "--set", "sin=3"}).code, 2);
}

TEST_F(EffectCommand, AParameterWithATakenNameIsAnError) {
    WriteDefinition(R"(<parameter name="sin" kind="real" value="1"/>)", "print 1;");
    ProgramRun run = Effect({"check", "e.xml"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("e.xml: parameter \"sin\": the name \"sin\" is taken"));
}

}  // namespace

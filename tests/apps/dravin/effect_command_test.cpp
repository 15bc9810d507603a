// `dravin effect`: what users see of a program, right or wrong.
#include <gmock/gmock.h>

#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

class EffectCommand : public testing::Test {
protected:
    ProgramRun Dravin(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {DRAVIN_BINARY_DIR "/apps/dravin/dravin", "effect"});
        return RunProgram(arguments, m_folder.File("."));
    }
    ProgramRun Check(const std::string& text) const {
        m_folder.Write("e.expr", text);
        return Dravin({"check", "e.expr"});
    }
    ProgramRun RunText(const std::string& text, std::vector<std::string> more = {}) const {
        m_folder.Write("e.expr", text);
        more.insert(more.begin(), {"run", "e.expr"});
        return Dravin(more);
    }
    void WriteDefinition(const std::string& parameters, const std::string& program) const {
        m_folder.Write("e.xml", "<effects><effect version=\"1\"><expression>" + program +
                                    "</expression>" + parameters + "</effect></effects>");
    }
    TempFolder m_folder;
};

TEST_F(EffectCommand, CheckIsSilentWhenAllIsWell) {
    ProgramRun run = Check("dpItem.visible = 0;");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, "");
}

TEST_F(EffectCommand, CheckShowsTheThreeLinesOfAnError) {
    ProgramRun run = Check("int x;\n  x = y + 1;\n");
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out,
              "Compile error. Undeclared variable \"y\" at line 2:\n  x = y + 1;\n      ^\n");
}

TEST_F(EffectCommand, ANulEndsNeitherTheProgramNorItsErrorText) {
    ProgramRun run = Check(std::string("int x = \0 1;\n", 13));
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.out, HasSubstr(std::string("int x = \0 1;\n", 13)));
    EXPECT_THAT(run.out, testing::EndsWith("^\n"));
}

TEST_F(EffectCommand, RunPrintsLinesThenAssignedAttributesInTheirOrder) {
    ProgramRun run = RunText("print 7 / 2; dpItem.tintMult = 2; dpItem.position = [1, 2.5, 3];");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, "3\ndpItem.position = [1,2.5,3]\ndpItem.tintMult = 2\n");
}

TEST_F(EffectCommand, AttributesOfAFreshItem) {
    EXPECT_EQ(RunText("print dpItem.visible; print dpItem.scale; print Max.time;"
                      "print dpItem.areaIncDistance; print dpItem.particleScale;")
                  .out,
              "1\n[1,1,1]\n0\n2.14748365e+09\n[1,1,1]\n");
}

TEST_F(EffectCommand, SetGivesParametersTheirValues) {
    ProgramRun run = RunText("print a + 1; print b; print c * 2;",
                             {"--set", "a=3", "--set", "B=2.5", "--set", "c=[1, 2, 3]"});
    EXPECT_EQ(run.out, "4\n2.5\n[2,4,6]\n");
    EXPECT_EQ(RunText("print a;", {"--set", "a"}).code, 2);
    EXPECT_EQ(RunText("print a;", {"--set", "a=x"}).code, 2);
    EXPECT_EQ(RunText("print a;", {"--set", "sin=1"}).code, 2);
}

TEST_F(EffectCommand, TheSeedDecidesTheDraws) {
    std::string program = "print randomInt(0, 1000000);";
    std::string first = RunText(program).out;
    EXPECT_EQ(RunText(program, {"--seed", "123456"}).out, first);
    EXPECT_NE(RunText(program, {"--seed", "7"}).out, first);
}

TEST_F(EffectCommand, ARunTimeErrorComesBehindTheOutput) {
    ProgramRun run = RunText("print 1; dpItem.tintMult = 1; int x = round(1.0 / 0.0);");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.out, testing::MatchesRegex("1\nrun-time error 1 at cell [0-9]+\n"));
}

TEST_F(EffectCommand, DefinitionsBringTheirParameters) {
    std::string xml =
        "<effects><effect version=\"1\"><title>T</title>"
        "<parameter name=\"amount\" kind=\"real\" value=\"2.5\"/>"
        "<parameter name=\"count\" kind=\"integer\" value=\"3\"/>"
        "<parameter name=\"map\" kind=\"texmap\"/><parameter name=\"at\" kind=\"node\"/>"
        "<expression>print amount; print count / 2; print at.position;"
        "print evaluateTexture(map, [0,0,0]);</expression></effect></effects>";
    EXPECT_EQ(RunText(xml).out, "2.5\n1\n[0,0,0]\n[0,0,0]\n");
    EXPECT_EQ(RunText(xml, {"--set", "amount=9"}).out, "9\n1\n[0,0,0]\n[0,0,0]\n");
}

TEST_F(EffectCommand, DamagedAndMissingFiles) {
    EXPECT_EQ(Check("<effects><effect>").code, 4);
    EXPECT_EQ(Check("<other/>").code, 4);
    EXPECT_EQ(Check("<!DOCTYPE effects><effects/>").code, 4);
    EXPECT_EQ(Dravin({"check", "nothing.expr"}).code, 3);
    EXPECT_EQ(Dravin({"check"}).code, 2);
    EXPECT_EQ(Dravin({"walk", "e.expr"}).code, 2);
}

// --- shipped effects and parameters

TEST_F(EffectCommand, ChecksAndRunsShippedEffectsByName) {
    EXPECT_EQ(Dravin({"check", "random_hide"}).code, 0);
    EXPECT_EQ(Dravin({"run", "random_hide", "--set", "percent=100"}).out, "dpItem.visible = 0\n");
    EXPECT_EQ(Dravin({"run", "random_hide", "--set", "percent=0"}).out, "dpItem.visible = 1\n");
    EXPECT_EQ(Dravin({"check", "random_hyde"}).code, 3);
}

TEST_F(EffectCommand, AFileComesBeforeAShippedEffectOfItsName) {
    m_folder.Write("random_hide", "print 7;");
    EXPECT_EQ(Dravin({"run", "random_hide"}).out, "7\n");
}

TEST_F(EffectCommand, ListsTheShippedEffects) {
    EXPECT_THAT(Dravin({"list", "random_hide"}).out, HasSubstr("percent  real"));
    EXPECT_EQ(Dravin({"list", "random_hyde"}).code, 3);
    EXPECT_THAT(Dravin({"list"}).out, HasSubstr("\nrandom_hide: Hides a share of the items"));
}

// 1 / 2 is a half for a real parameter, also when it is set to a whole number.
TEST_F(EffectCommand, ValuesTakeTheKindAndTheLimitsOfTheirParameter) {
    WriteDefinition(R"(<parameter name="r" kind="real" value="1"/>
        <parameter name="i" kind="integer" value="1"/>
        <parameter name="l" kind="unit" value="1" min="0" max="4" limit="1"/>)",
                    "print r / 2; print i / 2; print l;");
    EXPECT_EQ(Dravin({"run", "e.xml"}).out, "0.5\n0\n1\n");
    EXPECT_EQ(Dravin({"run", "e.xml", "--set", "r=3", "--set", "i=5.5", "--set", "l=9"}).out,
              "1.5\n2\n4\n");
}

TEST_F(EffectCommand, ANodeIsGivenByItsPosition) {
    WriteDefinition(R"(<parameter name="n" kind="node"/>)", "print n.position;");
    EXPECT_EQ(Dravin({"run", "e.xml"}).out, "[0,0,0]\n");
    EXPECT_EQ(Dravin({"run", "e.xml", "--set", "N=[1,2,3]"}).out, "[1,2,3]\n");
    ProgramRun number = Dravin({"run", "e.xml", "--set", "n=1"});
    EXPECT_EQ(number.code, 2);
    EXPECT_THAT(number.err, HasSubstr("expected the node's position, [x,y,z]"));
}

TEST_F(EffectCommand, UnknownParametersAreRefusedWithTheNearestName) {
    ProgramRun run = Dravin({"run", "random_hide", "--set", "percnt=30"});
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.err, HasSubstr("no parameter \"percnt\", did you mean \"percent\"?"));
}

TEST_F(EffectCommand, ProgramsWithoutADefinitionTakeAnyName) {
    m_folder.Write("p.txt", "print amount * 2;");
    EXPECT_EQ(Dravin({"run", "p.txt", "--set", "amount=3"}).out, "6\n");
    EXPECT_EQ(Dravin({"run", "p.txt", "--set", "sin=3"}).code, 2);
}

TEST_F(EffectCommand, AParameterWithATakenNameIsAnError) {
    WriteDefinition(R"(<parameter name="sin" kind="real" value="1"/>)", "print 1;");
    ProgramRun run = Dravin({"check", "e.xml"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("e.xml: parameter \"sin\": the name \"sin\" is taken"));
}

}  // namespace

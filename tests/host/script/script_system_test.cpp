#include "host/script/script_system.h"

#include <gtest/gtest.h>

#include "host/scene/host_context.h"

namespace {

// A table whose functions note what they were called with, and the user who hears of errors.
class ScriptSystemTest : public testing::Test {
protected:
    ScriptSystemTest() {
        auto listening = std::make_unique<ScriptedUserInterface>();
        listener = &listening->listener;
        context.SetUserInterface(std::move(listening));
    }

    // Registers a form whose arguments are all texts.
    int Note(const std::string& form, size_t numTexts = 0, ScriptValue value = {}) {
        return scripts.Register(form, [=, this](const ScriptArguments& arguments) {
            std::string call = form;
            for (size_t i = 0; i < numTexts; ++i) call += '|' + arguments.Text(i);
            calls.push_back(call);
            return ScriptResult{value, {}};
        });
    }
    std::string ErrorOf(std::string_view text) { return scripts.Execute(text).error; }

    HostContext context;
    ScriptSystem& scripts = context.State<ScriptSystem>();
    std::vector<std::string> calls;
    std::vector<std::string>* listener;
};

using Calls = std::vector<std::string>;

TEST_F(ScriptSystemTest, RunsTheFunctionOfAForm) {
    Note("startObjectCreation %s", 1);
    Note("UtilityPanel.OpenUtility Dravin_Tools", 0, true);
    EXPECT_EQ(scripts.Execute("startObjectCreation Dravin_Pro").Text(), "undefined");
    EXPECT_EQ(scripts.Execute("  utilityPanel . openutility DRAVIN_TOOLS\r\n").Text(), "true");
    EXPECT_EQ(calls, (Calls{"startObjectCreation %s|Dravin_Pro",
                            "UtilityPanel.OpenUtility Dravin_Tools"}));
    EXPECT_TRUE(listener->empty());
}

TEST_F(ScriptSystemTest, ExpressionsHaveValues) {
    Note("renderers.current.RaytraceMethod", 0, 4);
    Note("engine.getRenderType()", 0, 2.5);
    EXPECT_EQ(scripts.Execute("renderers.current.RaytraceMethod").Text(), "4");
    EXPECT_EQ(scripts.Execute("engine.getRenderType ( )").Text(), "2.5");
    EXPECT_TRUE(scripts.Execute("engine.getRenderType").IsError());
    EXPECT_TRUE(scripts.Execute("renderers.current.RaytraceMethod = 4").IsError());
    EXPECT_EQ(scripts.Execute("").Text(), "undefined");
    EXPECT_FALSE(scripts.Execute(" ;\n; ").IsError());
}

TEST_F(ScriptSystemTest, PlacesTakeValuesOfTheirKind) {
    std::string seen;
    scripts.Register("set %d %f %b %s", [&](const ScriptArguments& a) {
        seen = std::to_string(a.Integer(0)) + ' ' + ToText(a.Number(1)) + ' ' + ToText(a.Truth(2)) +
               ' ' + a.Text(3);
        return ScriptResult{};
    });
    EXPECT_EQ(ErrorOf("set -7 -2.5e-1 On \"a b\""), "");
    EXPECT_EQ(seen, "-7 -0.25 true a b");
    EXPECT_EQ(ErrorOf("set 9223372036854775807 3 false -1.5"), "");
    EXPECT_EQ(seen, "9223372036854775807 3 false -1.5");
    for (std::string bad :
         {"set 1.5 1 on x", "set 9223372036854775808 1 on x", "set 1 x on x", "set 1 1 1 x",
          "set 1 1 on [", "set 1 1 on", "set 1 1 on x y", "set 1 1 on -x", "set - 1 on x", "set"})
        EXPECT_TRUE(scripts.Execute(bad).IsError()) << bad;
}

TEST_F(ScriptSystemTest, TextsAndNodesStandInMarks) {
    Note("include \"%s\"", 1);
    Note("meshop.attach $'%s' $'%s' attachMat:#IDToMat condenseMat:true", 2);
    Note("$'%s'.pivot = [$'%s'.center.x,$'%s'.min.z]", 3);
    EXPECT_EQ(ErrorOf("include \"a; b)\""), "");
    EXPECT_EQ(ErrorOf("meshop.attach $'Old Oak' $Birch_2 attachMat:#IDToMat condenseMat:true"), "");
    EXPECT_EQ(ErrorOf("$'a'.pivot = [$'b'.center.x, $c.min.z]"), "");
    EXPECT_EQ(calls, (Calls{"include \"%s\"|a; b)",
                            "meshop.attach $'%s' $'%s' attachMat:#IDToMat condenseMat:true|Old "
                            "Oak|Birch_2",
                            "$'%s'.pivot = [$'%s'.center.x,$'%s'.min.z]|a|b|c"}));
    EXPECT_TRUE(scripts.Execute("include name").IsError());
    EXPECT_TRUE(
        scripts.Execute("meshop.attach 'a' 'b' attachMat:#IDToMat condenseMat:true").IsError());
}

TEST_F(ScriptSystemTest, SeveralCommandsRunInOrder) {
    Note("include \"%s\"", 1);
    Note("createDialog %s modal:true", 1, 7);
    EXPECT_EQ(scripts.Execute("include \"x\"; createDialog A modal:true\ncreateDialog B modal:true")
                  .Text(),
              "7");
    EXPECT_EQ(calls, (Calls{"include \"%s\"|x", "createDialog %s modal:true|A",
                            "createDialog %s modal:true|B"}));
}

TEST_F(ScriptSystemTest, TheFirstErrorEndsTheScript) {
    Note("a");
    EXPECT_EQ(ErrorOf("a;\n  b; a"), "script error in line 2, column 3: no such command: b; a");
    EXPECT_EQ(calls, (Calls{"a"}));
    EXPECT_EQ(*listener, (Calls{"script error in line 2, column 3: no such command: b; a"}));
}

TEST_F(ScriptSystemTest, ErrorsOfFunctionsNameTheCommand) {
    scripts.Register("open %s", [](const ScriptArguments& a) {
        return ScriptError("there is no panel " + a.Text(0));
    });
    EXPECT_EQ(ErrorOf("\xC3\xA4(); open X").substr(0, 33), "script error in line 1, column 1:");
    EXPECT_EQ(
        ErrorOf("open \"\xC3\xA4\"; open X"),
        "script error in line 1, column 1: there is no panel \xC3\xA4: open \"\xC3\xA4\"; open X");
    EXPECT_EQ(listener->size(), 2u);
}

TEST_F(ScriptSystemTest, TryTakesErrors) {
    Note("a", 0, 1);
    Note("b", 0, 2);
    EXPECT_EQ(scripts.Execute("try(destroyDialog Rollout) catch()").Text(), "undefined");
    EXPECT_EQ(scripts.Execute("TRY (a; nothing; a) CATCH (b)").Text(), "2");
    EXPECT_EQ(scripts.Execute("try(a)catch(b)").Text(), "1");
    EXPECT_EQ(scripts.Execute("try(x) catch() b").Text(), "2");
    EXPECT_EQ(scripts.Execute("try(try(x) catch(y)) catch(b; a)").Text(), "1");
    EXPECT_EQ(calls, (Calls{"a", "b", "a", "b", "b", "a"}));
    EXPECT_TRUE(listener->empty());
    EXPECT_TRUE(scripts.Execute("try(x) catch(y)").IsError());
    EXPECT_EQ(listener->size(), 1u);
}

TEST_F(ScriptSystemTest, HalvesOfTryAreErrors) {
    Note("a");
    for (std::string bad : {"try", "try a", "try(a)", "try(a); catch()", "try(a) catch", "catch()",
                            "try(a) catch[]", "try[a] catch()", "try catch", "a try(a) catch()"})
        EXPECT_TRUE(scripts.Execute(bad).IsError()) << bad;
    EXPECT_TRUE(calls.empty());
}

TEST_F(ScriptSystemTest, NothingRunsOfATextThatCannotBeRead) {
    Note("a");
    EXPECT_EQ(ErrorOf("a; \"open"),
              "script error in line 1, column 4: the quotation mark \" is not closed: \"open");
    EXPECT_EQ(ErrorOf("a; \"open\\\""),
              "script error in line 1, column 4: the quotation mark \" is not closed: \"open\\\"");
    EXPECT_EQ(ErrorOf("a; (b"),
              "script error in line 1, column 4: the bracket ( is not closed: (b");
    EXPECT_EQ(ErrorOf("a; (b]"),
              "script error in line 1, column 6: the bracket ] was not opened: ]");
    EXPECT_EQ(ErrorOf("a; )"), "script error in line 1, column 4: the bracket ) was not opened: )");
    EXPECT_EQ(ErrorOf("a; $"),
              "script error in line 1, column 4: the name of a node is expected behind $: $");
    EXPECT_EQ(ErrorOf(std::string_view("a; \0", 4)).substr(0, 60),
              "script error in line 1, column 4: the character 0 means noth");
    EXPECT_TRUE(calls.empty());
}

TEST_F(ScriptSystemTest, NonsenseIsAnError) {
    Note("startObjectCreation %s", 1);
    for (std::string bad :
         {"startObjectCreation", "startObjectCreation %s", "startObjectCreation(A)",
          "StartObjectCreationA", "format \"%\" 1", "1 + 1", "\xFF\xFE", "=", "$'x'", "\"\"",
          "-- a comment", "if true then a else b"})
        EXPECT_TRUE(scripts.Execute(bad).IsError()) << bad;
    EXPECT_TRUE(calls.empty());
}

TEST_F(ScriptSystemTest, LengthAndDepthAreBounded) {
    Note("a");
    Note("say %s", 1);
    std::string longText(100000, 'x');
    EXPECT_EQ(ErrorOf("say \"" + longText + "\""), "");
    EXPECT_EQ(calls.back().size(), 7 + longText.size());
    std::string error = ErrorOf(longText);
    EXPECT_LT(error.size(), 400u);
    EXPECT_EQ(error.substr(error.size() - 4), "x...");
    EXPECT_EQ(ErrorOf(std::string(kMaxScriptBytes, ' ')), "");
    EXPECT_NE(ErrorOf(std::string(kMaxScriptBytes + 1, ' ')).find("at most 1048576"),
              std::string::npos);
    auto nested = [](size_t depth) {
        std::string text = "a";
        for (size_t i = 0; i < depth; ++i) text = "try(" + text + ") catch()";
        return text;
    };
    EXPECT_EQ(ErrorOf(nested(kMaxScriptDepth)), "");
    for (size_t depth : {kMaxScriptDepth + 1, size_t{10000}})
        EXPECT_NE(ErrorOf(nested(depth)).find("brackets stand more than 64 deep"),
                  std::string::npos);
}

TEST_F(ScriptSystemTest, ScriptsThatRunThemselvesEnd) {
    int numCalls = 0;
    scripts.Register("again", [&](const ScriptArguments&) {
        ++numCalls;
        return scripts.Execute("again");
    });
    EXPECT_NE(ErrorOf("again").find("more than 16 deep"), std::string::npos);
    EXPECT_EQ(numCalls, kMaxScriptRuns);
    numCalls = 0;
    listener->clear();
    EXPECT_FALSE(scripts.Execute("try(again) catch()").IsError());
    EXPECT_TRUE(listener->empty());
}

TEST_F(ScriptSystemTest, TheSameFormIsRefusedAndTheFirstThatFitsRuns) {
    int special = Note("open Tools", 0, 1);
    Note("open %s", 1, 2);
    EXPECT_GT(special, 0);
    EXPECT_EQ(Note("OPEN  tools", 0, 3), 0);
    EXPECT_EQ(Note("open %s", 1, 3), 0);
    EXPECT_EQ(scripts.Execute("open tools").Text(), "1");
    scripts.Unregister(special);
    EXPECT_EQ(scripts.Execute("open tools").Text(), "2");
    EXPECT_GT(Note("open Tools", 0, 3), special);
    EXPECT_EQ(scripts.Execute("open tools").Text(), "2");
}

TEST_F(ScriptSystemTest, TextsThatAreNoFormsAreRefused) {
    for (std::string bad : {"", "%s", "(%d)", "a; b", "a\nb", "try(%s)", "(a", "\"a"})
        EXPECT_EQ(Note(bad), 0) << bad;
}

// Only the letters of places make one; a percent sign is a sign otherwise, also at the end.
TEST_F(ScriptSystemTest, OtherPercentSignsStandForThemselves) {
    Note("a %x", 0, 1);
    Note("a %", 0, 2);
    EXPECT_EQ(scripts.Execute("a %x").Text(), "1");
    EXPECT_EQ(scripts.Execute("a %").Text(), "2");
    EXPECT_TRUE(scripts.Execute("a %d").IsError());
    EXPECT_TRUE(scripts.Execute("a b").IsError());
}

TEST_F(ScriptSystemTest, FunctionsMayChangeTheTable) {
    int once = 0;
    once = scripts.Register("once", [&](const ScriptArguments&) {
        scripts.Unregister(once);
        Note("twice");
        return ScriptResult{std::to_string(once), {}};
    });
    EXPECT_EQ(scripts.Execute("once").Text(), std::to_string(once));
    EXPECT_TRUE(scripts.Execute("once").IsError());
    EXPECT_FALSE(scripts.Execute("twice").IsError());
}

TEST(ScriptSystem, WorksWithoutASession) {
    ScriptSystem scripts;
    EXPECT_EQ(scripts.Execute("x").error, "script error in line 1, column 1: no such command: x");
}

}  // namespace

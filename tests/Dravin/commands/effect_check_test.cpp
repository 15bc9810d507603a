#include "Dravin/commands/effect_check.h"

#include <gtest/gtest.h>

#include "Dravin/effects/effect_kinds.h"

namespace {

TEffectVariable Real(const char* name, float number) {
    TEffectVariable v;
    v.name = name;
    v.kind = kEffectKindReal;
    v.value = number;
    return v;
}

std::vector<std::string> Texts(const std::vector<TLineValue>& values) {
    std::vector<std::string> texts;
    for (const TLineValue& v : values) texts.push_back(std::to_string(v.line) + ": " + v.text);
    return texts;
}

}  // namespace

TEST(EffectCheck, SaysWhatIsWrongAndWhere) {
    EXPECT_FALSE(CheckEffectProgram({Real("lean", 3)}, "dpItem.rotation.x = lean;"));
    auto fault = CheckEffectProgram({}, "real a = 1;\ndpItem.rotation.x = degToRad(laen);");
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->line, 2);
    EXPECT_EQ(fault->column, 30);
    EXPECT_NE(fault->message.find("laen"), std::string::npos);
    EXPECT_FALSE(CheckEffectProgram({}, ""));
}

TEST(EffectCheck, AParameterMayNotTakeANameOfTheLanguage) {
    auto fault = CheckEffectProgram({Real("pi", 3)}, "");
    ASSERT_TRUE(fault);
    EXPECT_NE(fault->message.find("pi"), std::string::npos);
}

TEST(EffectCheck, LinesShowWhatTheyLeave) {
    auto values = TryEffectProgram({Real("lean", 3)},
                                   "# half; of it\nreal half = lean / 2;\n"
                                   "half = half + 1; print half * 2;\ndpItem.scale.x = half;");
    EXPECT_EQ(Texts(values), (std::vector<std::string>{"2: half = 1.5", "3: half = 2.5", "3: 5",
                                                       "4: dpItem.scale.x = 2.5"}));
}

TEST(EffectCheck, TriesUpToTheFault) {
    auto values = TryEffectProgram({}, "int a = 7;\nint b = c;\nint d = 1;");
    EXPECT_EQ(Texts(values), std::vector<std::string>{"1: a = 7"});
    EXPECT_TRUE(TryEffectProgram({}, "\"no end").empty());
    EXPECT_TRUE(TryEffectProgram({}, ";;").empty());
}

// What an effect's lines compute for one item, beside what the build itself has made of it.
#include <cstdlib>

#include <fmt/format.h>

#include "Dravin/commands/effect_check.h"
#include "Dravin/effects/item_probe.h"
#include "tests/Dravin/commands/command_fixture.h"

namespace {

using testing::HasSubstr;

class EffectValues : public CommandFixture {
protected:
    std::vector<std::string> Values(const TArguments& arguments) {
        TCommandResult result = CommandFixture::Run("effect.values", arguments);
        EXPECT_EQ(result.error, "");
        std::vector<std::string> lines;
        if (auto* array = std::get_if<ParamInput::Array>(&result.value.value))
            for (const ParamInput& line : *array)
                lines.push_back(std::get<std::string>(line.value));
        return lines;
    }
    void AddEffect(const char* name, const char* program) {
        ASSERT_TRUE(CommandFixture::Run("effect.add", {{"name", name}, {"program", program}}));
    }
    TDravinItem Item(size_t i) { return object->Build().Items().Item(i); }
    // The number behind "line: name = ".
    static double NumberOf(const std::string& line) {
        return std::strtod(line.substr(line.rfind(' ') + 1).c_str(), nullptr);
    }
};

}  // namespace

TEST_F(EffectValues, AnItemBringsItsOwnPlace) {
    AddEffect("lean", "real a = dpItem.position.x * 2;\ndpItem.scale.z = a + 30;");
    ScatterFixture::Run();
    ASSERT_EQ(object->Build().Items().Count(), 400u);
    for (int64_t i : {0, 7, 399}) {
        std::vector<std::string> lines = Values({{"item", i}});
        ASSERT_EQ(lines.size(), 2u);
        EXPECT_NEAR(NumberOf(lines[0]), 2 * Item(size_t(i)).position.x, 1e-4);
        EXPECT_NEAR(NumberOf(lines[1]), Item(size_t(i)).scale.z, 1e-4) << "as the build has it";
    }
    EXPECT_EQ(Values({}), (std::vector<std::string>{"1: a = 0", "2: dpItem.scale.z = 30"}))
        << "a fresh one";
}

TEST_F(EffectValues, RandomNumbersAreThoseOfTheBuild) {
    AddEffect("first", "dpItem.scale.x = randomReal(1, 2);");
    AddEffect("second",
              "dpItem.scale.y = randomReal(3, 4);\ndpItem.scale.z = dpItem.scale.x * 10;");
    ScatterFixture::Run();
    for (int64_t i : {3, 250}) {
        TDravinItem item = Item(size_t(i));
        EXPECT_NEAR(NumberOf(Values({{"effect", "first"}, {"item", i}}).at(0)), item.scale.x, 1e-5);
        std::vector<std::string> second = Values({{"effect", "second"}, {"item", i}});
        EXPECT_NEAR(NumberOf(second.at(0)), item.scale.y, 1e-5);
        EXPECT_NEAR(NumberOf(second.at(1)), item.scale.x * 10, 1e-4) << "what the first one left";
    }
    EXPECT_NE(Item(3).scale.x, Item(250).scale.x);
}

TEST_F(EffectValues, CurvesAreReal) {
    AddEffect("bend", "dpItem.scale.z = evaluateCurve(profile, 0.5);");
    ASSERT_TRUE(
        CommandFixture::Run("effect.parameter.add", {{"name", "profile"}, {"kind", "curve"}}));
    ASSERT_TRUE(CommandFixture::Run(
        "curve.set", {{"curve", "profile"}, {"points", PointRows({{0, 0.5}, {1, 1}})}}));
    ScatterFixture::Run();
    EXPECT_NEAR(NumberOf(Values({{"item", int64_t{5}}}).at(0)), 0.75, 1e-6);
    EXPECT_NEAR(Item(5).scale.z, 0.75, 1e-6);
    EXPECT_EQ(NumberOf(Values({}).at(0)), 0);
}

TEST_F(EffectValues, AnItemIsFoundByItsIdAfterItsPlaceHasChanged) {
    AddEffect("lean", "real x = dpItem.position.x;");
    ScatterFixture::Run();
    TDravinItem item = Item(399);
    std::string id = ItemIdText(item.id);
    // Without the others it stands elsewhere in the list.
    Set(kDistParams, distParams::kDistmap, White());
    ASSERT_TRUE(
        CommandFixture::Run("items.change", {{"id", ItemIdText(Item(0).id)}, {"delete", true}}));
    ScatterFixture::Run();
    ASSERT_EQ(object->Build().Items().Count(), 399u);
    EXPECT_NEAR(NumberOf(Values({{"item", id}}).at(0)), item.position.x, 1e-4);
}

TEST_F(EffectValues, AProgramThatIsNotStoredYetIsTried) {
    AddEffect("lean", "");
    ScatterFixture::Run();
    std::vector<std::string> lines = Values(
        {{"item", int64_t{9}}, {"program", "real x = dpItem.position.y + randomReal(0, 1);"}});
    ASSERT_EQ(lines.size(), 1u);
    double above = NumberOf(lines[0]) - double(Item(9).position.y);
    EXPECT_GE(above, 0);
    EXPECT_LT(above, 1);
    EXPECT_EQ(object->Build().Items().Count(), 400u) << "the build stays";
}

TEST_F(EffectValues, AnItemThatIsBuiltAgainIsItsSecondTry) {
    AddEffect("wide",
              "dpItem.randScaleMin = [300, 300, 300]; dpItem.randScaleMax = [300, 300, 300];");
    AddEffect("after", "real s = dpItem.scale.x;");
    Set(kTransformParams, transformParams::kApplyscale, 1);
    ScatterFixture::Run();
    EXPECT_NEAR(NumberOf(Values({{"effect", "after"}, {"item", int64_t{4}}}).at(0)),
                Item(4).scale.x, 1e-4);
    EXPECT_NEAR(Item(4).scale.x, 3, 1e-4);
}

TEST_F(EffectValues, TellsWhatIsWrong) {
    AddEffect("lean", "real x = 1;");
    EXPECT_EQ(Values({{"effect", "lean"}, {"item", int64_t{1}}}).size(), 1u) << "built first";
    auto error = [this](const TArguments& arguments) {
        return CommandFixture::Run("effect.values", arguments).error;
    };
    EXPECT_THAT(error({{"effect", "lean"}, {"item", int64_t{400}}}), HasSubstr("0 items"));
    EXPECT_THAT(error({{"effect", "lean"}, {"item", int64_t{-1}}}), HasSubstr("number from 0"));
    EXPECT_THAT(error({{"effect", "lean"}, {"item", "stone"}}), HasSubstr("no id"));
    EXPECT_THAT(error({{"effect", "lean"}, {"item", "g1.0.5.0/00000000"}}),
                HasSubstr("does not come to this effect"));
    EXPECT_THAT(error({{"effect", "lean"}, {"program", "real a = b;"}}), HasSubstr("line 1"));
}

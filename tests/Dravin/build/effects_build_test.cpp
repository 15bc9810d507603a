// Effects of an object: rows of its block, on their way into a build.
#include <gtest/gtest.h>

#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/effect_list.h"
#include "host/params/controller.h"
#include "tests/Dravin/build/scatter_fixture.h"

using namespace effectParams;

namespace {

class EffectsBuild : public ScatterFixture {
protected:
    IParamBlock2& Block() { return object->Block(kEffectParams); }

    void AddEffect(const std::string& program, bool enabled = true) {
        TEffectDefinition definition;
        definition.expression = program;
        int row = Block().Count(kEfidlist);
        std::string id = "e" + std::to_string(row);
        Put(kEfidlist, id);
        Put(kEfnamelist, std::string("Effect"));
        Put(kEfxmllist, WriteEffectDefinition(definition));
        Put(kEfenablelist, int32_t(enabled));
    }
    // A parameter of the effect added last.
    void AddParameter(const std::string& name, int kind) {
        int owner = Block().Count(kEfidlist) - 1;
        Put(kEfpaid, "p" + std::to_string(Block().Count(kEfpaid)));
        Put(kEfpaeffid, "e" + std::to_string(owner));
        Put(kEfpaname, name);
        Put(kEfpatype, int32_t(kind));
        Put(kEfpanumtype, int32_t{kEffReal});
        for (ParamID id : {kEfpalimit, kEfpaintval, kEfpaintmin, kEfpaintmax}) Put(id, int32_t{0});
        for (ParamID id : {kEfpafloatval, kEfpafloatmin, kEfpafloatmax}) Put(id, 0.0f);
        for (ParamID id : {kEfpainode, kEfpacontref, kEfpatexmap})
            Put(id, std::shared_ptr<ReferenceTarget>());
        Put(kEfpacontype, int32_t{kEffControllerReal});
        Put(kEfpacurve, std::string());
    }
    void Put(ParamID id, ParamValue value) {
        auto elements = Block().GetElements(id);
        elements.push_back({std::move(value), {}});
        Block().SetElements(id, std::move(elements));
    }
    void SetLast(ParamID id, ParamValue value) {
        auto elements = Block().GetElements(id);
        elements.back().value = std::move(value);
        Block().SetElements(id, std::move(elements));
    }
    float FirstTint(const TBuildFlags& flags = {}) { return Run(flags).Items().Item(0).tintBlend; }
};

TEST_F(EffectsBuild, ProgramsChangeTheItems) {
    AddEffect("dpItem.tintMult = 0.5;");
    EXPECT_EQ(FirstTint(), 0.5f);
}

// What a program makes of the time holds for that time only.
TEST_F(EffectsBuild, ProgramsThatReadTheTimeHoldForTheMoment) {
    AddEffect("dpItem.tintMult = max(0.25, 0.5);");
    EXPECT_EQ(FirstTint(), 0.5f);
    EXPECT_EQ(object->ObjectValidity(0), Interval::Forever());
    AddEffect("dpItem.tintMult = 0.25 + 0.0001 * Max . time;");
    Run();
    EXPECT_EQ(object->ObjectValidity(0), Interval::Instant(0));
}

TEST_F(EffectsBuild, AnEmptyExpressionNeverRunsAndIsNoError) {
    AddEffect("");
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    EXPECT_EQ(object->Build().Message()[0], "");
    EXPECT_EQ(object->Build().Input()->effects, nullptr);
}

TEST_F(EffectsBuild, DisabledEffectsDoNotRun) {
    AddEffect("dpItem.tintMult = 0.5;", false);
    EXPECT_EQ(FirstTint(), 0);
}

TEST_F(EffectsBuild, ACompileErrorShowsInThePanelAndTheOthersRun) {
    AddEffect("x = 1;");
    AddEffect("dpItem.tintMult = 0.5;");
    EXPECT_EQ(FirstTint(), 0.5f);
    EXPECT_EQ(object->Build().Message()[0], "Error compiling Effects. See editor for details");
    EXPECT_TRUE(
        Logged("effect \"Effect\": Compile error. Undeclared variable \"x\" at line 1:\n"
               "x = 1;\n^\n"));
}

TEST_F(EffectsBuild, ErrorsAreKeptForEachEffectWithTheirPlace) {
    AddEffect("dpItem.tintMult = 0.5;");
    AddEffect("int y;\n  y = x + 1;\n");
    AddEffect("nonsense", false);
    std::span<const TEffectError> errors = Run().EffectErrors();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].effectId, "e1");
    EXPECT_EQ(errors[0].effectName, "Effect");
    EXPECT_EQ(errors[0].message, "Undeclared variable \"x\"");
    EXPECT_EQ(errors[0].line, 2);
    EXPECT_EQ(errors[0].column, 7);
    EXPECT_EQ(errors[0].text,
              "Compile error. Undeclared variable \"x\" at line 2:\n  y = x + 1;\n      ^\n");
    // The same without a build, and nothing when all is well again.
    auto found = FindEffectErrors(Block(), object->CurveSet(kSlotEffectCurves), 0);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].line, 2);
    Block().SetValue(kEfenablelist, 0, 0, 1);
    EXPECT_TRUE(Run().EffectErrors().empty());
    EXPECT_TRUE(FindEffectErrors(Block(), nullptr, 0).empty());
}

TEST_F(EffectsBuild, ParametersOfOneNameAreToldByTheirOwnNameAndPlace) {
    AddEffect("dpItem.tintMult = q;");
    AddParameter("other", kEffNumber);
    AddParameter("q", kEffNumber);
    AddParameter("Q", kEffNumber);
    std::span<const TEffectError> errors = Run().EffectErrors();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].message, "Duplicated variable \"Q\"");
    EXPECT_EQ(errors[0].text, "Compile error. Duplicated variable \"Q\" at parameter 3:\nQ\n^\n");
    EXPECT_EQ(errors[0].line, 0);
}

TEST_F(EffectsBuild, ParametersWithoutANameArePassedOver) {
    AddEffect("dpItem.tintMult = a;");
    for (const char* name : {"", "a", ""}) AddParameter(name, kEffNumber);
    Block().SetValue(kEfpafloatval, 0, 0.5f, 1);
    EXPECT_EQ(FirstTint(), 0.5f);
    EXPECT_TRUE(object->Build().EffectErrors().empty());
}

TEST_F(EffectsBuild, EffectsMayBeLeftToRenders) {
    AddEffect("dpItem.tintMult = 0.5;");
    Set(kEffectParams, kPfEfonlyrender, true);
    EXPECT_EQ(FirstTint(), 0);
    EXPECT_EQ(FirstTint(Render()), 0.5f);
}

TEST_F(EffectsBuild, EffectsCanBeOffForOneBuild) {
    AddEffect("dpItem.tintMult = 0.5;");
    TBuildFlags flags;
    flags.effectsOff = true;
    EXPECT_EQ(FirstTint(flags), 0);
}

TEST_F(EffectsBuild, NumbersAreLimitedWhereTheySaySo) {
    AddEffect("dpItem.tintMult = amount;");
    AddParameter("amount", kEffNumber);
    SetLast(kEfpafloatval, 7.0f);
    SetLast(kEfpafloatmax, 2.0f);
    EXPECT_EQ(FirstTint(), 7);
    SetLast(kEfpalimit, int32_t{1});
    EXPECT_EQ(FirstTint(), 2);
}

TEST_F(EffectsBuild, IntegersStayIntegers) {
    AddEffect("dpItem.tintMult = count / 2;");
    AddParameter("count", kEffNumber);
    SetLast(kEfpanumtype, int32_t{kEffInteger});
    SetLast(kEfpaintval, int32_t{7});
    EXPECT_EQ(FirstTint(), 3);
}

TEST_F(EffectsBuild, ControllersOfTheWrongTypeWarn) {
    AddEffect("dpItem.tintMult = length(c);");
    AddParameter("c", kEffController);
    SetLast(kEfpacontype, int32_t{kEffControllerVector});
    SetLast(kEfpacontref, std::shared_ptr<ReferenceTarget>(
                              std::make_shared<KeyController>(ParamElement{2.0f, {}})));
    EXPECT_EQ(FirstTint(), 0);
    EXPECT_TRUE(Logged("Warning: 'c' controller returns invalid type. expected vector"));
}

TEST_F(EffectsBuild, ControllersGiveTheirValueAtTheTime) {
    AddEffect("dpItem.tintMult = c;");
    AddParameter("c", kEffController);
    EXPECT_EQ(FirstTint(), 0);
    EXPECT_TRUE(Logged("Warning: 'c' controller cannot be evaluated"));
    SetLast(kEfpacontref, std::shared_ptr<ReferenceTarget>(
                              std::make_shared<KeyController>(ParamElement{2.5f, {}})));
    EXPECT_EQ(FirstTint(), 2.5f);
}

TEST_F(EffectsBuild, CurvesLiveInTheSetOfEffectCurves) {
    AddEffect("dpItem.tintMult = evaluateCurve(shape, 0.5);");
    AddParameter("shape", kEffCurve);
    SetLast(kEfpacurve, std::string("<curves><curve><point px='0' py='0'/>"
                                    "<point px='1' py='3'/></curve></curves>"));
    LoadEffectCurves(Block(), *object, kSlotEffectCurves);
    EXPECT_EQ(FirstTint(), 1.5f);
    object->CurveSet(kSlotEffectCurves)->SetPoints(0, {{.px = 0, .py = 4}});
    StoreEffectCurves(Block(), object->CurveSet(kSlotEffectCurves));
    EXPECT_NE(Block().GetString(kEfpacurve, 0, 0).find("py=\"4.\""), std::string::npos);
}

TEST_F(EffectsBuild, WithoutTextACurveIsFlatAtOne) {
    AddEffect("dpItem.tintMult = evaluateCurve(shape, 0.3);");
    AddParameter("shape", kEffCurve);
    LoadEffectCurves(Block(), *object, kSlotEffectCurves);
    EXPECT_EQ(FirstTint(), 1);
}

TEST_F(EffectsBuild, AParameterNamedLikeAFunctionDoesNotCompile) {
    AddEffect("dpItem.tintMult = 1;");
    AddParameter("sin", kEffNumber);
    EXPECT_EQ(FirstTint(), 0);
    EXPECT_EQ(object->Build().Message()[0], "Error compiling Effects. See editor for details");
}

}  // namespace

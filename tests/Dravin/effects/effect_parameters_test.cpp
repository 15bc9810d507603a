// Parameters of effects as users change them: rows, values, curves, and what undo brings back.
#include "Dravin/effects/effect_parameters.h"

#include <gtest/gtest.h>

#include "Dravin/curves/curve_set.h"
#include "Dravin/effects/effect_commands.h"
#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/effect_kinds.h"
#include "Dravin/effects/effect_link.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"

using namespace effectParams;

namespace {

// Holds a block and effect curves, as a scatter object does.
struct Owner : ReferenceMaker {
    std::map<int, std::shared_ptr<ReferenceTarget>> slots;
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override {
        auto it = slots.find(slot);
        return it == slots.end() ? nullptr : it->second;
    }
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override {
        slots[slot] = std::move(target);
    }
};

class EffectParameters : public testing::Test {
protected:
    HostContext host;
    Scene scene;
    Owner owner;
    std::shared_ptr<IParamBlock2> block =
        IParamBlock2::Create(DravinBlocks()[kEffectParams], &owner);
    int marks = 0;
    TEffectCommands commands{block, [this] { ++marks; }};
    TEffectParameters& parameters = commands.Parameters();

    void SetUp() override {
        host.SetCurrentScene(&scene);
        EnsureCurveSet(owner, kSlotEffectCurves, 0, kEffectCurveDefaults);
    }
    TCurveSet& Curves() { return static_cast<TCurveSet&>(*owner.GetReference(kSlotEffectCurves)); }
    int AddReal(const std::string& effect, const std::string& name) {
        return parameters.Add(effect, name, kEffectKindReal);
    }
    static std::vector<CurvePoint> Flat(float y) {
        return {{.px = 0, .py = y}, {.px = 1, .py = y}};
    }
    std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (int i = 0; i < parameters.Count(); ++i)
            names.push_back(block->GetString(kEfpaname, 0, i));
        return names;
    }
};

using NameList = std::vector<std::string>;

TEST_F(EffectParameters, AParameterIsAddedWithAnIdOfItsOwn) {
    EXPECT_EQ(AddReal("e", "amount"), 0);
    EXPECT_EQ(parameters.Add("e", "seed", 0), 1);
    EXPECT_NE(block->GetString(kEfpaid, 0, 0), block->GetString(kEfpaid, 0, 1));
    EXPECT_EQ(EffectKindOfRow(*block, 0), EffectKindOfWord("real"));
    EXPECT_EQ(EffectKindOfRow(*block, 1), EffectKindOfWord("integer"));
    EXPECT_EQ(parameters.FindName("e", "AMOUNT"), 0);
    EXPECT_EQ(parameters.FindName("f", "amount"), -1);
    EXPECT_EQ(Curves().GetNumCurves(), 2);
    EXPECT_EQ(marks, 2);
}

TEST_F(EffectParameters, RowsMoveAmongThoseOfTheirEffect) {
    AddReal("e", "a");
    AddReal("other", "x");
    AddReal("e", "b");
    EXPECT_FALSE(parameters.Move(0, true));
    EXPECT_TRUE(parameters.Move(2, true));
    EXPECT_EQ(Names(), (NameList{"b", "a", "x"}));
    EXPECT_FALSE(parameters.Move(1, false));
    EXPECT_TRUE(parameters.Move(0, false));
    EXPECT_EQ(Names(), (NameList{"a", "b", "x"}));
}

TEST_F(EffectParameters, CurvesFollowTheirRowsAndUndoBringsThemBack) {
    for (const char* name : {"a", "b", "c"}) parameters.Add("e", name, EffectKindOfWord("curve"));
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(parameters.SetCurve(i, Flat(0.25f * float(i + 1))));
    EXPECT_NE(block->GetString(kEfpacurve, 0, 1).find("0.5"), std::string::npos);
    parameters.Delete({0});
    ASSERT_EQ(Curves().GetNumCurves(), 2);
    EXPECT_EQ(Curves().Points(0)[0].py, 0.5f);
    EXPECT_TRUE(parameters.Move(0, false));
    EXPECT_EQ(Curves().Points(0)[0].py, 0.75f);
    EXPECT_EQ(Curves().Points(1)[0].py, 0.5f);
    parameters.Add("e", "d", EffectKindOfWord("curve"));
    EXPECT_EQ(Curves().Points(2)[0].py, 1);
    for (int i = 0; i < 3; ++i) host.Undo().Undo();
    EXPECT_EQ(Names(), (NameList{"a", "b", "c"}));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(Curves().Points(i)[0].py, 0.25f * float(i + 1));
    host.Undo().Redo();
    EXPECT_EQ(Curves().Points(0)[0].py, 0.5f);
}

TEST_F(EffectParameters, DeletingAnEffectTakesTheCurvesOfItsParametersAlong) {
    commands.Add();
    commands.Add();
    std::string first = block->GetString(kEfidlist, 0, 0),
                second = block->GetString(kEfidlist, 0, 1);
    parameters.Add(first, "a", EffectKindOfWord("curve"));
    parameters.Add(second, "b", EffectKindOfWord("curve"));
    parameters.SetCurve(1, Flat(0.5f));
    commands.Rows().Select({0});
    EXPECT_TRUE(commands.Delete());
    EXPECT_EQ(Names(), NameList{"b"});
    ASSERT_EQ(Curves().GetNumCurves(), 1);
    EXPECT_EQ(Curves().Points(0)[0].py, 0.5f);
    host.Undo().Undo();
    EXPECT_EQ(Names(), (NameList{"a", "b"}));
    EXPECT_EQ(Curves().Points(1)[0].py, 0.5f);
}

TEST_F(EffectParameters, NumbersStayWithinTheirLimits) {
    int row = AddReal("e", "amount");
    parameters.SetNumber(row, 7.5);
    EXPECT_EQ(parameters.Number(row), 7.5);
    parameters.SetLimits(row, true, 5, 0);
    EXPECT_EQ(parameters.Number(row), 5);
    parameters.SetNumber(row, -3);
    EXPECT_EQ(parameters.Number(row), 0);
    parameters.SetLimits(row, false, 0, 5);
    parameters.SetNumber(row, -3);
    EXPECT_EQ(parameters.Number(row), -3);
    parameters.SetDefault(row, 2);
    parameters.ResetToDefault(row);
    EXPECT_EQ(parameters.Number(row), 2);
    int whole = parameters.Add("e", "count", EffectKindOfWord("integer"));
    parameters.SetNumber(whole, 2.9);
    EXPECT_EQ(parameters.Number(whole), 2);
    parameters.SetNumber(whole, 1e300);
    EXPECT_EQ(parameters.Number(whole), 2147483647.0);
}

TEST_F(EffectParameters, EachOperationIsOneStepThatAsksForNewMachines) {
    int row = AddReal("e", "amount");
    size_t steps = host.Undo().NumUndoSteps();
    marks = 0;
    parameters.SetName(row, "much");
    parameters.SetDescription(row, "How much");
    parameters.SetKind(row, EffectKindOfWord("unit"));
    parameters.SetLimits(row, true, 0, 1);
    EXPECT_EQ(host.Undo().NumUndoSteps(), steps + 4);
    EXPECT_GE(marks, 4);
    marks = 0;
    host.Undo().Undo();
    EXPECT_GE(marks, 1);
    EXPECT_FALSE(block->GetInt(kEfpalimit, 0, row));
    host.Undo().Redo();
    EXPECT_TRUE(block->GetInt(kEfpalimit, 0, row));
}

TEST_F(EffectParameters, TargetsGoToTheirKind) {
    int row = parameters.Add("e", "map", EffectKindOfWord("texmap"));
    auto map = std::make_shared<CheckerTex>();
    parameters.SetTarget(row, map);
    EXPECT_EQ(block->GetReference(kEfpatexmap, 0, row), map.get());
    int number = AddReal("e", "amount");
    parameters.SetTarget(number, map);
    EXPECT_EQ(block->GetReference(kEfpatexmap, 0, number), nullptr);
    EXPECT_FALSE(parameters.SetCurve(number, Flat(1)));
}

// --- effects

TEST_F(EffectParameters, NamesTextsAndSwitchesOfEffects) {
    commands.Add();
    commands.Rename(0, "lean");
    EXPECT_EQ(commands.Find("LEAN"), 0);
    EXPECT_EQ(commands.Find(commands.IdOf(0)), 0);
    EXPECT_EQ(commands.Find("other"), -1);
    commands.SetText(0, "dpItem.scale = 2;");
    EXPECT_EQ(commands.Program(0), "dpItem.scale = 2;");
    commands.Rename(0, "tilt");
    EXPECT_EQ(block->GetString(kEfxmllist, 0, 0), WrapEffectProgram("dpItem.scale = 2;", "tilt"));
    commands.SetEnabled(0, false);
    EXPECT_FALSE(block->GetInt(kEfenablelist, 0, 0));
    host.Undo().Undo();
    EXPECT_TRUE(block->GetInt(kEfenablelist, 0, 0));
    EXPECT_EQ(host.Undo().UndoName(), "Rename Effect");
}

TEST_F(EffectParameters, ADefinitionBringsWhatTheEffectLacks) {
    commands.Add();
    AddReal(commands.IdOf(0), "Amount");
    parameters.SetNumber(0, 9);
    size_t steps = host.Undo().NumUndoSteps();
    commands.TakeDefinition(
        0,
        "<effects><effect version=\"1\"><title>Lean</title><expression>amount;</expression>"
        "<parameter name=\"amount\" kind=\"real\" value=\"3\"/>"
        "<parameter name=\"count\" kind=\"integer\" value=\"4\" min=\"1\" max=\"6\" limit=\"1\">"
        "How many</parameter></effect></effects>");
    EXPECT_EQ(Names(), (NameList{"Amount", "count"}));
    EXPECT_EQ(parameters.Number(0), 9);
    EXPECT_EQ(parameters.Number(1), 4);
    EXPECT_EQ(block->GetInt(kEfpaintmax, 0, 1), 6);
    EXPECT_EQ(block->GetString(kEfpadesc, 0, 1), "How many");
    EXPECT_EQ(block->GetString(kEfnamelist, 0, 0), "Lean");
    EXPECT_EQ(host.Undo().NumUndoSteps(), steps + 1);
    host.Undo().Undo();
    EXPECT_EQ(Names(), NameList{"Amount"});
}

TEST_F(EffectParameters, AMoveThatIsNoneLeavesNoStep) {
    commands.Add();
    size_t steps = host.Undo().NumUndoSteps();
    EXPECT_FALSE(commands.MoveUp());
    EXPECT_EQ(host.Undo().NumUndoSteps(), steps);
}

// --- the link

class EffectLink : public EffectParameters {
protected:
    ScriptedUserInterface* user = nullptr;
    bool hasWindows = true;
    int allMarked = 0;
    TQtLink link{
        commands,
        scene,
        {"6.3.1", "linux", "tracer", [this] { return hasWindows; }, [this] { ++allMarked; }}};
    std::string error;

    void SetUp() override {
        EffectParameters::SetUp();
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        host.SetUserInterface(std::move(scripted));
        commands.Add();
    }
};

TEST_F(EffectLink, TellsWhatItWorksFor) {
    EXPECT_EQ(link.Description(),
              (std::map<std::string, std::string>{
                  {"version", "6.3.1"}, {"platform", "linux"}, {"renderer", "tracer"}}));
    EXPECT_TRUE(link.Connect());
    hasWindows = false;
    EXPECT_FALSE(link.Connect());
    ASSERT_EQ(user->messages.size(), 1u);
    EXPECT_EQ(user->messages[0].text,
              "Error initializing Qt connection.\nPlease, contact with Tavu Software");
    EXPECT_EQ(user->messages[0].caption, "Dravin/TQtLink");
}

TEST_F(EffectLink, NamesAndFieldsOfNodes) {
    INode* tree = scene.AddNode("tree", std::make_shared<DummyObject>());
    EXPECT_EQ(link.NodeName(tree->GetHandle(), &error), "tree");
    EXPECT_TRUE(link.SetNodeField(tree->GetHandle(), "name", "oak", &error));
    EXPECT_TRUE(link.SetNodeField(tree->GetHandle(), "age", "80", &error));
    EXPECT_EQ(tree->GetName(), "oak");
    EXPECT_EQ(*tree->GetUserProperty("age"), "80");
    host.Undo().Undo();
    EXPECT_EQ(tree->GetUserProperty("age"), nullptr);
    EXPECT_EQ(link.NodeName(999, &error), std::nullopt);
    EXPECT_EQ(error, "Internal Error");
    EXPECT_FALSE(link.SetNodeField(999, "name", "x", &error));
}

TEST_F(EffectLink, ValuesThatAreResetAreUndefined) {
    int row = parameters.Add(commands.IdOf(0), "count", EffectKindOfWord("integer"));
    parameters.SetNumber(row, 4);
    ASSERT_TRUE(link.Begin(commands.IdOf(0), &error));
    ASSERT_EQ(link.Values().size(), 1u);
    auto number = [&] { return std::get<int32_t>(link.Values()[0].values.at(kEfpaintval).value); };
    EXPECT_EQ(LinkNumberText(number()), "4");
    link.ResetValues();
    EXPECT_EQ(uint32_t(number()), 0x80000000u);
    EXPECT_EQ(LinkNumberText(number()), "undefined");
    EXPECT_EQ(parameters.Number(row), 4);
    EXPECT_FALSE(link.Begin("gone", &error));
    EXPECT_EQ(error, "Internal Error");
}

TEST_F(EffectLink, ParametersAreAddedOrUpdatedById) {
    TEffectParameterRecord record;
    record.id = "p", record.effectId = commands.IdOf(0), record.name = "amount";
    record.values[kEfpafloatval] = {ParamValue(2.5f), {}};
    record.kind = 0, record.numberKind = 1;
    EXPECT_TRUE(link.UpdateParameter(record, &error));
    record.name = "much";
    EXPECT_TRUE(link.UpdateParameter(record, &error));
    EXPECT_EQ(Names(), NameList{"much"});
    EXPECT_EQ(parameters.Number(0), 2.5);
    record.effectId = "gone";
    EXPECT_FALSE(link.UpdateParameter(record, &error));
    EXPECT_EQ(error, "Internal Error");
    EXPECT_TRUE(link.UpdateText(commands.IdOf(0), "1;", &error));
    EXPECT_FALSE(link.UpdateText("gone", "1;", &error));
    link.MarkAll();
    EXPECT_EQ(allMarked, 1);
}

TEST_F(EffectLink, CurvesGoBackIntoTheirRows) {
    parameters.Add(commands.IdOf(0), "fade", EffectKindOfWord("curve"));
    AddReal(commands.IdOf(0), "amount");
    Curves().SetPoints(0, Flat(0.5f));
    link.StoreCurves();
    TCurveSet read;
    read.SetNumCurves(1);
    EXPECT_TRUE(CurveSetFromXml(read, block->GetString(kEfpacurve, 0, 0), 0));
    EXPECT_EQ(read.Points(0)[0].py, 0.5f);
    EXPECT_EQ(block->GetString(kEfpacurve, 0, 1), "");
}

}  // namespace

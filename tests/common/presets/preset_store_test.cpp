#include "common/presets/preset_store.h"

#include <gmock/gmock.h>

#include "host/scene/host_context.h"
#include "host/scene/node.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"
#include "tests/comma_locale.h"
#include "tests/temp_folder.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

enum : ParamID { kNumber, kCount, kOn, kTint, kPlace, kText, kNode, kMap, kNames, kNodes, kAngle };

const ParamBlockDesc2& FirstBlock() {
    static const ParamBlockDesc2 desc(
        0, "first", "First", 0, true,
        {ParamDef(kNumber, "number", ParamType::kFloat).Default(1.5f).Range(-100, 100),
         ParamDef(kCount, "count", ParamType::kInt).Range(0, 10),
         ParamDef(kOn, "on", ParamType::kBool), ParamDef(kTint, "tint", ParamType::kColor),
         ParamDef(kPlace, "place", ParamType::kPoint3),
         ParamDef(kText, "text", ParamType::kString)});
    return desc;
}
const ParamBlockDesc2& SecondBlock() {
    static const ParamBlockDesc2 desc(
        1, "second", "Second", 1, true,
        {ParamDef(kNode, "node", ParamType::kNode), ParamDef(kMap, "map", ParamType::kTexmap),
         ParamDef(kNames, "names", ParamType::kString).List(),
         ParamDef(kNodes, "nodes", ParamType::kNode).List(),
         ParamDef(kAngle, "angle", ParamType::kWorld).Animatable()});
    return desc;
}

class Presets : public testing::Test {
protected:
    HostContext host;
    Scene scene;
    std::shared_ptr<IParamBlock2> first = IParamBlock2::Create(FirstBlock());
    std::shared_ptr<IParamBlock2> second = IParamBlock2::Create(SecondBlock());
    PresetStore store{{first.get(), second.get()}};
    TempFolder folder;

    void SetUp() override {
        host.SetCurrentScene(&scene);
        scene.AddNode(INode::Create("Oak 1"));
        store.nameOf = [](const ReferenceTarget* target) {
            auto* node = dynamic_cast<const INode*>(target);
            return node ? node->GetName() : "";
        };
        store.find = [this](ParamType, const std::string& name, std::string* error) {
            INode* node = scene.FindNode(name);
            *error = "no node \"" + name + "\"";
            return node ? node->shared_from_this() : nullptr;
        };
    }
    std::shared_ptr<ReferenceTarget> Oak() { return scene.FindNode("Oak 1")->shared_from_this(); }
    PresetFile File() const { return {folder.File("p.ini"), "Thing"}; }
    // The section that saving writes.
    std::string Saved() {
        EXPECT_TRUE(bool(store.Save(File(), "p")));
        return folder.Read("p.ini");
    }
    PresetResult Load(const std::string& lines) {
        folder.Write("p.ini", "[Thing.p]\n" + lines);
        std::string name = "p";
        return store.Load(File(), &name);
    }
    void FillAll() {
        first->SetValue(kNumber, 0, -2.25f);
        first->SetValue(kCount, 0, 7);
        first->SetValue(kOn, 0, true);
        first->SetValue(kTint, 0, Color{0.5f, 0.25f, 1});
        first->SetValue(kPlace, 0, Point3{1, -2, 3.125f});
        first->SetValue(kText, 0, "some text");
        second->SetValue(kNode, 0, Oak());
        for (const char* name : {"Pine", "Oak"}) second->Append(kNames, std::string(name));
        second->Append(kNodes, ParamValue(Oak()));
        second->Append(kNodes);
        second->SetValue(kAngle, 0, 45.0f);
    }
    static constexpr const char* kAll =
        "[Thing.p]\nnumber=-2.250000\ncount=7\non=1\ntint=0.500000;0.250000;1.000000\n"
        "place=1.000000;-2.000000;3.125000\ntext=some text\nnode=Oak 1\nmap=\nnames=[Pine|Oak]\n"
        "nodes=[Oak 1|]\nangle=45.000000\n";
};

}  // namespace

TEST_F(Presets, EveryTypeHasItsText) {
    FillAll();
    EXPECT_EQ(Saved(), kAll);
}

TEST_F(Presets, NumbersHaveAPointInEveryLocale) {
    CommaLocale comma;
    FillAll();
    EXPECT_EQ(Saved(), kAll);
    EXPECT_TRUE(bool(Load("number=3.5\ntint=0.5;0.25;1\n")));
    EXPECT_EQ(first->GetFloat(kNumber), 3.5f);
    EXPECT_EQ(first->GetColor(kTint), (Color{0.5f, 0.25f, 1}));
}

TEST_F(Presets, LoadingBringsBackWhatWasSaved) {
    FillAll();
    std::string saved = Saved();
    first->ResetAll(), second->ResetAll();
    std::string name = "p";
    PresetResult result = store.Load(File(), &name);
    EXPECT_TRUE(bool(result));
    EXPECT_THAT(result.warnings, IsEmpty());
    EXPECT_EQ(second->GetNode(kNodes, 0, 0), Oak().get());
    EXPECT_EQ(second->Count(kNodes), 2);
    EXPECT_EQ(Saved(), saved);
}

TEST_F(Presets, ListsEndElementsAtBarsAndBrackets) {
    using Texts = std::vector<std::string_view>;
    const std::pair<const char*, Texts> table[] = {{"[]", {}},
                                                   {"", {}},
                                                   {"[", {}},
                                                   {"[a]", {"a"}},
                                                   {"[a|b]", {"a", "b"}},
                                                   {"[a|]", {"a", ""}},
                                                   {"[|]", {"", ""}},
                                                   {"[a|b", {"a", "b"}},
                                                   {"a|b", {"a", "b"}},
                                                   {"[a]b|c", {"a"}}};
    for (const auto& [text, elements] : table) EXPECT_EQ(SplitPresetList(text), elements) << text;
}

TEST_F(Presets, TextsKeepWhatWouldEndThem) {
    const std::string odd = " a|b]\r\n[&#38;&x&#";
    first->SetValue(kText, 0, odd + " ");
    second->Append(kNames, odd);
    second->Append(kNames, std::string("\"q\""));
    std::string saved = Saved();
    EXPECT_THAT(saved, HasSubstr("text=&#32;a|b]&#13;&#10;[&#38;#38;&x&#38;#&#32;\n"));
    EXPECT_THAT(saved, HasSubstr("names=[ a&#124;b&#93;&#13;&#10;[&#38;#38;&x&#38;#|\"q\"]\n"));
    first->ResetAll(), second->ResetAll();
    std::string name = "p";
    EXPECT_TRUE(bool(store.Load(File(), &name)));
    EXPECT_EQ(first->GetString(kText), odd + " ");
    EXPECT_EQ(second->GetString(kNames, 0, 0), odd);
    EXPECT_EQ(second->GetString(kNames, 0, 1), "\"q\"");
}

TEST_F(Presets, OtherEscapesStandForThemselves) {
    EXPECT_TRUE(bool(Load("text=&#300;&#;&#x41;&#65;&#-1;&#65\n")));
    EXPECT_EQ(first->GetString(kText), "&#300;&#;&#x41;A&#-1;&#65");
}

TEST_F(Presets, TheFilterWorksInBothSenses) {
    store.names = {"count", "names"};
    EXPECT_FALSE(store.IsStored("count"));
    EXPECT_TRUE(store.IsStored("number"));
    EXPECT_THAT(Saved(), testing::Not(HasSubstr("count=")));
    Load("count=3\nnumber=4\n");
    EXPECT_EQ(first->GetInt(kCount), 0);
    EXPECT_EQ(first->GetFloat(kNumber), 4);
    store.leavesOut = false;
    EXPECT_EQ(Saved(), "[Thing.p]\ncount=0\nnames=[]\n");
    Load("count=3\nnumber=5\n");
    EXPECT_EQ(first->GetInt(kCount), 3);
    EXPECT_EQ(first->GetFloat(kNumber), 4);
}

TEST_F(Presets, LinesThatNameNoParameterAreToldAndIgnored) {
    PresetResult result = Load("Count=3\nstray\ncount=4\ncount=5\n");
    EXPECT_TRUE(bool(result));
    EXPECT_EQ(first->GetInt(kCount), 5);  // the last of several
    EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("Count")));
    EXPECT_EQ(Load("Count=3\n").status, PresetStatus::kNothingApplied);
    EXPECT_EQ(first->GetInt(kCount), 5);
}

TEST_F(Presets, WhatDoesNotParseIsZero) {
    FillAll();
    PresetResult result = Load("number=x\ncount=4x\non=\ntint=1;x\nplace=\nangle=inf\n");
    EXPECT_TRUE(bool(result));
    EXPECT_EQ(first->GetFloat(kNumber), 0);
    EXPECT_EQ(first->GetInt(kCount), 4);
    EXPECT_FALSE(first->GetBool(kOn));
    EXPECT_EQ(first->GetColor(kTint), (Color{1, 0, 0}));
    EXPECT_EQ(first->GetPoint3(kPlace), Point3{});
    EXPECT_EQ(second->GetFloat(kAngle), 0);
}

TEST_F(Presets, NumbersStayInTheirRange) {
    PresetResult result = Load("number=1e30\ncount=-99999999999\n");
    EXPECT_EQ(first->GetFloat(kNumber), 100);
    EXPECT_EQ(first->GetInt(kCount), 0);
    EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("number: "), HasSubstr("count: ")));
}

TEST_F(Presets, NamesThatAreNotFoundAreEmpty) {
    FillAll();
    PresetResult result = Load("node=Elm\nnodes=[Oak 1|Elm|]\nmap=brick\n");
    EXPECT_TRUE(bool(result));
    EXPECT_EQ(second->GetNode(kNode), nullptr);
    EXPECT_EQ(second->Count(kNodes), 3);
    EXPECT_EQ(second->GetNode(kNodes, 0, 0), Oak().get());
    EXPECT_EQ(second->GetNode(kNodes, 0, 1), nullptr);
    EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("node: "), HasSubstr("nodes: ")));
}

TEST_F(Presets, MapsAndKeysAreLeftOutAndTold) {
    second->SetValue(kMap, 0,
                     std::static_pointer_cast<ReferenceTarget>(std::make_shared<ColorTex>()));
    ParamKey late;
    late.time = 160;
    late.value = 9.0f;
    second->SetKeys(kAngle, {late});
    first->SetValue(kNumber, 0, 1e-7f);
    PresetResult result = store.Save(File(), "p");
    EXPECT_TRUE(bool(result));
    EXPECT_THAT(result.warnings,
                ElementsAre(HasSubstr(": map"), HasSubstr(": angle"), HasSubstr(": number")));
    EXPECT_THAT(folder.Read("p.ini"), HasSubstr("angle=9.000000\n"));
}

TEST_F(Presets, LoadingIsOneUndoStep) {
    Load("number=4\ncount=5\nnames=[a|b]\n");
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    EXPECT_TRUE(scene.undo.Undo());
    EXPECT_EQ(first->GetFloat(kNumber), 1.5f);
    EXPECT_EQ(first->GetInt(kCount), 0);
    EXPECT_EQ(second->Count(kNames), 0);
    EXPECT_TRUE(scene.undo.Redo());
    EXPECT_EQ(second->Count(kNames), 2);
}

TEST_F(Presets, AListThatIsTooLongChangesNothing) {
    std::string bars(PresetStore::kMostElements, '|');
    PresetResult result = Load("number=4\nnames=[" + bars + "]\n");
    EXPECT_EQ(result.status, PresetStatus::kTooLarge);
    EXPECT_EQ(first->GetFloat(kNumber), 1.5f);
    EXPECT_EQ(second->Count(kNames), 0);
}

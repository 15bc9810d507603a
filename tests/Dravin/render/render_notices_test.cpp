#include "Dravin/render/render_notices.h"

#include <gmock/gmock.h>

#include "host/script/script_system.h"
#include "tests/Dravin/render/render_fixture.h"

namespace {

using testing::HasSubstr;

// The settings of a renderer as its scripts see them.
class RendererSettings {
public:
    explicit RendererSettings(ScriptSystem& scripts) : m_scripts(scripts) {}

    void Add(const std::string& name, ScriptValue value) {
        m_values[name] = std::move(value);
        m_scripts.Register("renderers.current." + name,
                           [this, name](const ScriptArguments&) { return Result(name); });
        bool isTruth = std::holds_alternative<bool>(m_values[name]);
        m_scripts.Register("renderers.current." + name + (isTruth ? " = %b" : " = %d"),
                           [this, name, isTruth](const ScriptArguments& a) {
                               if (isTruth)
                                   m_values[name] = a.Truth(0);
                               else
                                   m_values[name] = a.Integer(0);
                               return Result(name);
                           });
    }
    const ScriptValue& operator[](const std::string& name) { return m_values[name]; }

private:
    ScriptResult Result(const std::string& name) { return {m_values[name], {}}; }
    ScriptSystem& m_scripts;
    std::map<std::string, ScriptValue> m_values;
};

class RenderNotices : public RenderFixture {
protected:
    void UseMentalRay() { UseRenderer(kMentalRayId, "mental ray"); }
    ScriptSystem& Scripts() { return host.State<ScriptSystem>(); }
    size_t NumProxyNodes() const {
        size_t count = 0;
        for (const INode* n : scene.Nodes()) count += n->GetName().rfind("dmr_", 0) == 0;
        return count;
    }
};

TEST_F(RenderNotices, CustomObjectsAreHiddenDuringTheRenderOnly) {
    auto hidden = AddMesh("hidden before", MakeBox(1, 1, 1, 1));
    hidden->SetHidden(true);
    AddRow(hidden);
    AddTemplateRow();
    StartRender();
    EXPECT_FALSE(box->IsHidden());
    EndRender();
    Set(kDispParams, dispParams::kHidecustom, true);
    host.Undo().Begin();
    StartRender();
    EXPECT_TRUE(box->IsHidden());
    EXPECT_TRUE(hidden->IsHidden());
    EXPECT_FALSE(plane->IsHidden());
    EndRender();
    host.Undo().Accept("Nothing");
    EXPECT_FALSE(box->IsHidden());
    EXPECT_TRUE(hidden->IsHidden());
    EXPECT_FALSE(host.Undo().Undo());  // no step of that
}

TEST_F(RenderNotices, KeysOfTheSwitchComeBack) {
    KeyTrack<bool> track;
    track.SetKey(0, false);
    track.SetKey(1600, true);
    box->hidden.SetTrack(track);
    Set(kDispParams, dispParams::kHidecustom, true);
    StartRender();
    EXPECT_TRUE(box->IsHidden(0));
    EndRender();
    EXPECT_FALSE(box->IsHidden(0));
    EXPECT_TRUE(box->IsHidden(1600));
}

TEST_F(RenderNotices, TwoObjectsMayHideOneNode) {
    auto [other, otherNode] = AddScatter("other");
    Set(kDispParams, dispParams::kHidecustom, true);
    other->Block(kDispParams).SetValue(dispParams::kHidecustom, 0, true);
    StartRender();
    EXPECT_EQ(TRenderNotices::Current().NumHidden(), 1u);
    StartRender();  // the first one never ended
    EXPECT_EQ(TRenderNotices::Current().NumHidden(), 1u);
    EndRender();
    EXPECT_FALSE(box->IsHidden());
    EndRender();
}

TEST_F(RenderNotices, AGroupIsHiddenWithItsMembers) {
    auto head = INode::Create("group", std::make_shared<GroupObject>());
    scene.AddNode(head);
    head->AttachChild(box);
    object->Block(kGeomParams).SetValue(geomParams::kCobjlist, 0, Target(head), 0);
    Set(kDispParams, dispParams::kHidecustom, true);
    StartRender();
    EXPECT_TRUE(box->IsHidden());
    EndRender();
    EXPECT_FALSE(box->IsHidden());
}

TEST_F(RenderNotices, NodesThatGoDuringTheRenderAreNotMissed) {
    Set(kDispParams, dispParams::kHidecustom, true);
    StartRender();
    scene.DeleteNode(*box);
    box.reset();
    host.Undo().Clear();
    EndRender();
    EXPECT_EQ(TRenderNotices::Current().NumHidden(), 0u);
}

TEST_F(RenderNotices, FailuresOfTheRenderAreTold) {
    StartRender();
    Trees().IDravinRenderBegin(0);
    Trees().IDravinRenderEnd(0);
    EndRender();
    EXPECT_TRUE(user->messages.empty());
    TakeRows(*object);
    StartRender();
    EXPECT_EQ(object->Build().Status(), TBuildStatus::kSuccess);  // forgotten
    Trees().IDravinRenderBegin(0);
    EndRender();
    ASSERT_EQ(user->messages.size(), 1u);
    EXPECT_THAT(user->messages[0].text, HasSubstr("error:\n\nscatter\n"));
    EXPECT_FALSE(object->Render().IsRendering());
    // Not rendered this time.
    StartRender();
    EndRender();
    EXPECT_EQ(user->messages.size(), 1u);
}

TEST_F(RenderNotices, BothAreLogged) {
    StartRender();
    EndRender();
    EXPECT_TRUE(Logged("NotifyPreRender starts"));
    EXPECT_TRUE(Logged("NotifyPreRender ends"));
    EXPECT_TRUE(Logged("NotifyPostRender starts"));
}

TEST_F(RenderNotices, RenderersOfNodesGetProxies) {
    StartRender();
    EXPECT_EQ(NumProxyNodes(), 0u);
    EndRender();
    auto [meshed, meshedNode] = AddScatter("meshed");
    meshed->Block(kDispParams).SetValue(dispParams::kRendermode, 0, 1);
    for (ClassId id : {kMentalRayId, kIrayId}) {
        UseRenderer(id, "nodes " + std::to_string(id.a));
        host.quiet = true;
        StartRender();
        EXPECT_EQ(NumProxyNodes(), 2u);  // the box and the object
        EXPECT_EQ(TRenderNotices::Current().NumProxies(), 1u);
        EXPECT_TRUE(object->Render().IsRendering());
        EXPECT_FALSE(meshed->Render().IsRendering());
        EndRender();
        EXPECT_EQ(NumProxyNodes(), 0u);
        EXPECT_FALSE(object->Render().IsRendering());
    }
}

TEST_F(RenderNotices, ARenderThatNeverEndsLeavesNoProxiesBehind) {
    UseMentalRay();
    host.quiet = true;
    StartRender();
    StartRender();
    EXPECT_EQ(NumProxyNodes(), 2u);
    EndRender();
    EXPECT_EQ(NumProxyNodes(), 0u);
}

TEST_F(RenderNotices, GoodSettingsAskNothing) {
    UseMentalRay();
    RendererSettings settings(Scripts());
    settings.Add("ScanlineEnable", false);
    settings.Add("RaytraceMethod", int64_t{4});
    settings.Add("Use_Placeholders", true);
    CheckMentalRaySettings();
    EXPECT_TRUE(user->questions.empty());
}

TEST_F(RenderNotices, OtherSettingsAreChangedOnYesOnly) {
    UseMentalRay();
    RendererSettings settings(Scripts());
    settings.Add("ScanlineEnable", true);
    settings.Add("RaytraceMethod", int64_t{1});
    settings.Add("Use_Placeholders", false);
    CheckMentalRaySettings();  // an empty queue answers no
    ASSERT_EQ(user->questions.size(), 1u);
    EXPECT_EQ(user->questions[0],
              "To use Dravin with Mental Ray it is recommended to use these options:\n\n"
              "- Processing -> Translator -> Use Placeholder Objects\n- Renderer -> Scanline "
              "disabled\n- Renderer -> Raytrace acceleration BSP2\n- Display->Hide Custom "
              "objects\n\nDo you want to enable them ?");
    EXPECT_EQ(std::get<bool>(settings["ScanlineEnable"]), true);
    user->answers.push_back(Answer::kYes);
    CheckMentalRaySettings();
    EXPECT_EQ(std::get<bool>(settings["ScanlineEnable"]), false);
    EXPECT_EQ(std::get<int64_t>(settings["RaytraceMethod"]), 4);
    EXPECT_EQ(std::get<bool>(settings["Use_Placeholders"]), true);
    CheckMentalRaySettings();
    EXPECT_EQ(user->questions.size(), 2u);
}

// Scanline counts as wrong where nothing tells, the other two as right.
TEST_F(RenderNotices, SettingsThatCannotBeRead) {
    UseMentalRay();
    CheckMentalRaySettings();
    EXPECT_EQ(user->questions.size(), 1u);
    RendererSettings settings(Scripts());
    settings.Add("ScanlineEnable", false);
    CheckMentalRaySettings();
    EXPECT_EQ(user->questions.size(), 1u);
}

TEST_F(RenderNotices, QuietHostsAndOthersAreAskedNothing) {
    CheckMentalRaySettings();  // another renderer
    UseMentalRay();
    host.quiet = true;
    CheckMentalRaySettings();
    host.quiet = false;
    DravinGlobals().options.noPopups = 1;
    CheckMentalRaySettings();
    EXPECT_TRUE(user->questions.empty());
}

}  // namespace

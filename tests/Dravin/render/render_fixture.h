// A scatter object that renderers ask for its items, as scatter_fixture.h has it.
#pragma once

#include "Dravin/dravin_globals.h"
#include "Dravin/render/object_registry.h"
#include "Dravin/render/pack_interface.h"
#include "Dravin/render/render_notices.h"
#include "Dravin/render/render_state.h"
#include "Dravin/render/trees_interface.h"
#include "host/scene/renderers.h"
#include "tests/Dravin/build/scatter_fixture.h"

class RenderFixture : public ScatterFixture {
protected:
    static constexpr ClassId kRenderer{0x1234, 0x5678};
    ScriptedUserInterface* user = nullptr;

    void SetUp() override {
        ScatterFixture::SetUp();
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        host.SetUserInterface(std::move(scripted));
        host.SetCurrentScene(&scene);
        StartRenderIntegration();
        UseRenderer(kRenderer, "Test");
        Set(kTransformParams, transformParams::kApplyrotation, true);
        Set(kTransformParams, transformParams::kApplyscale, true);
        Set(kTransformParams, transformParams::kMirror, 1);
        Set(kMatParams, matParams::kTintmax, 90);
        Set(kMatParams, matParams::kTintcolor1, Color{1, 0, 0});
    }
    void TearDown() override {
        host.SetCurrentScene(nullptr);
        ScatterFixture::TearDown();
    }
    void UseRenderer(ClassId id, const std::string& name) {
        auto& renderers = host.State<Renderers>();
        renderers.Register({id, name});
        ASSERT_TRUE(renderers.SetCurrent(id));
    }
    ITreesInterface& Trees() { return *TreesOf(*object); }
    TDravinPackInterface& Pack() { return TDravinPackInterface::Current(); }
    void AskFor(uint32_t version) {
        uint32_t features[3] = {version, 0, 0};
        Pack().setEngineFeatures(features);
    }
    template <class Record>
    std::span<Record> Nodes() {
        int32_t count = -1;
        auto* records = static_cast<Record*>(Trees().getRenderNodes(&count));
        return {records, size_t(count)};
    }
    // Another row, of a template that shows a plane.
    void AddTemplateRow() {
        auto board = AddMesh("_dravin_template_board", MakePlane(1, 1, 1));
        DravinGlobals().templates.List().at(0)->SetReference(0, board);
        AddRow(nullptr);
        IParamBlock2& rows = object->Block(kGeomParams);
        int last = rows.Count(geomParams::kGeomlist) - 1;
        rows.SetValue(geomParams::kGeomlist, 0, int(kGeomTemplate), last);
        rows.SetValue(geomParams::kTempidlist, 0, 0, last);
    }
    // Builds of the object fail from now on.
    static void TakeRows(TDravin& from) {
        IParamBlock2& rows = from.Block(kGeomParams);
        for (const ParamDef& def : rows.GetDesc().params)
            if (def.list) rows.SetCount(def.id, 0);
    }
    std::vector<TDravinItem> Items() const {
        std::vector<TDravinItem> items;
        for (size_t i = 0; i < object->Build().Items().Count(); ++i)
            items.push_back(object->Build().Items().Item(i));
        return items;
    }
    void StartRender() { host.notifications.Broadcast(HostNotify::kPreRender); }
    void EndRender() { host.notifications.Broadcast(HostNotify::kPostRender); }
};

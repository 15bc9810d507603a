#include "Dravin/presets/dravin_presets.h"

#include <filesystem>

#include <fmt/format.h>

#include "Dravin/config/options.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/effects/effect_list.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "Dravin/scene/dravin_rows.h"
#include "common/presets/preset_store.h"
#include "host/params/undo_step.h"
#include "host/scene/host_context.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kClassName = "Dravin";
constexpr const char* kKept[] = {"savedversion", "renderid", "mode"};

std::string NameOf(const Scene* scene, const ReferenceTarget* target) {
    if (auto* node = dynamic_cast<const INode*>(target)) return node->GetName();
    if (!scene) return {};
    for (const auto& [name, mtl] : scene->Materials())
        if (mtl.get() == target) return name;
    return {};
}

std::shared_ptr<ReferenceTarget> FindByName(const Scene* scene, ParamType type,
                                            const std::string& name, std::string* error) {
    *error = fmt::format("the scene has no {} \"{}\"",
                         type == ParamType::kNode ? "node" : "material", name);
    if (!scene) return nullptr;
    if (type == ParamType::kNode) {
        INode* node = scene->FindNode(name);
        return node ? node->shared_from_this() : nullptr;
    }
    auto found = scene->Materials().find(name);
    return found != scene->Materials().end() ? found->second : nullptr;
}

PresetStore StoreOf(TDravin& object) {
    std::vector<IParamBlock2*> blocks;
    for (int id = 0; id < kNumDravinBlocks; ++id)
        blocks.push_back(&object.Block(DravinBlockId(id)));
    PresetStore store(std::move(blocks));
    store.names.assign(std::begin(kKept), std::end(kKept));
    HostContext* host = HostContext::Current();
    const Scene* scene = host ? host->CurrentScene() : nullptr;
    if (scene) store.time = scene->GetTime();
    store.nameOf = [scene](const ReferenceTarget* target) { return NameOf(scene, target); };
    store.find = [scene](ParamType type, const std::string& name, std::string* error) {
        return FindByName(scene, type, name, error);
    };
    return store;
}

// Curves of effects reach the presets as texts, which saving brings up to date.
void RefreshEffectTexts(TDravin& object) {
    HoldSuspender noUndo(CurrentHold());
    NotifySuspender quiet(object.Block(kEffectParams));
    StoreEffectCurves(object.Block(kEffectParams), object.CurveSet(kSlotEffectCurves));
}

// Falloff curves that differ from those of a new object, which presets do not hold.
void TellOfCurves(const TDravin& object, PresetResult* result) {
    std::shared_ptr<TDravin> fresh = TDravin::Create();
    std::string names;
    for (const DravinCurveName& curve : DravinCurveNames()) {
        const TCurveSet *set = object.CurveSet(curve.slot), *plain = fresh->CurveSet(curve.slot);
        if (!set || curve.index >= set->GetNumCurves()) continue;
        if (set->Points(curve.index) == plain->Points(curve.index)) continue;
        names += (names.empty() ? "" : ", ") + std::string(curve.name);
    }
    if (!names.empty()) result->warnings.push_back("presets hold no falloff curves: " + names);
}

// Rows beyond the end of shorter lists get the declared defaults.
void GrowTable(IParamBlock2& block, std::span<const ParamID> ids, ParamID key) {
    int rows = block.Count(key);
    for (ParamID id : ids)
        if (block.Count(id) < rows) block.SetCount(id, rows);
}

void GrowTables(TDravin& object) {
    IParamBlock2& effects = object.Block(kEffectParams);
    GrowTable(object.Block(kGeomParams), GeometryRowIds(), geomParams::kNamelist);
    GrowTable(object.Block(kAreaParams), AreaRowIds(), areaParams::kArnamelist);
    std::span<const ParamID> ids = EffectRowIds();
    size_t first = size_t(std::find(ids.begin(), ids.end(), effectParams::kEfpaid) - ids.begin());
    GrowTable(effects, ids.first(first), effectParams::kEfidlist);
    GrowTable(effects, ids.subspan(first), effectParams::kEfpaid);
}

void RefreshTemplates(TDravin& object) {
    std::vector<std::string> names = DravinGlobals().templates.Names();
    if (names.empty()) return;
    TTreeSpecList rows(
        std::static_pointer_cast<IParamBlock2>(object.Block(kGeomParams).shared_from_this()));
    rows.RefreshTemplateIds(names);
}

}  // namespace

std::string DravinPresetsPath() {
    std::string folder = ConfigFolder();
    return folder.empty() ? folder : (fs::path(folder) / "dravin_presets.ini").string();
}

PresetFile DravinPresetFile(const std::string& path) { return {path, kClassName}; }

PresetResult SaveDravinPreset(TDravin& object, const std::string& name, const std::string& path) {
    RefreshEffectTexts(object);
    PresetResult result = StoreOf(object).Save(DravinPresetFile(path), name);
    TellOfCurves(object, &result);
    return result;
}

PresetResult ExportDravinPreset(TDravin& object, const std::string& path) {
    RefreshEffectTexts(object);
    PresetResult result =
        StoreOf(object).Export(DravinPresetFile(path), fs::path(path).stem().string());
    TellOfCurves(object, &result);
    return result;
}

PresetResult LoadDravinPreset(TDravin& object, std::string* name, const std::string& path) {
    UndoStep step("Load Preset");
    PresetResult result = StoreOf(object).Load(DravinPresetFile(path), name);
    if (!result) return result;
    GrowTables(object);
    RefreshTemplates(object);
    LoadEffectCurves(object.Block(kEffectParams), object, kSlotEffectCurves);
    object.CleanNodeLists();
    return result;
}

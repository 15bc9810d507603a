#include "Dravin/scene/dravin_description.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/effects/effect_list.h"
#include "Dravin/scene/dravin_rows.h"
#include "host/base/log.h"
#include "host/base/text.h"

void RegisterLodNode(SceneFormats& formats);

using Json = nlohmann::ordered_json;

namespace {

void ReadParams(TDravin& object, const DescriptionValue& value, const DescriptionContext& context) {
    for (const auto& [name, member] : DescriptionObject(value).Members()) {
        TDravin::Param param = object.FindParam(name);
        if (!param) {
            value.Document().Fail(value.Json(), name,
                                  fmt::format("unknown parameter \"{}\"{}", CutText(name, 60),
                                              DidYouMean(name, DravinParamNames())));
            return;
        }
        ReadParam(*param.block, *param.def, member, context);
        if (value.Document().Failed()) return;
    }
}

// A list may be given in `params` or as rows, not both.
using ReadRows = void (*)(TDravin&, const DescriptionValue&, const DescriptionContext&);
void ReadList(TDravin& object, const std::optional<DescriptionValue>& rows, DravinBlockId block,
              std::span<const ParamID> ids, ReadRows read, const DescriptionContext& context) {
    if (!rows || rows->Document().Failed()) return;
    for (ParamID id : ids)
        if (object.Block(block).Count(id) > 0)
            rows->Fail(fmt::format("\"{}\" stands in \"params\" already",
                                   object.Block(block).GetDesc().Find(id)->name));
    if (!rows->Document().Failed()) read(object, *rows, context);
}

bool IsAmong(std::span<const ParamID> ids, ParamID id) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

class DravinDescription : public INodeDescription {
public:
    std::shared_ptr<Object> Read(DescriptionObject& keys,
                                 DescriptionContext& context) const override {
        auto object = TDravin::Create();
        auto params = keys.Find("params"), curves = keys.Find("curves"), items = keys.Find("items");
        auto geometry = keys.Find("geometry"), areas = keys.Find("areas");
        auto effects = keys.Find("effects"), instances = keys.Find("instances");
        auto deltas = keys.Find("deltas");
        object->chooseMapSize = keys.Bool("choose_map_size", false);
        context.WhenAllExist([=, &context] {
            if (params) ReadParams(*object, *params, context);
            ReadList(*object, geometry, kGeomParams, GeometryRowIds(), ReadGeometryRows, context);
            ReadList(*object, areas, kAreaParams, AreaRowIds(), ReadAreaRows, context);
            ReadList(*object, effects, kEffectParams, EffectRowIds(), ReadEffectRows, context);
            LoadEffectCurves(object->Block(kEffectParams), *object, kSlotEffectCurves);
            if (curves) ReadCurves(*object, *curves);
            if (items) ReadItems(*object, *items);
            if (deltas) ReadDeltas(*object, *deltas, context);
            if (instances) ReadInstances(*object, *instances, context);
            object->CleanNodeLists();
        });
        return object;
    }

    bool Write(const Object& object, Json& keys, const DescriptionWriter& writer) const override {
        auto* dravin = dynamic_cast<const TDravin*>(&object);
        if (!dravin) return false;
        bool geometryRows = HasRows(*dravin, kGeomParams, GeometryRowIds(), writer);
        bool areaRows = HasRows(*dravin, kAreaParams, AreaRowIds(), writer);
        bool effectRows = HasEffectRows(*dravin, writer);
        Json params = Json::object();
        for (const ParamBlockDesc2& desc : DravinBlocks()) {
            const IParamBlock2& block = dravin->Block(DravinBlockId(desc.id));
            for (const ParamDef& def : desc.params) {
                bool inRows =
                    (desc.id == kGeomParams && geometryRows && IsAmong(GeometryRowIds(), def.id)) ||
                    (desc.id == kAreaParams && areaRows && IsAmong(AreaRowIds(), def.id)) ||
                    (desc.id == kEffectParams && effectRows && IsAmong(EffectRowIds(), def.id));
                if (inRows || def.transient) continue;
                if (def.type == ParamType::kReference) {
                    WarnOfDropped(*dravin, block, def);
                    continue;
                }
                Add(params, def.name.c_str(), writer.Param(block, def));
            }
        }
        if (!params.empty()) keys["params"] = params;
        if (geometryRows) Add(keys, "geometry", WriteGeometryRows(*dravin, writer));
        if (areaRows) Add(keys, "areas", WriteAreaRows(*dravin, writer));
        if (effectRows) Add(keys, "effects", WriteEffectRows(*dravin, writer));
        Add(keys, "curves", WriteCurves(*dravin));
        Add(keys, "items", WriteItems(*dravin));
        Add(keys, "deltas", WriteDeltas(*dravin, writer));
        Add(keys, "instances", WriteInstances(*dravin, writer));
        if (dravin->chooseMapSize) keys["choose_map_size"] = true;
        return true;
    }

private:
    static void Add(Json& keys, const char* key, const Json& value) {
        if (!value.is_null()) keys[key] = value;
    }
    // Controllers and painted polygons have no form outside rows.
    static void WarnOfDropped(const TDravin& object, const IParamBlock2& block,
                              const ParamDef& def) {
        int dropped = 0;
        for (int i = 0; def.list && i < block.Count(def.id); ++i)
            dropped += block.GetReference(def.id, 0, i) != nullptr;
        if (dropped == 0) return;
        INode* node = GetWorldNode(object);
        LogWarning(fmt::format(
            "{}: {} entries of \"{}\" are left out of the description, as its rows have kinds or "
            "lengths that no row can state",
            node ? node->GetName() : "", dropped, def.name));
    }
    // Lists of unequal length have no row form and are written as they are.
    static bool HasRows(const TDravin& object, DravinBlockId block, std::span<const ParamID> ids,
                        const DescriptionWriter& writer) {
        return RowWriter(object.Block(block), writer).SameLength(ids);
    }
    // Effects and their parameters are two tables, every parameter must belong to an effect and be
    // of a kind that has a name.
    static bool HasEffectRows(const TDravin& object, const DescriptionWriter& writer) {
        using namespace effectParams;
        const IParamBlock2& block = object.Block(kEffectParams);
        RowWriter columns(block, writer);
        constexpr size_t kNumEffectLists = 4;
        if (!columns.SameLength(EffectRowIds().first(kNumEffectLists)) ||
            !columns.SameLength(EffectRowIds().subspan(kNumEffectLists)) ||
            !HasKnownParameterKinds(object))
            return false;
        std::vector<std::string> ids;
        for (int i = 0; i < block.Count(kEfidlist); ++i)
            ids.push_back(block.GetString(kEfidlist, 0, i));
        for (int i = 0; i < block.Count(kEfpaeffid); ++i)
            if (std::find(ids.begin(), ids.end(), block.GetString(kEfpaeffid, 0, i)) == ids.end())
                return false;
        return true;
    }
};

}  // namespace

void RegisterDravinNodes(SceneFormats& formats) {
    formats.RegisterNode("dravin", std::make_unique<DravinDescription>());
    RegisterLodNode(formats);
}

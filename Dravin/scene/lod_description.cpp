#include <fmt/format.h>

#include "Dravin/geometry/lod_object.h"
#include "Dravin/scene/row_form.h"
#include "host/base/text.h"

using Json = nlohmann::ordered_json;
using TargetPtr = std::shared_ptr<ReferenceTarget>;
using namespace lodParams;

namespace {

const std::vector<std::string> kKinds = {"disabled", "template", "custom"};

// Keys of a level that are one column each; missing ones take the declared default.
constexpr std::pair<const char*, ParamID> kColumns[] = {{"name", kNamelist},
                                                        {"object", kCobjlist},
                                                        {"material", kMatlist},
                                                        {"template_id", kTempidlist},
                                                        {"template", kTempnamelist},
                                                        {"width", kWidthlist},
                                                        {"height", kHeightlist},
                                                        {"scale", kScalelist},
                                                        {"z_offset", kZoffsetlist},
                                                        {"center", kCenterlist},
                                                        {"id", kSpecidlist},
                                                        {"distance", kDistlist},
                                                        {"screen_size", kScreensizelist}};
// Keys of geometry rows that a level takes from the row that shows the LOD object.
constexpr const char* kForeignKeys[] = {"use_mesh_dimensions", "probability", "color_id", "radius",
                                        "object_name"};

void ReadLevel(const DescriptionValue& value, RowReader& reader, const IParamBlock2& block) {
    DescriptionObject keys(value);
    auto object = keys.Find("object"), templateName = keys.Find("template");
    bool isTemplate = templateName && !(object && !object->IsNull());
    reader.Put(kGeomlist, int32_t(ReadKind(keys, "kind", kKinds, isTemplate ? 1 : 2)));
    for (const auto& [key, id] : kColumns)
        reader.Column(keys, key, id, block.GetDesc().Find(id)->defaultValue);
    for (const char* key : kForeignKeys)
        if (auto foreign = keys.Find(key))
            foreign->Warn("a level takes this from its geometry row; ignored");
    keys.Finish();
}

// Of levels with one threshold only the last is ever shown.
void WarnOfEqualThresholds(const TDLod& lod, const DescriptionValue& levels) {
    bool byDistance = lod.Block().GetInt(kMode) == kLodDistance;
    std::map<float, std::string> seen;
    for (int i = 0; i < lod.NumLevels(); ++i) {
        TLodLevel level = lod.ReadLevel(i);
        if (level.entry.kind == kGeomDisabled) continue;
        float threshold = byDistance ? level.distance : level.screenSize;
        auto [it, fresh] = seen.emplace(threshold, level.entry.name);
        if (!fresh)
            levels.Warn(
                fmt::format("the levels \"{}\" and \"{}\" have the same threshold {}; "
                            "the later one stays",
                            it->second, level.entry.name, FormatNumber(threshold)));
    }
}

class LodDescription : public INodeDescription {
public:
    std::shared_ptr<Object> Read(DescriptionObject& keys,
                                 DescriptionContext& context) const override {
        auto lod = TDLod::Create();
        auto params = keys.Find("params"), levels = keys.Find("levels");
        context.WhenAllExist([=, &context] {
            if (params) ReadParams(*lod, *params, context);
            if (levels) ReadLevels(*lod, *levels, context);
        });
        return lod;
    }

    bool Write(const Object& object, Json& keys, const DescriptionWriter& writer) const override {
        auto* lod = dynamic_cast<const TDLod*>(&object);
        if (!lod) return false;
        RowWriter columns(lod->Block(), writer);
        std::vector<ParamID> lists;
        for (const ParamDef& def : LodBlock().params)
            if (def.list) lists.push_back(def.id);
        bool rows = columns.SameLength(lists);
        Json params = Json::object();
        for (const ParamDef& def : LodBlock().params) {
            if (def.list && rows) continue;
            Json value = writer.Param(lod->Block(), def);
            if (!value.is_null()) params[def.name] = value;
        }
        if (!params.empty()) keys["params"] = params;
        for (int i = 0; rows && i < lod->NumLevels(); ++i)
            keys["levels"].push_back(WriteLevel(*lod, columns, i));
        return true;
    }

private:
    static void ReadParams(TDLod& lod, const DescriptionValue& value,
                           const DescriptionContext& context) {
        std::vector<std::string> names;
        for (const ParamDef& def : LodBlock().params) names.push_back(def.name);
        for (const auto& [name, member] : DescriptionObject(value).Members()) {
            const ParamDef* def = LodBlock().Find(name);
            if (!def) {
                value.Document().Fail(value.Json(), name,
                                      fmt::format("unknown parameter \"{}\"{}", CutText(name, 60),
                                                  DidYouMean(name, names)));
                return;
            }
            ReadParam(lod.Block(), *def, member, context);
        }
    }

    static void ReadLevels(TDLod& lod, const DescriptionValue& levels,
                           const DescriptionContext& context) {
        if (levels.Document().Failed()) return;
        if (lod.NumLevels() > 0) levels.Fail("\"namelist\" stands in \"params\" already");
        RowReader reader(lod.Block(), context);
        for (const DescriptionValue& value : levels.AsArray()) {
            ReadLevel(value, reader, lod.Block());
            if (levels.Document().Failed()) return;
        }
        std::vector<ParamID> lists;
        for (const ParamDef& def : LodBlock().params)
            if (def.list) lists.push_back(def.id);
        reader.Store(lists);
        WarnOfEqualThresholds(lod, levels);
    }

    static Json WriteLevel(const TDLod& lod, const RowWriter& columns, int i) {
        Json row;
        columns.Column(row, "name", kNamelist, i);
        row["kind"] = KindAsJson(kKinds, lod.Block().GetInt(kGeomlist, 0, i));
        for (const auto& [key, id] : kColumns)
            if (id != kNamelist) columns.Column(row, key, id, i, LodBlock().Find(id)->defaultValue);
        return row;
    }
};

}  // namespace

void RegisterLodNode(SceneFormats& formats) {
    formats.RegisterNode("lod", std::make_unique<LodDescription>());
}

#include <fmt/format.h>

#include "Dravin/geometry/tree_spec_list.h"
#include "Dravin/scene/dravin_rows.h"

using Json = nlohmann::ordered_json;
using TargetPtr = std::shared_ptr<ReferenceTarget>;
using namespace geomParams;

namespace {

const std::vector<std::string> kKinds = {"disabled", "template", "custom"};

constexpr ParamID kIds[] = {kNamelist,       kGeomlist,  kTempidlist, kTempnamelist, kCobjlist,
                            kUsemeshdimlist, kWidthlist, kHeightlist, kScalelist,    kZoffsetlist,
                            kCenterlist,     kMatlist,   kProblist,   kColoridlist,  kRadiuslist,
                            kSpecidlist,     kConamelist};

// Keys that are one column each, with what a new row holds there.
struct Column {
    const char* key;
    ParamID id;
    ParamValue missing;
};
const std::vector<Column>& PlainColumns() {
    static const TSpecEntry row;
    static const std::vector<Column> columns = {
        {"name", kNamelist, row.name},
        {"object", kCobjlist, TargetPtr()},
        {"template", kTempnamelist, row.templateName},
        {"template_id", kTempidlist, int32_t(row.templateId)},
        {"use_mesh_dimensions", kUsemeshdimlist, int32_t(row.useMeshDimensions)},
        {"width", kWidthlist, row.width},
        {"height", kHeightlist, row.height},
        {"scale", kScalelist, row.scale},
        {"z_offset", kZoffsetlist, row.zOffset},
        {"center", kCenterlist, int32_t(row.center)},
        {"material", kMatlist, TargetPtr()},
        {"probability", kProblist, row.probability},
        {"color_id", kColoridlist, row.colorId},
        {"radius", kRadiuslist, int32_t(row.radius)},
        {"id", kSpecidlist, int32_t(row.specId)}};
    return columns;
}

// A node that only serves as a source may be turned in vain.
void WarnOfLostTransform(const DescriptionValue& name, const DescriptionContext& context) {
    std::shared_ptr<INode> node = context.NodeOf(name);
    if (!node || !node->IsHidden()) return;
    Matrix3 m = node->GetNodeTM(context.scene.GetTime());
    m.NoTrans();
    if (m.Equals({}, 1e-5f)) return;
    name.Warn(
        fmt::format("the rotation and scale of \"{}\" do not count where it is only a "
                    "source; its \"object_offset\" turns and scales what is scattered",
                    node->GetName()));
}

}  // namespace

std::span<const ParamID> GeometryRowIds() { return kIds; }

void ReadGeometryRows(TDravin& object, const DescriptionValue& rows,
                      const DescriptionContext& context) {
    RowReader reader(object.Block(kGeomParams), context);
    for (const DescriptionValue& value : rows.AsArray()) {
        DescriptionObject keys(value);
        auto custom = keys.Find("object");
        bool hasObject = custom && !custom->IsNull();
        reader.Put(kGeomlist, int32_t(ReadKind(keys, "kind", kKinds,
                                               hasObject ? kGeomCustom : kGeomTemplate)));
        for (const Column& column : PlainColumns())
            reader.Column(keys, column.key, column.id, column.missing);
        // The noted name of the object, which outlives the object itself.
        std::string objectName = keys.Text("object_name");
        if (hasObject && custom->IsText()) objectName = custom->AsText();
        if (hasObject && custom->IsText()) WarnOfLostTransform(*custom, context);
        reader.Put(kConamelist, objectName);
        keys.Finish();
        if (value.Document().Failed()) return;
    }
    reader.Store(kIds);
}

Json WriteGeometryRows(const TDravin& object, const DescriptionWriter& writer) {
    const IParamBlock2& block = object.Block(kGeomParams);
    RowWriter columns(block, writer);
    Json rows;
    for (int i = 0; i < block.Count(kNamelist); ++i) {
        Json row;
        columns.Column(row, "name", kNamelist, i);
        row["kind"] = KindAsJson(kKinds, block.GetInt(kGeomlist, 0, i));
        for (const Column& column : PlainColumns())
            if (column.id != kNamelist)
                columns.Column(row, column.key, column.id, i, column.missing);
        if (!block.GetNode(kCobjlist, 0, i))
            columns.Column(row, "object_name", kConamelist, i, std::string());
        rows.push_back(row);
    }
    return rows;
}

#include <fmt/format.h>

#include "Dravin/geometry/area_texts.h"
#include "Dravin/scene/dravin_rows.h"

using Json = nlohmann::ordered_json;
using TargetPtr = std::shared_ptr<ReferenceTarget>;
using namespace areaParams;

namespace {

const std::vector<std::string> kTypes = {"spline", "object", "paint", "surface", "dravin"};

constexpr ParamID kIds[] = {kArnamelist,     kAridlist,       kPfAractivelist,   kArnodelist,
                            kArnodenamelist, kArtypelist,     kArincexclist,     kArresollist,
                            kArslicelist,    kArslicetoplist, kArwidthlist,      kArforceopenlist,
                            kArmaplist,      kArscalelist,    kArthresholdlist,  kArsurfidlist,
                            kArflafdenslist, kArflafscalist,  kArflinvlist,      kArselspeclist,
                            kArspeclist,     kArpaintlist,    kArboundchecklist, kArshapelist,
                            kArobscalelist,  kArzoffset};

struct Column {
    const char* key;
    ParamID id;
    ParamValue missing;
};
const std::vector<Column>& PlainColumns() {
    static const std::vector<Column> columns = {{"name", kArnamelist, std::string()},
                                                {"node", kArnodelist, TargetPtr()},
                                                {"active", kPfAractivelist, int32_t{1}},
                                                {"id", kAridlist, int32_t{-1}},
                                                {"slice", kArslicelist, int32_t{0}},
                                                {"slice_top", kArslicetoplist, 0.0f},
                                                {"width", kArwidthlist, 10.0f},
                                                {"force_open", kArforceopenlist, int32_t{0}},
                                                {"map", kArmaplist, TargetPtr()},
                                                {"scale", kArscalelist, 100.0f},
                                                {"threshold", kArthresholdlist, 100.0f},
                                                {"falloff_density", kArflafdenslist, 100.0f},
                                                {"falloff_scale", kArflafscalist, 100.0f},
                                                {"falloff_invert", kArflinvlist, int32_t{0}},
                                                {"select_geometry", kArselspeclist, int32_t{0}},
                                                {"boundary_check", kArboundchecklist, int32_t{0}},
                                                {"shape", kArshapelist, int32_t{0}},
                                                {"object_scale", kArobscalelist, 100.0f},
                                                {"z_offset", kArzoffset, 0.0f}};
    return columns;
}

std::string ReadSurfaces(DescriptionObject& keys, const DescriptionContext& context) {
    TAreaSurfaces surfaces;
    for (const DescriptionValue& name : keys.Array("surfaces"))
        if (auto node = context.NodeOf(name)) surfaces.names.push_back(node->GetName());
    for (const DescriptionValue& id : keys.Array("surface_materials")) {
        surfaces.materialIds.push_back(id.AsInt());
        if (surfaces.materialIds.back() < 1) id.Fail("expected a material id, 1 or above");
    }
    return FormatAreaSurfaces(surfaces);
}

std::string ReadSpecIds(DescriptionObject& keys) {
    std::vector<int> ids;
    for (const DescriptionValue& id : keys.Array("geometry")) ids.push_back(id.AsInt());
    return FormatSpecIds(ids);
}

TargetPtr ReadPolygons(DescriptionObject& keys) {
    auto value = keys.Find("polygons");
    if (!value) return nullptr;
    PolyShape shape;
    for (const DescriptionValue& polygon : value->AsArray()) {
        PolyLine& line = shape.lines.emplace_back();
        line.closed = true;
        for (const DescriptionValue& point : polygon.AsArray()) {
            Point2 p = point.AsPoint2();
            line.points.push_back({p.x, p.y, 0});
        }
    }
    auto paint = std::make_shared<TPaintShape>();
    paint->shape = std::move(shape);
    return paint;
}

Json WritePolygons(const TPaintShape& paint) {
    Json polygons = Json::array();
    for (const PolyLine& line : paint.shape->lines) {
        Json polygon = Json::array();
        for (const Point3& p : line.points)
            polygon.push_back({DescriptionWriter::Number(p.x), DescriptionWriter::Number(p.y)});
        polygons.push_back(polygon);
    }
    return polygons;
}

// Rows that read well but would do nothing.
void WarnOfIdleRow(const DescriptionValue& value, int type, bool hasNode, bool hasPolygons) {
    if (type == kAreaPaint && !hasPolygons)
        value.Warn("a painted area does nothing without \"polygons\"");
    bool known = type >= 0 && size_t(type) < kTypes.size();
    if (type != kAreaPaint && hasPolygons && known)
        value.Warn(
            fmt::format("\"polygons\" count in areas of type \"paint\" only, this one is \"{}\"",
                        kTypes[size_t(type)]));
    bool needsNode = type == kAreaSpline || type == kAreaObject || type == kAreaDravin;
    if (needsNode && !hasNode)
        value.Warn(fmt::format("an area of type \"{}\" does nothing without a \"node\"",
                               kTypes[size_t(type)]));
}

void ReadRow(const DescriptionValue& value, RowReader& reader, const DescriptionContext& context) {
    DescriptionObject keys(value);
    int type = ReadKind(keys, "type", kTypes, kAreaSpline);
    reader.Put(kArtypelist, int32_t(type));
    auto node = keys.Find("node");
    std::string nodeText = node && node->IsText() ? node->AsText() : "";
    for (const Column& column : PlainColumns()) {
        bool isName = column.id == kArnamelist;
        reader.Column(keys, column.key, column.id,
                      isName ? ParamValue(DefaultAreaName(type, nodeText)) : column.missing);
    }
    reader.Column(keys, "resolution", kArresollist, int32_t(FirstResolution(type)));
    bool include = keys.Bool("include", !ExcludesAtFirst(type));
    reader.Put(kArincexclist, int32_t(!include));
    reader.Put(kArsurfidlist, ReadSurfaces(keys, context));
    reader.Put(kArspeclist, ReadSpecIds(keys));
    TargetPtr polygons = ReadPolygons(keys);
    reader.Put(kArpaintlist, polygons);
    std::string nodeName = keys.Text("node_name");
    if (!nodeText.empty()) nodeName = nodeText;
    reader.Put(kArnodenamelist, nodeName);
    // The noted name of a node that is gone is no mistake of whoever wrote the row.
    WarnOfIdleRow(value, type, !nodeName.empty(), polygons != nullptr);
    keys.Finish();
}

Json WriteRow(const IParamBlock2& block, const RowWriter& columns, int i) {
    Json row;
    int type = block.GetInt(kArtypelist, 0, i);
    columns.Column(row, "name", kArnamelist, i);
    row["type"] = KindAsJson(kTypes, type);
    row["include"] = block.GetInt(kArincexclist, 0, i) == 0;
    for (const Column& column : PlainColumns())
        if (column.id != kArnamelist) columns.Column(row, column.key, column.id, i, column.missing);
    columns.Column(row, "resolution", kArresollist, i, int32_t(FirstResolution(type)));
    if (!block.GetNode(kArnodelist, 0, i))
        columns.Column(row, "node_name", kArnodenamelist, i, std::string());
    TAreaSurfaces surfaces = ParseAreaSurfaces(block.GetString(kArsurfidlist, 0, i));
    if (!surfaces.names.empty()) row["surfaces"] = surfaces.names;
    if (!surfaces.materialIds.empty()) row["surface_materials"] = surfaces.materialIds;
    if (auto ids = ParseAllSpecIds(block.GetString(kArspeclist, 0, i)); !ids.empty())
        row["geometry"] = ids;
    auto* paint = dynamic_cast<TPaintShape*>(block.GetReference(kArpaintlist, 0, i));
    if (paint) row["polygons"] = WritePolygons(*paint);
    return row;
}

}  // namespace

std::span<const ParamID> AreaRowIds() { return kIds; }

std::optional<ParamValue> FirstAreaValue(ParamID id) {
    for (const Column& column : PlainColumns())
        if (column.id == id) return column.missing;
    return std::nullopt;
}

bool ExcludesAtFirst(int type) { return type == kAreaObject || type == kAreaDravin; }

int FirstResolution(int type) { return type == kAreaDravin ? 1024 : 512; }

void ReadAreaRows(TDravin& object, const DescriptionValue& rows,
                  const DescriptionContext& context) {
    RowReader reader(object.Block(kAreaParams), context);
    for (const DescriptionValue& value : rows.AsArray()) {
        ReadRow(value, reader, context);
        if (value.Document().Failed()) return;
    }
    reader.Store(kIds);
}

Json WriteAreaRows(const TDravin& object, const DescriptionWriter& writer) {
    const IParamBlock2& block = object.Block(kAreaParams);
    RowWriter columns(block, writer);
    Json rows;
    for (int i = 0; i < block.Count(kArnamelist); ++i) rows.push_back(WriteRow(block, columns, i));
    return rows;
}

#include "Dravin/build/area_input.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/build/footprint_input.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "host/base/log.h"
#include "host/geom/mesh_adjacency.h"
#include "host/scene/node.h"

using namespace areaParams;

namespace {

// One row of the parallel lists; an element that is not there has the list's default.
class ListRow {
public:
    ListRow(const IParamBlock2& block, int row, TimeValue t, Interval* valid)
        : m_block(block), m_row(row), m_time(t), m_valid(valid) {}

    float Float(ParamID id) const {
        return Has(id) ? m_block.GetFloat(id, m_time, m_row, m_valid) : float(Default(id));
    }
    int Int(ParamID id) const {
        return Has(id) ? m_block.GetInt(id, m_time, m_row, m_valid) : int(Default(id));
    }
    bool Bool(ParamID id) const { return Int(id) != 0; }
    std::string Text(ParamID id) const {
        return Has(id) ? m_block.GetString(id, m_time, m_row) : "";
    }
    INode* Node(ParamID id) const { return Has(id) ? m_block.GetNode(id, m_time, m_row) : nullptr; }
    Texmap* Map(ParamID id) const {
        return Has(id) ? m_block.GetTexmap(id, m_time, m_row) : nullptr;
    }
    TPaintShape* Paint() const {
        if (!Has(kArpaintlist)) return nullptr;
        return dynamic_cast<TPaintShape*>(m_block.GetReference(kArpaintlist, m_time, m_row));
    }
    int Index() const { return m_row; }

private:
    bool Has(ParamID id) const { return m_row < m_block.Count(id); }
    double Default(ParamID id) const {
        const ParamValue& value = m_block.GetDesc().Find(id)->defaultValue;
        if (auto* f = std::get_if<float>(&value)) return *f;
        if (auto* i = std::get_if<int32_t>(&value)) return *i;
        return 0;
    }

    const IParamBlock2& m_block;
    int m_row;
    TimeValue m_time;
    Interval* m_valid;
};

std::vector<uint8_t> SurfaceFlags(const ListRow& row, const TAreaScene& scene) {
    std::vector<std::string> names = ParseSurfaceNames(row.Text(kArsurfidlist));
    std::vector<uint8_t> flags;
    if (names.empty()) return flags;
    for (INode* node : scene.surfaceNodes)
        flags.push_back(std::find(names.begin(), names.end(), node->GetName()) != names.end());
    if (std::find(flags.begin(), flags.end(), 1) == flags.end())
        LogWarning(
            fmt::format("area \"{}\" places no items: none of the surfaces it names is one "
                        "of the object's",
                        row.Text(kArnamelist)));
    return flags;
}

TAreaSettings ReadSettings(const ListRow& row, const TAreaScene& scene) {
    TAreaSettings s;
    s.order = row.Index();
    s.exclude = row.Bool(kArincexclist);
    s.bandWidth = row.Float(kArwidthlist);
    s.grid = {row.Float(kArscalelist), row.Float(kArthresholdlist)};
    if (Texmap* map = row.Map(kArmaplist)) s.map = scene.sampler(map);
    s.densityFalloffPercent = row.Float(kArflafdenslist);
    s.scaleFalloffPercent = row.Float(kArflafscalist);
    s.invertFalloff = row.Bool(kArflinvlist);
    if (row.Bool(kArselspeclist)) s.geometry = row.Text(kArspeclist);
    s.item = {row.Float(kArzoffset), row.Int(kArboundchecklist)};
    if (!scene.surfaces.empty()) s.surfaces = SurfaceFlags(row, scene);
    return s;
}

// The lines of a spline, or the border of a mesh that stands in for one.
PolyShape ShapeOf(int row, INode& node, const TAreaScene& scene, TAreaCache& cache,
                  Interval* valid) {
    Object* object = node.GetObjectRef();
    if (!object) return {};
    *valid &= object->ObjectValidity(scene.time);
    auto* spline = dynamic_cast<ShapeObject*>(object);
    std::shared_ptr<const Mesh> mesh = spline ? nullptr : object->GetRenderMesh(scene.time);
    TAreaSource source;
    source.place = node.GetObjectTM(scene.time) * scene.worldToObject;
    if (spline) source.curves = spline->shape;
    if (mesh) source.placed = {{mesh, {}}};
    return cache
        .Get(row, 0, source,
             [&] {
                 TAreaOutline outline;
                 if (spline) outline.shape = spline->GetPolyShape(scene.time);
                 if (mesh) outline.shape = BorderOutline(*mesh);
                 outline.shape.Transform(source.place);
                 return outline;
             })
        .shape;
}

// A surface's outline; a closed one has none and gives the rectangle of its bounds.
PolyShape SurfaceOutline(const TSurfaceInput& surface) {
    PolyShape shape = BorderOutline(surface.array->GetMesh());
    if (shape.lines.empty()) {
        Box2 b = surface.array->GridBounds();
        if (b.IsEmpty()) return {};
        float top = surface.array->Bounds().max.z;
        shape.lines = {{{{b.min.x, b.min.y, top},
                         {b.max.x, b.min.y, top},
                         {b.max.x, b.max.y, top},
                         {b.min.x, b.max.y, top}},
                        true}};
    }
    shape.Transform(surface.toObject);
    return shape;
}

// One row a surface, each on its own surface only. Surfaces never exclude.
void AddSurfaceRows(const ListRow& row, const TAreaScene& scene, TAreaCache& cache,
                    std::vector<TAreaRow>& rows) {
    TAreaSettings settings = ReadSettings(row, scene);
    settings.exclude = false;
    std::vector<uint8_t> named = std::move(settings.surfaces);
    for (size_t s = 0; s < scene.surfaces.size(); ++s) {
        if (!named.empty() && !named[s]) continue;
        TAreaRow& area = rows.emplace_back();
        area.settings = settings;
        area.settings.surfaces.assign(scene.surfaces.size(), 0);
        area.settings.surfaces[s] = 1;
        TAreaSource source;
        source.placed = {{scene.surfaces[s].array, scene.surfaces[s].toObject}};
        area.shape = cache
                         .Get(row.Index(), int(s), std::move(source),
                              [&] {
                                  return TAreaOutline{SurfaceOutline(scene.surfaces[s]), {}};
                              })
                         .shape;
        area.oneGroup = true;
    }
}

void AddLineRow(const ListRow& row, const TAreaScene& scene, PolyShape shape,
                std::vector<TAreaRow>& rows) {
    if (shape.lines.empty()) return;
    TAreaRow& area = rows.emplace_back();
    area.settings = ReadSettings(row, scene);
    area.shape = std::move(shape);
    area.forceOpen = row.Bool(kArforceopenlist);
}

TFootprintRequest RequestOf(const ListRow& row, const TAreaScene& scene) {
    TFootprintRequest request;
    request.time = scene.time;
    request.worldToObject = scene.worldToObject;
    request.scale = row.Float(kArobscalelist) * 0.01f;
    if (row.Bool(kArslicelist)) request.top = row.Float(kArslicetoplist);
    request.itemMeshes = row.Int(kArshapelist) == 1;
    request.render = scene.render;
    return request;
}

int Resolution(const ListRow& row) {
    int wanted = row.Int(kArresollist);
    int usable = std::clamp(wanted, 1, TFootprintArea::kLargestResolution);
    if (usable != wanted)
        LogWarning(fmt::format("area \"{}\" asks for a resolution of {}; {} is used",
                               row.Text(kArnamelist), wanted, usable));
    return usable;
}

// Whether an area can be made of the other object's items at all.
bool MayUseItems(const TDravin& object, const TDravin& other, const ListRow& row) {
    const char* why = &other == &object ? "the object cannot exclude its own items"
                      : other.Build().IsRunning()
                          ? "the objects exclude each other's items in a ring"
                          : nullptr;
    if (why) LogWarning(fmt::format("area \"{}\" is left out: {}", row.Text(kArnamelist), why));
    return !why;
}

// What a scene object or the items of another scatter object cover; the latter only ever exclude.
void AddFootprintRow(const TDravin& object, const ListRow& row, INode& node,
                     const TAreaScene& scene, TAreaCache& cache, Interval* valid,
                     std::vector<TAreaRow>& rows) {
    auto* other = dynamic_cast<TDravin*>(node.GetObjectRef());
    if (other && !MayUseItems(object, *other, row)) return;
    TAreaRow area;
    area.settings = ReadSettings(row, scene);
    area.settings.alwaysFades = true;
    if (other) area.settings.exclude = true;

    TFootprintRequest request = RequestOf(row, scene);
    std::vector<TPlacedMesh> meshes;
    TAreaSource source;
    source.footprint = request;
    source.footprint->time = 0;  // meshes, items and places tell what it changes
    source.resolution = Resolution(row);
    source.depth = !area.settings.exclude;
    if (other) {
        BringUpToDate(*other, request, valid);
        source.place = node.GetObjectTM(scene.time) * scene.worldToObject;
        source.build = other->Build().BuildNumber();
    } else {
        meshes = PlacedMeshes(node, scene.time, valid);
        for (const TPlacedMesh& m : meshes) source.placed.emplace_back(m.mesh, m.toWorld);
    }
    area.footprint =
        cache
            .Get(row.Index(), 0, source,
                 [&] {
                     TFootprint footprint = other ? ItemsFootprint(*other, source.place, request)
                                                  : ObjectFootprint(meshes, request);
                     return TAreaOutline{
                         {},
                         std::make_shared<TFootprintArea>(footprint, source.resolution,
                                                          source.depth, scene.threads)};
                 })
            .footprint;
    if (!area.footprint->IsEmpty()) rows.push_back(std::move(area));
}

void AddRow(const TDravin& object, const ListRow& row, const TAreaScene& scene, TAreaCache& cache,
            Interval* valid, std::vector<TAreaRow>& rows) {
    int type = row.Int(kArtypelist);
    INode* node = row.Node(kArnodelist);
    bool items = node && dynamic_cast<TDravin*>(node->GetObjectRef());
    if (items || (type == kAreaObject && node))
        return AddFootprintRow(object, row, *node, scene, cache, valid, rows);
    if (type == kAreaSurface) AddSurfaceRows(row, scene, cache, rows);
    if (type == kAreaPaint && row.Paint()) AddLineRow(row, scene, row.Paint()->shape, rows);
    if (type == kAreaSpline && node)
        AddLineRow(row, scene, ShapeOf(row.Index(), *node, scene, cache, valid), rows);
}

}  // namespace

std::vector<TAreaRow> MakeAreaRows(const TDravin& object, const TAreaScene& scene,
                                   TAreaCache& cache, Interval* valid) {
    const IParamBlock2& block = object.Block(kAreaParams);
    if (scene.render) cache.Clear();
    cache.BeginBuild();
    std::vector<TAreaRow> rows;
    for (int i = 0; i < block.Count(kArnamelist); ++i) {
        ListRow row(block, i, scene.time, valid);
        if (row.Bool(kPfAractivelist)) AddRow(object, row, scene, cache, valid, rows);
    }
    cache.EndBuild();
    return rows;
}

bool HasSurfaceRow(const TDravin& object) {
    const IParamBlock2& block = object.Block(kAreaParams);
    for (int i = 0; i < block.Count(kArnamelist); ++i)
        if (ListRow(block, i, 0, nullptr).Int(kArtypelist) == kAreaSurface) return true;
    return false;
}

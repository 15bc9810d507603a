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

constexpr int kMostMaterialIds = 65536;  // of a face

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

TSurfaceFilter SurfaceFilter(const ListRow& row, const TAreaScene& scene) {
    TSurfaceFilter filter;
    TAreaSurfaces wanted = ParseAreaSurfaces(row.Text(kArsurfidlist));
    if (!wanted.materialIds.empty()) filter.materials.resize(1);  // ids that no face has allow none
    for (int id : wanted.materialIds) {
        if (id < 1 || id > kMostMaterialIds) continue;
        if (filter.materials.size() < size_t(id)) filter.materials.resize(size_t(id));
        filter.materials[size_t(id) - 1] = 1;
    }
    if (wanted.names.empty()) return filter;
    for (INode* node : scene.surfaceNodes)
        filter.surfaces.push_back(std::find(wanted.names.begin(), wanted.names.end(),
                                            node->GetName()) != wanted.names.end());
    if (std::find(filter.surfaces.begin(), filter.surfaces.end(), 1) == filter.surfaces.end())
        LogWarning(
            fmt::format("area \"{}\" places no items: none of the surfaces it names is one "
                        "of the object's",
                        row.Text(kArnamelist)));
    return filter;
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
    if (!scene.surfaces.empty()) s.surfaces = SurfaceFilter(row, scene);
    return s;
}

// A surface's outline; a closed one has none and gives the rectangle of its bounds.
PolyShape SurfaceOutline(const TSurfaceInput& surface) {
    PolyShape shape = surface.array->Outline();
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

int Resolution(const ListRow& row) {
    int wanted = row.Int(kArresollist);
    int usable = std::clamp(wanted, 1, TFootprintArea::kLargestResolution);
    if (usable != wanted)
        LogWarning(fmt::format("area \"{}\" asks for a resolution of {}; {} is used",
                               row.Text(kArnamelist), wanted, usable));
    return usable;
}

// Turns rows of the list into rows for the engine, one after the other.
class RowMaker {
public:
    RowMaker(const TDravin& object, const TAreaScene& scene, TAreaCache& cache, Interval* valid)
        : m_object(object), m_scene(scene), m_cache(cache), m_valid(valid) {}

    void Add(const ListRow& row) {
        int type = row.Int(kArtypelist);
        INode* node = row.Node(kArnodelist);
        auto* other = node ? dynamic_cast<TDravin*>(node->GetObjectRef()) : nullptr;
        if (other) return AddItems(row, *node, *other);
        if (type == kAreaObject && node) AddObject(row, *node);
        if (type == kAreaSurface) AddSurfaces(row);
        if (type == kAreaPaint && row.Paint()) AddLines(row, row.Paint()->shape);
        if (type == kAreaSpline && node) AddLines(row, ShapeOf(row, *node));
    }

    std::vector<TAreaRow> TakeRows() { return std::move(m_rows); }

private:
    // The lines of a spline, or the border of a mesh that stands in for one.
    PolyShape ShapeOf(const ListRow& row, INode& node) {
        Object* object = node.GetObjectRef();
        if (!object) return {};
        std::shared_ptr<Object> shown = object->Evaluated(m_scene.time, m_valid);
        auto* spline = dynamic_cast<ShapeObject*>(shown.get());
        auto heights = object->GetHeightField(m_scene.time);
        std::shared_ptr<const Mesh> mesh;
        if (!spline && !heights) mesh = object->GetRenderMesh(m_scene.time);
        TAreaSource source;
        source.place = node.GetObjectTM(m_scene.time) * m_scene.worldToObject;
        if (spline) source.curves = spline->shape;
        if (mesh) source.placed = {{mesh, {}}};
        if (heights) source.placed = {{heights, {}}};
        auto make = [&] {
            TAreaOutline outline;
            if (spline) outline.shape = spline->GetPolyShape(m_scene.time);
            if (mesh) outline.shape = BorderOutline(*mesh);
            if (heights) outline.shape = heights->Outline();
            outline.shape.Transform(source.place);
            return outline;
        };
        return m_cache.Get(row.Index(), 0, source, make).shape;
    }

    void AddLines(const ListRow& row, PolyShape shape) {
        if (shape.lines.empty()) return;
        TAreaRow& area = m_rows.emplace_back();
        area.settings = ReadSettings(row, m_scene);
        area.shape = std::move(shape);
        area.forceOpen = row.Bool(kArforceopenlist);
    }

    // One row a surface, each on its own surface only. Surfaces never exclude.
    void AddSurfaces(const ListRow& row) {
        TAreaSettings settings = ReadSettings(row, m_scene);
        settings.exclude = false;
        std::vector<uint8_t> named = std::move(settings.surfaces.surfaces);
        for (size_t s = 0; s < m_scene.surfaces.size(); ++s) {
            if (!named.empty() && !named[s]) continue;
            const TSurfaceInput& surface = m_scene.surfaces[s];
            TAreaRow& area = m_rows.emplace_back();
            area.settings = settings;
            area.settings.surfaces.surfaces.assign(m_scene.surfaces.size(), 0);
            area.settings.surfaces.surfaces[s] = 1;
            TAreaSource source;
            source.placed = {{surface.array, surface.toObject}};
            auto make = [&] { return TAreaOutline{SurfaceOutline(surface), {}}; };
            area.shape = m_cache.Get(row.Index(), int(s), std::move(source), make).shape;
            area.oneGroup = true;
        }
    }

    TFootprintRequest RequestOf(const ListRow& row) const {
        TFootprintRequest request;
        request.time = m_scene.time;
        request.worldToObject = m_scene.worldToObject;
        request.scale = row.Float(kArobscalelist) * 0.01f;
        if (row.Bool(kArslicelist)) request.top = row.Float(kArslicetoplist);
        request.itemMeshes = row.Int(kArshapelist) == 1;
        request.render = m_scene.render;
        return request;
    }

    // What a scene object covers.
    void AddObject(const ListRow& row, INode& node) {
        TFootprintRequest request = RequestOf(row);
        std::vector<TPlacedMesh> meshes = PlacedMeshes(node, m_scene.time, m_valid);
        TAreaSource source;
        for (const TPlacedMesh& m : meshes) source.placed.emplace_back(m.mesh, m.toWorld);
        AddFootprint(row, row.Bool(kArincexclist), request, std::move(source),
                     [&] { return ObjectFootprint(meshes, request); });
    }

    // What the items of another scatter object cover; they only ever exclude.
    void AddItems(const ListRow& row, INode& node, TDravin& other) {
        const char* why = nullptr;
        if (&other == &m_object)
            why = "the object cannot exclude its own items";
        else if (other.IsBuilding())
            why = "the objects exclude each other's items in a ring";
        if (why) {
            LogWarning(fmt::format("area \"{}\" is left out: {}", row.Text(kArnamelist), why));
            return;
        }
        TFootprintRequest request = RequestOf(row);
        BringUpToDate(other, request, m_valid);
        TAreaSource source;
        Matrix3 place = node.GetObjectTM(m_scene.time) * m_scene.worldToObject;
        source.place = place;
        source.build = other.Build().BuildNumber();
        AddFootprint(row, true, request, std::move(source),
                     [&] { return ItemsFootprint(other, place, request); });
    }

    template <class Draw>
    void AddFootprint(const ListRow& row, bool exclude, const TFootprintRequest& request,
                      TAreaSource source, const Draw& draw) {
        int resolution = source.resolution = Resolution(row);
        bool depth = source.depth = !exclude;
        source.footprint = request;
        source.footprint->time = 0;  // meshes, items and places tell what it changes
        auto make = [&] {
            auto area =
                std::make_shared<TFootprintArea>(draw(), resolution, depth, m_scene.threads);
            return TAreaOutline{{}, std::move(area)};
        };
        TAreaRow area;
        area.footprint = m_cache.Get(row.Index(), 0, std::move(source), make).footprint;
        if (area.footprint->IsEmpty()) return;
        area.settings = ReadSettings(row, m_scene);
        area.settings.alwaysFades = true;
        area.settings.exclude = exclude;
        m_rows.push_back(std::move(area));
    }

    const TDravin& m_object;
    const TAreaScene& m_scene;
    TAreaCache& m_cache;
    Interval* m_valid;
    std::vector<TAreaRow> m_rows;
};

}  // namespace

std::vector<TAreaRow> MakeAreaRows(const TDravin& object, const TAreaScene& scene,
                                   TAreaCache& cache, Interval* valid) {
    const IParamBlock2& block = object.Block(kAreaParams);
    if (scene.render) cache.Clear();
    cache.BeginBuild();
    RowMaker maker(object, scene, cache, valid);
    for (int i = 0; i < block.Count(kArnamelist); ++i) {
        ListRow row(block, i, scene.time, valid);
        if (row.Bool(kPfAractivelist)) maker.Add(row);
    }
    cache.EndBuild();
    return maker.TakeRows();
}

bool HasSurfaceRow(const TDravin& object) {
    const IParamBlock2& block = object.Block(kAreaParams);
    for (int i = 0; i < block.Count(kArnamelist); ++i)
        if (ListRow(block, i, 0, nullptr).Int(kArtypelist) == kAreaSurface) return true;
    return false;
}

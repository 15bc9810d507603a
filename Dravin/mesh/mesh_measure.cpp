#include "Dravin/mesh/mesh_measure.h"

#include <algorithm>

#include "Dravin/mesh/mesh_normals.h"
#include "Dravin/mesh/proxy_shapes.h"
#include "Dravin/mesh/shadow_planes.h"
#include "host/geom/mesh_tools.h"
#include "host/scene/material.h"

namespace {

class ShapeTable {
public:
    ShapeTable(const TSpecBuildList& specimens, TDravinMeshCache& meshes,
               const TObjectMeshSettings& settings, std::vector<TMeshShape>& shapes)
        : m_specimens(specimens), m_meshes(meshes), m_settings(settings), m_shapes(shapes) {}

    void UseProxyShape() {
        m_proxy = true;
        m_shapes.assign(1, {});
        m_shapes[0].mesh = m_shapes[0].mapping = &ProxyShapeMesh(m_settings.proxyShape);
    }
    void UseSources() {
        m_shapes.clear();
        for (size_t row = 0; row < m_specimens.NumRows(); ++row) {
            m_firstShape.push_back(m_shapes.size());
            const TSpecBuild& specimen = m_specimens.Row(row);
            for (const TSpecBuildNode& node : specimen.nodes) {
                TMeshShape first;
                first.sample = node.sample;
                first.mapping = node.sample->Source().get();
                m_shapes.push_back(first);
                first = {};
                first.isFurtherFrame = true;
                m_shapes.resize(m_shapes.size() + NumSamples(specimen) - 1, first);
            }
        }
        m_made.assign(m_shapes.size(), false);
    }

    // Number of the shape that an item shows; kNothing where it shows none.
    uint32_t ShapeOf(int32_t specimenIndex, int16_t element, int32_t frame) {
        if (m_proxy) return 0;
        size_t row = SpecimenRow(specimenIndex, m_specimens.NumRows());
        const TSpecBuild& specimen = m_specimens.Row(row);
        if (specimen.nodes.empty()) return TItemRange::kNothing;
        size_t node = uint16_t(element) % specimen.nodes.size(), samples = NumSamples(specimen);
        size_t f = size_t(std::clamp(frame, 0, int32_t(samples) - 1));
        size_t shape = m_firstShape[row] + node * samples + f;
        if (!m_made[shape]) Make(specimen, specimen.nodes[node], f, shape);
        return m_shapes[shape].mesh ? uint32_t(shape) : uint32_t{TItemRange::kNothing};
    }
    // Whether the row's source is a custom object, which renderers can show as instances.
    bool IsCustom(int32_t specimenIndex, int16_t element) const {
        const TSpecBuild& row = m_specimens.Row(SpecimenRow(specimenIndex, m_specimens.NumRows()));
        const TSpecBuildNode* node = row.Node(uint16_t(element));
        return node && node->source && node->entry.kind == kGeomCustom;
    }

private:
    static size_t NumSamples(const TSpecBuild& specimen) {
        return std::max<size_t>(1, specimen.frames.size());
    }
    // Sizes stay those of the first frame: what moves does not change the item.
    void Make(const TSpecBuild& specimen, const TSpecBuildNode& node, size_t frame, size_t number) {
        m_made[number] = true;
        if (!node.sample->Source()) return;
        TMeshShape& shape = m_shapes[number];
        if (frame > 0) {
            if (!node.source) return;
            shape.sample =
                m_meshes.Get(node.source.get(), specimen.FrameFirst(int(frame)), m_settings.time);
            if (!shape.sample->Source()) return;
        }
        const Matrix3& toUnit = node.sample->Size().normalize;
        if (shape.sample->Size().normalize != toUnit)
            shape.own = std::make_shared<Mesh>(TransformedMesh(*shape.sample->Source(), toUnit));
        shape.mesh = shape.own ? shape.own.get() : &shape.sample->UnitMesh();
        shape.mapping = shape.mesh;
        if (m_settings.consolidates) SetMaterialIds(node.ids, shape);
    }
    static void SetMaterialIds(const TConsolidatedIds& ids, TMeshShape& shape) {
        auto idOf = [](int id) { return uint16_t(std::min(id, 0xFFFF)); };
        shape.planeMaterialId = idOf(ids.OfMaterial(0));
        int highest = -1;
        for (const Face& face : shape.mesh->faces) highest = std::max(highest, int(face.matID));
        bool changes = false;
        for (int id = 0; id <= highest; ++id) {
            shape.materialIds.push_back(idOf(ids.OfFace(id)));
            changes |= shape.materialIds.back() != id;
        }
        if (!changes) shape.materialIds.clear();
    }

    const TSpecBuildList& m_specimens;
    TDravinMeshCache& m_meshes;
    const TObjectMeshSettings& m_settings;
    std::vector<TMeshShape>& m_shapes;
    bool m_proxy = false;
    std::vector<size_t> m_firstShape;  // by row
    std::vector<bool> m_made;
};

class Measure {
public:
    Measure(const TDravinItemList& items, const TObjectMeshSettings& settings, ShapeTable& shapes,
            TMeshMeasure& out)
        : m_items(items), m_settings(settings), m_shapes(shapes), m_out(out) {}

    // False where an adaptive mode has met too many faces.
    bool Run(TMeshMode mode) {
        m_mode = mode;
        m_out.ranges.assign(m_items.Count(), {});
        m_out.numVerts = m_out.numFaces = 0;
        m_out.hasPlanes = false;
        m_out.statistics = {};
        bool fits = true;
        ForEachItem(m_items, [&](size_t i, const TItemColumns& columns, size_t k) {
            fits = fits && Add(columns, k, m_out.ranges[i]);
        });
        return fits;
    }

private:
    bool Add(const TItemColumns& c, size_t k, TItemRange& range) {
        TObjectMeshStatistics& counts = m_out.statistics;
        ItemMarks& marks = c.marks[k];
        if (marks.Is(ItemMarks::kDiscarded)) return ++counts.discardedItems, true;
        if (IsInstanced(c.specimenIndex[k], marks.elementIndex)) {
            range.shape = TItemRange::kInstanced;
            marks.Set(ItemMarks::kVerticalShadow, false);
            marks.Set(ItemMarks::kHorizontalShadow, false);
            return ++counts.instancedItems, true;
        }
        if (m_mode == TMeshMode::kPointCloud && m_settings.renderMode != kRenderMeshes) return true;
        uint32_t shape = m_shapes.ShapeOf(c.specimenIndex[k], marks.elementIndex,
                                          c.looks ? c.looks[k].animationOffset : 0);
        if (shape == TItemRange::kNothing) return true;
        range = {uint32_t(m_out.numVerts), uint32_t(m_out.numFaces), shape, 0};
        ++counts.meshedItems;
        const Mesh& mesh = *m_out.shapes[shape].mesh;
        m_out.numVerts += mesh.verts.size();
        m_out.numFaces += mesh.faces.size();
        if (m_mode == TMeshMode::kAdaptive && m_out.numFaces > m_settings.adaptiveFaces)
            return false;
        uint64_t planes =
            marks.Is(ItemMarks::kVerticalShadow) + marks.Is(ItemMarks::kHorizontalShadow);
        m_out.numVerts += planes * kPlaneVerts;
        m_out.numFaces += planes * kPlaneFaces;
        m_out.hasPlanes |= planes > 0;
        return true;
    }
    bool IsInstanced(int32_t specimenIndex, int16_t element) const {
        return m_settings.render && m_settings.acceptsInstances && m_mode == TMeshMode::kFull &&
               m_settings.renderMode == kRenderAutomatic &&
               m_shapes.IsCustom(specimenIndex, element);
    }

    const TDravinItemList& m_items;
    const TObjectMeshSettings& m_settings;
    ShapeTable& m_shapes;
    TMeshMeasure& m_out;
    TMeshMode m_mode = TMeshMode::kFull;
};

}  // namespace

TMeshMeasure MeasureItems(const TDravinItemList& items, const TSpecBuildList& specimens,
                          TDravinMeshCache& meshes, const TObjectMeshSettings& settings) {
    TMeshMeasure out;
    if (specimens.NumRows() == 0) return out;
    ShapeTable shapes(specimens, meshes, settings, out.shapes);
    Measure measure(items, settings, shapes, out);
    TMeshMode mode = settings.mode;
    if (mode == TMeshMode::kProxy)
        shapes.UseProxyShape();
    else
        shapes.UseSources();
    if (measure.Run(mode)) {
        if (mode == TMeshMode::kAdaptive) mode = TMeshMode::kFull;
    } else {
        mode = TMeshMode::kProxy;
        shapes.UseProxyShape();
        measure.Run(mode);
    }
    PlaceNormals(items, out);
    out.statistics.mode = mode;
    out.statistics.faces = out.numFaces;
    return out;
}

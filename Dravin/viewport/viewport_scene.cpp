#include "Dravin/viewport/viewport_scene.h"

#include <algorithm>
#include <cmath>

#include "Dravin/dravin.h"
#include "Dravin/geometry/template_list.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/viewport/view_materials.h"
#include "Dravin/viewport/view_paint.h"
#include "Dravin/viewport/viewport_items.h"

namespace {

void ShowMesh(Object& object, INode& node, TimeValue t, TViewMaterials& materials, TViewNode* out) {
    if (auto heights = object.GetHeightField(t)) {
        out->kind = TViewKind::kTerrain;
        out->bounds = heights->Bounds();
        out->heights = std::move(heights);
    } else if (auto mesh = object.GetRenderMesh(t); mesh && !mesh->faces.empty()) {
        out->kind = TViewKind::kMesh;
        out->bounds = mesh->BoundingBox();
        out->mesh = std::move(mesh);
    } else {
        return;
    }
    size_t numIds = 1;
    if (out->mesh)
        for (const Face& face : out->mesh->faces) numIds = std::max(numIds, size_t(face.matID) + 1);
    materials.Prepare(node.GetShownMtl());
    out->material = materials.CopyOf(node.GetShownMtl());
    out->paints = PaintsOf(node.GetShownMtl(), numIds);
    if (!node.GetShownMtl())
        for (TViewPaint& paint : out->paints) paint.color = node.wireColor;
}

// The twelve edges of a box.
void ShowBox(const Box3& box, TViewNode* out) {
    out->mesh = nullptr;
    out->heights = nullptr;
    auto corner = [&](int bits) {
        return Point3{bits & 1 ? box.max.x : box.min.x, bits & 2 ? box.max.y : box.min.y,
                      bits & 4 ? box.max.z : box.min.z};
    };
    for (int from = 0; from < 8; ++from)
        for (int axis = 1; axis <= 4; axis *= 2)
            if (!(from & axis))
                out->lines.lines.push_back({{corner(from), corner(from | axis)}, false});
    out->kind = TViewKind::kLines;
}

void ShowParticles(const ParticleObject& particles, TViewNode* out) {
    constexpr float kArm = 0.5f;
    out->kind = TViewKind::kLines;
    for (const Particle& particle : particles.particles.Get()) {
        if (!particle.Exists()) continue;
        for (int axis = 0; axis < 3; ++axis) {
            Point3 arm;
            arm[axis] = kArm;
            out->lines.lines.push_back({{particle.position - arm, particle.position + arm}, false});
        }
    }
    out->bounds = out->lines.BoundingBox();
}

const TViewScatter* ScatterOf(const TViewportScene* before, NodeHandle handle) {
    if (!before) return nullptr;
    for (const TViewNode& node : before->Nodes())
        if (node.handle == handle) return node.scatter.get();
    return nullptr;
}

TViewNode ShowNode(INode& node, TimeValue t, int threads, const TViewportScene* before,
                   TViewMaterials& materials) {
    TViewNode out;
    Object* object = node.GetObjectRef();
    if (!object || node.IsHidden(t) || IsTemplateNode(node)) return out;
    std::shared_ptr<Object> modified;
    if (auto* derived = dynamic_cast<DerivedObject*>(object)) {
        modified = derived->Evaluated(t, nullptr);
        object = modified.get();
    }
    out.name = node.GetName();
    out.handle = node.GetHandle();
    out.isSelected = node.IsSelected();
    out.wire = node.wireColor;
    out.toWorld = node.GetObjectTM(t);
    if (auto* scatter = dynamic_cast<TDravin*>(object)) {
        ShowScatter(*scatter, node, t, threads, ScatterOf(before, out.handle), materials, &out);
    } else if (object->IsGeomObject()) {
        ShowMesh(*object, node, t, materials, &out);
        if (node.IsShownAsBox() && !out.bounds.IsEmpty()) ShowBox(out.bounds, &out);
    } else if (auto* shape = dynamic_cast<ShapeObject*>(object)) {
        out.kind = TViewKind::kLines;
        out.lines = shape->GetPolyShape(t);
        out.bounds = out.lines.BoundingBox();
    } else if (auto* particles = dynamic_cast<ParticleObject*>(object)) {
        ShowParticles(*particles, &out);
    } else if (auto* camera = dynamic_cast<CameraObject*>(object)) {
        out.kind = TViewKind::kCamera;
        out.slopeX = std::tan(camera->fovDegrees.At(t) * 0.0087266463f);
    } else if (object->IsLight()) {
        out.kind = TViewKind::kLight;
    } else {
        out.kind = TViewKind::kDummy;
    }
    return out;
}

// The outline of a node's outline modifier: lines of their own beside its spline, which are picked
// as the node.
TViewNode ShowOutline(INode& node, TimeValue t, const TViewNode& spline) {
    TViewNode out;
    const DLeaf* leaf = spline.kind == TViewKind::kLines ? DLeaf::Of(node, t) : nullptr;
    if (!leaf || !leaf->enabled || leaf->Outline().lines.empty()) return out;
    out.kind = TViewKind::kLines;
    out.name = spline.name;
    out.handle = spline.handle;
    out.wire = kViewOutline;
    out.toWorld = spline.toWorld;
    out.lines = leaf->Outline();
    out.bounds = out.lines.BoundingBox();
    return out;
}

// The first directional light is the sun.
TViewLight LightOf(Scene& scene, TimeValue t) {
    TViewLight out;
    const SceneRenderSettings& r = scene.render;
    out.sky.turbidity = r.skyTurbidity;
    out.sky.strength = r.skyStrength;
    out.sky.cloudCover = r.skyClouds;
    out.haze = {r.hazeVisibility, r.hazeScaleHeight, r.hazeBaseHeight};
    out.exposure = r.exposure;
    bool hasSun = false;
    for (INode* node : scene.Nodes()) {
        auto* light = dynamic_cast<LightObject*>(node->GetObjectRef());
        if (!light || node->IsHidden(t)) continue;
        Color color = light->color.At(t) * light->intensity.At(t);
        if (light->kind != LightKind::kDirectional || hasSun) {
            out.lights.push_back({light->kind, color, {}});
            continue;
        }
        hasSun = true;
        out.sun.direction = node->GetNodeTM(t).row[2];
        out.sun.filter = color;
    }
    return out;
}

}  // namespace

TViewportScene::TViewportScene(std::vector<TViewNode> nodes, TViewLight light, TimeValue time)
    : m_nodes(std::move(nodes)), m_light(std::move(light)), m_time(time) {
    uint32_t next = kNoId + 1;
    for (TViewNode& node : m_nodes) {
        node.firstId = next;
        // Ids beyond the last number stand for the node as a whole.
        node.numIds = std::min(node.numIds, 0xFFFFFFFFu - next);
        next += node.numIds;
        if (!node.bounds.IsEmpty()) m_bounds += node.toWorld.BoxTransform(node.bounds);
        if (node.scatter) m_numItems += node.scatter->Items().size();
    }
}

TViewportScene::Found TViewportScene::Find(uint32_t id) const {
    if (id == kNoId) return {};
    auto after = std::upper_bound(m_nodes.begin(), m_nodes.end(), id,
                                  [](uint32_t x, const TViewNode& n) { return x < n.firstId; });
    if (after == m_nodes.begin()) return {};
    const TViewNode& node = *(after - 1);
    uint32_t place = id - node.firstId;
    if (place >= node.numIds) return {};
    return {&node, place == 0 ? kNoItem : place - 1};
}

std::shared_ptr<const TViewportScene> MakeViewportScene(Scene& scene, TimeValue t, int threads,
                                                        const TViewportScene* before) {
    std::vector<TViewNode> nodes;
    TViewMaterials materials(t);
    for (INode* node : scene.Nodes()) {
        TViewNode shown = ShowNode(*node, t, threads, before, materials);
        TViewNode outline = ShowOutline(*node, t, shown);
        for (TViewNode* each : {&shown, &outline})
            if (each->kind != TViewKind::kNothing) nodes.push_back(std::move(*each));
    }
    materials.Finish();
    return std::make_shared<const TViewportScene>(std::move(nodes), LightOf(scene, t), t);
}

#include "apps/dravin/render_setup.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "Dravin/geometry/template_list.h"
#include "host/base/text.h"
#include "host/base/thread_pool.h"
#include "host/render/ray_tracer.h"

namespace {

constexpr float kDegreesToRadians = 0.017453292f;

INode* FindCamera(Scene& scene, const std::string& name) {
    if (!name.empty()) return scene.FindNode(name);
    if (scene.renderCamera) return scene.renderCamera.Get();
    for (INode* node : scene.Nodes())
        if (node->GetObjectRef() && node->GetObjectRef()->IsCamera()) return node;
    return nullptr;
}

bool IsShown(const INode& node) { return !node.IsHidden() && node.IsRenderable(); }

// A view from the south-west, down at 30 degrees, that holds the whole box.
RenderCamera CameraAround(const Box3& box) {
    RenderCamera camera;
    Point3 backward = Normalize(Point3{-0.5f, -0.8f, 0.55f});
    Point3 right = Normalize(CrossProd({0, 0, 1}, backward));
    float radius = std::max(Length(box.Width()) / 2, 1e-3f);
    float distance = radius / std::sin(camera.fovDegrees * kDegreesToRadians / 2);
    camera.transform = {
        {right, CrossProd(backward, right), backward, box.Center() + backward * distance}};
    return camera;
}

Box3 SceneBounds(const RenderScene& scene) {
    Box3 box;
    for (const RenderNode& node : scene.nodes)
        box += node.transform.BoxTransform(node.mesh->BoundingBox());
    for (const IInstanceSource* source : scene.sources) {
        std::vector<InstanceRecord> block(1024);
        for (size_t first = 0; first < source->NumInstances(); first += block.size()) {
            block.resize(std::min(block.size(), source->NumInstances() - first));
            source->GetInstances(first, block);
            for (const InstanceRecord& record : block) box += record.transform.GetTrans();
        }
    }
    if (box.IsEmpty()) box = {{-1, -1, -1}, {1, 1, 1}};
    return box;
}

// Scene-wide light and air, and the first directional light as the sun.
void SetLight(Scene& scene, TimeValue t, RenderScene& out) {
    const SceneRenderSettings& r = scene.render;
    out.sky.turbidity = r.skyTurbidity;
    out.sky.strength = r.skyStrength;
    out.sky.cloudCover = r.skyClouds;
    out.haze = {r.hazeVisibility, r.hazeScaleHeight, r.hazeBaseHeight};
    for (INode* node : scene.Nodes()) {
        auto* light = dynamic_cast<LightObject*>(node->GetObjectRef());
        if (!light || light->kind != LightKind::kDirectional || node->IsHidden()) continue;
        out.sun.direction = node->GetNodeTM(t).row[2];
        out.sun.filter = light->color * light->intensity;
        if (!light->shadows) PrintNote("the ray tracer's sun always casts shadows");
        return;
    }
}

// Meshes of all shown geometry nodes that are no scatter objects.
void AddMeshes(Scene& scene, TimeValue t, RenderSetup& setup) {
    for (INode* node : scene.Nodes()) {
        Object* object = node->GetObjectRef();
        if (!object || !IsShown(*node) || IsTemplateNode(*node)) continue;
        if (!object->IsGeomObject() || dynamic_cast<TDravin*>(object)) continue;
        std::shared_ptr<const Mesh> mesh = object->GetRenderMesh(t);
        if (!mesh || mesh->faces.empty()) continue;
        setup.scene.nodes.push_back({mesh.get(), node->GetShownMtl(), node->GetObjectTM(t)});
        setup.meshes.push_back(std::move(mesh));
    }
}

bool AddItems(Session& session, TimeValue t, int threads, RenderSetup& setup) {
    TBuildFlags flags;
    flags.render = true;
    flags.noMesh = true;
    flags.forceThreads = threads;
    for (INode* node : session.GetScene().Nodes()) {
        auto* object = dynamic_cast<TDravin*>(node->GetObjectRef());
        if (!object || !IsShown(*node)) continue;
        TDravinBuild& build = object->Build();
        build.BuildMesh(t, flags);
        TBuildStatus status = build.Status();
        bool good = status == TBuildStatus::kSuccess || status == TBuildStatus::kDisabled;
        if (!good) {
            TPanelMessage message = build.Message();
            PrintError(fmt::format("{}: status {}: {} {}", node->GetName(), int(status), message[0],
                                   message[1]));
            return false;
        }
        setup.sources.push_back(build.MakeInstanceSource());
        setup.scene.sources.push_back(setup.sources.back().get());
    }
    return true;
}

void SetCamera(Session& session, const std::string& name, TimeValue t, RenderSetup& setup) {
    Scene& scene = session.GetScene();
    INode* node = FindCamera(scene, name);
    if (node) {
        auto* camera = static_cast<CameraObject*>(node->GetObjectRef());
        setup.scene.camera = {node->GetNodeTM(t), camera->fovDegrees};
    } else if (std::optional<ViewState> view = scene.ActiveView(t)) {
        setup.scene.camera = {view->transform, view->fovDegrees};
    } else {
        setup.scene.camera = CameraAround(SceneBounds(setup.scene));
    }
}

// Maps of materials load their images before threads read them.
void UpdateMaps(const Mtl* mtl, TimeValue t) {
    if (!mtl) return;
    for (int i = 0; i < mtl->NumSubMtls(); ++i) UpdateMaps(mtl->GetSubMtl(i), t);
    auto* standard = dynamic_cast<const StandardMtl*>(mtl);
    if (!standard) return;
    for (Texmap* map : {standard->diffuseMap.Get(), standard->opacityMap.Get()}) {
        std::string error;
        if (map && !map->Update(t, &error)) PrintWarning(error);
    }
}

}  // namespace

bool CheckCamera(const Scene& scene, const std::string& name) {
    std::vector<std::string> cameras;
    for (const INode* node : scene.Nodes())
        if (node->GetObjectRef() && node->GetObjectRef()->IsCamera())
            cameras.push_back(node->GetName());
    if (name.empty() || std::find(cameras.begin(), cameras.end(), name) != cameras.end())
        return true;
    PrintError(
        fmt::format("--camera: the scene has no camera \"{}\"{}", name, DidYouMean(name, cameras)));
    return false;
}

std::optional<RenderSetup> SetUpRender(Session& session, const std::string& camera, TimeValue time,
                                       int threads) {
    RenderSetup setup;
    if (!AddItems(session, time, threads, setup)) return std::nullopt;
    AddMeshes(session.GetScene(), time, setup);
    for (const RenderNode& node : setup.scene.nodes) UpdateMaps(node.mtl, time);
    for (const IInstanceSource* source : setup.scene.sources)
        for (size_t p = 0; p < source->NumPrototypes(); ++p)
            UpdateMaps(source->PrototypeMtl(p), time);
    SetLight(session.GetScene(), time, setup.scene);
    SetCamera(session, camera, time, setup);
    const SceneRenderSettings& r = session.GetScene().render;
    setup.settings.width = r.width;
    setup.settings.height = r.height;
    setup.settings.samples = r.samples;
    setup.settings.exposure = r.exposure;
    setup.settings.threads = threads > 0 ? threads : NumProcessors();
    return setup;
}

ExitCode RenderToFile(const RenderSetup& setup, const std::string& output) {
    RenderOutcome outcome;
    {
        ProgressBar bar("rendering");
        outcome = RenderPicture(setup.scene, setup.settings, [&](float fraction) {
            bar.Update(fraction);
            return true;
        });
    }
    if (outcome.status != RenderStatus::kDone) {
        PrintError(outcome.error);
        return kExitFailed;
    }
    if (std::string error = WritePicture(output, outcome.picture); !error.empty()) {
        PrintError(error);
        return kExitNoOutput;
    }
    const RenderStatistics& s = outcome.statistics;
    PrintNote(fmt::format("{}: {} x {}, {} samples, {} instances, {:.1f} s", output,
                          setup.settings.width, setup.settings.height, setup.settings.samples,
                          s.numInstances, s.buildSeconds + s.traceSeconds));
    return kExitDone;
}

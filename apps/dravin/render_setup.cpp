#include "apps/dravin/render_setup.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "Dravin/geometry/template_list.h"
#include "apps/dravin/build_report.h"
#include "host/base/text.h"
#include "host/base/thread_pool.h"
#include "host/render/scanline/scanline_renderer.h"
#include "host/scene/renderers.h"

namespace {

constexpr float kDegreesToRadians = 0.017453292f;

INode* FindCamera(Scene& scene, const std::string& name) {
    if (!name.empty()) return scene.FindNode(name);
    if (scene.RenderCamera()) return scene.RenderCamera();
    for (INode* node : scene.Nodes())
        if (node->GetObjectRef() && node->GetObjectRef()->IsCamera()) return node;
    return nullptr;
}

bool IsShown(const INode& node, TimeValue t) { return !node.IsHidden(t) && node.IsRenderable(); }

Box3 SceneBounds(const RenderScene& scene) {
    Box3 box;
    for (const RenderNode& node : scene.nodes) box += node.Bounds();
    for (const IInstanceSource* source : scene.sources) {
        std::vector<Box3> boxes;
        for (size_t p = 0; p < source->NumPrototypes(); ++p)
            boxes.push_back(source->PrototypeMesh(p)->BoundingBox());
        std::vector<InstanceRecord> block(1024);
        for (size_t first = 0; first < source->NumInstances(); first += block.size()) {
            block.resize(std::min(block.size(), source->NumInstances() - first));
            source->GetInstances(first, block);
            for (const InstanceRecord& record : block)
                if (const Box3& own = boxes[record.prototype]; !own.IsEmpty())
                    box += record.transform.BoxTransform(own);
        }
    }
    if (box.IsEmpty()) box = {{-1, -1, -1}, {1, 1, 1}};
    return box;
}

LightShadow ShadowOf(const LightObject& light, const INode& node, TimeValue t) {
    return {light.shadows, light.shadowType.Get(), &light, node.GetNodeTM(t)};
}

// Scene-wide light and air, the first directional light as the sun, and all others.
void SetLight(Scene& scene, TimeValue t, RenderSetup& setup) {
    RenderScene& out = setup.scene;
    const SceneRenderSettings& r = scene.render;
    out.sky.turbidity = r.skyTurbidity;
    out.sky.strength = r.skyStrength;
    out.sky.cloudCover = r.skyClouds;
    out.haze = {r.hazeVisibility, r.hazeScaleHeight, r.hazeBaseHeight};
    for (INode* node : scene.Nodes()) {
        auto* light = dynamic_cast<LightObject*>(node->GetObjectRef());
        if (!light || node->IsHidden(t)) continue;
        LightShadow shadow = ShadowOf(*light, *node, t);
        Color color = light->color.At(t) * light->intensity.At(t);
        if (light->kind != LightKind::kDirectional || out.sun.shadow.light) {
            out.lights.push_back({light->kind, color, shadow});
            continue;
        }
        out.sun.direction = shadow.transform.row[2];
        out.sun.filter = color;
        out.sun.shadow = shadow;
    }
}

// Meshes of all shown geometry nodes that are no scatter objects.
void AddMeshes(Scene& scene, TimeValue t, RenderSetup& setup) {
    for (INode* node : scene.Nodes()) {
        Object* object = node->GetObjectRef();
        if (!object || !IsShown(*node, t) || IsTemplateNode(*node)) continue;
        if (!object->IsGeomObject() || dynamic_cast<TDravin*>(object)) continue;
        RenderNode shown{nullptr, node->GetShownMtl(), node->GetObjectTM(t), nullptr, node};
        if (auto heights = object->GetHeightField(t)) {
            shown.heights = heights.get();
            setup.heights.push_back(std::move(heights));
        } else if (auto mesh = object->GetRenderMesh(t); mesh && !mesh->faces.empty()) {
            shown.mesh = mesh.get();
            setup.meshes.push_back(std::move(mesh));
        } else {
            continue;
        }
        setup.scene.nodes.push_back(shown);
    }
}

ExitCode AddItems(Session& session, TimeValue t, const RenderOptions& options, RenderSetup& setup) {
    for (INode* node : session.GetScene().Nodes()) {
        auto object = std::dynamic_pointer_cast<TDravin>(node->ShareObjectRef());
        if (!object || !IsShown(*node, t)) continue;
        THostRender& render = setup.renders.emplace_back(object);
        TBuildStatus status{};
        WatchBuild({node, object.get()}, [&] { status = render.Begin(t); });
        bool isEmpty = status == TBuildStatus::kNoItems || status == TBuildStatus::kNoVisibleItems;
        if (isEmpty && options.allowEmpty)
            PrintNote(fmt::format("{}: no items", node->GetName()));
        else if (ExitCode code = ReportBuild({node, object.get()}, false); code != kExitDone)
            return code;
        for (std::unique_ptr<IInstanceSource>& source : render.TakeSources()) {
            if (std::string refusal = source->Refusal(); !refusal.empty()) {
                PrintError(refusal);
                return kExitLimit;
            }
            setup.scene.sources.push_back(source.get());
            setup.sources.push_back(std::move(source));
        }
    }
    return kExitDone;
}

// Needs the size of the picture.
void SetCamera(Session& session, const std::string& name, TimeValue t, RenderSetup& setup) {
    double aspect = double(setup.settings.width) / double(setup.settings.height);
    std::optional<RenderCamera> camera = NamedCamera(session.GetScene(), name, t);
    setup.scene.camera = camera ? *camera : CameraAround(SceneBounds(setup.scene), aspect);
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

std::optional<RenderCamera> NamedCamera(Scene& scene, const std::string& name, TimeValue t) {
    if (INode* node = FindCamera(scene, name)) {
        auto* camera = static_cast<CameraObject*>(node->GetObjectRef());
        return RenderCamera{node->GetNodeTM(t), camera->fovDegrees.At(t)};
    }
    std::optional<ViewState> view = scene.ActiveView(t);
    if (!view) return std::nullopt;
    return RenderCamera{view->transform, view->fovDegrees};
}

RenderCamera CameraAround(const Box3& box, double aspect) {
    RenderCamera camera;
    Point3 backward = Normalize(Point3{-0.5f, -0.8f, 0.55f});
    Point3 right = Normalize(CrossProd({0, 0, 1}, backward)), up = CrossProd(backward, right);
    constexpr float kMargin = 1.05f;
    float tanX = std::tan(camera.fovDegrees * kDegreesToRadians / 2), tanY = tanX / float(aspect);
    float distance = 1e-3f;
    for (int corner = 0; corner < 8; ++corner) {
        Point3 p{corner & 1 ? box.max.x : box.min.x, corner & 2 ? box.max.y : box.min.y,
                 corner & 4 ? box.max.z : box.min.z};
        p -= box.Center();
        float aside = std::max(std::abs(DotProd(p, right)) / tanX, std::abs(DotProd(p, up)) / tanY);
        distance = std::max(distance, DotProd(p, backward) + aside * kMargin);
    }
    camera.transform = {{right, up, backward, box.Center() + backward * distance}};
    return camera;
}

void ChooseRenderer(Session& session, const RenderOptions& options) {
    const std::string& wanted =
        options.renderer.empty() ? session.GetScene().render->renderer : options.renderer;
    auto& renderers = session.Host().State<Renderers>();
    renderers.SetCurrent(wanted == "scanline" ? kScanlineRendererId : kRayTracerId);
    // A still object keeps its items from frame to frame.
    renderers.wish = {options.threads, options.noLimit, options.frames.has_value()};
}

bool SetSize(Session& session, const RenderOptions& options, RenderSettings* settings) {
    const SceneRenderSettings& r = session.GetScene().render;
    settings->width = options.width.value_or(r.width);
    settings->height = options.height.value_or(r.height);
    settings->samples = options.samples.value_or(r.samples);
    settings->exposure = r.exposure;
    settings->threads = options.threads > 0 ? options.threads : NumProcessors();
    settings->noLimit = options.noLimit;
    std::string refusal = PictureRefusal(*settings);
    if (!refusal.empty()) PrintError(refusal);
    return refusal.empty();
}

ExitCode SetUpRender(Session& session, const RenderOptions& options, RenderSetup* out) {
    RenderSetup& setup = *out;
    TimeValue time = options.time.value_or(session.GetScene().GetTime());
    setup.scene.time = time;
    setup.isScanline = CurrentRendererId() == kScanlineRendererId;
    if (!SetSize(session, options, &setup.settings)) return kExitLimit;
    session.Host().notifications.Broadcast(HostNotify::kRenderPreEvalFrameInfo);
    if (ExitCode code = AddItems(session, time, options, setup); code != kExitDone) return code;
    AddMeshes(session.GetScene(), time, setup);
    SetLight(session.GetScene(), time, setup);
    SetCamera(session, options.camera, time, setup);
    return kExitDone;
}

ExitCode RenderWithProgress(const RenderSetup& setup, RenderOutcome* outcome) {
    {
        NoticePair drawing(HostNotify::kPreRenderFrame, HostNotify::kPostRenderFrame);
        ProgressBar bar("rendering");
        RenderProgress progress = [&](float fraction) { return bar.Update(fraction); };
        *outcome = setup.isScanline ? ScanlineRenderer(setup.scene).Render(setup.settings, progress)
                                    : RenderPicture(setup.scene, setup.settings, progress);
    }
    for (const std::string& problem : outcome->problems) PrintWarning(problem);
    if (outcome->status == RenderStatus::kDone) return kExitDone;
    PrintError(outcome->error);
    return outcome->status == RenderStatus::kRefused ? kExitLimit : kExitFailed;
}

ExitCode WriteRendered(const RenderSetup& setup, const RenderOutcome& outcome,
                       const std::string& output) {
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

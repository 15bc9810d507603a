#include "Dravin/build/camera_input.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/build/object_log.h"
#include "Dravin/dravin.h"
#include "host/base/log.h"
#include "host/math/degrees.h"
#include "host/params/hold.h"
#include "host/scene/host_context.h"

using namespace camParams;

namespace {

// Beyond them a view has no width, or no sides.
constexpr float kNarrowestFov = 0.01f, kWidestFov = 179;

float UsableFov(const INode& camera, float degrees) {
    float usable = degrees >= kNarrowestFov ? std::min(degrees, kWidestFov) : kNarrowestFov;
    if (usable != degrees)
        LogWarning(fmt::format("camera \"{}\" has a field of view of {} degrees; {} are used",
                               camera.GetName(), degrees, usable));
    return usable;
}

void SetView(const TParameters& p, const TCameraScene& scene, const Matrix3& cameraToWorld,
             float fovDegrees, TCameraState& state) {
    state.valid = true;
    state.positionWorld = cameraToWorld.GetTrans();
    state.toObject = cameraToWorld * scene.worldToObject;
    state.position = state.toObject.GetTrans();
    if (!state.hasLookAt) state.lookAt = state.position;
    TViewVolume::Shape shape;
    shape.fovRadians = fovDegrees * kDegreesToRadians;
    shape.aspect = scene.aspect;
    shape.far = p.Float(kCamfar);
    shape.widenPercent = float(p.Int(kCamwidth));
    shape.apexBehind = p.Float(kCambho);
    state.view = TViewVolume(shape, state.toObject);
}

void Assign(const TDravin& object, IParamBlock2& cam, ParamID id, const char* what, INode* node,
            const char* source) {
    if (cam.GetNode(id) == node) return;
    cam.SetValue(id, 0, node->shared_from_this());
    ObjectLog(
        object, LogKind::kDebug,
        fmt::format("CheckAutoCamera. Assigned {} from {}: '{}'", what, source, node->GetName()));
}

}  // namespace

bool UsesCamera(const IParamBlock2& cam) {
    bool faces = cam.GetBool(kUselookat) && (cam.GetNode(kLookat) || cam.GetBool(kCamlookat));
    return faces || cam.GetBool(kCamlimit) || cam.GetBool(kCamlod) || cam.GetBool(kCamdensact) ||
           cam.GetBool(kCamscaact);
}

TPreparedCamera PrepareCamera(const TParameters& p, const TCameraScene& scene, Interval* valid) {
    TPreparedCamera prepared;
    TCameraState& state = prepared.state;
    state.near = p.Float(kCamdensear);
    state.far = p.Float(kCamdensfar);
    state.lod = p.Bool(kCamlod);
    state.lodFromLookAt = p.Bool(kCamlodlookat);
    state.lodDistance = p.Float(kCamloddist);
    if (p.Node(kLookat)) {
        state.hasLookAt = true;
        state.lookAt = p.Node(kLookat)->GetNodeTM(scene.time).GetTrans() * scene.worldToObject;
    }
    if (!p.Node(kCamera)) {
        if (p.Bool(kCamdensact) || p.Bool(kCamscaact))
            LogWarning(
                "the falloffs by camera distance do nothing: no camera is set (see \"camera\")");
        if (scene.view) SetView(p, scene, scene.view->transform, scene.view->fovDegrees, state);
        return prepared;
    }

    // Another object than a camera lends its place only; it has no view to clip to.
    auto* camera = dynamic_cast<CameraObject*>(p.Node(kCamera)->GetObjectRef());
    if (!camera)
        LogWarning(
            fmt::format("\"{}\" in \"camera\" is no camera: it lends its place, but no view "
                        "to clip to",
                        p.Node(kCamera)->GetName()));
    if (camera) *valid &= camera->ObjectValidity(scene.time);
    float fov = camera ? UsableFov(*p.Node(kCamera), camera->fovDegrees.At(scene.time)) : 0;
    SetView(p, scene, p.Node(kCamera)->GetNodeTM(scene.time), fov, state);
    prepared.falloffs = true;
    state.limitActive = p.Bool(kCamlimit) && camera && !scene.noLimit;
    if (camera && p.Bool(kCamenvrange)) state.near = camera->envNear, state.far = camera->envFar;
    if (camera && p.Bool(kCamlodenvrange)) state.lodDistance = camera->envFar;
    return prepared;
}

void CheckAutoCamera(TDravin& object, const Scene& scene) {
    IParamBlock2& cam = object.Block(kCamParams);
    INode* camera = scene.RenderCamera();
    const char* source = camera ? "rendcam" : "view";
    if (!camera) camera = scene.ViewCamera();
    if (!camera || !cam.GetBool(kCamauto) || !UsesCamera(cam)) return;
    HoldSuspender noUndo(CurrentHold());
    NotifySuspender quiet(cam);
    Assign(object, cam, kCamera, "camera", camera, source);
    if (cam.GetBool(kCamlookat)) Assign(object, cam, kLookat, "lookat", camera, source);
}

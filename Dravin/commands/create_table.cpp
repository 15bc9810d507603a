// Commands that make nodes as somebody does with the mouse in a view. Scatter and LOD objects have
// theirs beside what else is done to them.
#include <cmath>

#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/command_values.h"
#include "Dravin/proxy/dproxy.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;
using Result = TCommandResult;

const TArgumentInfo kPosition = {"position", Kind::kPoint, "in the world"};
const TArgumentInfo kToward = {"toward", Kind::kPoint,
                               "what it looks at, in the world (default: straight down)"};

Result Add(TCommandCall& call, const char* name, std::shared_ptr<Object> object,
           const Matrix3& place) {
    INode* node = call.scene.AddNode(call.scene.UniqueNodeName(name), std::move(object));
    node->SetLocalTM(place);
    return Result::Value(ParamInput(node->GetName()));
}

// At a place, with its -Z axis toward another: what cameras and lights look along.
Matrix3 Looking(const TCommandCall& call) {
    Point3 from = call.Point("position");
    Matrix3 place = LookAtRotation(from, call.Point("toward", from - Point3{0, 0, 1}));
    place.SetTrans(from);
    return place;
}

Result CreateCamera(TCommandCall& call) {
    auto camera = std::make_shared<CameraObject>();
    double fov = call.Real("fov", camera->fovDegrees.At(0));
    if (!(fov > 0 && fov < 180))
        return Result::Error("a camera sees more than 0 and less than 180 degrees");
    camera->fovDegrees = float(fov);
    return Add(call, "Camera", camera, Looking(call));
}

Result CreateLight(TCommandCall& call) {
    auto light = std::make_shared<LightObject>();
    std::string kind = call.Text("kind", "point");
    light->kind = kind == "point"  ? LightKind::kPoint
                  : kind == "spot" ? LightKind::kSpot
                                   : LightKind::kDirectional;
    double intensity = call.Real("intensity", 1);
    if (!(intensity >= 0) || !std::isfinite(intensity))
        return Result::Error("a light's intensity is 0 or more");
    light->intensity = float(intensity);
    return Add(call, "Light", light, Looking(call));
}

Result CreateProxy(TCommandCall& call) {
    auto proxy = std::make_shared<DProxy>();
    if (call.Has("source")) {
        INode* source = call.scene.FindNode(call.Text("source"));
        if (!source)
            return Result::Error(fmt::format("the scene has no node \"{}\"", call.Text("source")));
        proxy->source = std::static_pointer_cast<INode>(source->shared_from_this());
    }
    return Add(call, "DProxy", proxy, Matrix3::Translation(call.Point("position")));
}

// The pivot comes to the middle of the points.
Result CreateSpline(TCommandCall& call) {
    std::vector<Point3> points;
    bool isClosed = call.Bool("closed");
    if (!ReadPlaces(call.Value("points"), &points) || points.size() < (isClosed ? 3u : 2u))
        return Result::Error(
            fmt::format("\"points\" takes [[x, y, z], ...], {} or more", isClosed ? 3 : 2));
    Point3 middle;
    for (const Point3& p : points) middle += p * (1.f / float(points.size()));
    BezierSpline spline;
    spline.closed = isClosed;
    for (const Point3& p : points) spline.knots.push_back({p - middle, {}, {}});
    auto shape = std::make_shared<ShapeObject>();
    shape->shape = BezierShape{{spline}};
    return Add(call, "Spline", shape, Matrix3::Translation(middle));
}

}  // namespace

void AddCreateCommands(TCommandTable& table) {
    table.Add({"camera.create",
               "Create Camera",
               "Makes a camera; gives its node's name.",
               TCommandTarget::kScene,
               {kPosition, kToward, {"fov", Kind::kReal, "degrees across (default: 45)"}},
               CreateCamera});
    table.Add(
        {"light.create",
         "Create Light",
         "Makes a light; gives its node's name.",
         TCommandTarget::kScene,
         {{"kind", Kind::kText, "point when left out", false, {"point", "spot", "directional"}},
          kPosition,
          kToward,
          {"intensity", Kind::kReal, "from 0 (default: 1)"}},
         CreateLight});
    table.Add({"proxy.create",
               "Create Proxy",
               "Makes a stand-in for renderers; scene files leave it out. Gives its node's name.",
               TCommandTarget::kScene,
               {kPosition, {"source", Kind::kText, "node whose mesh it hands out"}},
               CreateProxy});
    table.Add({"spline.create",
               "Create Spline",
               "Makes a spline of straight segments; gives its node's name.",
               TCommandTarget::kScene,
               {{"points", Kind::kValue, "[[x, y, z], ...] in the world", true},
                {"closed", Kind::kBool, "true: the last point is joined with the first"}},
               CreateSpline});
}

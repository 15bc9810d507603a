#include "apps/studio/tools/view_places.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Dravin/viewport/viewport_picking.h"

std::optional<Point3> PlaceOn(const TViewportScene& scene, const ViewportWidget& view,
                              QPointF pixel,
                              const std::function<bool(const TViewNode&)>& isWanted) {
    ViewRequest request;
    request.camera = view.Camera();
    for (const TViewHit& hit : HitTest(scene, request.camera, int(std::floor(pixel.x())),
                                       int(std::floor(pixel.y())), SettingsOf(request)))
        if (const TViewNode* node = scene.Find(hit.id).node; node && isWanted(*node))
            return PlaceAtDepth(request.camera, float(pixel.x()), float(pixel.y()), hit.depth);
    return std::nullopt;
}

std::optional<Point3> PlaceOnGrid(ViewportWidget& view, QPointF pixel) {
    constexpr float kFarthest = 1e4f;  // distances of what the view turns around
    ViewRay ray = RayThrough(view.Camera(), float(pixel.x()), float(pixel.y()));
    const ViewPose& pose = view.Navigation().Pose();
    bool isUpright = pose.side == ViewSide::kFront || pose.side == ViewSide::kBack;
    bool isAside = pose.side == ViewSide::kLeft || pose.side == ViewSide::kRight;
    int axis = isUpright ? 1 : isAside ? 0 : 2;
    float slope = ray.direction[axis];
    float along = slope != 0 ? -ray.origin[axis] / slope : -1;
    if (!(along >= 0) || along > kFarthest * pose.distance) return std::nullopt;
    Point3 place = ray.origin + ray.direction * along;
    place[axis] = 0;
    return place;
}

Point3 GroundNormal(const TViewportScene& scene, const Point3& place,
                    const std::function<bool(const TViewNode&)>& isWanted) {
    constexpr float kPitch = 2e-3f;  // of the surfaces' size, between places that are compared
    constexpr int kSide = 3;
    std::vector<TViewNode> nodes;
    for (const TViewNode& node : scene.Nodes())
        if (isWanted(node)) nodes.push_back(node);
    TViewportScene ground(std::move(nodes));
    if (ground.Bounds().IsEmpty()) return {0, 0, 1};
    // A picture of nine pixels from straight above.
    float pitch = std::max(kPitch * Length(ground.Bounds().Width()), 1e-4f);
    Matrix3 above = Matrix3::Translation({place.x, place.y, ground.Bounds().max.z + pitch});
    float extent = ground.Bounds().max.z - ground.Bounds().min.z + 2 * pitch;
    auto camera = TViewportCamera::Parallel(above, kSide * pitch, kSide, kSide, extent);
    TViewportSettings settings;
    settings.showsGrid = false;
    std::vector<float> nearness;
    DrawViewportIds(ground, camera, settings, &nearness);
    auto height = [&](int x, int y) { return (nearness[size_t(y * kSide + x)] - 1) * extent; };
    for (int i : {1, 3, 5, 7})
        if (nearness[size_t(i)] <= 0) return {0, 0, 1};
    Point3 right{2 * pitch, 0, height(2, 1) - height(0, 1)};
    Point3 ahead{0, 2 * pitch, height(1, 0) - height(1, 2)};
    return Normalize(CrossProd(right, ahead));
}

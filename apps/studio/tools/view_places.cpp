#include "apps/studio/tools/view_places.h"

#include <cmath>

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

#include "Dravin/viewport/cloud_rule.h"

#include <algorithm>
#include <cmath>

TItemRectangle ItemRectangle(const TViewportCamera& camera, const Box3& box) {
    TItemRectangle out;
    uint32_t all = 31, any = 0;
    Box2 screen;
    for (int i = 0; i < 8; ++i) {
        Point3 view = camera.ToView(box[i]);
        uint32_t sides = camera.Sides(view);
        all &= sides, any |= sides;
        if (sides & TViewportCamera::kBehind) continue;
        TScreenPoint p = camera.ToScreen(view);
        screen += Point2{p.x, p.y};
    }
    if (all) return out;
    out.isHidden = false;
    if (any & TViewportCamera::kBehind)
        screen = {{0, 0}, {float(camera.Width()), float(camera.Height())}};
    auto pixel = [](float at, int size) {
        return at > 0 ? int(std::min(at, float(size - 1))) : 0;  // of what is no place: 0
    };
    out.left = pixel(screen.min.x, camera.Width());
    out.right = pixel(screen.max.x, camera.Width());
    out.top = pixel(screen.min.y, camera.Height());
    out.bottom = pixel(screen.max.y, camera.Height());
    out.area = uint32_t(out.right - out.left + 1) * uint32_t(out.bottom - out.top + 1);
    return out;
}

float DotsPerPixel(float density, bool isNavigating) {
    constexpr float kDots = 0.05f, kNavigating = 3;
    return density * kDots / (isNavigating ? kNavigating : 1);
}

int NumDots(uint32_t area, float dotsPerPixel, bool isHitTest) {
    constexpr auto kMost = float(TMeshCloud::kNumPoints);
    int dots = int(std::min(float(area) * dotsPerPixel, 2 * kMost));
    if (isHitTest) dots /= 2;
    return std::clamp(dots, 1, int(kMost));
}

Color InstanceColor(const TViewScatter& scatter, const TViewItem& item, Color color) {
    if (scatter.isEdited && (item.flags & TViewItem::kSelected)) return scatter.palette[0];
    constexpr float kByte = 1 / 255.f;
    float amount = float(item.tintAmount) * kByte;
    Color tint{float(item.tint[0]), float(item.tint[1]), float(item.tint[2])};
    return tint * kByte * color * amount + color * (1 - amount);
}

Color DotColor(const TViewScatter& scatter, const TViewItem& item, const TMeshCloudPoint& point) {
    const TViewPrototype& prototype = scatter.prototypes[item.prototype];
    Color color = scatter.usesIdColor
                      ? prototype.idColor
                      : scatter.palette[prototype.palette[point.matID % prototype.palette.size()]];
    color = InstanceColor(scatter, item, color);
    constexpr float kNoShade = 0.0001f;
    float shade = scatter.dotShade;
    return shade > kNoShade ? color * (shade * point.shade + 1 - shade) : color;
}

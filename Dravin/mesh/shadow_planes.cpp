#include "Dravin/mesh/shadow_planes.h"

namespace {

Point3 Across(const TDravinItem& item) {
    return {-item.shadowDirection.y, item.shadowDirection.x, 0};
}

}  // namespace

TShadowPlane VerticalShadowPlane(const TDravinItem& item, const TObjectMeshSettings& settings) {
    float center = float(item.centerPercent) * 0.01f;
    if (item.mirrored) center = 1 - center;
    float offset = settings.shadowOffset / 100;
    Point3 base =
        item.position - Point3{item.shadowDirection.x * offset, item.shadowDirection.y * offset, 0};
    Point3 left = base - Across(item) * (item.width * center);
    Point3 right = base + Across(item) * (item.width * (1 - center));
    Point3 up{0, 0, item.height};
    TShadowPlane plane{{left, left + up, right + up, right}, {{2, 3, 0}, {0, 1, 2}}};
    if (item.mirrored) plane.mapFaces[0] = {3, 2, 1}, plane.mapFaces[1] = {1, 0, 3};
    return plane;
}

TShadowPlane HorizontalShadowPlane(const TDravinItem& item, const TObjectMeshSettings& settings) {
    Point3 center = item.position;
    center.z += item.height * float(settings.horizontalOffset) / 100;
    float reach = item.width / 2 * float(settings.horizontalScale) / 100;
    Point3 ahead = Point3{item.shadowDirection.x, item.shadowDirection.y, 0} * reach;
    Point3 aside = Across(item) * reach;
    return {{center - ahead - aside, center - ahead + aside, center + ahead + aside,
             center + ahead - aside},
            {{0, 3, 2}, {2, 1, 0}}};
}

#include "Dravin/engine/camera.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kSmallestRange = 0.0001f;
constexpr float kWidestView = 3.1414f;  // radians; at half a turn the sides have no direction

float CurveAt(const FalloffCurve& curve, const TCameraState& camera, const Point3& position) {
    return EvalFalloffCurve(&curve, PlaceInFalloff(camera, position), false) * 0.01f;
}

}  // namespace

float PlaceInFalloff(const TCameraState& camera, const Point3& position) {
    float dx = camera.position.x - position.x, dy = camera.position.y - position.y;
    float distance = std::sqrt(dx * dx + dy * dy);
    return (distance - camera.near) / (camera.far - camera.near);
}

TViewVolume::TViewVolume(const Shape& shape, const Matrix3& toObject) {
    float fov = std::min(shape.fovRadians, kWidestView);  // keeps what is no number
    float halfWidth = std::tan(fov * 0.5f) * shape.far;
    halfWidth = halfWidth + shape.widenPercent * halfWidth * 0.01f;
    float halfHeight = halfWidth / shape.aspect;
    Point3 apex = Point3{0, 0, shape.apexBehind} * toObject;
    Point3 topLeft = Point3{-halfWidth, halfHeight, -shape.far} * toObject;
    Point3 topRight = Point3{halfWidth, halfHeight, -shape.far} * toObject;
    Point3 bottomLeft = Point3{-halfWidth, -halfHeight, -shape.far} * toObject;
    Point3 bottomRight = Point3{halfWidth, -halfHeight, -shape.far} * toObject;
    for (const Point3& p : {apex, topLeft, topRight, bottomLeft, bottomRight}) m_bounds += p;

    // A mirrored space turns the products round.
    float inward = toObject.Determinant() < 0 ? -1.0f : 1.0f;
    auto plane = [&](const Point3& a, const Point3& b, const Point3& through) {
        Point3 normal = Normalize(CrossProd(a, b)) * inward;
        return Plane{normal, -DotProd(normal, through)};
    };
    m_planes = {plane(topLeft - apex, topRight - apex, apex),
                plane(bottomRight - apex, bottomLeft - apex, apex),
                plane(bottomLeft - apex, topLeft - apex, apex),
                plane(topRight - apex, bottomRight - apex, apex),
                plane(topLeft - topRight, bottomLeft - topRight, topRight)};
    // Without width the planes would let everything pass.
    if (!(halfWidth > 0)) m_planes[0] = {{0, 0, 0}, -1};
}

bool CameraDensityDrop(const TCameraState& camera, const Point3& position, float r) {
    return camera.densityCurve && CurveAt(*camera.densityCurve, camera, position) <= r;
}

float CameraScaleFactor(const TCameraState& camera, const Point3& position) {
    if (!camera.scaleCurve || !(camera.far - camera.near > kSmallestRange)) return 1;
    return CurveAt(*camera.scaleCurve, camera, position);
}

#include "apps/studio/viewport/view_navigation.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr float kHalfTurn = std::numbers::pi_v<float>, kQuarterTurn = kHalfTurn / 2;
constexpr float kTurnPerPixel = 0.007f;
constexpr float kNearest = 0.002f;  // of the distance
constexpr float kLeastDistance = 1e-4f, kMostDistance = 1e9f;
constexpr size_t kMostPoses = 100;

}  // namespace

Matrix3 ViewPose::Transform() const {
    Point3 backward{std::sin(yaw) * std::cos(pitch), -std::cos(yaw) * std::cos(pitch),
                    std::sin(pitch)};
    Point3 right{std::cos(yaw), std::sin(yaw), 0};
    return {{right, CrossProd(backward, right), backward, target + backward * distance}};
}

ViewRay RayThrough(const TViewportCamera& camera, float x, float y) {
    Matrix3 fromView = Inverse(camera.Transform());
    float u = (2 * x / float(camera.Width()) - 1) * camera.SlopeX();
    float v = (1 - 2 * y / float(camera.Height())) * camera.SlopeY();
    if (camera.IsParallel())
        return {Point3{u, v, 0} * fromView, Normalize(fromView.row[2] * -1.0f)};
    return {fromView.row[3], Normalize(fromView.VectorTransform({u, v, -1}))};
}

Point3 PlaceAtDepth(const TViewportCamera& camera, float x, float y, float depth) {
    ViewRay ray = RayThrough(camera, x, y);
    float along = -camera.Transform().VectorTransform(ray.direction).z;
    float start = -camera.ToView(ray.origin).z;
    return ray.origin + ray.direction * ((depth - start) / along);
}

TViewportCamera ViewNavigation::Camera(int width, int height, const Box3& bounds) const {
    Matrix3 transform = m_pose.Transform();
    if (!m_pose.isParallel) {
        float fov = 2 * std::atan(m_pose.slope) * 180 / kHalfTurn;
        return {transform, fov, width, height, m_pose.distance * kNearest};
    }
    float reach = m_pose.distance;
    if (!bounds.IsEmpty())
        reach += Length(bounds.Width()) + Length(bounds.Center() - m_pose.target);
    transform.row[3] = m_pose.target + transform.row[2] * reach;
    return TViewportCamera::Parallel(transform, 2 * m_pose.slope * m_pose.distance, width, height,
                                     2 * reach);
}

void ViewNavigation::Turn(float dx, float dy) {
    m_pose.yaw = std::remainder(m_pose.yaw - dx * kTurnPerPixel, 2 * kHalfTurn);
    m_pose.pitch = std::clamp(m_pose.pitch + dy * kTurnPerPixel, -kQuarterTurn, kQuarterTurn);
    m_pose.side = ViewSide::kUser;
}

void ViewNavigation::Orbit(float dx, float dy, const Point3& pivot) {
    Matrix3 before = m_pose.Transform();
    Point3 arm = m_pose.target - pivot;
    Point3 local{DotProd(arm, before.row[0]), DotProd(arm, before.row[1]),
                 DotProd(arm, before.row[2])};
    Turn(dx, dy);
    Matrix3 after = m_pose.Transform();
    after.row[3] = pivot;
    m_pose.target = local * after;
}

void ViewNavigation::Pan(float dx, float dy, int width) {
    float unit = 2 * m_pose.slope * m_pose.distance / float(width);
    Matrix3 t = m_pose.Transform();
    m_pose.target += t.row[1] * (dy * unit) - t.row[0] * (dx * unit);
}

void ViewNavigation::Zoom(float factor, const Point3& fixed) {
    float distance = std::clamp(m_pose.distance * factor, kLeastDistance, kMostDistance);
    factor = distance / m_pose.distance;
    m_pose.target = fixed + (m_pose.target - fixed) * factor;
    m_pose.distance = distance;
}

Point3 ViewNavigation::PlaceAt(float x, float y, int width, int height) const {
    float unit = 2 * m_pose.slope * m_pose.distance / float(width);
    Matrix3 t = m_pose.Transform();
    return m_pose.target + t.row[0] * ((x - float(width) / 2) * unit) -
           t.row[1] * ((y - float(height) / 2) * unit);
}

void ViewNavigation::Frame(const Box3& box, int width, int height) {
    if (box.IsEmpty()) return;
    float radius = std::max(Length(box.Width()) / 2, kLeastDistance);
    float slope = m_pose.slope * std::min(1.f, float(height) / float(width));
    m_pose.target = box.Center();
    // The ball touches the sides of the view.
    m_pose.distance = m_pose.isParallel ? radius / slope : radius / std::sin(std::atan(slope));
}

void ViewNavigation::SetSide(ViewSide side) {
    m_pose.side = side;
    m_pose.isParallel = side != ViewSide::kUser;
    auto look = [this](float yaw, float pitch) { m_pose.yaw = yaw, m_pose.pitch = pitch; };
    switch (side) {
        case ViewSide::kUser:
            return;
        case ViewSide::kFront:
            return look(0, 0);
        case ViewSide::kBack:
            return look(kHalfTurn, 0);
        case ViewSide::kLeft:
            return look(-kQuarterTurn, 0);
        case ViewSide::kRight:
            return look(kQuarterTurn, 0);
        case ViewSide::kTop:
            return look(0, kQuarterTurn);
        case ViewSide::kBottom:
            return look(0, -kQuarterTurn);
    }
}

void ViewNavigation::Look(float dx, float dy) {
    Point3 eye = m_pose.Transform().row[3];
    Turn(dx, dy);
    m_pose.target = eye - m_pose.Transform().row[2] * m_pose.distance;
}

void ViewNavigation::Walk(float right, float ahead, float up) {
    Matrix3 t = m_pose.Transform();
    m_pose.target += t.row[0] * right - t.row[2] * ahead + Point3{0, 0, up};
}

void ViewNavigation::LookFrom(const Matrix3& camera, float slope) {
    Point3 backward = Normalize(camera.row[2]);
    m_pose.pitch = std::asin(std::clamp(backward.z, -1.f, 1.f));
    bool isUpright = std::abs(backward.z) < 0.9999f;
    m_pose.yaw = isUpright ? std::atan2(backward.x, -backward.y)
                           : std::atan2(camera.row[0].y, camera.row[0].x);
    m_pose.slope = slope;
    m_pose.isParallel = false, m_pose.side = ViewSide::kUser;
    m_pose.target = camera.row[3] - m_pose.Transform().row[2] * m_pose.distance;
}

void ViewNavigation::Remember() {
    if (!m_back.empty() && m_back.back() == m_pose) return;
    m_back.push_back(m_pose);
    if (m_back.size() > kMostPoses) m_back.erase(m_back.begin());
    m_forward.clear();
}

bool ViewNavigation::GoBack() {
    if (m_back.empty()) return false;
    m_forward.push_back(m_pose);
    m_pose = m_back.back();
    m_back.pop_back();
    return true;
}

bool ViewNavigation::GoForward() {
    if (m_forward.empty()) return false;
    m_back.push_back(m_pose);
    m_pose = m_forward.back();
    m_forward.pop_back();
    return true;
}

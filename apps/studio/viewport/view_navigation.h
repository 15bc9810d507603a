// How a hand moves through a scene: a turntable around a target, its horizon always level.
//
// Angles are radians. Yaw 0 looks along +y, and turns counter-clockwise seen from above; pitch 90
// degrees looks straight down. Lengths on the screen are the units of the caller's pixels.
#pragma once

#include <vector>

#include "Dravin/viewport/viewport_camera.h"

enum class ViewSide { kUser, kFront, kBack, kLeft, kRight, kTop, kBottom };

struct ViewPose {
    Point3 target;
    float yaw = 0.6f, pitch = 0.5f;
    float distance = 10;    // of the eye from the target, above 0
    float slope = 0.4142f;  // half the width of the view at distance 1
    bool isParallel = false;
    ViewSide side = ViewSide::kUser;
    friend bool operator==(const ViewPose&, const ViewPose&) = default;

    // Rows: right, up, backward, and the eye.
    Matrix3 Transform() const;
};

// A line of sight, world space; direction of unit length.
struct ViewRay {
    Point3 origin, direction;
};
ViewRay RayThrough(const TViewportCamera& camera, float x, float y);
// The place on it at a depth along the camera's axis.
Point3 PlaceAtDepth(const TViewportCamera& camera, float x, float y, float depth);

class ViewNavigation {
public:
    const ViewPose& Pose() const { return m_pose; }
    void SetPose(const ViewPose& pose) { m_pose = pose; }
    // bounds: of the scene, so that a parallel view shows all of its depth.
    TViewportCamera Camera(int width, int height, const Box3& bounds) const;

    // Around a place that keeps its own on the screen. dx, dy: of the pointer, y down.
    void Orbit(float dx, float dy, const Point3& pivot);
    // The target follows the pointer. width: of the view.
    void Pan(float dx, float dy, int width);
    // The distance to `fixed`, which keeps its place on the screen, becomes factor times as long.
    void Zoom(float factor, const Point3& fixed);
    // The place under the pointer, at the depth of the target.
    Point3 PlaceAt(float x, float y, int width, int height) const;
    // Shows a box whole; an empty one changes nothing.
    void Frame(const Box3& box, int width, int height);
    // Looks from a side, in parallel projection; kUser goes back to perspective.
    void SetSide(ViewSide side);
    void SetParallel(bool isParallel) { m_pose.isParallel = isParallel; }
    // The eye stays where it is and turns its head. dx, dy: of the pointer, y down.
    void Look(float dx, float dy);
    // The eye moves, with what it turns around: to the right, ahead, and up in the world.
    void Walk(float right, float ahead, float up);
    // From a camera's place; a roll is left out. slope: half the width of its view at distance 1.
    void LookFrom(const Matrix3& camera, float slope);

    // Before a movement that may be taken back.
    void Remember();
    bool GoBack();
    bool GoForward();

private:
    // By a drag of the pointer; the horizon stays level.
    void Turn(float dx, float dy);

    ViewPose m_pose;
    std::vector<ViewPose> m_back, m_forward;
};

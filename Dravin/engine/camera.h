// What a camera does to items: clip them to its view, thin them out and shrink them with distance.
//
// Made once before the build and read by all its threads. Positions and planes are in the space of
// the scatter object. The distances of the falloffs are horizontal: a camera high above the items
// acts like one on the ground below it.
#pragma once

#include <array>

#include "Dravin/engine/falloff_curve.h"
#include "host/math/box.h"
#include "host/math/matrix3.h"

// The volume that a camera sees: four sides from an apex, and a far plane. There is no near plane.
class TViewVolume {
public:
    struct Shape {
        float fovRadians = 0;  // horizontal; 0 or no number sees nothing, half a turn is the most
        float aspect = 1;      // width over height
        float far = 100000;
        float widenPercent = 0;  // of the half width, so that nothing flashes at the edges
        float apexBehind = 0;    // how far the apex stands behind the camera
    };

    TViewVolume() = default;
    // cameraToObject: of a camera that looks along its -Z axis. It may mirror or scale.
    TViewVolume(const Shape& shape, const Matrix3& cameraToObject);

    // A point on a plane is inside.
    bool Contains(const Point3& p) const {
        for (const Plane& plane : m_planes)
            if (!(DotProd(plane.normal, p) + plane.offset >= 0)) return false;
        return true;
    }
    // Box of the apex and the four far corners.
    const Box3& Bounds() const { return m_bounds; }

private:
    struct Plane {
        Point3 normal;  // unit, towards the inside
        float offset = 0;
    };
    std::array<Plane, 5> m_planes;  // top, bottom, left, right, far
    Box3 m_bounds;
};

struct TCameraState {
    bool valid = false;  // there is a camera, or a view that stands in for one
    Point3 positionWorld, position;
    bool hasLookAt = false;  // a look-at node is set
    Point3 lookAt;           // its place, else the camera's
    Matrix3 toObject;        // from camera space
    TViewVolume view;
    bool limitActive = false;  // items outside the view are left out

    float near = 0, far = 1000;                  // range of both falloffs
    const FalloffCurve* densityCurve = nullptr;  // null: off
    const FalloffCurve* scaleCurve = nullptr;    // null: off

    // Of the level-of-detail choice.
    bool lod = true;
    bool lodFromLookAt = false;
    float lodDistance = 0;  // 0: the LOD object's own
};

// Where a position stands on the curves of the falloffs: 0 at near, 1 at far, beyond them outside.
float PlaceInFalloff(const TCameraState& camera, const Point3& position);
// Whether the density falloff drops an item at `position`; r is its draw. Where near and far are
// one the curve's end decides.
bool CameraDensityDrop(const TCameraState& camera, const Point3& position, float r);
// The same, at no cost where the falloff is off.
inline bool CameraThinsOut(const TCameraState& camera, const Point3& position, float r) {
    return camera.densityCurve && CameraDensityDrop(camera, position, r);
}
// Factor of the scale falloff; 1 when it is off or its range is not above 0.0001.
float CameraScaleFactor(const TCameraState& camera, const Point3& position);

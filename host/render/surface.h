// A shaded place as renderers light it, and the air in front of it.
//
// Both renderers of the platform take what they light from here, so that their pictures agree.
#pragma once

#include "host/render/glossy.h"
#include "host/render/hit_context.h"
#include "host/render/render_scene.h"
#include "host/render/sky.h"

struct Surface {
    Point3 position;
    Point3 faceNormal, normal;  // both on the viewer's side
    Point3 view;                // towards where the ray came from
    Color albedo;               // linear
    Color emission;
    float translucency = 0, reflectivity = 0;
    GlossyLayer glossy{{}, 1};

    float slack = 0;  // how far off its surface rounding may have put the position

    // Where a ray into the half space of `side` (+1 the viewer's, -1 the other) starts.
    Point3 Leave(float side) const { return position + faceNormal * (side * slack); }
};

// How a place is seen.
struct SightLine {
    Point3 origin, direction;  // direction of unit length, towards the place
    float distance = 0;
    float width = 0;  // of the ray, there
    RayKind kind = RayKind::kCamera;
};

// What the material says of a place. faceNormal: of the plane of the face, world space, unit.
Surface ShadeSurface(const HitPlace& place, const Point3& faceNormal, const SightLine& line);

// Reflectance of a water surface, 1 at grazing angles.
float WaterReflectance(float cosine);

// What the air does to light: takes a share, and adds its own.
struct Veil {
    Color through, light;
};
// The air along the first `distance` of a line; the haze must have a visibility.
Veil HazeAlong(const Haze& haze, const SkyModel& sky, const Point3& origin, const Point3& direction,
               float distance);

// What renderers draw: a plain description that borrows everything it shows.
//
// Lengths are scene units, angles degrees. Meshes, materials and sources belong to the caller and
// must outlive the render, unchanged but for materials and maps, which it brings to its time.
// Colours of materials, maps and tints are display colours (what a colour picker shows, sRGB);
// light is linear. The world's up is +Z.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "host/geom/height_field.h"
#include "host/geom/mesh.h"
#include "host/scene/instance_source.h"
#include "host/scene/material.h"
#include "host/scene/object.h"
#include "host/scene/shadow_type.h"

// A pinhole camera, or a parallel view. The transform's rows are the camera's right, up and
// backward axes and its place: it looks along its own -Z, as every camera of the host does.
struct RenderCamera {
    Matrix3 transform;
    float fovDegrees = 45;  // horizontal, in (0, 180)
    // Width of the view in scene units; 0: a pinhole.
    float parallelWidth = 0;
};

// A light's shadows. How they are drawn into maps (host/scene/shadow_type.h) does not concern the
// ray tracer.
struct LightShadow {
    bool casts = true;
    ShadowType* type = nullptr;          // null: a default map
    const LightObject* light = nullptr;  // in the scene; null: none
    Matrix3 transform;                   // of that light: it shines along -Z
};

// The one directional light. Its shadow is as soft as its disc is wide.
struct SunLight {
    Point3 direction{0.4f, -0.5f,
                     0.6f};      // from the scene towards the sun; need not be a unit vector
    float angleDegrees = 0.53f;  // diameter of the disc; 0 gives hard shadows
    Color filter{1, 1, 1};       // multiplies its light
    // Irradiance on a plane that faces the sun. None: what the atmosphere lets through.
    std::optional<Color> irradiance;
    LightShadow shadow;
};

// A light beside the sun, of renderers that show such: without fall-off over distance. A spot's
// cone is kSpotDegrees wide.
struct RenderLight {
    LightKind kind = LightKind::kPoint;
    Color irradiance;  // on a plane that faces it
    LightShadow shadow;
};
inline constexpr float kSpotDegrees = 45;

// Light from everywhere else.
struct SkyLight {
    float turbidity = 2.5f;                   // haziness of the air: 1 very clear .. 10 hazy
    float strength = 1;                       // multiplies the sky's light, not the sun's
    Color groundAlbedo{0.15f, 0.15f, 0.12f};  // of the land below the horizon
    float cloudCover = 0;                     // 0 none .. 1 a closed sheet of thin high cloud
    std::optional<Color> constant;            // the same radiance from all directions instead
};

// Air between the camera and what it sees: blue with distance, brighter towards the sun.
struct Haze {
    float visibility = 0;   // distance at which 5 % of the contrast is left; 0 switches it off
    float scaleHeight = 0;  // height over which it thins out to 1/e; 0 fills all heights alike
    float baseHeight = 0;   // world z at which `visibility` holds
};

// A mesh at one place, or a terrain in place of a mesh.
struct RenderNode {
    const Mesh* mesh = nullptr;
    Mtl* mtl = nullptr;  // null: the host's default grey
    Matrix3 transform;
    const HeightField* heights = nullptr;
    const INode* node = nullptr;  // that shows it; materials may ask

    Box3 Bounds() const {
        return transform.BoxTransform(heights ? heights->Bounds() : mesh->BoundingBox());
    }
};

struct RenderScene {
    TimeValue time = 0;  // that materials and maps are asked for
    RenderCamera camera;
    SunLight sun;
    std::vector<RenderLight> lights;
    SkyLight sky;
    Haze haze;
    std::vector<RenderNode> nodes;
    std::vector<const IInstanceSource*> sources;
};

inline constexpr int kMaxPictureSide = 16384, kMaxSamples = 65536;

struct RenderSettings {
    int width = 1280, height = 720;  // 1 .. kMaxPictureSide each, with noLimit more
    int samples = 32;                // rays a pixel, 1 .. kMaxSamples
    int maxBounces = 2;              // of diffuse light after the first hit, 0 .. 16
    int threads = 1;
    float exposure = 0;    // stops, on top of the exposure measured from sun and sky
    bool noLimit = false;  // pictures of any size that the machine can hold at all
};

// Hears the finished share in 0..1 between passes, on the calling thread; false cancels.
using RenderProgress = std::function<bool(float fraction)>;

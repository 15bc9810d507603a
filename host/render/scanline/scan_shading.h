// What a scanline picture shows of a surface: all lights with their shadows, the sky from all
// around without anything in its way, the sky in mirrors, light of its own, and the air in front.
#pragma once

#include <array>

#include "host/render/scanline/scan_lights.h"

// Irradiance of a sky by the direction of a surface, in spherical harmonics up to the second band
// (Ramamoorthi and Hanrahan 2001): exact for a sky of one colour, and good to a few percent for
// any.
class SkyIrradiance {
public:
    explicit SkyIrradiance(const SkyModel& sky);
    // On a plane of unit normal n.
    Color At(const Point3& n) const;

private:
    std::array<Color, 9> m_coefficients;
};

class ScanShading {
public:
    // All outlive it.
    ScanShading(const RenderScene& scene, const SkyModel& sky, const ScanLights& lights)
        : m_scene(scene), m_sky(sky), m_lights(lights), m_ambient(sky) {}

    // A place seen from the camera; width: of a pixel at distance 1.
    Color At(const HitPlace& place, float width) const;
    // The sky behind everything.
    Color Background(const Point3& direction) const { return m_sky.Visible(direction); }

private:
    Color Ambient(const Surface& surface) const;

    const RenderScene& m_scene;
    const SkyModel& m_sky;
    const ScanLights& m_lights;
    SkyIrradiance m_ambient;
};

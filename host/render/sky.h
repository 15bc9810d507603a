// Light of a clear sky, computed from the atmosphere, and of the sun behind it.
//
// Own derivation along known lines: single scattering by air molecules, aerosols and absorption by
// ozone, integrated along each view ray with the sun's transmittance (Nishita et al. 1993), plus
// isotropic multiple scattering as a geometric series (Hillaire 2020, "A Scalable and Production
// Ready Sky and Atmosphere Rendering Technique"). The result is kept as a table over the azimuth
// from the sun and the elevation. Immutable after construction; threads may share it.
//
// Units: the sun's irradiance outside the atmosphere is 1 in each channel.
#pragma once

#include <vector>

#include "host/render/render_scene.h"

class SkyModel {
public:
    SkyModel(const SkyLight& sky, const SunLight& sun);

    // Unit vector towards the sun's centre.
    const Point3& SunDirection() const { return m_sunDirection; }
    // Irradiance on a plane facing the sun; black when the sun is below the horizon.
    Color SunIrradiance() const { return m_sunIrradiance; }
    // Cosine of the disc's angular radius.
    float SunCosRadius() const { return m_sunCosRadius; }

    // Smooth radiance from the unit direction, without disc and clouds: what lights the scene.
    Color Radiance(const Point3& direction) const;
    // What the camera sees there: with the sun's disc (kept to a displayable brightness) and
    // clouds.
    Color Visible(const Point3& direction) const;
    // Colour of far, thick air seen in a direction.
    Color HazeRadiance(const Point3& direction) const;

    // Irradiance on a horizontal plane from the sky alone.
    Color SkyIrradiance() const { return m_skyIrradiance; }
    // Reflectance units for exposure: radiance of a white matt card in this light, half turned to
    // the sun.
    float CardLuminance() const;

private:
    Color Table(const Point3& direction) const;
    void FillTable(const SkyLight& sky);
    float CloudDensity(const Point3& direction) const;

    Point3 m_sunDirection;
    float m_sunAzimuthX = 1, m_sunAzimuthY = 0;  // unit horizontal direction towards the sun
    Color m_sunIrradiance, m_skyIrradiance, m_ground;
    float m_sunCosRadius = 1;
    float m_cloudCover = 0;
    bool m_isConstant = false;
    Color m_constant;
    std::vector<Color> m_table;
};

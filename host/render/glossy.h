// A glossy layer of microfacets: GGX distribution with Smith's shadowing (Walter et al. 2007), both
// sides correlated (Heitz 2014), Fresnel after Schlick (1994), and directions drawn from the
// visible normals (Heitz 2018). Directions are unit vectors away from the surface.
#pragma once

#include <algorithm>
#include <cmath>

#include "host/math/color.h"
#include "host/math/point.h"

class GlossyLayer {
public:
    // specular: reflectance seen from straight above; roughness 0..1. Very smooth layers are taken
    // as a little rough: the sun's disc is their limit.
    GlossyLayer(Color specular, float roughness)
        : m_specular(specular),
          m_alpha(std::max(kLeastAlpha, roughness * roughness)),
          m_exists(specular.r > 0 || specular.g > 0 || specular.b > 0) {}

    bool Exists() const { return m_exists; }
    // Share of the light from `view` that it reflects, on a facet whose normal makes that cosine.
    Color Fresnel(float cosine) const;
    // Radiance towards `view` for a unit of irradiance across the ray from `toLight`: the cosine of
    // the surface is included. Black when either is below the surface.
    Color Reflected(const Point3& normal, const Point3& view, const Point3& toLight) const;
    // A direction for the light that leaves towards `view`, and its weight; (0, 0, 0) where it
    // would lie below the surface. u: uniform in the unit square.
    Point3 Draw(const Point3& normal, const Point3& view, Point2 u, Color* weight) const;
    // How much a reflected ray widens.
    float Spread() const { return 0.15f * m_alpha; }

private:
    static constexpr float kLeastAlpha = 0.004f;  // of the slope: about the sun's radius
    float MaskingOf(float cosine) const;          // Smith's G1

    Color m_specular;
    float m_alpha;
    bool m_exists;
};

// Two unit vectors that complete n to a right-handed frame (Duff et al. 2017).
inline void MakeFrame(const Point3& n, Point3* s, Point3* t) {
    float sign = std::copysign(1.f, n.z), a = -1 / (sign + n.z), b = n.x * n.y * a;
    *s = {1 + sign * n.x * n.x * a, sign * b, -sign * n.x};
    *t = {b, sign + n.y * n.y * a, -n.y};
}

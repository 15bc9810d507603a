#include "host/render/scanline/scan_shading.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr float kPi = std::numbers::pi_v<float>;

// Real spherical harmonics at a unit direction.
std::array<float, 9> Harmonics(const Point3& d) {
    return {0.282095f,
            0.488603f * d.y,
            0.488603f * d.z,
            0.488603f * d.x,
            1.092548f * d.x * d.y,
            1.092548f * d.y * d.z,
            0.315392f * (3 * d.z * d.z - 1),
            1.092548f * d.x * d.z,
            0.546274f * (d.x * d.x - d.y * d.y)};
}
// What a cosine lobe leaves of each band.
constexpr float kLobe[9] = {kPi,     2 * kPi / 3, 2 * kPi / 3, 2 * kPi / 3, kPi / 4,
                            kPi / 4, kPi / 4,     kPi / 4,     kPi / 4};

Point3 Mirrored(const Surface& s) {
    Point3 d = s.normal * (2 * DotProd(s.normal, s.view)) - s.view;
    float below = DotProd(d, s.faceNormal);
    return Normalize(below < 0 ? d - s.faceNormal * (2 * below) : d);
}

}  // namespace

SkyIrradiance::SkyIrradiance(const SkyModel& sky) {
    constexpr int kRows = 64, kColumns = 64;  // of equal solid angle
    for (int i = 0; i < kRows; ++i)
        for (int j = 0; j < kColumns; ++j) {
            float z = 1 - 2 * (float(i) + 0.5f) / kRows, r = std::sqrt(1 - z * z);
            float angle = 2 * kPi * (float(j) + 0.5f) / kColumns;
            Point3 d{r * std::cos(angle), r * std::sin(angle), z};
            Color light = sky.Radiance(d) * (4 * kPi / (kRows * kColumns));
            std::array<float, 9> y = Harmonics(d);
            for (size_t k = 0; k < 9; ++k)
                m_coefficients[k] = m_coefficients[k] + light * (y[k] * kLobe[k]);
        }
}

Color SkyIrradiance::At(const Point3& n) const {
    std::array<float, 9> y = Harmonics(n);
    Color sum;
    for (size_t k = 0; k < 9; ++k) sum = sum + m_coefficients[k] * y[k];
    return {std::max(0.f, sum.r), std::max(0.f, sum.g), std::max(0.f, sum.b)};
}

Color ScanShading::Ambient(const Surface& s) const {
    Color front = m_ambient.At(s.normal) * (1 - s.translucency);
    Color matt = s.translucency > 0 ? front + m_ambient.At(-s.normal) * s.translucency : front;
    Color light = s.albedo * matt * (1 / kPi);
    if (!s.glossy.Exists()) return light;
    return light + s.glossy.Fresnel(DotProd(s.normal, s.view)) * m_sky.Radiance(Mirrored(s));
}

Color ScanShading::At(const HitPlace& place, float width) const {
    const Point3 eye = m_scene.camera.transform.GetTrans();
    HitContext context(place, place.Material(), 0, RayKind::kCamera);
    SightLine line;
    line.origin = eye;
    Point3 sight = context.WorldPosition() - eye;
    line.distance = Length(sight);
    line.direction = Normalize(sight);
    line.width = width * line.distance;
    Surface s = ShadeSurface(place, context.FaceNormal(), line);
    Color light = m_lights.Reflected(s, context) + Ambient(s) + s.emission;
    if (s.reflectivity > 0) {
        float share = s.reflectivity * WaterReflectance(DotProd(s.normal, s.view));
        light = light * (1 - share) + m_sky.Visible(Mirrored(s)) * share;
    }
    if (m_scene.haze.visibility > 0) {
        Veil veil = HazeAlong(m_scene.haze, m_sky, line.origin, line.direction, line.distance);
        light = light * veil.through + veil.light;
    }
    return light;
}

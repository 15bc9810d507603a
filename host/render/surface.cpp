#include "host/render/surface.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/math/display_color.h"
#include "host/render/sampler.h"

namespace {

constexpr float kPi = std::numbers::pi_v<float>;

Color Mix(Color a, Color b, float t) { return a * (1 - t) + b * t; }

// Small waves: sines of hashed directions, each octave shorter and as steep, summed on the plane.
Point3 RippledNormal(const Surface& surface, float slope) {
    constexpr int kWaves = 14;
    float sx = 0, sy = 0;
    for (int i = 0; i < kWaves; ++i) {
        float angle = 2 * kPi * UnitFloat(HashMix(uint32_t(i) + 77));
        float length = 5.5f * std::pow(0.8f, float(i));
        float k = 2 * kPi / length, c = std::cos(angle), s = std::sin(angle);
        float bend = 1.7f * std::sin(surface.position.x * s * k * 0.13f + float(i)) +
                     1.7f * std::sin(surface.position.y * c * k * 0.11f + float(2 * i));
        float wave = std::cos(k * (surface.position.x * c + surface.position.y * s) + bend);
        sx += c * wave;
        sy += s * wave;
    }
    float scale = slope / std::sqrt(float(kWaves) / 2);
    Point3 n = surface.normal - Point3{sx * scale, sy * scale, 0};
    return Normalize(n);
}

// In the tint that the instance has, or its face.
Color Tinted(const HitPlace& hit, const HitContext& context, const Color& albedo) {
    Color tint;
    float blend = 0;
    if (!hit.source->FaceTint(hit.instance->number, context.FaceIndex(), &tint, &blend)) {
        const uint8_t* t = hit.instance->tint;
        tint = {float(t[0]) / 255, float(t[1]) / 255, float(t[2]) / 255};
        blend = float(t[3]) / 255;
    }
    return blend > 0 ? Mix(albedo, DisplayToLinear(tint), blend) : albedo;
}

}  // namespace

Surface ShadeSurface(const HitPlace& hit, const Point3& faceNormal, const SightLine& line) {
    Surface s;
    s.position = line.origin + line.direction * line.distance;
    float size = std::fabs(s.position.x) + std::fabs(s.position.y) + std::fabs(s.position.z);
    s.slack = 1e-4f + 1e-6f * (size + line.distance);
    s.view = -line.direction;
    s.faceNormal = DotProd(faceNormal, s.view) < 0 ? -faceNormal : faceNormal;
    SurfaceLook look;
    look.normal = hit.Normal();
    if (DotProd(look.normal, s.faceNormal) < 0) look.normal = -look.normal;
    HitContext context(hit, hit.Material(), line.width, line.kind);
    context.Shade(&look);
    s.normal = look.normal;
    // More than all light scatters nowhere, whatever colours were added up.
    auto share = [](float f) { return std::clamp(f, 0.f, 1.f); };
    s.albedo = {share(look.diffuse.r), share(look.diffuse.g), share(look.diffuse.b)};
    if (hit.instance && !hit.Material().tintsInstances) s.albedo = Tinted(hit, context, s.albedo);
    s.emission = look.emission;
    s.translucency = look.translucency;
    s.reflectivity = look.reflectivity;
    s.glossy = GlossyLayer(look.specular, look.roughness);
    if (look.ripple > 0) s.normal = RippledNormal(s, look.ripple);
    return s;
}

float WaterReflectance(float cosine) {
    float x = 1 - std::clamp(cosine, 0.f, 1.f), x2 = x * x;
    return 0.02f + 0.98f * x2 * x2 * x;
}

Veil HazeAlong(const Haze& haze, const SkyModel& sky, const Point3& origin, const Point3& direction,
               float distance) {
    // Optical depth of air whose density falls with height as exp(-(z - base) / H).
    float depth = distance;
    if (haze.scaleHeight > 0) {
        float h = haze.scaleHeight, z = origin.z - haze.baseHeight;
        float k = direction.z / h * distance;
        float mean = std::fabs(k) < 1e-3f ? 1 - k / 2 : -std::expm1(-k) / k;
        depth *= std::exp(-std::clamp(z / h, -20.f, 40.f)) * mean;
    }
    float a = std::min(3 * depth / haze.visibility, 60.f);  // exp(-3) is 5 %
    Color through{std::exp(-a * 0.85f), std::exp(-a), std::exp(-a * 1.2f)};
    return {through, sky.HazeRadiance(direction) * (Color{1, 1, 1} - through)};
}

#include "host/render/path.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/render/surface.h"

namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kDiffuseSpread = 0.15f;  // widening of rays after a diffuse bounce
constexpr int kMaxMirrors = 4;           // mirror reflections in a row

Point3 InFrame(const Point3& n, float x, float y, float z) {
    Point3 s, t;
    MakeFrame(n, &s, &t);
    return Normalize(s * x + t * y + n * z);
}

Point3 CosineDirection(const Point3& n, Point2 u) {
    float r = std::sqrt(u.x), angle = 2 * kPi * u.y;
    return InFrame(n, r * std::cos(angle), r * std::sin(angle), std::sqrt(std::max(0.f, 1 - u.x)));
}

// Russian roulette: ends paths that carry little, and raises the others by as much.
bool Survives(SampleSequence& sequence, Color* throughput) {
    float chance = 3 * std::max({throughput->r, throughput->g, throughput->b});
    if (chance >= 1) return true;
    if (UnitFloat(sequence.NextHash()) >= chance) return false;
    *throughput = *throughput * (1 / chance);
    return true;
}

}  // namespace

// The sun's light at a surface, shadows and the surface's slope included: what its matt ground
// gets before its colour, and what its glossy layer sends back.
struct PathTracer::Sunlight {
    Color matt, glossy;
};

struct PathTracer::Bounce {
    Point3 origin, direction;
    float spread;  // widening of the ray
};

PathTracer::PathTracer(const TraceScene& geometry, const SkyModel& sky, const RenderScene& scene,
                       int maxBounces)
    : m_geometry(geometry), m_sky(sky), m_haze(scene.haze), m_maxBounces(maxBounces) {
    m_clamp = 12 * std::max(1e-6f, sky.CardLuminance());
}

PathTracer::Sunlight PathTracer::SunLight(const Surface& s, float width,
                                          SampleSequence& sequence) const {
    Point2 u = sequence.Next2D();
    uint32_t seed = sequence.NextHash();
    Color irradiance = m_sky.SunIrradiance();
    if (irradiance == Color{}) return {};
    float z = 1 - u.x * (1 - m_sky.SunCosRadius()), r = std::sqrt(std::max(0.f, 1 - z * z));
    float angle = 2 * kPi * u.y;
    Point3 toSun = InFrame(m_sky.SunDirection(), r * std::cos(angle), r * std::sin(angle), z);
    float cosine = DotProd(s.normal, toSun);
    float share = cosine > 0 ? 1 - s.translucency : s.translucency;
    float side = DotProd(s.faceNormal, toSun) > 0 ? 1.f : -1.f;
    // A surface that faces away by its plane is dark even where its smooth normal is lit.
    if (share <= 0 || (s.translucency == 0 && side < 0)) return {};
    TraceRay shadow;
    shadow.origin = s.Leave(side);
    shadow.direction = toSun;
    shadow.width = width;
    shadow.spread = 0.01f;
    shadow.seed = seed;
    if (m_geometry.IsOccluded(shadow)) return {};
    Sunlight light{irradiance * (share * std::fabs(cosine) / kPi), {}};
    if (s.glossy.Exists() && side > 0)
        light.glossy = irradiance * s.glossy.Reflected(s.normal, s.view, toSun);
    return light;
}

// By what each sends back.
bool PathTracer::ChooseGloss(const Surface& s, SampleSequence& sequence, Color* throughput) const {
    if (!s.glossy.Exists()) {
        *throughput = *throughput * s.albedo;
        return false;
    }
    float gloss = Luminance(s.glossy.Fresnel(DotProd(s.normal, s.view)));
    float matt = Luminance(s.albedo);
    float chance = matt > 0 ? std::clamp(gloss / (gloss + matt), 0.1f, 0.9f) : 1;
    bool isGloss = UnitFloat(sequence.NextHash()) < chance;
    *throughput =
        isGloss ? *throughput * (1 / chance) : *throughput * s.albedo * (1 / (1 - chance));
    return isGloss;
}

PathTracer::Bounce PathTracer::ScatterGloss(const Surface& s, SampleSequence& sequence,
                                            Color* throughput) const {
    Color weight;
    Point3 direction = s.glossy.Draw(s.normal, s.view, sequence.Next2D(), &weight);
    if (DotProd(direction, s.faceNormal) <= 0) weight = {};
    *throughput = *throughput * weight;
    return {s.Leave(1), direction, s.glossy.Spread()};
}

PathTracer::Bounce PathTracer::ScatterMatt(const Surface& s, SampleSequence& sequence) const {
    Point2 u = sequence.Next2D();
    bool isThrough = s.translucency > 0 && UnitFloat(sequence.NextHash()) < s.translucency;
    float side = isThrough ? -1.f : 1.f;
    Point3 direction = CosineDirection(s.normal * side, u);
    // A bent normal may send light under the surface: mirror it back.
    float below = DotProd(direction, s.faceNormal) * side;
    if (below < 0) direction -= s.faceNormal * (2 * below * side);
    return {s.Leave(side), direction, kDiffuseSpread};
}

Color PathTracer::Radiance(TraceRay ray, SampleSequence& sequence) const {
    Color light, throughput{1, 1, 1};
    bool isDirect = true;  // only mirrors so far
    int mirrors = 0;
    for (int bounce = 0; bounce <= m_maxBounces;) {
        ray.seed = sequence.NextHash();
        TraceHit hit;
        if (!m_geometry.Intersect(ray, &hit)) {
            Color sky = isDirect ? m_sky.Visible(ray.direction) : m_sky.Radiance(ray.direction);
            return light + throughput * sky;
        }
        float width = ray.width + ray.spread * hit.distance;
        Surface s = ShadeSurface(hit, hit.faceNormal,
                                 {ray.origin, ray.direction, hit.distance, width,
                                  isDirect ? RayKind::kCamera : RayKind::kIndirect});
        if (isDirect && m_haze.visibility > 0) {
            Veil veil = HazeAlong(m_haze, m_sky, ray.origin, ray.direction, hit.distance);
            light = light + throughput * veil.light;
            throughput = throughput * veil.through;
        }
        if (s.reflectivity > 0 && mirrors < kMaxMirrors) {
            float chance = s.reflectivity * WaterReflectance(DotProd(s.normal, s.view));
            if (UnitFloat(sequence.NextHash()) < chance) {
                Point3 d = s.normal * (2 * DotProd(s.normal, s.view)) - s.view;
                float below = DotProd(d, s.faceNormal);
                if (below < 0) d -= s.faceNormal * (2 * below);
                ray.origin = s.Leave(1);
                ray.direction = Normalize(d);
                ray.width = width;
                ++mirrors;
                continue;
            }
        }
        Sunlight sun = SunLight(s, width, sequence);
        Color direct = throughput * s.albedo * sun.matt + throughput * sun.glossy;
        direct = direct + throughput * s.emission;
        if (!isDirect) {
            float brightest = std::max({direct.r, direct.g, direct.b});
            if (brightest > m_clamp) direct = direct * (m_clamp / brightest);
        }
        light = light + direct;
        bool isGloss = ChooseGloss(s, sequence, &throughput);
        if (++bounce > m_maxBounces) break;
        if (bounce > 1 && !Survives(sequence, &throughput)) break;
        Bounce next = isGloss ? ScatterGloss(s, sequence, &throughput) : ScatterMatt(s, sequence);
        if (throughput == Color{}) break;
        ray = TraceRay{};
        ray.origin = next.origin;
        ray.direction = next.direction;
        ray.width = width;
        ray.spread = next.spread;
        isDirect = false;
    }
    return light;
}

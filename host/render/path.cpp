#include "host/render/path.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/render/render_texture.h"

namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kDiffuseSpread = 0.15f;  // widening of rays after a diffuse bounce
constexpr int kMaxMirrors = 4;           // mirror reflections in a row

Color Mix(Color a, Color b, float t) { return a * (1 - t) + b * t; }

// Two unit vectors that complete n to a right-handed frame (Duff et al. 2017).
void MakeFrame(const Point3& n, Point3* s, Point3* t) {
    float sign = std::copysign(1.f, n.z), a = -1 / (sign + n.z), b = n.x * n.y * a;
    *s = {1 + sign * n.x * n.x * a, sign * b, -sign * n.x};
    *t = {b, sign + n.y * n.y * a, -n.y};
}

Point3 InFrame(const Point3& n, float x, float y, float z) {
    Point3 s, t;
    MakeFrame(n, &s, &t);
    return Normalize(s * x + t * y + n * z);
}

Point3 CosineDirection(const Point3& n, Point2 u) {
    float r = std::sqrt(u.x), angle = 2 * kPi * u.y;
    return InFrame(n, r * std::cos(angle), r * std::sin(angle), std::sqrt(std::max(0.f, 1 - u.x)));
}

// Reflectance of a water surface, 1 at grazing angles.
float Fresnel(float cosine) {
    float x = 1 - std::clamp(cosine, 0.f, 1.f), x2 = x * x;
    return 0.02f + 0.98f * x2 * x2 * x;
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

struct PathTracer::Surface {
    Point3 position;
    Point3 faceNormal, normal;  // both on the viewer's side
    Point3 view;                // towards where the ray came from
    Color albedo;               // linear
    float translucency = 0, reflectivity = 0;

    float slack = 0;  // how far off its surface rounding may have put the position

    // Where a ray into the half space of `side` (+1 the viewer's, -1 the other) starts.
    Point3 Leave(float side) const { return position + faceNormal * (side * slack); }
};

struct PathTracer::Bounce {
    Point3 origin, direction;
};

// What the air does to light: takes a share, and adds its own.
struct PathTracer::Veil {
    Color through, light;
};

PathTracer::PathTracer(const TraceScene& geometry, const SkyModel& sky, const RenderScene& scene,
                       int maxBounces)
    : m_geometry(geometry), m_sky(sky), m_haze(scene.haze), m_maxBounces(maxBounces) {
    m_clamp = 12 * std::max(1e-6f, sky.CardLuminance());
}

PathTracer::Surface PathTracer::Shade(const TraceRay& ray, const TraceHit& hit) const {
    const RenderMaterial& material = hit.Material();
    Surface s;
    s.position = ray.origin + ray.direction * hit.distance;
    float size = std::fabs(s.position.x) + std::fabs(s.position.y) + std::fabs(s.position.z);
    s.slack = 1e-4f + 1e-6f * (size + hit.distance);
    s.view = -ray.direction;
    s.faceNormal = DotProd(hit.faceNormal, s.view) < 0 ? -hit.faceNormal : hit.faceNormal;
    s.normal = hit.Normal();
    if (DotProd(s.normal, s.faceNormal) < 0) s.normal = -s.normal;
    if (material.diffuseMap) {
        float width = (ray.width + ray.spread * hit.distance) * hit.MeshScale();
        s.albedo = material.diffuseMap->LookUp(hit.Uv(), width * hit.UvDensity(), hit.Position()) *
                   material.mapFactor;
    } else {
        s.albedo = DisplayToLinear(material.diffuse);
    }
    if (material.vertexColors && hit.mesh)
        s.albedo = s.albedo * hit.mesh->VertexColor(hit.face, hit.u, hit.v);
    if (hit.instance && hit.instance->tint[3]) {
        const uint8_t* t = hit.instance->tint;
        Color tint = DisplayToLinear({float(t[0]) / 255, float(t[1]) / 255, float(t[2]) / 255});
        s.albedo = Mix(s.albedo, tint, float(t[3]) / 255);
    }
    s.translucency = material.translucency;
    s.reflectivity = material.reflectivity;
    if (material.ripple > 0) s.normal = RippledNormal(s, material.ripple);
    return s;
}

// Small waves: sines of hashed directions, each octave shorter and as steep, summed on the plane.
Point3 PathTracer::RippledNormal(const Surface& surface, float slope) const {
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

Color PathTracer::SunLight(const Surface& s, float width, SampleSequence& sequence) const {
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
    // A matt surface that faces away by its plane is dark even where its smooth normal is lit.
    if (share <= 0 || (s.translucency == 0 && side < 0)) return {};
    TraceRay shadow;
    shadow.origin = s.Leave(side);
    shadow.direction = toSun;
    shadow.width = width;
    shadow.spread = 0.01f;
    shadow.seed = seed;
    if (m_geometry.IsOccluded(shadow)) return {};
    return irradiance * (share * std::fabs(cosine) / kPi);
}

PathTracer::Bounce PathTracer::Scatter(const Surface& s, SampleSequence& sequence) const {
    Point2 u = sequence.Next2D();
    bool isThrough = s.translucency > 0 && UnitFloat(sequence.NextHash()) < s.translucency;
    float side = isThrough ? -1.f : 1.f;
    Point3 direction = CosineDirection(s.normal * side, u);
    // A bent normal may send light under the surface: mirror it back.
    float below = DotProd(direction, s.faceNormal) * side;
    if (below < 0) direction -= s.faceNormal * (2 * below * side);
    return {s.Leave(side), direction};
}

PathTracer::Veil PathTracer::HazeAlong(const TraceRay& ray, float distance) const {
    // Optical depth of air whose density falls with height as exp(-(z - base) / H).
    float depth = distance;
    if (m_haze.scaleHeight > 0) {
        float h = m_haze.scaleHeight, z = ray.origin.z - m_haze.baseHeight;
        float k = ray.direction.z / h * distance;
        float mean = std::fabs(k) < 1e-3f ? 1 - k / 2 : -std::expm1(-k) / k;
        depth *= std::exp(-std::clamp(z / h, -20.f, 40.f)) * mean;
    }
    float a = std::min(3 * depth / m_haze.visibility, 60.f);  // exp(-3) is 5 %
    Color through{std::exp(-a * 0.85f), std::exp(-a), std::exp(-a * 1.2f)};
    return {through, m_sky.HazeRadiance(ray.direction) * (Color{1, 1, 1} - through)};
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
        Surface s = Shade(ray, hit);
        float width = ray.width + ray.spread * hit.distance;
        if (isDirect && m_haze.visibility > 0) {
            Veil veil = HazeAlong(ray, hit.distance);
            light = light + throughput * veil.light;
            throughput = throughput * veil.through;
        }
        if (s.reflectivity > 0 && mirrors < kMaxMirrors) {
            float chance = s.reflectivity * Fresnel(DotProd(s.normal, s.view));
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
        Color direct = throughput * s.albedo * SunLight(s, width, sequence);
        if (!isDirect) {
            float brightest = std::max({direct.r, direct.g, direct.b});
            if (brightest > m_clamp) direct = direct * (m_clamp / brightest);
        }
        light = light + direct;
        throughput = throughput * s.albedo;
        if (++bounce > m_maxBounces) break;
        if (bounce > 1 && !Survives(sequence, &throughput)) break;
        Bounce next = Scatter(s, sequence);
        ray = TraceRay{};
        ray.origin = next.origin;
        ray.direction = next.direction;
        ray.width = width;
        ray.spread = kDiffuseSpread;
        isDirect = false;
    }
    return light;
}

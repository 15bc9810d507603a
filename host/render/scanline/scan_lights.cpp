#include "host/render/scanline/scan_lights.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/scene/node.h"

namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr int kMaxSquares = 4;  // of a directional light
constexpr float kSquareMargin = 1.05f;
constexpr float kWorthMore = 0.7f;  // a square this much smaller than the next one is worth a map
constexpr float kAngleMargin = 1.02f;  // so that filters at an edge find neighbours
constexpr float kMaxSlope = 4;         // of a surface against the light's rays
constexpr float kSpotSoftness = 0.9f;  // of the cone's angle: from here on light fades out

Matrix3 UnitAxes(const Matrix3& m) {
    Matrix3 out = m;
    for (int i = 0; i < 3; ++i) out.row[i] = Normalize(out.row[i]);
    return out;
}

// The six sides of a cube around a light.
Matrix3 SideFrame(const Point3& position, int side) {
    Point3 direction;
    direction[side / 2] = side % 2 ? -1.f : 1.f;
    Matrix3 frame = LookAtRotation({}, direction);
    frame.SetTrans(position);
    return frame;
}

int SideOf(const Point3& direction) {
    int axis = 0;
    for (int i = 1; i < 3; ++i)
        if (std::fabs(direction[i]) > std::fabs(direction[axis])) axis = i;
    return axis * 2 + (direction[axis] < 0);
}

// How much of a spot's light goes in a direction; cosine: to its axis.
float SpotShare(float cosine) {
    float angle = std::acos(std::clamp(cosine, -1.f, 1.f)), edge = kSpotDegrees * kPi / 360;
    float t = std::clamp((edge - angle) / (edge * (1 - kSpotSoftness)), 0.f, 1.f);
    return t * t * (3 - 2 * t);
}

// A place in a map: pixels, depth, and how the depth grows from pixel to pixel along the surface.
struct MapPlace {
    float x, y, z, xSlope, ySlope;
};

MapPlace PlaceInMap(const ShadowView& view, const Point3& position, const Point3& normal) {
    Point3 p = position * view.worldToLight, n = view.worldToLight.VectorTransform(normal);
    float depth = -p.z, w = view.isPerspective ? depth : 1;
    float sx = p.x / w, sy = p.y / w;
    // On the plane n.p = c: depth * (n.x sx + n.y sy - n.z) = c, or without perspective
    // n.x sx + n.y sy - n.z depth = c.
    float facing = view.isPerspective ? n.x * sx + n.y * sy - n.z : -n.z;
    auto slope = [&](float component) {
        float s = facing != 0 ? -component / facing : 0;
        return std::clamp(s, -kMaxSlope, kMaxSlope) * w / view.scale;
    };
    return {view.CenterX() + sx * view.scale, view.CenterY() - sy * view.scale, depth, slope(n.x),
            -slope(n.y)};
}

}  // namespace

ScanLights::ScanLights(const RenderScene& scene, const SkyModel& sky) : m_scene(scene) {
    Add(LightKind::kDirectional, scene.sun.shadow, sky.SunDirection(), sky.SunIrradiance());
    for (const RenderLight& light : scene.lights)
        Add(light.kind, light.shadow, Normalize(light.shadow.transform.row[2]), light.irradiance);
}

void ScanLights::Add(LightKind kind, const LightShadow& shadow, const Point3& toLight,
                     Color irradiance) {
    if (irradiance == Color{}) return;
    Light& light = m_lights.emplace_back(Light{kind, {}, irradiance, shadow, {}});
    // A sun without a light has no axes of its own.
    light.transform = shadow.light ? UnitAxes(shadow.transform) : LookAtRotation(toLight, {});
    if (!shadow.light) light.transform.SetTrans(shadow.transform.GetTrans());
}

void ScanLights::AddMap(Light& light, IShadowScene& shadows, const Matrix3& lightToWorld,
                        float param) {
    ShadowType& type = light.shadow.type ? *light.shadow.type : *m_defaultType;
    auto generator = type.CreateShadowGenerator(light.shadow.light, {light.kind}, 0);
    ShadowGenerator::Request request;
    request.time = m_scene.time;
    request.scene = &shadows;
    request.lightToWorld = lightToWorld;
    request.param = param;
    if (!generator->Update(request) || !generator->Buffer()) return;
    generator->UpdateViewDepParams(Inverse(m_scene.camera.transform));
    ShadowView view = MakeShadowView(lightToWorld, light.kind, param, generator->Size());
    light.maps.push_back({std::move(generator), view});
}

void ScanLights::FitMaps(Light& light, IShadowScene& shadows, std::span<const Point3> visible) {
    Matrix3 axes = light.transform;
    axes.NoTrans();
    Matrix3 toLight = Inverse(axes);
    Point3 eye = m_scene.camera.transform.GetTrans();
    float nearest = 1e30f, furthest = 0;
    for (const Point3& p : visible) {
        float distance = Length(p - eye);
        nearest = std::min(nearest, distance), furthest = std::max(furthest, distance);
    }
    Box3 boxes[kMaxSquares];
    float limits[kMaxSquares];
    nearest = std::max(nearest, furthest * 1e-4f);
    for (int i = 0; i < kMaxSquares; ++i)
        limits[i] = nearest * std::pow(furthest / nearest, float(i + 1) / kMaxSquares);
    for (const Point3& p : visible) {
        float distance = Length(p - eye);
        for (int i = 0; i < kMaxSquares; ++i)
            if (distance <= limits[i] || i == kMaxSquares - 1) boxes[i] += p * toLight;
    }
    auto half = [](const Box3& box) {
        return std::max({box.Width().x, box.Width().y, 1e-3f}) / 2 * kSquareMargin;
    };
    std::vector<Box3> chosen;
    for (int i = kMaxSquares - 1; i >= 0; --i)
        if (!boxes[i].IsEmpty() &&
            (chosen.empty() || half(boxes[i]) < kWorthMore * half(chosen.back())))
            chosen.push_back(boxes[i]);
    for (size_t i = chosen.size(); i-- > 0;) {
        Matrix3 place = axes;
        place.SetTrans(chosen[i].Center() * axes);
        AddMap(light, shadows, place, half(chosen[i]));
        if (shadows.Progress(0, 1) == false) return;
    }
}

void ScanLights::Update(IShadowScene& shadows, std::span<const Point3> visible) {
    for (Light& light : m_lights) {
        light.maps.clear();
        if (!light.shadow.casts || visible.empty()) continue;
        if (light.kind == LightKind::kDirectional) {
            FitMaps(light, shadows, visible);
        } else if (light.kind == LightKind::kSpot) {
            AddMap(light, shadows, light.transform, kSpotDegrees * kPi / 180 * kAngleMargin);
        } else {
            for (int side = 0; side < 6; ++side)
                AddMap(light, shadows, SideFrame(light.transform.GetTrans(), side),
                       kPi / 2 * kAngleMargin);
            if (light.maps.size() < 6) light.maps.clear();  // refused, which has been told
        }
        if (!shadows.Progress(0, 1)) return;
    }
}

const ScanLights::Map* ScanLights::MapAt(const Light& light, const Point3& position) const {
    if (light.maps.empty()) return nullptr;
    if (light.kind == LightKind::kPoint)
        return &light.maps[size_t(SideOf(position - light.transform.GetTrans()))];
    if (light.kind == LightKind::kSpot) return &light.maps[0];
    for (const Map& map : light.maps) {
        Point3 p = position * map.view.worldToLight;
        float reach = std::max(std::fabs(p.x), std::fabs(p.y)) * map.view.scale;
        if (reach < float(map.view.size) / 2) return &map;
    }
    return nullptr;
}

float ScanLights::LitShare(const Light& light, const Surface& surface,
                           const ShadeContext& sc) const {
    const Map* map = MapAt(light, surface.position);
    if (!map) return 1;
    MapPlace p = PlaceInMap(map->view, surface.position, surface.faceNormal);
    if (map->view.isPerspective && !(p.z > 0)) return 1;
    return map->generator->Sample(sc, p.x, p.y, p.z, p.xSlope, p.ySlope);
}

Color ScanLights::Reflected(const Surface& s, const ShadeContext& sc) const {
    Color sum;
    for (const Light& light : m_lights) {
        Point3 toLight = light.transform.row[2];
        Color irradiance = light.irradiance;
        if (light.kind != LightKind::kDirectional) {
            toLight = Normalize(light.transform.GetTrans() - s.position);
            if (light.kind == LightKind::kSpot)
                irradiance = irradiance * SpotShare(DotProd(toLight, light.transform.row[2]));
        }
        float cosine = DotProd(s.normal, toLight);
        float share = cosine > 0 ? 1 - s.translucency : s.translucency;
        bool isFront = DotProd(s.faceNormal, toLight) > 0;
        // A surface that faces away by its plane is dark even where its smooth normal is lit.
        if (share <= 0 || (s.translucency == 0 && !isFront) || irradiance == Color{}) continue;
        float lit = LitShare(light, s, sc);
        if (lit <= 0) continue;
        sum = sum + s.albedo * irradiance * (share * std::fabs(cosine) / kPi * lit);
        if (s.glossy.Exists() && isFront)
            sum = sum + irradiance * s.glossy.Reflected(s.normal, s.view, toLight) * lit;
    }
    return sum;
}

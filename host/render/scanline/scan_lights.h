// The lights of a scanline picture, with shadows out of maps.
//
// A directional light has up to four maps, each over a square around the places that the picture
// shows within some distance, so that near shadows are sharp and far ones are there (after
// Lauritzen et al. 2011, "Sample Distribution Shadow Maps"). A spot has one map over its cone, a
// point light six, one a side of a cube. Const and thread safe after Update.
#pragma once

#include <memory>
#include <vector>

#include "host/render/render_scene.h"
#include "host/render/sky.h"
#include "host/render/surface.h"
#include "host/scene/shadow_map.h"

class ScanLights {
public:
    // The scene's lights, and the sun as the sky has it.
    ScanLights(const RenderScene& scene, const SkyModel& sky);

    // Makes the maps. visible: places that the picture shows, world space.
    void Update(IShadowScene& shadows, std::span<const Point3> visible);

    // What a surface sends towards its viewer of the light of all lights, by its colour, its
    // translucency and its glossy layer. sc: the place as its shadow type asks.
    Color Reflected(const Surface& surface, const ShadeContext& sc) const;

private:
    struct Map {
        std::unique_ptr<ShadowGenerator> generator;
        ShadowView view;
    };
    struct Light {
        LightKind kind;
        Matrix3 transform;  // unit axes
        Color irradiance;
        LightShadow shadow;
        std::vector<Map> maps;  // from the smallest square to the largest; by side
    };
    void Add(LightKind kind, const LightShadow& shadow, const Point3& toLight, Color irradiance);
    void AddMap(Light& light, IShadowScene& shadows, const Matrix3& lightToWorld, float param);
    void FitMaps(Light& light, IShadowScene& shadows, std::span<const Point3> visible);
    const Map* MapAt(const Light& light, const Point3& position) const;
    float LitShare(const Light& light, const Surface& surface, const ShadeContext& sc) const;

    const RenderScene& m_scene;
    std::shared_ptr<ShadowMapType> m_defaultType = NewDefaultShadowMapType();
    std::vector<Light> m_lights;
};

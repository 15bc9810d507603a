// Small scenes for the ray tracer's tests: known light, plain materials, a list of instances.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "host/geom/primitives.h"
#include "host/render/ray_tracer.h"
#include "host/render/render_texture.h"
#include "host/scene/instance_source.h"

// Instances held in a vector, all with one material.
class ListSource : public IInstanceSource {
public:
    std::vector<Mesh> prototypes;
    std::shared_ptr<Mtl> mtl;
    std::vector<InstanceRecord> instances;

    std::string SourceName() const override { return "list"; }
    size_t NumPrototypes() const override { return prototypes.size(); }
    std::string PrototypeName(size_t) const override { return "prototype"; }
    const Mesh* PrototypeMesh(size_t i) const override { return &prototypes[i]; }
    Mtl* PrototypeMtl(size_t) const override { return mtl.get(); }
    size_t NumInstances() const override { return instances.size(); }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override {
        std::copy_n(instances.begin() + std::ptrdiff_t(first), out.size(), out.begin());
    }
};

// Four columns a unit, alternately opaque and cut away; as an image, or computed at every point.
class ComputedStripes : public Texmap {
public:
    AColor EvalColor(const TexPoint& p) const override {
        float u = Place(p.uvw).x * 2;
        return u - std::floor(u) < 0.5f ? AColor{1, 1, 1, 1} : AColor{0, 0, 0, 1};
    }
};

inline std::shared_ptr<Texmap> MakeStripes(bool isImage = true) {
    if (!isImage) return std::make_shared<ComputedStripes>();
    auto map = std::make_shared<BitmapTex>(BitmapLoader{});
    map->SetImage(std::make_shared<Bitmap>(4, 1, 1, std::vector<uint8_t>{255, 0, 255, 0}));
    map->filter = BitmapTex::Filter::kNearest;
    return map;
}

inline std::shared_ptr<StandardMtl> MakeMtl(Color displayColor) {
    auto mtl = std::make_shared<StandardMtl>();
    mtl->diffuse = displayColor;
    return mtl;
}

// Looks straight down from `height` above the origin; x is right, y is up in the picture.
inline RenderCamera DownCamera(float height, float fov = 30) {
    return {Matrix3::Translation({0, 0, height}), fov};
}

// Sun of irradiance pi straight above, hard shadows, no sky: a white matt plane shows radiance 1.
inline RenderScene NoonScene() {
    RenderScene scene;
    scene.camera = DownCamera(10);
    scene.sun.direction = {0, 0, 1};
    scene.sun.angleDegrees = 0;
    scene.sun.irradiance = Color{3.14159265f, 3.14159265f, 3.14159265f};
    scene.sky.constant = Color{0, 0, 0};
    return scene;
}

inline Picture Draw(const RenderScene& scene, int size = 16, int samples = 16, int threads = 2,
                    int bounces = 2) {
    RenderSettings settings;
    settings.width = settings.height = size;
    settings.samples = samples;
    settings.threads = threads;
    settings.maxBounces = bounces;
    RenderOutcome outcome = RenderPicture(scene, settings);
    EXPECT_EQ(outcome.error, "");
    return std::move(outcome.picture);
}

inline Color PixelAt(const Picture& p, int x, int y) {
    return p.pixels[size_t(y) * size_t(p.width) + size_t(x)];
}

inline Color Mean(const Picture& p) {
    Color sum;
    for (Color c : p.pixels) sum = sum + c;
    return sum * (1 / float(p.pixels.size()));
}

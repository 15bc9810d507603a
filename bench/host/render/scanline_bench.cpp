// A picture of a hundred thousand spheres over a plain, and the depths of a shadow map.
//
//   build/release/bench/host_render_bench --benchmark_filter=Scan
#include "host/render/scanline/scanline_renderer.h"

#include <benchmark/benchmark.h>

#include "host/geom/primitives.h"
#include "host/render/sampler.h"
#include "host/render/scanline/shadow_scene.h"

namespace {

class Spheres : public IInstanceSource {
public:
    Spheres(size_t side, int segments) : m_side(side), m_sphere(MakeSphere(1, segments)) {}
    std::string SourceName() const override { return "spheres"; }
    size_t NumPrototypes() const override { return 1; }
    std::string PrototypeName(size_t) const override { return "sphere"; }
    const Mesh* PrototypeMesh(size_t) const override { return &m_sphere; }
    Mtl* PrototypeMtl(size_t) const override { return nullptr; }
    size_t NumInstances() const override { return m_side * m_side; }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override {
        for (size_t i = 0; i < out.size(); ++i) {
            size_t n = first + i;
            out[i].transform = Matrix3::Translation(
                {float(n % m_side) * 3, float(n / m_side) * 3, UnitFloat(HashMix(uint32_t(n)))});
        }
    }

private:
    size_t m_side;
    Mesh m_sphere;
};

struct Plain {
    Spheres spheres;
    Mesh ground = MakePlane(4000, 4000);
    RenderScene scene;

    Plain(size_t side, int segments) : spheres(side, segments) {
        scene.sources = {&spheres};
        scene.nodes = {{&ground, nullptr, Matrix3::Translation({0, 0, -1})}};
        // From a corner, over the field.
        scene.camera.transform = {
            {{0.7071f, -0.7071f, 0}, {0.2f, 0.2f, 0.96f}, {-0.68f, -0.68f, 0.28f}, {-20, -20, 30}}};
    }
};

void ScanPicture(benchmark::State& state) {
    Plain plain{size_t(state.range(0)), 16};
    ScanlineRenderer renderer(plain.scene);
    RenderSettings settings{960, 540, 4, 2, int(state.range(1)), 0};
    for (auto _ : state) benchmark::DoNotOptimize(renderer.Render(settings).picture.pixels.data());
    state.counters["instances/s"] = benchmark::Counter(
        double(plain.spheres.NumInstances()), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(ScanPicture)
    ->Args({100, 1})
    ->Args({316, 1})
    ->Args({316, 2})
    ->Unit(benchmark::kMillisecond);

void ScanShadowDepths(benchmark::State& state) {
    Plain plain{316, 8};
    ScanScene geometry(plain.scene);
    ScanShadowScene shadows(geometry, int(state.range(0)), [] { return UINT64_MAX; });
    ShadowView view;
    view.worldToLight = Matrix3::Translation({-474, -474, 0});
    view.size = 1024;
    view.scale = 1024 / 950.f;
    std::vector<float> depths;
    for (auto _ : state) {
        depths.assign(1024 * 1024, 1e30f);
        shadows.DrawDepth(view, depths);
        benchmark::DoNotOptimize(depths.data());
    }
}
BENCHMARK(ScanShadowDepths)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

}  // namespace

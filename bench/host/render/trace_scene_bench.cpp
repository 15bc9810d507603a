// A million trees of 50,000 triangles: how long and how much memory their hierarchy takes, and how
// many rays a second one thread sends through them.
//
//   build/release/bench/host_render_bench
#include "host/render/trace_scene.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cmath>
#include <fstream>

#include "host/geom/primitives.h"
#include "host/render/sampler.h"

namespace {

class Forest : public IInstanceSource {
public:
    explicit Forest(size_t side) : m_side(side) {}
    std::string SourceName() const override { return "forest"; }
    size_t NumPrototypes() const override { return 1; }
    std::string PrototypeName(size_t) const override { return "tree"; }
    const Mesh* PrototypeMesh(size_t) const override { return &m_tree; }
    Mtl* PrototypeMtl(size_t) const override { return nullptr; }
    size_t NumInstances() const override { return m_side * m_side; }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override {
        for (size_t i = 0; i < out.size(); ++i) {
            size_t n = first + i;
            float turn = UnitFloat(HashMix(uint32_t(n))) * 6.2831853f;
            out[i].transform =
                Matrix3::RotationZ(turn) *
                Matrix3::Translation({float(n % m_side) * 3, float(n / m_side) * 3, 2});
            out[i].id = int32_t(n);
        }
    }

private:
    size_t m_side;
    Mesh m_tree = MakeSphere(2, 224);  // 49,728 triangles
};

size_t ResidentBytes() {
    size_t total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * size_t(sysconf(_SC_PAGESIZE));
}

void BuildForest(benchmark::State& state) {
    Forest forest{size_t(state.range(0))};
    RenderScene scene;
    scene.sources = {&forest};
    double bytes = 0;
    for (auto _ : state) {
        size_t before = ResidentBytes();
        TraceScene trace(scene);
        bytes = double(ResidentBytes()) - double(before);
    }
    double items = double(forest.NumInstances());
    state.counters["bytes/item"] = bytes / items;
    state.counters["items/s"] =
        benchmark::Counter(items, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BuildForest)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(1);

void TraceForest(benchmark::State& state) {
    Forest forest{size_t(state.range(0))};
    RenderScene scene;
    scene.sources = {&forest};
    TraceScene trace(scene);
    float width = float(state.range(0)) * 3;
    uint32_t n = 0;
    size_t hits = 0;
    for (auto _ : state) {
        TraceRay ray;
        ray.origin = {UnitFloat(HashMix(++n)) * width, UnitFloat(HashMix(n + 99)) * width, 30};
        ray.direction = Normalize({UnitFloat(HashMix(n + 7)) - 0.5f, 0.8f, -0.5f});
        TraceHit hit;
        hits += trace.Intersect(ray, &hit);
    }
    benchmark::DoNotOptimize(hits);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(TraceForest)->Arg(100)->Arg(1000);

}  // namespace

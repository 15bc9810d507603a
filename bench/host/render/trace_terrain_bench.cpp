// A terrain in the ray tracer as a height field and as the triangles that it stands for: rays a
// second of one thread, and memory. View rays look over the land, shadow rays leave it towards a
// low sun, normals are those of a hit.
//
//   build/release/bench/host_render_bench --benchmark_filter=Terrain
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cmath>
#include <fstream>

#include "host/render/sampler.h"
#include "host/render/trace_scene.h"

namespace {

constexpr float kSide = 2000;  // units

const HeightField& Terrain(size_t samples) {
    static std::unique_ptr<HeightField> field;
    if (field && field->NumColumns() == samples) return *field;
    std::vector<float> heights;
    for (size_t j = 0; j < samples; ++j)
        for (size_t i = 0; i < samples; ++i) {
            float x = kSide * float(i) / float(samples), y = kSide * float(j) / float(samples);
            heights.push_back(60 * std::sin(0.013f * x) * std::cos(0.017f * y) +
                              12 * std::sin(0.061f * x + 0.047f * y) +
                              2 * std::sin(0.31f * x) * std::sin(0.27f * y));
        }
    field = std::make_unique<HeightField>(samples, samples, Point2{kSide, kSide}, heights);
    return *field;
}

// range(0): samples a side; range(1): as triangles.
struct Ground {
    RenderScene scene;
    Mesh mesh;
    std::unique_ptr<TraceScene> trace;
    double bytes = 0;

    explicit Ground(const benchmark::State& state) {
        const HeightField& field = Terrain(size_t(state.range(0)));
        size_t before = ResidentBytes();
        if (state.range(1)) mesh = field.MakeMesh();
        scene.nodes = {{state.range(1) ? &mesh : nullptr, nullptr, {}, nullptr}};
        if (!state.range(1)) scene.nodes[0].heights = &field;
        trace = std::make_unique<TraceScene>(scene);
        bytes = double(ResidentBytes()) - double(before);
        if (!state.range(1)) bytes += double(field.BytesHeld());
    }
    static size_t ResidentBytes() {
        size_t total = 0, resident = 0;
        std::ifstream("/proc/self/statm") >> total >> resident;
        return resident * size_t(sysconf(_SC_PAGESIZE));
    }
    void Count(benchmark::State& state, size_t hits) const {
        state.SetItemsProcessed(state.iterations());
        state.counters["B/sample"] = bytes / double(state.range(0) * state.range(0));
        state.counters["hits"] = double(hits) / double(state.iterations());
    }
};

// Rays of a picture, pixel after pixel.
TraceRay ViewRay(uint32_t n) {
    constexpr uint32_t kWidth = 640, kHeight = 360;
    float x = (float(n % kWidth) + UnitFloat(HashMix(n))) / kWidth - 0.5f;
    float y = (float(n / kWidth % kHeight) + UnitFloat(HashMix(n + 1))) / kHeight - 0.5f;
    TraceRay ray;
    ray.origin = {0, -0.45f * kSide, 130};
    ray.direction = Normalize({x, 1, -0.1f - 0.5f * y});
    return ray;
}

void TerrainView(benchmark::State& state) {
    Ground ground(state);
    uint32_t n = 0;
    size_t hits = 0;
    for (auto _ : state) {
        TraceHit hit;
        hits += ground.trace->Intersect(ViewRay(n++), &hit);
    }
    ground.Count(state, hits);
}

// The hits of view rays, with what shading asks of them.
std::vector<TraceHit> Hits(const Ground& ground, std::vector<Point3>* places) {
    std::vector<TraceHit> hits;
    for (uint32_t n = 0; n < 1 << 16; ++n) {
        TraceHit hit;
        TraceRay ray = ViewRay(n * 3);
        if (!ground.trace->Intersect(ray, &hit)) continue;
        hits.push_back(hit);
        places->push_back(ray.origin + ray.direction * hit.distance + Point3{0, 0, 0.01f});
    }
    return hits;
}

void TerrainShadow(benchmark::State& state) {
    Ground ground(state);
    std::vector<Point3> places;
    Hits(ground, &places);
    size_t n = 0, hits = 0;
    TraceRay ray;
    ray.direction = Normalize({0.7f, -0.5f, 0.35f});
    for (auto _ : state) {
        ray.origin = places[n++ % places.size()];
        hits += ground.trace->IsOccluded(ray);
    }
    ground.Count(state, hits);
}

void TerrainNormal(benchmark::State& state) {
    Ground ground(state);
    std::vector<Point3> places;
    std::vector<TraceHit> hits = Hits(ground, &places);
    size_t n = 0;
    for (auto _ : state) benchmark::DoNotOptimize(hits[n++ % hits.size()].Normal());
    ground.Count(state, size_t(state.iterations()));
}

void BothKinds(benchmark::internal::Benchmark* b) {
    for (int64_t kind : {1, 0}) b->Args({1024, kind});
    b->Args({8192, 0});
}

BENCHMARK(TerrainView)->Apply(BothKinds);
BENCHMARK(TerrainShadow)->Apply(BothKinds);
BENCHMARK(TerrainNormal)->Apply(BothKinds);

}  // namespace

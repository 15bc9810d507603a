// Taking overlapping items out: 1 percent trees of radius 2 to 4, 19 percent shrubs of 0.5 to 1 and
// 80 percent small plants of 0.1 to 0.3, at a density of two items a unit of ground whatever their
// number.
//
//   build/release/bench/dravin_engine_bench --benchmark_filter=Collisions
#include <benchmark/benchmark.h>

#include <cmath>

#include "Dravin/engine/collisions.h"
#include "common/nurandom/nurandom.h"

namespace {

float MixedRadius(TNuRandom& random) {
    float u = random.Random(), v = random.Random();
    if (u < 0.01f) return 2 + 2 * v;
    return u < 0.20f ? 0.5f + 0.5f * v : 0.1f + 0.2f * v;
}

std::vector<TCollisionSphere> MixedSpheres(size_t count) {
    TNuRandom random(7);
    float height = std::sqrt(float(count) / 4), width = 2 * height;
    std::vector<TCollisionSphere> spheres;
    for (size_t i = 0; i < count; ++i) {
        float x = random.Random() * width, y = random.Random() * height;
        spheres.push_back({{x, y, 0}, MixedRadius(random), uint32_t(i)});
    }
    return spheres;
}

// range(0): items; range(1): threads.
void Collisions(benchmark::State& state) {
    std::vector<TCollisionSphere> spheres = MixedSpheres(size_t(state.range(0)));
    size_t removed = 0;
    for (auto _ : state) {
        std::vector<uint8_t> discarded = FindCollisions(spheres, int(state.range(1)));
        removed = size_t(std::count(discarded.begin(), discarded.end(), 1));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["kept"] = double(spheres.size() - removed);
}

BENCHMARK(Collisions)
    ->ArgsProduct({{100000, 1000000, 10000000}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace

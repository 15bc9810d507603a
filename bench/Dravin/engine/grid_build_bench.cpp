// Whole builds of a grid of items on a terrain, and the two parts that dominate them: the index of
// the surface, and the vertical rays through it, on triangles and on a height field.
//
//   build/release/bench/dravin_engine_bench
//
// Terrain and input are made before the clock starts. GridBuild makes a new item list each time, so
// it pays for its memory; GridRebuild builds again into a list that has it. B/item is what the list
// holds, peak B/item how far the process grew over its size before the build.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

#include "bench/Dravin/engine/terrain_input.h"

namespace {

constexpr size_t kMillion = 1000000;

// The last terrain made; benchmarks that share one run in a row.
std::shared_ptr<const Mesh> Terrain(size_t numTriangles) {
    static std::shared_ptr<const Mesh> terrain;
    static size_t made = 0;
    if (made != numTriangles) {
        terrain.reset();
        terrain = MakeTerrain(numTriangles);
        made = numTriangles;
    }
    return terrain;
}

// Sets the peak of the process back to its present size (Linux only; elsewhere the peak stays).
void ResetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

double PeakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) * 1024;
}

void SetCounters(benchmark::State& state, const TDravinItemList& items, double grownBytes) {
    double count = double(items.Count());
    state.SetItemsProcessed(state.iterations() * int64_t(items.Count()));
    state.counters["items"] = count;
    state.counters["B/item"] = double(items.BytesHeld()) / count;
    state.counters["peak B/item"] = grownBytes / count;
}

bool BuildOnce(benchmark::State& state, const TBuildInput& input, TDravinItemList& items) {
    TBuildStatistics statistics;
    if (BuildItemArray(input, items, statistics) == TBuildStatus::kSuccess && !items.IsEmpty())
        return true;
    state.SkipWithError("the build failed");
    return false;
}

// range(0): items; range(1): threads.
void GridBuild(benchmark::State& state) {
    TBuildInput input =
        TerrainInput(Terrain(kMillion), double(state.range(0)), int(state.range(1)));
    ResetPeak();
    double before = PeakBytes(), grown = 0;
    TDravinItemList last;
    for (auto _ : state) {
        state.PauseTiming();
        last.Release();
        state.ResumeTiming();
        TDravinItemList items;
        if (!BuildOnce(state, input, items)) break;
        state.PauseTiming();
        grown = PeakBytes() - before;
        last = std::move(items);
        state.ResumeTiming();
    }
    if (!last.IsEmpty()) SetCounters(state, last, grown);
}

void GridRebuild(benchmark::State& state) {
    TBuildInput input =
        TerrainInput(Terrain(kMillion), double(state.range(0)), int(state.range(1)));
    ResetPeak();
    double before = PeakBytes();
    TDravinItemList items;
    if (!BuildOnce(state, input, items)) return;
    for (auto _ : state)
        if (!BuildOnce(state, input, items)) return;
    SetCounters(state, items, PeakBytes() - before);
}

// A million items on surfaces of range(0) triangles; one thread.
void GridOnTriangles(benchmark::State& state) {
    TBuildInput input = TerrainInput(Terrain(size_t(state.range(0))), kMillion, 1);
    TDravinItemList items;
    if (!BuildOnce(state, input, items)) return;
    for (auto _ : state)
        if (!BuildOnce(state, input, items)) return;
    state.SetItemsProcessed(state.iterations() * int64_t(items.Count()));
}

// range(0): triangles; range(1): threads.
void SurfaceIndex(benchmark::State& state) {
    std::shared_ptr<const Mesh> terrain = Terrain(size_t(state.range(0)));
    size_t bytes = 0;
    for (auto _ : state) {
        TSurfXYArray array(terrain, int(state.range(1)));
        bytes = array.BytesHeld();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(terrain->faces.size()));
    state.counters["B/triangle"] = double(bytes) / double(terrain->faces.size());
}

// Rays half a metre apart over a centred terrain, row after row as a build sends them; one thread.
void SendRays(benchmark::State& state, const TSurfXYArray& array) {
    int64_t rays = 0, hits = 0;
    float endX = float(kTerrainX) / 2, endY = float(kTerrainY) / 2;
    for (auto _ : state)
        for (float y = 0.25f - endY; y < endY; y += 0.5f)
            for (float x = 0.25f - endX; x < endX; x += 0.5f) {
                TSurfHit hit;
                hits += array.CellHit(x, y, &hit);
                ++rays;
            }
    if (hits != rays) state.SkipWithError("a ray missed the terrain");
    state.SetItemsProcessed(rays);
}

// The triangles of a height field, and the field itself: the same surface twice.
void SurfaceRays(benchmark::State& state) {
    auto mesh = std::make_shared<Mesh>(MakeTerrainHeights(size_t(state.range(0)))->MakeMesh());
    TSurfXYArray array(mesh);
    SendRays(state, array);
    state.counters["B/triangle"] =
        double(array.BytesHeld() + mesh->verts.size() * sizeof(Point3) * 2 +
               mesh->faces.size() * (sizeof(Face) + sizeof(Triple))) /
        double(mesh->faces.size());
}

void HeightFieldRays(benchmark::State& state) {
    std::shared_ptr<const HeightField> field = MakeTerrainHeights(size_t(state.range(0)));
    SendRays(state, TSurfXYArray(field));
    state.counters["B/triangle"] = double(field->BytesHeld()) / double(field->NumFaces());
}

void ItemsAndThreads(benchmark::internal::Benchmark* b) {
    for (int threads : {1, 2})
        for (int64_t items : {100000, 1000000, 10000000}) b->Args({items, threads});
}

BENCHMARK(GridBuild)->Apply(ItemsAndThreads)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(GridRebuild)->Apply(ItemsAndThreads)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(SurfaceIndex)
    ->Args({kMillion, 1})
    ->Args({kMillion, 2})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(SurfaceRays)->Arg(kMillion)->Unit(benchmark::kMillisecond);
BENCHMARK(HeightFieldRays)->Arg(kMillion)->Arg(64 * kMillion)->Unit(benchmark::kMillisecond);
BENCHMARK(GridOnTriangles)
    ->RangeMultiplier(10)
    ->Range(1000, 10000000)
    ->Unit(benchmark::kMillisecond);

}  // namespace

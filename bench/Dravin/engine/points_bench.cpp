// Items along a path, at reference objects and at particles, and over a surface's mapping.
//
//   build/release/bench/dravin_engine_bench --benchmark_filter='Path|References|Particles|Uv'
#include <benchmark/benchmark.h>

#include "bench/Dravin/engine/terrain_input.h"
#include "bench/Dravin/engine/wavy_outline.h"
#include "common/nurandom/nurandom.h"

namespace {

TBuildInput PointsInput(int mode, int64_t threads) {
    TBuildInput input;
    input.distributionMode = mode;
    input.threads = int(threads);
    input.specimens = {CubeSpecimen(50), CubeSpecimen(50)};
    input.displayLimit = int64_t(1) << 40;
    TTransformSettings& t = input.transforms;
    t.applyTranslation = t.applyRotation = t.applyScale = t.mirror = true;
    return input;
}

bool BuildOnce(benchmark::State& state, const TBuildInput& input, TDravinItemList& items) {
    TBuildStatistics statistics;
    if (BuildItemArray(input, items, statistics) == TBuildStatus::kSuccess && !items.IsEmpty())
        return true;
    state.SkipWithError("the build failed");
    return false;
}

// Builds again and again into a list that has its memory.
void Rebuild(benchmark::State& state, const TBuildInput& input) {
    TDravinItemList items;
    if (!BuildOnce(state, input, items)) return;
    for (auto _ : state)
        if (!BuildOnce(state, input, items)) return;
    state.SetItemsProcessed(state.iterations() * int64_t(items.Count()));
    state.counters["items"] = double(items.Count());
}

// range(0): items, evenly spaced along lines of 2,000 segments with 10,000 items each; range(1):
// threads.
void Path(benchmark::State& state) {
    constexpr int64_t kItemsPerLine = 10000;
    TBuildInput input = PointsInput(kDistPath, state.range(1));
    TPathNode node;
    for (int64_t i = 0; i < state.range(0); i += kItemsPerLine)
        node.lines.emplace_back(WavyShape(2000).lines[0]);
    input.points.path.spacing = node.lines[0].Length() / float(kItemsPerLine);
    input.points.path.nodes = {std::move(node)};
    Rebuild(state, input);
}

// range(0): reference objects; range(1): threads.
void References(benchmark::State& state) {
    TBuildInput input = PointsInput(kDistReference, state.range(1));
    TNuRandom random(3);
    for (int64_t i = 0; i < state.range(0); ++i) {
        TReferenceObject object;
        object.point = {random.Random() * 1000, random.Random() * 500, 0};
        object.sourceTransform = Matrix3::RotationZ(random.Random());
        input.points.reference.objects.push_back(object);
    }
    Rebuild(state, input);
}

// range(0): particles of one system; range(1): threads.
void Particles(benchmark::State& state) {
    TBuildInput input = PointsInput(kDistParticles, state.range(1));
    TNuRandom random(4);
    std::vector<TParticle> system;
    for (int64_t i = 0; i < state.range(0); ++i) {
        TParticle particle;
        particle.point = {random.Random() * 1000, random.Random() * 500, random.Random() * 50};
        particle.rotation = {0, 0, random.Random()};
        system.push_back(particle);
    }
    input.points.particles.systems.push_back(std::move(system));
    Rebuild(state, input);
}

// The terrain's plan as its texture coordinates.
std::shared_ptr<const Mesh> MappedTerrain(size_t numTriangles) {
    auto mesh = std::make_shared<Mesh>(*MakeTerrain(numTriangles));
    MapChannel& map = mesh->MakeMap(1);
    for (const Point3& p : mesh->verts)
        map.verts.push_back({p.x / float(kTerrainX), p.y / float(kTerrainX), 0});
    for (const Face& face : mesh->faces) map.faces.push_back(face.v);
    return mesh;
}

// range(0): items, about; range(1): threads. On a surface of 100,000 triangles.
void Uv(benchmark::State& state) {
    TBuildInput input =
        TerrainInput(MappedTerrain(100000), double(state.range(0)), int(state.range(1)));
    input.surfaceMode = kSurfaceUV;
    input.transforms.scatterUv = true;
    input.surfaces[0].uv = TSurfUVArray::Make(MappedTerrain(100000), 1);
    Rebuild(state, input);
}

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({10000, 1})->Args({100000, 1})->Args({1000000, 1})->Args({1000000, 2});
    bench->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(Path)->Apply(Sizes);
BENCHMARK(References)->Apply(Sizes);
BENCHMARK(Particles)->Apply(Sizes);
BENCHMARK(Uv)->Apply(Sizes);

}  // namespace

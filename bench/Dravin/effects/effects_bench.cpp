// Effects in whole builds: what chained programs add to a grid of a million items on a terrain.
//
//   build/release/bench/effects_bench
//
// The first argument is the number of effects: none; the distance scale; that, a thinning with a
// random number and a tint by altitude. The second is the number of threads. The third sends every
// item through the plain machine instead of batches (1).
#include <benchmark/benchmark.h>

#include <cmath>

#include "Dravin/effects/effect_programs.h"
#include "Dravin/effects/tavuvm_expr/expr_lang.h"
#include "bench/Dravin/engine/terrain_input.h"

namespace {

const char* const kPrograms[] = {
    "vector v = dpItem.position - [500,250,0];\n"
    "real t = min(1.0, max(0.0, (length(v) - 50) * 0.004));\n"
    "real s = 0.4 + 0.9 * (t * t * (3 - 2 * t));\n"
    "real r = randomReal(0.0, 1.0);\n"
    "s = if(r < 0.2, s * 0.5, s);\n"
    "dpItem.scale = dpItem.scale * s;\n"
    "dpItem.position.z = dpItem.position.z - 0.1 * s * r;\n"
    "dpItem.rotation.z = dpItem.rotation.z + r;\n",
    "dpItem.visible = randomReal(0.0, 1.0) > dpItem.surfSlope * 0.5;\n",
    "real h = min(1.0, max(0.0, dpItem.position.z * 0.04 + 0.5));\n"
    "dpItem.tintColor = [0.2, 0.4, 0.1] + h * [0.6, 0.3, 0.2];\n"
    "dpItem.tintMult = 0.5;\n",
};
// Every item is built again: another geometry for some, angles of their own for all.
const char* const kReplacing =
    "dpItem.geomID = randomReal(0.0, 1.0) < 0.3;\n"
    "dpItem.randRotMin = [0, 0, 0]; dpItem.randRotMax = [0, 0, 40 + 100 * dpItem.surfSlope];\n";

void Add(const char* source, TEffectPrograms& all) {
    TEffectNames names;
    auto compiled = names.names.compile(source);
    all.programs.emplace_back(compiled.code, names.names.initial_values(), names.itemSlot);
}

TEffectPrograms Programs(size_t count, bool plainOnly) {
    TEffectPrograms all;
    all.plainOnly = plainOnly;
    for (size_t i = 0; i < count; ++i) Add(kPrograms[i], all);
    return all;
}

void Build(benchmark::State& state, int threads, const TEffectPrograms& programs) {
    static const std::shared_ptr<const Mesh> terrain = MakeTerrain(1000000);
    TBuildInput input = TerrainInput(terrain, 1e6, threads);
    if (!programs.programs.empty()) {
        input.effects = &programs;
        input.areaFalloffs.effectsActive = true;
    }
    TDravinItemList items;
    TBuildStatistics statistics;
    // Built before, so that the list has its memory: what is measured is a rebuild.
    auto build = [&] { return BuildItemArray(input, items, statistics) == TBuildStatus::kSuccess; };
    if (!build()) state.SkipWithError("the build failed");
    for (auto _ : state)
        if (!build()) state.SkipWithError("the build failed");
    state.SetItemsProcessed(state.iterations() * 1000000);
    state.counters["items"] = double(items.Count());
    state.counters["B/item"] = double(items.BytesHeld()) / double(items.Count());
}

void GridBuildWithEffects(benchmark::State& state) {
    Build(state, int(state.range(1)), Programs(size_t(state.range(0)), state.range(2) != 0));
}
BENCHMARK(GridBuildWithEffects)
    ->ArgNames({"effects", "threads", "plain"})
    ->ArgsProduct({{0, 1, 3}, {1, 2}, {0}})
    ->Args({3, 2, 1})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

void GridBuildWithReplacedItems(benchmark::State& state) {
    TEffectPrograms programs;
    Add(kReplacing, programs);
    Build(state, int(state.range(0)), programs);
}
BENCHMARK(GridBuildWithReplacedItems)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// One parameter asked for every item of a batch.
void Parameter(benchmark::State& state, const char* source) {
    const CurvePoint points[] = {{.px = 0, .py = 0, .outx = 0.3f, .outy = 0.1f},
                                 {.px = 1, .py = 1, .inx = -0.3f, .iny = 0}};
    CoordinateMap map;
    TEffectPrograms all;
    all.curves.push_back(std::make_unique<BezierCurve>(points));
    all.textures = {&map};
    TEffectNames names;
    names.names.declare_variable("shape", tavuvm_expr::type_code::curve, 0);
    names.names.declare_variable("paint", tavuvm_expr::type_code::texmap, 0);
    auto compiled = names.names.compile(source);
    all.programs.emplace_back(compiled.code, names.names.initial_values(), names.itemSlot);

    TBuildInput input = GroundInput();
    TGeometryChoice geometry(input.geometry, input.specimens);
    auto runner = all.MakeRunner(input, geometry);
    TItemLanes lanes(kCellsInBatch, kGroupSource, false);
    auto cells = std::make_unique<TCells>();
    lanes.count = kCellsInBatch;
    for (size_t k = 0; k < lanes.count; ++k) {
        lanes.Reset(k, input.specimens[0]);
        float slope = float(k) / 256;
        lanes.face[k] = 0;
        lanes.faceNormal.Set(k, {std::sin(slope), 0, std::cos(slope)});
    }
    std::vector<TEffectOutcome> outcomes(lanes.count);
    for (auto _ : state) runner->Run({lanes, *cells, outcomes, {}});
    state.SetItemsProcessed(state.iterations() * int64_t(lanes.count));
}
BENCHMARK_CAPTURE(Parameter, Curve, "dpItem.tintMult = evaluateCurve(shape, dpItem.surfSlope);");
BENCHMARK_CAPTURE(Parameter, Texture,
                  "dpItem.tintColor = evaluateTexture(paint, dpItem.position);");

}  // namespace

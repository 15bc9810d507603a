// Seeding a generator and drawing the numbers of one item, one item after the other and in vector
// lanes.
//
//   build/release/bench/common_nurandom_bench
//
// items_per_second is the figure; its inverse is the time of an item.
#include <benchmark/benchmark.h>

#include <numeric>
#include <vector>

#include "Dravin/engine/transforms.h"
#include "common/nurandom/nurandom_batch.h"

namespace {

using DrawFunction = void (*)(std::span<const uint32_t>, size_t, std::span<uint32_t>);

// range(0): items a call; a build takes 256.
void Draws(benchmark::State& state, DrawFunction draw) {
    std::vector<uint32_t> seeds(size_t(state.range(0)));
    std::iota(seeds.begin(), seeds.end(), 123456u);
    std::vector<uint32_t> out(seeds.size() * kStepsPerItem);
    for (auto _ : state) {
        draw(seeds, kStepsPerItem, out);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        for (uint32_t& seed : seeds) ++seed;
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["time/item"] =
        benchmark::Counter(double(state.iterations()) * double(state.range(0)),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK_CAPTURE(Draws, scalar, DrawStepsScalar)->Arg(256);
BENCHMARK_CAPTURE(Draws, lanes, DrawSteps)->Arg(256);

}  // namespace

// The exact distance transform of a square mask of wavy blobs, 65 percent of it free.
//
//   build/release/bench/common_image_bench
//
// Items are pixels.
#include <benchmark/benchmark.h>

#include <cmath>

#include "common/image/distance_map.h"

namespace {

image::TImage<uint8_t> Blobs(int side) {
    image::TImage<uint8_t> mask(side, side);
    double w = 64.0 / side;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            double a = std::sin(1.1 * w * x + 2 * std::sin(0.7 * w * y)) +
                       std::sin(1.3 * w * y + 2 * std::cos(0.6 * w * x)) +
                       0.7 * std::sin(2.1 * w * (x + y));
            mask.At(x, y) = a > -0.55 ? 0 : 255;
        }
    return mask;
}

// range(0): side in pixels; range(1): threads.
void ExactDistances(benchmark::State& state) {
    int side = int(state.range(0));
    image::TImage<uint8_t> mask = Blobs(side);
    for (auto _ : state) {
        image::TImage<float> map = image::DistanceMap(mask, false, int(state.range(1)));
        benchmark::DoNotOptimize(map.At(side / 2, side / 2));
    }
    state.SetItemsProcessed(state.iterations() * side * side);
}

BENCHMARK(ExactDistances)
    ->ArgsProduct({{1024, 4096}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

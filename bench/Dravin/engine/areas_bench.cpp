// Areas: whether a point lies in an outline of 2,000 segments, how far it is from the border, and a
// whole build of a grid under such a mask with falloff.
//
//   build/release/bench/dravin_engine_bench --benchmark_filter='Area|Mask'
//
// Points lie over a ground of 1000 x 500, about 39 percent of them inside.
#include <benchmark/benchmark.h>

#include "Dravin/engine/areas/areas.h"
#include "bench/Dravin/engine/terrain_input.h"
#include "bench/Dravin/engine/wavy_outline.h"
#include "common/nurandom/nurandom.h"

namespace {

constexpr size_t kNumPoints = 1 << 20;
constexpr float kFalloff = 10;

std::vector<Point2> RandomPoints() {
    TNuRandom random(1);
    std::vector<Point2> points;
    for (size_t i = 0; i < kNumPoints; ++i) {
        float x = random.Random() * float(kTerrainX);
        points.push_back({x, random.Random() * float(kTerrainY)});
    }
    return points;
}

// range(0): segments. Points in random order, one at a time.
void AreaPoints(benchmark::State& state) {
    TPolyArea area = TPolyArea::Polygon(WavyOutline(int(state.range(0))));
    std::vector<Point2> points = RandomPoints();
    size_t inside = 0;
    for (auto _ : state)
        for (Point2 p : points) inside += area.Inside(p);
    state.SetItemsProcessed(state.iterations() * int64_t(points.size()));
    state.counters["inside"] = double(inside) / (double(state.iterations()) * kNumPoints);
}

// Points half a unit apart, row after row, as a grid asks for them.
void AreaRows(benchmark::State& state) {
    TAreaRow row;
    row.shape = WavyShape(int(state.range(0)));
    TAreas areas = BuildAreas(std::span(&row, 1), {});
    TAreaSettings ground;
    TAreaTest test(areas, &areas.include[0], ground);
    TAreaTest::Row span(test);
    int64_t points = 0, inside = 0;
    for (auto _ : state)
        for (float y = 0.25f; y < float(kTerrainY); y += 0.5f) {
            span.Start(y);
            for (float x = 0.25f; x < float(kTerrainX); x += 0.5f, ++points)
                inside += span.Passes(x);
        }
    state.SetItemsProcessed(points);
    state.counters["inside"] = double(inside) / double(points);
}

// Distance and nearest point of the border, for points within the falloff's range of it, in random
// order.
void AreaBorder(benchmark::State& state) {
    TPolyArea area = TPolyArea::Polygon(WavyOutline(int(state.range(0))));
    std::vector<Point2> points = RandomPoints();
    std::erase_if(points, [&](Point2 p) { return area.NearestBorder(p).distance > kFalloff; });
    float sum = 0;
    for (auto _ : state)
        for (Point2 p : points) sum += area.NearestBorder(p).distance;
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(state.iterations() * int64_t(points.size()));
}

// The same row after row, as a grid asks for them.
void AreaBorderRows(benchmark::State& state) {
    TPolyArea area = TPolyArea::Polygon(WavyOutline(int(state.range(0))));
    std::vector<Point2> points;
    for (float y = 0.25f; y < float(kTerrainY); y += 0.5f)
        for (float x = 0.25f; x < float(kTerrainX); x += 0.5f)
            if (area.NearestBorder({x, y}).distance <= kFalloff) points.push_back({x, y});
    float sum = 0;
    TSegmentCursor cursor;
    for (auto _ : state)
        for (Point2 p : points) sum += area.NearestBorder(p, &cursor).distance;
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(state.iterations() * int64_t(points.size()));
}

// Making the area: what a change of the outline costs.
void AreaMake(benchmark::State& state) {
    std::vector<Point2> corners = WavyOutline(int(state.range(0)));
    for (auto _ : state) {
        TPolyArea area = TPolyArea::Polygon(corners);
        benchmark::DoNotOptimize(area.Bounds().min.x);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// A grid of candidates over the outline's ground, without surfaces: those inside the outline that
// pass its falloff become items. Items of the counter are candidates, the cells of the ground.
// range(0): candidates; range(1): threads.
void MaskedGrid(benchmark::State& state) {
    FalloffCurve falling = FalloffCurve::Line(100, 0);
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    input.surfaceBounds = {};
    input.density = WhiteMap(100, 100);
    input.grid.imageWidth = input.grid.imageHeight = 100;
    double cell = std::sqrt(kTerrainX * kTerrainY / double(state.range(0)));
    input.grid.unitsX = input.grid.unitsY = float(100 * cell);
    input.displayLimit = int64_t(1) << 40;
    input.threads = int(state.range(1));
    TAreaRow mask;
    mask.shape = WavyShape(2000);
    input.areas = {mask};
    input.areaFalloffs.densityCurve = input.areaFalloffs.scaleCurve = &falling;
    input.areaFalloffs.densityInclude = input.areaFalloffs.scaleInclude = kFalloff;

    TDravinItemList items;
    TBuildStatistics statistics;
    (void)BuildItemArray(input, items, statistics);  // gets the list's memory
    for (auto _ : state)
        if (BuildItemArray(input, items, statistics) != TBuildStatus::kSuccess)
            return state.SkipWithError("the build failed");
    state.SetItemsProcessed(state.iterations() * int64_t(statistics.cellsInArea));
    state.counters["items"] = double(items.Count());
}

BENCHMARK(AreaPoints)->Arg(20)->Arg(2000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK(AreaRows)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(AreaBorder)->Arg(2000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK(AreaBorderRows)->Arg(2000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK(AreaMake)->Arg(2000)->Arg(200000)->Unit(benchmark::kMicrosecond);
BENCHMARK(MaskedGrid)
    ->ArgsProduct({{1000000, 10000000}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

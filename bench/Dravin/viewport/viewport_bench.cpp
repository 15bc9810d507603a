// Pictures of viewports without a graphics card, at 1280 x 720.
//
// Arguments: items, threads. Cloud: a dot an item, all in view; Thinned: the same with a budget of
// 100,000; Click and Rectangle: what a selection waits for; Snapshot is what the window's thread
// pays for a scatter object that was built.
#include <benchmark/benchmark.h>

#include <cmath>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "Dravin/viewport/viewport_picking.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"

namespace {

struct Field {
    HostContext session;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    std::shared_ptr<const TViewportScene> shown;
    TViewportCamera camera;
    TViewportSettings settings;

    explicit Field(benchmark::State& state) : camera(MakeCamera(state.range(0))) {
        settings.threads = int(state.range(1));
        auto box = INode::Create(
            "box", std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(1, 1, 2, 1))));
        scene.AddNode(box);
        scene.AddNode("scatter", object);
        TTreeSpecList rows(
            std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
        TSpecEntry entry;
        entry.kind = kGeomCustom;
        entry.customObject = box;
        rows.AppendRow(entry);
        object->Block(kEditionParams).SetValue(editionParams::kMode, 0, 1);
        object->Block(kDispParams).SetValue(dispParams::kVmesh, 0, 3);
        auto side = size_t(std::sqrt(double(state.range(0))));
        std::vector<TStoredItem> items(side * side);
        for (size_t i = 0; i < items.size(); ++i) {
            items[i].storedPosition = {float(i % side), float(i / side), 0};
            items[i].seed = uint32_t(i * 7919 + 1);
        }
        object->SetStoredItems(std::move(items));
        TBuildFlags flags;
        flags.noLimit = true;
        object->Build().BuildMesh(0, flags);
        if (object->Build().Items().Count() != side * side)
            state.SkipWithError("the items were not built");
        shown = MakeViewportScene(scene, 0, settings.threads);
    }
    static TViewportCamera MakeCamera(int64_t count) {
        float side = std::sqrt(float(count));
        return {Matrix3::Translation({side / 2, side / 2, side * 1.1f}), 60, 1280, 720, 0.01f};
    }
};

void Cloud(benchmark::State& state) {
    Field field(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(DrawViewport(*field.shown, field.camera, field.settings));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Cloud)
    ->Args({1'000'000, 1})
    ->Args({1'000'000, 2})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void Thinned(benchmark::State& state) {
    Field field(state);
    field.settings.maxElements = 100'000;
    for (auto _ : state)
        benchmark::DoNotOptimize(DrawViewport(*field.shown, field.camera, field.settings));
}
BENCHMARK(Thinned)->Args({1'000'000, 2})->Unit(benchmark::kMillisecond)->UseRealTime();

void Click(benchmark::State& state) {
    Field field(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(HitTest(*field.shown, field.camera, 640, 360, field.settings));
}
BENCHMARK(Click)->Args({1'000'000, 2})->Unit(benchmark::kMillisecond)->UseRealTime();

void Rectangle(benchmark::State& state) {
    Field field(state);
    TPickRegion all{{0, 0, 1280, 720}, {}};
    for (auto _ : state)
        if (state.range(2) == 0)
            benchmark::DoNotOptimize(
                ItemsInRegion(*field.shown, field.camera, all, field.settings.threads));
        else
            benchmark::DoNotOptimize(
                SeenInRegion(DrawSeen(*field.shown, field.camera, field.settings), all));
}
BENCHMARK(Rectangle)
    ->Args({1'000'000, 2, 0})
    ->Args({1'000'000, 2, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void Snapshot(benchmark::State& state) {
    Field field(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(MakeViewportScene(field.scene, 0, field.settings.threads));
}
BENCHMARK(Snapshot)->Args({1'000'000, 2})->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

// Instance records of many items: what a renderer waits for between the build and the first ray.
//
// Argument: items. RenderNodes keeps its memory from call to call, as a renderer does that asks
// again for the next frame; FreshRenderNodes pays for it each time; CopyOfRecords only copies as
// many bytes by all threads, which bounds the first; HostSource is the whole way into the host's
// renderers, up to instances that are read.
#include <benchmark/benchmark.h>

#include <cstring>

#include "Dravin/dravin.h"
#include "Dravin/engine/stored_items.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "Dravin/render/host_render.h"
#include "Dravin/render/pack_interface.h"
#include "Dravin/render/render_notices.h"
#include "Dravin/render/trees_interface.h"
#include "host/base/huge_buffer.h"
#include "host/base/thread_pool.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "host/scene/renderers.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"

namespace {

struct Field {
    HostContext session;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();

    explicit Field(int64_t count) {
        StartRenderIntegration();
        session.State<Renderers>().wish.noLimit = true;
        auto box = INode::Create(
            "box", std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(2, 1, 3, 1))));
        scene.AddNode(box);
        scene.AddNode("scatter", object);
        TTreeSpecList rows(
            std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
        TSpecEntry entry;
        entry.kind = kGeomCustom;
        entry.customObject = box;
        rows.AppendRow(entry);
        for (ParamID id : {transformParams::kApplyrotation, transformParams::kApplyscale})
            object->Block(kTransformParams).SetValue(id, 0, 1);
        object->Block(kEditionParams).SetValue(editionParams::kMode, 0, 1);
        std::vector<TStoredItem> items(static_cast<size_t>(count));
        for (size_t i = 0; i < items.size(); ++i) {
            items[i].storedPosition = {float(i % 1000), float(i / 1000), 0};
            items[i].seed = uint32_t(i * 7919 + 1);
        }
        object->SetStoredItems(std::move(items));
        uint32_t features[3] = {512, 0, 0};
        TDravinPackInterface::Current().setEngineFeatures(features);
    }
    ITreesInterface& Trees() { return *TreesOf(*object); }
    bool Begin(benchmark::State& state) {
        Trees().IDravinRenderBegin(0);
        bool good = object->Build().Items().Count() == size_t(state.range(0));
        if (!good) state.SkipWithError("the items were not built");
        return good;
    }
};

void Report(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetBytesProcessed(state.iterations() * state.range(0) *
                            int64_t(sizeof(TDravinInstanceV512)));
}

void RenderNodes(benchmark::State& state) {
    Field field(state.range(0));
    if (!field.Begin(state)) return;
    int32_t count;
    for (auto _ : state) benchmark::DoNotOptimize(field.Trees().getRenderNodes(&count));
    Report(state);
}
BENCHMARK(RenderNodes)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();

void FreshRenderNodes(benchmark::State& state) {
    Field field(state.range(0));
    if (!field.Begin(state)) return;
    int32_t count;
    for (auto _ : state) {
        benchmark::DoNotOptimize(field.Trees().getRenderNodes(&count));
        field.Trees().clearRenderNodes();
    }
    Report(state);
}
BENCHMARK(FreshRenderNodes)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();

void CopyOfRecords(benchmark::State& state) {
    size_t bytes = size_t(state.range(0)) * sizeof(TDravinInstanceV512);
    HugeBuffer from(bytes), to(bytes);
    std::memset(from.Data(), 1, bytes);
    std::memset(to.Data(), 2, bytes);
    for (auto _ : state) {
        ParallelRanges(bytes, size_t{1} << 20, NumProcessors(), [&](size_t first, size_t last) {
            std::memcpy(to.Data() + first, from.Data() + first, last - first);
        });
        benchmark::ClobberMemory();
    }
    Report(state);
}
BENCHMARK(CopyOfRecords)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();

void HostSource(benchmark::State& state) {
    Field field(state.range(0));
    field.session.State<Renderers>().wish.keepsBuilds = true;
    if (!field.Begin(state)) return;
    for (auto _ : state) {
        THostRender render(field.object);
        benchmark::DoNotOptimize(render.Begin(0));
        auto sources = render.TakeSources();
        std::vector<InstanceRecord> block(16384);
        for (size_t first = 0; first < sources[0]->NumInstances(); first += block.size()) {
            size_t n = std::min(block.size(), sources[0]->NumInstances() - first);
            sources[0]->GetInstances(first, {block.data(), n});
        }
        sources.clear();
    }
    Report(state);
}
BENCHMARK(HostSource)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

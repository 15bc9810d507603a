// Operations on some of a million hand-edited items: their time, and what undo keeps of them.
#include <benchmark/benchmark.h>

#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

constexpr size_t kItems = 1'000'000;

struct EditedScene {
    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    INode* node = scene.AddNode("scatter", object);
    TItemCommands items{scene, *node, *object};

    // Every `step`-th item is selected.
    explicit EditedScene(size_t step) {
        host.SetCurrentScene(&scene);
        object->Block(kEditionParams).SetValue(editionParams::kMode, 0, 1);
        object->editingItems = true;
        std::vector<TStoredItem> list(kItems);
        for (size_t i = 0; i < kItems; ++i) {
            list[i].storedPosition = {float(i % 1000), float(i / 1000), 0};
            list[i].selected = i % step == 0;
        }
        object->SetStoredItems(std::move(list));
        scene.undo.Clear();
    }
    template <class Work>
    void Measure(benchmark::State& state, const Work& work) {
        size_t bytes = 0;
        for (auto _ : state) {
            scene.undo.Begin();
            work();
            scene.undo.Accept("step");
            state.PauseTiming();
            bytes = scene.undo.Memory();
            scene.undo.Undo();
            scene.undo.Clear();
            state.ResumeTiming();
        }
        state.counters["undo_bytes"] = double(bytes);
    }
};

size_t StepOf(const benchmark::State& state) { return kItems / size_t(state.range(0)); }

void MoveItems(benchmark::State& state) {
    EditedScene edited(StepOf(state));
    edited.Measure(state, [&] { edited.items.Move({}, {}, {1, 0, 0}); });
}
BENCHMARK(MoveItems)->Arg(1)->Arg(1000)->Arg(kItems)->Unit(benchmark::kMillisecond);

void CloneItems(benchmark::State& state) {
    EditedScene edited(StepOf(state));
    edited.Measure(state, [&] { edited.items.Clone(); });
}
BENCHMARK(CloneItems)->Arg(1000)->Unit(benchmark::kMillisecond);

void DeleteItems(benchmark::State& state) {
    EditedScene edited(StepOf(state));
    edited.Measure(state, [&] { edited.items.Delete(); });
}
BENCHMARK(DeleteItems)->Arg(1)->Arg(1000)->Unit(benchmark::kMillisecond);

void InvertSelection(benchmark::State& state) {
    EditedScene edited(StepOf(state));
    edited.Measure(state, [&] { edited.items.Select(TGeneralSelection::kInvert); });
}
BENCHMARK(InvertSelection)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace

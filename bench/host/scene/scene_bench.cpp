// A living scene: messages, undo, copies, the time.
//
//   build/release/bench/host_scene_bench
#include <benchmark/benchmark.h>

#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"

namespace {

// Passes on what it hears, as materials and modifiers do.
class Link : public ReferenceTarget {
public:
    Reference<ReferenceTarget> below{this};
};

// A change that goes up through range(0) references.
void MessageChain(benchmark::State& state) {
    auto map = std::make_shared<ColorTex>();
    std::vector<std::shared_ptr<Link>> links;
    std::shared_ptr<ReferenceTarget> top = map;
    for (int64_t i = 0; i < state.range(0); ++i) {
        links.push_back(std::make_shared<Link>());
        links.back()->below = top;
        top = links.back();
    }
    float red = 0;
    for (auto _ : state) map->color = {red += 1, 0, 0};
}

struct Forest {
    HostContext session;
    Scene scene;

    explicit Forest(int64_t nodes) {
        session.SetCurrentScene(&scene);
        auto object = std::make_shared<TriObject>();
        for (int64_t i = 0; i < nodes; ++i) scene.AddNode("tree" + std::to_string(i), object);
    }
    void Move(float by) {
        scene.undo.Begin();
        for (INode* node : scene.Nodes()) node->SetLocalTM(Matrix3::Translation({by, 0, 0}));
        scene.undo.Accept("Move");
    }
};

// range(0) nodes moved in one undo step.
void MoveNodes(benchmark::State& state) {
    Forest forest(state.range(0));
    float by = 0;
    for (auto _ : state) forest.Move(by += 1);
    state.counters["B/record"] = double(forest.scene.undo.Memory()) /
                                 double(forest.scene.undo.NumUndoSteps()) / double(state.range(0));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The same step undone and redone.
void UndoRedo(benchmark::State& state) {
    Forest forest(state.range(0));
    forest.Move(1);
    for (auto _ : state) {
        forest.scene.undo.Undo();
        forest.scene.undo.Redo();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * 2);
}

// A scene of range(0) nodes, each with an object of its own, copied.
void CloneNodes(benchmark::State& state) {
    HostContext session;
    Scene scene;
    for (int64_t i = 0; i < state.range(0); ++i)
        scene.AddNode("tree" + std::to_string(i), std::make_shared<TriObject>());
    std::vector<INode*> nodes = scene.Nodes();
    for (auto _ : state) {
        std::vector<INode*> copies = scene.CloneNodes(nodes);
        state.PauseTiming();
        while (!copies.empty()) {
            scene.DeleteNode(*copies.back());
            copies.pop_back();
        }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Places of range(0) nodes with keys at another time.
void AnimatedPlaces(benchmark::State& state) {
    Forest forest(state.range(0));
    for (INode* node : forest.scene.Nodes()) {
        auto place = std::make_shared<TransformController>();
        place->position.SetTrack({{{0, Point3{}}, {4800, Point3{9, 0, 0}}, {9600, Point3{}}}});
        place->eulerDegrees.SetTrack({{{0, Point3{}}, {9600, Point3{0, 0, 720}}}});
        node->SetTMController(place);
    }
    TimeValue t = 0;
    for (auto _ : state) {
        t = (t + 160) % 9600;
        for (const INode* node : forest.scene.Nodes())
            benchmark::DoNotOptimize(node->EvalWorldState(t));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(MessageChain)->Arg(1)->Arg(10);
BENCHMARK(MoveNodes)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(UndoRedo)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(CloneNodes)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(AnimatedPlaces)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace

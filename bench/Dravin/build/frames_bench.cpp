// A change of frame in the demo's forest, in which twenty trees sway: only the object that shows
// them is built again. Beside it the same change with everything built anew.
//
//   build/release/bench/dravin_frames_bench
//
// builds: objects built a frame; items: those that the builds made. The demo's items come from
// DRAVIN_BENCH_ITEMS (100,000).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

#include "apps/dravin/demo_scene.h"
#include "apps/dravin/session.h"
#include "tests/Dravin/build/animated_trees.h"

namespace {

namespace fs = std::filesystem;

constexpr TimeValue kFrame = 160;

double DemoItems() {
    const char* text = std::getenv("DRAVIN_BENCH_ITEMS");
    return text ? std::atof(text) : 100'000;
}

// The demo, open, with the trees in it and shown once.
class LivingDemo {
public:
    LivingDemo() {
        fs::remove_all(m_folder);
        std::string error;
        DemoOptions options{DRAVIN_SOURCE_DIR "/data", DemoItems()};
        if (!WriteDemoScene(m_folder.string(), options, &error) ||
            m_session.Open((m_folder / "forest.json").string()) != kExitDone)
            return;
        Scene& scene = m_session.GetScene();
        auto ground = std::make_shared<TriObject>(std::make_shared<Mesh>(MakePlane(100, 100, 1)));
        INode* lawn = scene.AddNode("lawn", ground);
        m_trees = std::make_unique<AnimatedTrees>(
            scene, std::static_pointer_cast<INode>(lawn->shared_from_this()), 20, 64, 10);
        auto objects = m_session.FindObjects("");
        for (const SceneDravin& one : *objects) m_objects.push_back(one.object);
        Show();
    }
    ~LivingDemo() {
        m_trees.reset();
        fs::remove_all(m_folder);
    }

    bool IsOpen() const { return m_trees != nullptr; }
    void Show() { ShowFrame(m_session.GetScene(), m_time); }
    void NextFrame() { m_time += kFrame, Show(); }
    void MakeAllStale() {
        for (TDravin* object : m_objects)
            object->ClearCaches(), object->Invalidate(TRemake::kItems);
    }
    int NumBuilds() const {
        int n = 0;
        for (TDravin* object : m_objects) n += int(object->Build().BuildCounter());
        return n;
    }
    size_t NumItems() const {
        size_t n = 0;
        for (TDravin* object : m_objects) n += object->Build().Items().Count();
        return n;
    }
    size_t NumMovingItems() const { return m_trees->object->Build().Items().Count(); }

private:
    fs::path m_folder = fs::temp_directory_path() / "dravin_frames_bench";
    Session m_session;
    std::unique_ptr<AnimatedTrees> m_trees;
    std::vector<TDravin*> m_objects;
    TimeValue m_time = 0;
};

void Run(benchmark::State& state, bool isAnew) {
    LivingDemo demo;
    if (!demo.IsOpen()) return state.SkipWithError("the demo cannot be opened");
    int before = demo.NumBuilds();
    for (auto _ : state) {
        if (isAnew) demo.MakeAllStale();
        demo.NextFrame();
    }
    state.counters["builds"] = double(demo.NumBuilds() - before) / double(state.iterations());
    state.counters["items"] = double(isAnew ? demo.NumItems() : demo.NumMovingItems());
}

void BM_NextFrame(benchmark::State& state) { Run(state, false); }
BENCHMARK(BM_NextFrame)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_NextFrameWithEverythingAnew(benchmark::State& state) { Run(state, true); }
BENCHMARK(BM_NextFrameWithEverythingAnew)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

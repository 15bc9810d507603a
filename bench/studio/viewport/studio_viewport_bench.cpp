// Viewports of the desktop application at 1280 x 720, over a million items. Argument: side of the
// square field of items.
//
// Navigating: one picture after the other while the camera turns, each as much as the budget allows
// by then. Whole: what comes when the hand rests. First: from a fresh snapshot to the first
// picture.
#include <benchmark/benchmark.h>

#include <cmath>
#include <condition_variable>
#include <mutex>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "apps/studio/viewport/view_navigation.h"
#include "apps/studio/viewport/view_picker.h"
#include "apps/studio/viewport/view_renderer.h"
#include "host/base/thread_pool.h"
#include "host/geom/mesh_tools.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"

namespace {

// A tree of 1,300 faces: a trunk and a crown of two balls.
Mesh Tree() {
    Mesh tree = MakeBox(0.2f, 0.2f, 2, 1);
    for (float z : {2.f, 3.f}) {
        Mesh ball = MakeSphere(4 - z, 26);
        for (Point3& p : ball.verts) p.z += z;
        for (Face& face : ball.faces) face.matID = 1;
        AppendMesh(tree, ball);
    }
    return tree;
}

struct Field {
    HostContext session;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    std::shared_ptr<const TViewportScene> shown;
    ViewNavigation navigation;

    explicit Field(benchmark::State& state) {
        auto side = size_t(state.range(0));
        auto tree =
            INode::Create("tree", std::make_shared<TriObject>(std::make_shared<Mesh>(Tree())));
        scene.AddNode(tree);
        scene.AddNode("scatter", object);
        TTreeSpecList rows(
            std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
        TSpecEntry entry;
        entry.kind = kGeomCustom;
        entry.customObject = tree;
        rows.AppendRow(entry);
        object->Block(kEditionParams).SetValue(editionParams::kMode, 0, 1);
        std::vector<TStoredItem> items(side * side);
        for (size_t i = 0; i < items.size(); ++i) {
            items[i].storedPosition = {float(i % side) * 3, float(i / side) * 3, 0};
            items[i].seed = uint32_t(i * 7919 + 1);
        }
        object->SetStoredItems(std::move(items));
        TBuildFlags flags;
        flags.noLimit = flags.noMesh = true;
        object->Build().BuildMesh(0, flags);
        if (object->Build().Items().Count() != side * side)
            state.SkipWithError("the items were not built");
        shown = MakeViewportScene(scene, 0, NumProcessors());
        navigation.Frame(shown->Bounds(), 1280, 720);
    }
    // As an artist stands in it: a tree's height above the ground, a third of the way in.
    void StandInside() {
        ViewPose pose = navigation.Pose();
        pose.pitch = 0.12f, pose.distance = 60;
        navigation.SetPose(pose);
    }
    ViewRequest Request(ViewportShading shading, bool isMoving) const {
        ViewRequest request;
        request.scene = shown;
        request.camera = navigation.Camera(1280, 720, shown->Bounds());
        request.shading = shading, request.isMoving = isMoving;
        return request;
    }
};

// Waits for pictures.
class Screen {
public:
    explicit Screen(bool avoidsOpenGl = false)
        : m_renderer(
              [this](std::shared_ptr<const ViewPicture> picture) {
                  std::lock_guard lock(m_mutex);
                  m_picture = std::move(picture);
                  m_wake.notify_all();
              },
              avoidsOpenGl) {}
    std::shared_ptr<const ViewPicture> Ask(ViewRequest request, bool waitsForWhole) {
        std::unique_lock lock(m_mutex);
        m_picture.reset();
        m_renderer.Ask(std::move(request));
        m_wake.wait(lock, [&] { return m_picture && (!waitsForWhole || IsWhole(*m_picture)); });
        return m_picture;
    }

private:
    static bool IsWhole(const ViewPicture& p) {
        return p.counts.itemsDrawn == p.counts.itemsInView;
    }
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::shared_ptr<const ViewPicture> m_picture;
    ViewRenderer m_renderer;
};

ViewportShading ShadingOf(int64_t number) {
    return number == 0 ? ViewportShading::kPoints : ViewportShading::kShaded;
}

// Second argument: 0 dots, 1 meshes; third: 0 from above, 1 inside; fourth: 1 without OpenGL.
void Navigating(benchmark::State& state) {
    Field field(state);
    if (state.range(2)) field.StandInside();
    Screen screen(state.range(3) != 0);
    constexpr int kWarm = 20;
    auto turn = [&] {
        field.navigation.Orbit(2, 0, field.navigation.Pose().target);
        return screen.Ask(field.Request(ShadingOf(state.range(1)), true), false);
    };
    for (int i = 0; i < kWarm; ++i) turn();
    std::shared_ptr<const ViewPicture> last;
    for (auto _ : state) last = turn();
    state.counters["frames/s"] =
        benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["shown"] = double(last->counts.itemsDrawn);
    state.counters["in_view"] = double(last->counts.itemsInView);
}
BENCHMARK(Navigating)
    ->Args({1000, 0, 0, 0})
    ->Args({1000, 0, 1, 0})
    ->Args({1000, 1, 0, 0})
    ->Args({1000, 1, 1, 0})
    ->Args({1000, 1, 1, 1})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

void Whole(benchmark::State& state) {
    Field field(state);
    if (state.range(2)) field.StandInside();
    Screen screen;
    screen.Ask(field.Request(ShadingOf(state.range(1)), true), false);
    for (auto _ : state) {
        field.navigation.Orbit(2, 0, field.navigation.Pose().target);
        screen.Ask(field.Request(ShadingOf(state.range(1)), false), true);
    }
}
BENCHMARK(Whole)
    ->Args({1000, 0, 0})
    ->Args({1000, 1, 0})
    ->Args({1000, 1, 1})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

// The context is there; the snapshot is made anew, and its items are uploaded.
void First(benchmark::State& state) {
    Field field(state);
    Screen screen;
    screen.Ask(field.Request(ViewportShading::kShaded, true), false);
    for (auto _ : state) {
        field.shown = MakeViewportScene(field.scene, 0, NumProcessors());
        screen.Ask(field.Request(ViewportShading::kShaded, true), false);
    }
}
BENCHMARK(First)
    ->Args({1000})
    ->Args({316})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

void Snapshot(benchmark::State& state) {
    Field field(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(MakeViewportScene(field.scene, 0, NumProcessors(),
                                                   state.range(1) ? field.shown.get() : nullptr));
}
BENCHMARK(Snapshot)
    ->Args({1000, 0})
    ->Args({1000, 1})
    ->Args({316, 0})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

// A second context and its shaders, as at the start of the program.
void Start(benchmark::State& state) {
    auto scene = std::make_shared<const TViewportScene>(std::vector<TViewNode>{});
    for (auto _ : state) {
        ViewRequest request;
        request.scene = scene, request.camera = TViewportCamera({}, 60, 1280, 720);
        request.isMoving = true;
        Screen().Ask(request, false);
    }
}
BENCHMARK(Start)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

// Second argument: 0 a click, 1 a rectangle over all, 2 the same for what is seen; third: 0 dots, 1
// meshes.
void Pick(benchmark::State& state) {
    Field field(state);
    field.StandInside();
    bool isClick = state.range(1) == 0;
    PickWish wish{isClick ? PickWish::kClick : PickWish::kRegion,
                  field.Request(ShadingOf(state.range(2)), false),
                  {isClick ? TPixelRect{640, 450, 641, 451} : TPixelRect{0, 0, 1280, 720}, {}},
                  state.range(1) == 2,
                  0};
    size_t found = 0;
    for (auto _ : state) found = AnswerPick(wish).ids.size();
    state.counters["found"] = double(found);
}
BENCHMARK(Pick)
    ->Args({1000, 0, 0})
    ->Args({1000, 0, 1})
    ->Args({1000, 1, 1})
    ->Args({1000, 2, 1})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace

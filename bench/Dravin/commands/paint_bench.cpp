// A sample of the brush in a paint area whose outline has some 2,000 points: what it takes to work
// it out (Sample), and until the view shows it (ToRedraw: build, snapshot and picture of 1280 x 720
// too; the argument is how many items the area has, of which the view shows some 30,000 at most).
#include <benchmark/benchmark.h>

#include <cmath>

#include "Dravin/build/dravin_build.h"
#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/area_paint.h"
#include "Dravin/commands/command_table.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "Dravin/viewport/viewport_drawing.h"
#include "host/base/thread_pool.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "host/scene/texmaps.h"

namespace {

constexpr int kPoints = 2000;
constexpr float kGround = 200;

// A wavy round, 160 across.
PolyShape Outline() {
    PolyLine line;
    line.closed = true;
    for (int i = 0; i < kPoints; ++i) {
        float angle = 2 * float(M_PI) * float(i) / kPoints;
        float radius = 70 + 10 * std::sin(angle * 60);
        line.points.push_back({radius * std::cos(angle), radius * std::sin(angle), 0});
    }
    return {{line}};
}

constexpr TPaintSample kSample{{72, 0}, 4};

void Sample(benchmark::State& state) {
    const TPaintRegion region(Outline(), PaintStepsPerUnit(1));
    for (auto _ : state) {
        TPaintRegion painted = region;
        benchmark::DoNotOptimize(painted.Apply(TPaintMode::kPaint, kSample));
    }
    state.counters["points"] = double(region.Polygons()[0].size());
}
BENCHMARK(Sample)->Unit(benchmark::kMicrosecond);

struct Meadow {
    HostContext session;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    TViewportCamera camera{Matrix3::Translation({0, 0, kGround}), 60, 1280, 720, 0.01f};

    explicit Meadow(int64_t items) {
        session.SetCurrentScene(&scene);
        auto add = [this](const char* name, Mesh mesh) {
            auto node = INode::Create(
                name, std::make_shared<TriObject>(std::make_shared<Mesh>(std::move(mesh))));
            scene.AddNode(node);
            return node;
        };
        auto ground = add("ground", MakePlane(kGround, kGround, 50));
        auto box = add("box", MakeBox(1, 1, 2, 1));
        scene.AddNode("meadow", object);
        std::shared_ptr<ReferenceTarget> surface = ground;
        object->Block(kSurfaceParams).Append(surfaceParams::kSurflist, surface);
        TTreeSpecList rows(
            std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
        TSpecEntry entry;
        entry.kind = kGeomCustom;
        entry.customObject = box;
        rows.AppendRow(entry);
        // A cell an item inside the outline, of 70 units on average.
        float cell = std::sqrt(70 * 70 * float(M_PI) / float(items));
        IParamBlock2& map = object->Block(kDistParams);
        for (ParamID id : {distParams::kUnitsX, distParams::kUnitsY})
            map.SetValue(id, 0, cell * 10);
        for (ParamID id : {distParams::kPixelsX, distParams::kPixelsY}) map.SetValue(id, 0, 10);
        std::shared_ptr<ReferenceTarget> white = std::make_shared<ColorTex>();
        map.SetValue(distParams::kDistmap, 0, white);
        object->Block(kDispParams).SetValue(dispParams::kVmesh, 0, 3);
        MakeCommandTable().Run("area.add", scene, "meadow", {{"kind", "paint"}});
        scene.undo.Clear();
    }
};

void ToRedraw(benchmark::State& state) {
    Meadow meadow(state.range(0));
    const int area = AreaIdOf(*meadow.object, 0);
    const TPaintRegion region(Outline(), PaintStepsPerUnit(1));
    TViewportSettings settings;
    settings.threads = NumProcessors();
    std::shared_ptr<const TViewportScene> shown;
    size_t items = 0, turn = 0;
    for (auto _ : state) {
        TPaintRegion painted = region;
        TPaintSample sample = kSample;
        sample.center.y = float(++turn % 2);  // never the same twice
        painted.Apply(TPaintMode::kPaint, sample);
        SetPaintRegion(*meadow.object, area, painted);
        meadow.object->Build().BuildMesh(0, {});
        shown = MakeViewportScene(meadow.scene, 0, settings.threads, shown.get());
        benchmark::DoNotOptimize(DrawViewport(*shown, meadow.camera, settings));
        items = meadow.object->Build().Items().Count();
    }
    state.counters["items"] = double(items);
}
BENCHMARK(ToRedraw)
    ->Arg(1000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace

// The desktop application's window, offscreen: how long it takes to stand, to show, to open a scene
// of a million items and to answer a number that is dragged over them.
//
// Times are those of the clock; processor time is the whole process's, views included.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>

#include <QApplication>
#include <QThread>

#include "Dravin/dravin.h"
#include "Dravin/viewport/viewport_scene.h"
#include "apps/studio/main_window.h"
#include "apps/studio/theme.h"
#include "apps/studio/viewport/quad_view.h"
#include "host/scene/scene.h"
#include "host/scene/user_interface.h"

namespace {

// Settings of its own, so that no layout of the user's is taken; one application for all.
QApplication& Application() {
    static int argc = 1;
    static char name[] = "studio_window_bench";
    static char* argv[] = {name, nullptr};
    static QApplication* application = [] {
        auto folder = std::filesystem::temp_directory_path() / "studio_window_bench";
        for (const char* variable : {"XDG_CONFIG_HOME", "XDG_STATE_HOME"})
            qputenv(variable, QByteArray::fromStdString(folder.string()));
        if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
        auto* made = new QApplication(argc, argv);
        QApplication::setOrganizationName("dravin");
        QApplication::setApplicationName("studio-bench");
        ApplyTheme(*made, Theme::kDark);
        return made;
    }();
    return *application;
}

template <class IsSo>
void Wait(const IsSo& isSo) {
    for (;;) {
        QCoreApplication::processEvents();
        if (isSo()) return;
        QThread::usleep(200);  // the processors are for the work
    }
}

std::unique_ptr<MainWindow> Open() {
    Application();
    auto window =
        std::make_unique<MainWindow>([] { return std::make_unique<ScriptedUserInterface>(); });
    window->show();
    return window;
}

// A field of stones with as many items to a side.
std::string SceneFile(int64_t side) {
    // The map has 32 cells a side.
    double mapSize = 32.0 * 1000 / double(side);
    std::string path =
        (std::filesystem::temp_directory_path() / "studio_window_bench.json").string();
    std::ofstream(path) << R"({"dravin_scene": 1, "nodes": [
{"name": "ground", "type": "plane", "width": 1000, "length": 1000},
{"name": "stone", "type": "box", "width": 0.5, "length": 0.5, "height": 0.5},
{"name": "meadow", "type": "dravin",
 "params": {"units_x": )"
                        << mapSize << R"(, "units_y": )" << mapSize << R"(,
  "surflist": ["ground"], "mapname": "dense.bmp", "vmaxitems": 10000000, "applyrotation": true},
 "geometry": [{"kind": "custom", "object": "stone", "name": "stone", "probability": 100,
               "width": 1, "height": 1}]}]})";
    return path;
}

bool IsFree(MainWindow& window) { return window.Session().IsFree(); }

// Until the window has been painted for the first time.
void WindowStart(benchmark::State& state) {
    Application();
    for (auto _ : state) {
        std::unique_ptr<MainWindow> window = Open();
        window->repaint();
        state.PauseTiming();
        Wait([&] { return IsFree(*window); });
        window.reset();
        state.ResumeTiming();
    }
}

// Until the view has its picture of a small scene.
void FirstPicture(benchmark::State& state) {
    Application();
    std::string scene = SceneFile(100);
    for (auto _ : state) {
        std::unique_ptr<MainWindow> window = Open();
        window->OpenFile(scene);
        ViewportWidget& view = window->Views().ActiveView();
        Wait([&] {
            return view.Picture() && view.Shown() && view.Picture()->scene == view.Shown();
        });
        state.PauseTiming();
        window.reset();
        state.ResumeTiming();
    }
}

// From the wish to the view's first picture of all items; side of the field.
void OpenScene(benchmark::State& state) {
    std::string scene = SceneFile(state.range(0));
    size_t items = 0;
    for (auto _ : state) {
        state.PauseTiming();
        std::unique_ptr<MainWindow> window = Open();
        Wait([&] { return IsFree(*window); });
        state.ResumeTiming();
        window->OpenFile(scene);
        ViewportWidget& view = window->Views().ActiveView();
        Wait([&] {
            return view.Shown() && view.Shown()->NumItems() > 0 && view.Picture() &&
                   view.Picture()->scene == view.Shown();
        });
        state.PauseTiming();
        items = view.Shown()->NumItems();
        window.reset();
        state.ResumeTiming();
    }
    state.counters["items"] = double(items);
}

// One move of a hand that drags a number. Second argument: 0 until the first answer, of a part of
// the items where they are many, 1 until all items stand, after the hand has let go.
void Spinner(benchmark::State& state) {
    std::string scene = SceneFile(state.range(0));
    std::unique_ptr<MainWindow> window = Open();
    Wait([&] { return IsFree(*window); });
    StudioSession& session = window->Session();
    window->OpenFile(scene);
    Wait([&] { return IsFree(*window) && !session.Path().empty() && !session.Reports().empty(); });
    TParamKey key{kTransformParams, transformParams::kZrotmax};
    bool wantsAll = state.range(1) != 0;
    double offset = 0;
    uint64_t answers = 0;
    Connection answered = session.viewReady.Connect([&] { ++answers; });
    if (!wantsAll) session.BeginDrag(key);
    for (auto _ : state) {
        if (wantsAll) {
            state.PauseTiming();
            session.BeginDrag(key);
            state.ResumeTiming();
        }
        offset = offset < -100 ? 0 : offset - 1;
        uint64_t before = answers;
        session.Drag(offset);
        if (wantsAll) session.EndDrag(true);
        Wait([&] { return answers > before && (!wantsAll || !session.IsThinned()); });
    }
    state.counters["items"] = double(session.Reports()[0].numItems);
    if (!wantsAll) session.EndDrag(false);
    Wait([&] { return IsFree(*window); });
}

BENCHMARK(WindowStart)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(FirstPicture)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(OpenScene)
    ->Arg(100)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(Spinner)
    ->Args({316, 0})
    ->Args({1000, 0})
    ->Args({1000, 1})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace

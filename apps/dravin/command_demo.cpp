#include <chrono>
#include <filesystem>

#include <fmt/format.h>

#include "Dravin/config/main_folder.h"
#include "apps/dravin/build_outputs.h"
#include "apps/dravin/build_report.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/demo_scene.h"
#include "apps/dravin/outputs.h"
#include "apps/dravin/render_setup.h"

namespace {

class Stopwatch {
public:
    double Seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

// A scene that is there may hold somebody's work: it is made only where there is none, or on
// demand.
ExitCode MakeScene(const DemoCommandOptions& options, const std::string& scene) {
    std::error_code ignored;
    if (!options.fresh && std::filesystem::exists(scene, ignored)) {
        PrintNote(
            fmt::format("{} is there already and is built as it stands; --fresh makes it anew{}",
                        scene, options.items ? ", with --items" : ""));
        return kExitDone;
    }
    std::string error;
    if (!HasMainFolder()) {
        PrintError(NoMainFolder());
        return kExitMissingInput;
    }
    PrintNote(fmt::format("writing the scene to {}", scene));
    if (WriteDemoScene(options.folder, {MainFolder(), options.items.value_or(kDemoItems)}, &error))
        return kExitDone;
    PrintError(error);
    return kExitNoOutput;
}

}  // namespace

ExitCode RunDemo(const DemoCommandOptions& options) {
    Stopwatch watch;
    std::string folder = options.folder, scene = folder + "/forest.json";
    if (ExitCode code = MakeScene(options, scene); code != kExitDone) return code;

    PrintNote("reading it and building its items");
    Session session;
    if (ExitCode code = session.Open(scene); code != kExitDone) return code;
    RenderOptions render;
    render.time = 0;
    render.threads = options.threads;
    render.allowEmpty = true;  // few items leave some of the demo's objects without any
    ChooseRenderer(session, render);
    NoticePair rendering(HostNotify::kPreRender, HostNotify::kPostRender);
    RenderSetup setup;
    if (ExitCode code = SetUpRender(session, render, &setup); code != kExitDone) return code;
    auto objects = session.FindObjects("");
    for (const SceneDravin& dravin : *objects) PrintPanel(dravin);

    BuildOptions outputs;
    outputs.surfaces = true;
    std::string instances = folder + "/forest.glb", picture = folder + "/forest.png";
    PrintNote(fmt::format("writing {}", instances));
    if (CheckNotInputs({{instances, picture}}, session.Inputs()) != kExitDone) return kExitUsage;
    if (ExitCode code = WriteInstances(instances, *objects, session.GetScene(), outputs);
        code != kExitDone)
        return code;
    PrintNote(fmt::format("rendering {}", picture));
    RenderOutcome outcome;
    if (ExitCode code = RenderWithProgress(setup, &outcome); code != kExitDone) return code;
    if (ExitCode code = WriteRendered(setup, outcome, picture); code != kExitDone) return code;
    PrintResult(
        fmt::format("\nThe demo took {:.0f} s. Look at {}, read {}, and try\n"
                    "  dravin build {} -o items.csv\n"
                    "Three more scenes lie beside it: wall.json, autumn.json and boulders.json.\n"
                    "  dravin render {}/wall.json -o {}/wall.png",
                    watch.Seconds(), picture, scene, scene, folder, folder));
    return kExitDone;
}

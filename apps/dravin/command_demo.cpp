#include <chrono>
#include <filesystem>

#include <fmt/format.h>

#include "Dravin/config/main_folder.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/demo_scene.h"

namespace {

class Stopwatch {
public:
    double Seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

}  // namespace

ExitCode RunDemo(const DemoCommandOptions& options) {
    Stopwatch watch;
    std::string folder = options.folder, scene = folder + "/forest.json", error;
    PrintNote(fmt::format("writing the scene to {}", scene));
    if (!WriteDemoScene(folder, {MainFolder(), options.items}, &error)) {
        PrintError(error);
        return kExitNoOutput;
    }

    PrintNote("building the items");
    BuildOptions build;
    build.scene = scene;
    build.render = true;
    build.threads = options.threads;
    if (ExitCode code = RunBuild(build); code != kExitDone) return code;

    PrintNote(fmt::format("writing {}/forest.glb", folder));
    build.outputs = {folder + "/forest.glb"};
    build.surfaces = true;
    if (ExitCode code = RunBuild(build); code != kExitDone) return code;

    RenderOptions render;
    render.scene = scene;
    render.output = folder + "/forest.png";
    render.threads = options.threads;
    PrintNote(fmt::format("rendering {}", render.output));
    if (ExitCode code = RunRender(render); code != kExitDone) return code;
    PrintResult(
        fmt::format("\nThe demo took {:.0f} s. Look at {}, read {}, and try\n"
                    "  dravin build {} -o items.csv",
                    watch.Seconds(), render.output, scene, scene));
    return kExitDone;
}

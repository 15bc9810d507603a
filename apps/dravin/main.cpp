// The command line: options to commands, and their exit codes.
#include <CLI/CLI.hpp>

#include "apps/dravin/commands.h"

namespace {

const std::map<std::string, int> kLogLevels{{"none", 0}, {"normal", 1}, {"debug", 2}};

// Every value of an option that takes a list separated by commas.
void AddList(CLI::App* app, const std::string& name, std::vector<std::string>& values,
             const std::string& help) {
    app->add_option(name, values, help)->delimiter(',');
}

void AddBuild(CLI::App& app, BuildOptions& o) {
    CLI::App* c = app.add_subcommand("build", "build the items of a scene and write them");
    c->add_option("scene", o.scene, "scene description")->required();
    c->add_option("--object", o.object, "only the scatter object of this name");
    c->add_option("--time", o.time, "time in ticks, 4800 a second (default: the scene's)");
    c->add_flag("--render", o.render, "render settings and limits");
    c->add_option("--threads", o.threads, "number of threads")->check(CLI::Range(1, 1024));
    c->add_flag("--no-limit", o.noLimit, "all items, whatever the display limits say");
    AddList(c, "--fields", o.fields, "item fields a,b,c, or all");
    c->add_option("-o,--output", o.outputs,
                  "output by ending: .json .csv .npz .gltf .glb, - for JSON on standard output; "
                  "several may stand. Without it the statistics panel is printed")
        ->allow_extra_args(false);
    c->add_flag("--flat", o.flat, "glTF: plain nodes instead of GPU instancing");
    c->add_flag("--surfaces", o.surfaces, "glTF: the surfaces too");
}

void AddRender(CLI::App& app, RenderOptions& o, std::string& size) {
    CLI::App* c = app.add_subcommand("render", "render a scene with the ray tracer");
    c->add_option("scene", o.scene, "scene description")->required();
    c->add_option("-o,--output", o.output, "image: .png, .exr, ...")->required();
    c->add_option("--size", size, "WIDTHxHEIGHT in pixels");
    c->add_option("--samples", o.samples, "rays a pixel")->check(CLI::Range(1, 65536));
    c->add_option("--camera", o.camera, "name of a camera node");
    c->add_option("--time", o.time, "time in ticks");
    c->add_option("--threads", o.threads, "number of threads")->check(CLI::Range(1, 1024));
}

void AddEffect(CLI::App& app, EffectOptions& o, std::string& listed) {
    CLI::App* effect = app.add_subcommand("effect", "check or run an effect program");
    effect->require_subcommand(1);
    CLI::App* check = effect->add_subcommand("check", "compile an effect; silent when all is well");
    CLI::App* run = effect->add_subcommand("run", "run an effect on one default item");
    for (CLI::App* c : {check, run}) {
        c->add_option("file", o.file,
                      "definition (XML), plain program text, or a shipped effect's name")
            ->required();
        c->add_option("--set", o.set, "NAME=VALUE gives a parameter a value: 3, 2.5 or [1,2,3]")
            ->allow_extra_args(false);
    }
    run->add_option("--seed", o.seed, "seed of the item's random numbers (default: 123456)");
    CLI::App* list = effect->add_subcommand("list", "the effects that ship with the product");
    list->add_option("name", listed, "one effect, with its parameters");
    check->callback([&o] { o.checkOnly = true; });
}

bool ParseSize(const std::string& text, RenderOptions& o) {
    if (text.empty()) return true;
    int width = 0, height = 0;
    char end = 0;
    if (std::sscanf(text.c_str(), "%dx%d%c", &width, &height, &end) != 2) return false;
    o.width = width;
    o.height = height;
    return width >= 1 && height >= 1 && width <= 16384 && height <= 16384;
}

int Run(int argc, char** argv) {
    CLI::App app{"Dravin Pack: scatters millions of plants, rocks or anything else over a scene."};
    app.set_version_flag("--version", "6.3.1");
    app.require_subcommand(1);
    app.fallthrough();
    ConsoleOptions console;
    app.add_flag("--quiet", console.quiet, "errors only");
    app.add_flag("--json", console.json, "messages as JSON, one a line (schema: its result)");
    app.add_option("--log-level", console.logLevel, "none, normal or debug")
        ->transform(CLI::CheckedTransformer(kLogLevels));

    BuildOptions build;
    AddBuild(app, build);
    RenderOptions render;
    std::string size;
    AddRender(app, render, size);
    std::string infoScene;
    CLI::App* info = app.add_subcommand("info", "list the scatter objects of a scene");
    info->add_option("scene", infoScene, "scene description")->required();
    std::string model;
    CLI::App* inspect = app.add_subcommand("inspect", "tell what an import of a model gives");
    inspect->add_option("model", model, "glTF, OBJ, PLY, STL, FBX, ...")->required();
    std::string filter;
    CLI::App* schema = app.add_subcommand("schema", "list the parameters of the scatter object");
    schema->add_option("name", filter, "a block or a parameter");
    EffectOptions effect;
    std::string listedEffect;
    AddEffect(app, effect, listedEffect);
    DemoCommandOptions demo;
    CLI::App* demoCommand = app.add_subcommand("demo", "make, build and render a forest valley");
    demoCommand->add_option("--out", demo.folder, "output folder (default: demo)");
    demoCommand->add_option("--items", demo.items, "about how many items (default: 1.2 million)")
        ->check(CLI::Range(1000.0, 1e8));
    demoCommand->add_option("--threads", demo.threads, "number of threads")
        ->check(CLI::Range(1, 1024));

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitDone : kExitUsage;
    }
    SetUpConsole(console);
    if (!ParseSize(size, render)) {
        PrintError("--size: expected WIDTHxHEIGHT, each from 1 to 16384, for instance 1280x720");
        return kExitUsage;
    }
    if (app.got_subcommand("build")) return RunBuild(build);
    if (app.got_subcommand("render")) return RunRender(render);
    if (app.got_subcommand(info)) return RunInfo(infoScene);
    if (CLI::App* c = app.get_subcommand("effect"); c->parsed())
        return c->got_subcommand("list") ? RunEffectList(listedEffect) : RunEffect(effect);
    if (app.got_subcommand(inspect)) return RunInspect(model, console.json);
    if (app.got_subcommand(schema)) return RunSchema(filter, console.json);
    return RunDemo(demo);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        int code = Run(argc, argv);
        bool isDone = FinishResults();
        return code == kExitDone && !isDone ? kExitNoOutput : code;
    } catch (const std::bad_alloc&) {
        PrintError("out of memory");
        return kExitLimit;
    } catch (const std::exception& error) {
        PrintError(error.what());
        return kExitFailed;
    }
}

#include "apps/dravin/command_line.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "Dravin/config/version.h"
#include "apps/dravin/build_outputs.h"
#include "apps/dravin/build_part.h"
#include "apps/dravin/shell_texts.h"
#include "host/base/input_limit.h"
#include "host/base/text.h"
#include "host/render/render_scene.h"

namespace {

const std::map<std::string, int> kLogLevels{{"none", 0}, {"normal", 1}, {"debug", 2}};
constexpr int kMaxThreads = 1024;

// A list separated by commas.
void AddList(CLI::App* app, const std::string& name, std::vector<std::string>& values,
             const std::string& help) {
    app->add_option(name, values, help)->delimiter(',')->type_name("A,B,...");
}

void AddThreads(CLI::App* app, int& threads) {
    app->add_option("--threads", threads, "number of threads, 1 to 1024")
        ->check(CLI::Range(1, kMaxThreads))
        ->type_name("N");
}

// "1-48", or "7" for a single frame; numbers of up to six digits.
std::optional<std::pair<int, int>> ParseFrames(const std::string& text) {
    constexpr int64_t kMostFrames = 999999;
    size_t dash = text.find('-');
    auto first = ParseInteger(text.substr(0, dash));
    auto last = dash == text.npos ? first : ParseInteger(text.substr(dash + 1));
    if (!first || !last || *first < 0 || *last < *first || *last > kMostFrames) return std::nullopt;
    return std::pair{int(*first), int(*last)};
}

void AddTime(CLI::App* app, std::optional<int>& time) {
    app->add_option("--time", time, "time in ticks, 4800 a second (default: the scene's)")
        ->type_name("TICKS");
}

void AddPiece(CLI::App* app, std::optional<TBuildPart>& piece) {
    app->add_option_function<std::string>(
           "--piece",
           [&piece](const std::string& text) {
               piece = ParsePart(text);
               if (!piece)
                   throw CLI::ValidationError(
                       "--piece",
                       "expected K/N, the number of the piece and how many there are, "
                       "for instance 1/8");
           },
           "build the K-th of N pieces, for `dravin join`; outputs in .npz only")
        ->type_name("K/N");
}

void AddScene(CLI::App* app, std::string& scene) {
    app->add_option("scene", scene, "scene description")->required()->type_name("FILE");
}

// "640x360"; an error text otherwise.
std::string ParseSize(const std::string& text, RenderOptions& o) {
    auto side = [](const char* first, const char* last, std::optional<int>& out) {
        int value = 0;
        auto [end, error] = std::from_chars(first, last, value);
        out = value;
        return error == std::errc() && end == last && value >= 1;
    };
    size_t x = text.find('x');
    const char* start = text.data();
    bool good = x != text.npos && side(start, start + x, o.width) &&
                side(start + x + 1, start + text.size(), o.height);
    return good ? "" : "expected WIDTHxHEIGHT in pixels, for instance 1280x720";
}

// "640,360"; none when it is none.
std::optional<std::pair<int, int>> ParsePixel(const std::string& text) {
    size_t comma = text.find(',');
    if (comma == text.npos) return std::nullopt;
    auto x = ParseInteger(text.substr(0, comma)), y = ParseInteger(text.substr(comma + 1));
    auto isPixel = [](const auto& at) { return at && *at >= 0 && *at <= 1'000'000; };
    if (!isPixel(x) || !isPixel(y)) return std::nullopt;
    return std::pair{int(*x), int(*y)};
}

// Of pictures as viewports show them.
void AddViewport(CLI::App* c, RenderOptions& o) {
    c->add_option("--display", o.display,
                  "viewport: items as points, as boxes, as wire, or as their objects say (set)")
        ->check(CLI::IsMember({"set", "points", "boxes", "wire"}).description(""))
        ->type_name("HOW");
    c->add_option("--elements", o.maxElements,
                  "viewport: thin items to about so many dots, lines and faces (default: all)")
        ->type_name("N");
    c->add_option_function<std::string>(
         "--pick",
         [&o](const std::string& text) {
             o.pick = ParsePixel(text);
             if (!o.pick)
                 throw CLI::ValidationError(
                     "--pick", fmt::format("{} is no pixel, expected X,Y such as 640,360", text));
         },
         "viewport: print what lies under a pixel, nearest first")
        ->type_name("X,Y");
}

// The first argument that is no option: the command, if it is one.
std::string FirstWord(int argc, const char* const* argv) {
    for (int i = 1; i < argc; ++i) {
        std::string word = argv[i];
        if (word == "--log-level" || word == "--input-limit")
            ++i;
        else if (!word.starts_with("-"))
            return word;
    }
    return {};
}

bool HasArgument(int argc, const char* const* argv, const std::string& argument) {
    return std::find(argv + 1, argv + argc, argument) != argv + argc;
}

// The command that the arguments reached: the innermost one that was named.
const CLI::App& Reached(const CLI::App& app) {
    for (const CLI::App* sub : app.get_subcommands()) return Reached(*sub);
    return app;
}

}  // namespace

CommandLine::CommandLine()
    : m_app{"Dravin Pack scatters millions of plants, rocks or anything else over a scene.",
            "dravin"} {
    m_app.set_version_flag("--version", ProductVersion());
    m_app.require_subcommand(1);
    m_app.fallthrough();
    m_app.add_flag("--quiet", m_console.quiet, "errors only");
    m_app.add_flag("--json", m_console.json,
                   "messages as JSON, one a line; schema, inspect, preset list: the result too");
    m_app
        .add_option("--log-level", m_console.logLevel,
                    "none, normal or debug: what the engine tells of its work")
        ->transform(CLI::CheckedTransformer(kLogLevels).description(""))
        ->type_name("LEVEL");
    AddLimits();
    m_app.footer(
        "Try `dravin demo`, or `dravin help COMMAND` for options and examples of a command.");
    AddBuild();
    AddJoin();
    AddRender();
    AddInfo();
    AddInspect();
    AddSchema();
    AddEffect();
    AddPreset();
    AddInstantiate();
    AddEdit();
    AddConvert();
    AddDemo();
    AddHelp();
}

void CommandLine::AddLimits() {
    m_app
        .add_option("--input-limit", m_inputMebibytes,
                    fmt::format("mebibytes that one input file may take in memory (default: {})",
                                kDefaultInputLimit >> 20))
        ->check(CLI::Range(uint64_t{1}, kNoInputLimit >> 20))
        ->type_name("MIB");
    AddNoLimit(&m_app);
}

void CommandLine::AddNoLimit(CLI::App* app) {
    app->add_flag("--no-limit", m_noLimit,
                  "lift whatever only protects: limits of items, cells, inputs, pictures, memory");
}

void CommandLine::SetLimits() {
    m_build.noLimit = m_render.noLimit = m_noLimit;
    if (m_inputMebibytes > 0) SetInputLimit(m_inputMebibytes << 20);
    if (m_noLimit) SetInputLimit(kNoInputLimit);
}

CLI::App* CommandLine::Add(const std::string& name, const std::string& what,
                           const std::string& examples, std::function<ExitCode()> run) {
    CLI::App* command = m_app.add_subcommand(name, what);
    command->footer("Examples:\n" + examples);
    command->callback([this, run = std::move(run)] { m_run = run; });
    return command;
}

void CommandLine::AddBuild() {
    BuildOptions& o = m_build;
    CLI::App* c = Add("build", "build the items of a scene and write them",
                      "  dravin build wood.json\n"
                      "  dravin build wood.json -o wood.csv -o wood.glb\n"
                      "  dravin build wood.json -o wood.obj\n"
                      "  dravin build wood.json --fields position,rotation -o - | head\n"
                      "  dravin build wood.json --explain\n"
                      "  dravin build wood.json --piece 1/8 -o part-1.npz",
                      [&o] { return RunBuild(o); });
    AddScene(c, o.scene);
    c->add_option("--object", o.object, "only the scatter object of this name")->type_name("NAME");
    AddTime(c, o.time);
    auto* viewport = c->add_flag("--viewport", o.viewport,
                                 "what a viewport shows: thinned, collisions only if previewed");
    c->add_flag("--render", m_rendered, "what will be rendered (the default)")->excludes(viewport);
    AddThreads(c, o.threads);
    AddNoLimit(c);
    AddList(c, "--fields", o.fields, "item fields, or all; keys of its own for .xml (or none)");
    c->add_option("-o,--output", o.outputs,
                  fmt::format("output by ending: {}, which is JSON on standard output; several may "
                              "stand. Without it the statistics panel is printed",
                              kBuildOutputs))
        ->allow_extra_args(false)
        ->type_name("OUT");
    AddPiece(c, o.piece);
    c->add_flag("--flat", o.flat, "glTF: plain nodes instead of GPU instancing");
    c->add_flag("--surfaces", o.surfaces, "glTF and USD: the surfaces too");
    c->add_flag("--explain", o.explain, "print how many candidates each rule dropped");
    c->add_flag("--keep-going", o.keepGoing, "build on when an effect does not compile");
}

void CommandLine::AddJoin() {
    JoinOptions& o = m_join;
    CLI::App* c = Add("join", "join the pieces of a build into the whole",
                      "  dravin join part-*.npz -o wood.npz", [&o] { return RunJoin(o); });
    c->add_option("parts", o.parts, "what `dravin build --piece` wrote, all pieces of one build")
        ->required()
        ->type_name("PART");
    c->add_option("-o,--output", o.output, "the whole, as one build would have written it: .npz")
        ->required()
        ->type_name("OUT");
}

void CommandLine::AddRender() {
    RenderOptions& o = m_render;
    CLI::App* c = Add("render", "render a scene",
                      "  dravin render wood.json -o wood.png\n"
                      "  dravin render wood.json --size 640x360 --samples 16 -o quick.jpg\n"
                      "  dravin render wood.json --camera eye --time 4800 -o later.exr\n"
                      "  dravin render wood.json --renderer scanline --samples 4 -o preview.png\n"
                      "  dravin render wood.json --renderer viewport --display boxes -o boxes.png\n"
                      "  dravin render wood.json --frames 1-48 -o walk.png",
                      [&o] { return RunRender(o); });
    AddScene(c, o.scene);
    c->add_option("-o,--output", o.output, "image: .png, .jpg, .exr, ...")
        ->required()
        ->type_name("IMAGE");
    c->add_option_function<std::string>(
         "--size",
         [&o](const std::string& text) {
             if (std::string wrong = ParseSize(text, o); !wrong.empty())
                 throw CLI::ValidationError("--size", wrong);
         },
         fmt::format("size in pixels, up to {} a side (default: the scene's)", kMaxPictureSide))
        ->type_name("WIDTHxHEIGHT");
    c->add_option(
         "--renderer", o.renderer,
         "raytrace: light by paths; scanline: fast, shadows by maps; viewport: what a viewport "
         "shows (default: the scene's)")
        ->check(CLI::IsMember({"raytrace", "scanline", "viewport"}).description(""))
        ->type_name("NAME");
    c->add_option("--samples", o.samples,
                  fmt::format("rays or samples a pixel, 1 to {}", kMaxSamples))
        ->check(CLI::PositiveNumber.description(""))
        ->type_name("N");
    AddViewport(c, o);
    c->add_option("--camera", o.camera, "name of a camera node")->type_name("NAME");
    AddTime(c, o.time);
    c->add_option_function<std::string>(
         "--frames",
         [&o](const std::string& text) {
             o.frames = ParseFrames(text);
             if (!o.frames)
                 throw CLI::ValidationError(
                     "--frames",
                     fmt::format("{} is no range of frames, expected FIRST-LAST such as 1-48",
                                 text));
         },
         "frames to render, one image each: IMAGE.0001.png and so on")
        ->type_name("FIRST-LAST")
        ->excludes("--time");
    AddThreads(c, o.threads);
    AddNoLimit(c);
}

void CommandLine::AddInfo() {
    InfoOptions& o = m_info;
    CLI::App* c = Add("info", "list the scatter objects of a scene",
                      "  dravin info wood.json\n  dravin info wood.json --verbose",
                      [&o] { return RunInfo(o); });
    AddScene(c, o.scene);
    c->add_flag("--verbose", o.verbose, "limits, seed, areas and surfaces of each object too");
}

void CommandLine::AddInspect() {
    CLI::App* c = Add("inspect", "tell what an import of a model gives, and what it leaves out",
                      "  dravin inspect tree.glb\n  dravin --json inspect tree.fbx",
                      [this] { return RunInspect(m_model, m_console.json); });
    c->add_option("model", m_model, "glTF, OBJ, PLY, STL, FBX, ...")->required()->type_name("FILE");
}

void CommandLine::AddSchema() {
    CLI::App* c = Add("schema", "list the parameters of the scatter object",
                      "  dravin schema\n  dravin schema distParams\n"
                      "  dravin --json schema units_x",
                      [this] { return RunSchema(m_schemaFilter, m_console.json); });
    c->add_option("name", m_schemaFilter, "a block or a parameter")->type_name("NAME");
}

void CommandLine::AddEffect() {
    EffectOptions& o = m_effect;
    CLI::App* effect = Add("effect", "check, run or list effect programs",
                           "  dravin effect list\n  dravin effect check my_effect.txt\n"
                           "  dravin effect run face_node --set target=[1,1,0]",
                           [&o] { return RunEffect(o); });
    effect->require_subcommand(1);
    CLI::App* check = effect->add_subcommand("check", "compile an effect; silent when all is well");
    CLI::App* run = effect->add_subcommand("run", "run an effect on one default item");
    for (CLI::App* c : {check, run}) {
        c->add_option("file", o.file,
                      "definition (XML), plain program text, or a shipped effect's name")
            ->required()
            ->type_name("EFFECT");
        c->add_option("--set", o.set, "gives a parameter a value: 3, 2.5 or [1,2,3]")
            ->allow_extra_args(false)
            ->type_name("NAME=VALUE");
    }
    run->add_option("--seed", o.seed, "seed of the item's random numbers (default: 123456)")
        ->type_name("N");
    CLI::App* list = effect->add_subcommand("list", "the effects that ship with the product");
    list->add_option("name", m_listedEffect, "one effect, with its parameters")->type_name("NAME");
    check->callback([&o] { o.checkOnly = true; });
    effect->callback([this, list] {
        m_run = [this, list] {
            return list->parsed() ? RunEffectList(m_listedEffect) : RunEffect(m_effect);
        };
    });
}

void CommandLine::AddDemo() {
    DemoCommandOptions& o = m_demo;
    CLI::App* c = Add("demo", "make, build and render a forest valley",
                      "  dravin demo\n  dravin demo --out valley --items 100000\n"
                      "  dravin demo --fresh",
                      [&o] { return RunDemo(o); });
    c->add_option("--out", o.folder, "output folder (default: demo)")->type_name("DIR");
    c->add_option("--items", o.items, "about how many items, 1000 to 1e8 (default: 1.2 million)")
        ->check(CLI::Range(1000.0, 1e8))
        ->type_name("N");
    c->add_flag("--fresh", o.fresh, "make the scene anew where the folder holds one already");
    AddThreads(c, o.threads);
}

void CommandLine::AddHelp() {
    CLI::App* c =
        Add("help", "help for a command; the manual page and completions",
            "  dravin help build\n"
            "  dravin help --manual | man -l -\n"
            "  dravin help --completion bash > ~/.local/share/bash-completion/completions/dravin",
            [this] { return Help(); });
    c->add_option("command", m_helpFor, "a command")->type_name("COMMAND");
    c->add_flag("--manual", m_manual, "the manual page");
    c->add_option("--completion", m_completionFor, "completions for bash, zsh or fish")
        ->check(CLI::IsMember({"bash", "zsh", "fish"}).description(""))
        ->type_name("SHELL");
}

ExitCode CommandLine::Help() {
    if (m_manual) return PrintResult(ManualPage(m_app)), kExitDone;
    if (!m_completionFor.empty())
        return PrintResult(ShellCompletion(m_app, m_completionFor)), kExitDone;
    const CLI::App* command = &m_app;
    if (!m_helpFor.empty()) {
        std::vector<std::string> names = CommandNames(m_app);
        if (std::find(names.begin(), names.end(), m_helpFor) == names.end()) {
            PrintError(fmt::format("no command \"{}\"{}", m_helpFor, DidYouMean(m_helpFor, names)));
            return kExitUsage;
        }
        command = m_app.get_subcommand(m_helpFor);
    }
    // Not App::help, which would give the help of this very command.
    PrintResult(m_app.get_formatter()->make_help(
        command, command == &m_app ? "dravin" : "dravin " + m_helpFor, CLI::AppFormatMode::Normal));
    return kExitDone;
}

// What is wrong, the nearest name that exists, and where to look.
std::string CommandLine::WrongUsage(const CLI::ParseError& error, const CLI::App& command) const {
    std::string text = error.what();
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    if (dynamic_cast<const CLI::ExtrasError*>(&error)) {
        std::string extra = text.substr(text.find_last_of(' ') + 1);
        extra = extra.substr(0, extra.find('='));
        text += DidYouMean(extra, OptionNames(command));
    }
    std::string name = command.get_parent() ? command.get_name() : "";
    for (const CLI::App* up = command.get_parent(); up && up->get_parent(); up = up->get_parent())
        name = up->get_name();
    return fmt::format("{}; see dravin {}", text,
                       name.empty() ? "--help" : fmt::format("help {}", name));
}

ExitCode CommandLine::Run(int argc, const char* const* argv) {
    // Wrong usage is told in this form too.
    m_console.quiet = HasArgument(argc, argv, "--quiet");
    m_console.json = HasArgument(argc, argv, "--json");
    SetUpConsole(m_console);

    std::vector<std::string> commands = CommandNames(m_app);
    std::string word = FirstWord(argc, argv);
    if (!word.empty() && std::find(commands.begin(), commands.end(), word) == commands.end()) {
        PrintError(fmt::format("no command \"{}\"{}; see dravin --help", word,
                               DidYouMean(word, commands)));
        return kExitUsage;
    }
    try {
        m_app.parse(argc, argv);
    } catch (const CLI::Success& asked) {  // --help or --version
        return m_app.exit(asked), kExitDone;
    } catch (const CLI::ParseError& error) {
        PrintError(WrongUsage(error, Reached(m_app)));
        return kExitUsage;
    }
    SetUpConsole(m_console);
    SetLimits();
    SilenceLibraries();
    return m_run();
}

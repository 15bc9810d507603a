// How the program talks and what it refuses to do: messages, exit codes, outputs.
#include <gmock/gmock.h>

#include <filesystem>

#include <pty.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "tests/run_program.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

using Json = nlohmann::json;

constexpr const char* kProgram = DRAVIN_BINARY_DIR "/apps/dravin/dravin";

class CommandLine : public testing::Test {
protected:
    ProgramRun Dravin(std::vector<std::string> arguments, const ProgramLimits& limits = {}) const {
        arguments.insert(arguments.begin(), kProgram);
        return RunProgram(arguments, m_folder.File("."), limits);
    }
    ProgramRun Shell(const std::string& command) const {
        std::string text = "PATH=" DRAVIN_BINARY_DIR "/apps/dravin:$PATH; " + command;
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }
    // A ground, a box to scatter, an image for the ground and a scatter object of these keys.
    void WriteScene(const std::string& keys = {}, const std::string& params = {}) const {
        m_folder.Write("s.json", R"({"dravin_scene": 1,
 "texmaps": {"map": {"type": "bitmap", "file": "map.pgm", "filter": "nearest"}},
 "nodes": [
  {"name": "ground", "type": "plane", "width": 20, "length": 20},
  {"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2, "hidden": true},
  {"name": "wood", "type": "dravin",
   "params": {"surflist": ["ground"], "pixels_x": 10, "pixels_y": 10)" +
                                     params + R"(, "distmap": "map"},
   "geometry": [{"name": "tree", "object": "tree"}])" +
                                     keys + "}]}");
        m_folder.Write("map.pgm", "P2 2 2 255 255 255 255 255\n");
    }
    Json Items(const std::string& file) const { return Json::parse(m_folder.Read(file)); }

    TempFolder m_folder;
};

// What the program writes to a terminal.
std::string OnTerminal(const std::vector<std::string>& arguments, const std::string& folder,
                       bool noColor) {
    int terminal = -1;
    pid_t pid = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid == 0) {
        if (noColor) setenv("NO_COLOR", "1", 1);
        std::vector<char*> argv;
        for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        if (chdir(folder.c_str()) == 0) execv(argv[0], argv.data());
        _exit(99);
    }
    std::string text;
    char buffer[4096];
    for (ssize_t n; (n = read(terminal, buffer, sizeof buffer)) > 0;)
        text.append(buffer, size_t(n));
    waitpid(pid, nullptr, 0);
    close(terminal);
    return text;
}

}  // namespace

// Outputs never take the place of inputs.

TEST_F(CommandLine, TheSceneIsNoOutput) {
    WriteScene();
    std::string before = m_folder.Read("s.json");
    std::filesystem::create_symlink("s.json", m_folder.File("link.json"));
    for (const char* name : {"s.json", "./s.json", "link.json"}) {
        ProgramRun run = Dravin({"build", "s.json", "-o", name});
        EXPECT_EQ(run.code, 2) << run.err;
        EXPECT_THAT(run.err, HasSubstr("is an input of this scene"));
    }
    EXPECT_EQ(m_folder.Read("s.json"), before);
}

TEST_F(CommandLine, FilesThatTheSceneLoadsAreNoOutputs) {
    WriteScene();
    ASSERT_EQ(rename(m_folder.File("map.pgm").c_str(), m_folder.File("map.png").c_str()), 0);
    std::string scene = m_folder.Read("s.json");
    m_folder.Write("s.json", scene.replace(scene.find("map.pgm"), 7, "map.png"));
    std::string before = m_folder.Read("map.png");
    ProgramRun run =
        Dravin({"render", "s.json", "--size", "8x8", "--samples", "1", "-o", "map.png"});
    EXPECT_EQ(run.code, 2) << run.err;
    EXPECT_THAT(run.err, HasSubstr("-o map.png: is an input"));
    EXPECT_EQ(m_folder.Read("map.png"), before);
}

TEST_F(CommandLine, OneOutputTwiceIsRefused) {
    WriteScene();
    ProgramRun run = Dravin({"build", "s.json", "-o", "a.csv", "-o", "./a.csv"});
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.err, HasSubstr("-o ./a.csv: a.csv is an output already"));
    EXPECT_EQ(Dravin({"build", "s.json", "-o", "-", "-o", "-"}).code, 2);
    EXPECT_EQ(m_folder.NumFiles(), 2u);
}

TEST_F(CommandLine, PipesNeedAReader) {
    WriteScene();
    mkfifo(m_folder.File("pipe.json").c_str(), 0600);
    ProgramRun run = Dravin({"build", "s.json", "-o", "pipe.json"});
    EXPECT_EQ(run.code, 6);
    EXPECT_THAT(run.err, HasSubstr("nobody reads this pipe"));
    run = Shell("cat pipe.json > got & sleep 1; dravin build s.json -o pipe.json; wait");
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(Items("got")["items"].size(), 400u);
}

// What is built.

TEST_F(CommandLine, BuildsGiveWhatWillBeRendered) {
    WriteScene("", R"(, "vmaxitems": 100, "rmaxitems": 500)");
    ASSERT_EQ(Dravin({"build", "s.json", "-o", "render.json"}).code, 0);
    EXPECT_EQ(Items("render.json")["render"], true);
    EXPECT_EQ(Items("render.json")["items"].size(), 400u);
    ProgramRun viewport = Dravin({"build", "s.json", "--viewport", "-o", "viewport.json"});
    EXPECT_THAT(viewport.err, HasSubstr("wood: thinned in steps of 2"));
    EXPECT_EQ(Items("viewport.json")["render"], false);
    EXPECT_EQ(Items("viewport.json")["items"].size(), 100u);
    EXPECT_EQ(Dravin({"build", "s.json", "--render"}).code, 0);
    EXPECT_EQ(Dravin({"build", "s.json", "--render", "--viewport"}).code, 2);
}

TEST_F(CommandLine, OutputsAreTold) {
    WriteScene();
    ProgramRun run = Dravin({"build", "s.json", "-o", "a.csv"});
    EXPECT_THAT(run.err, HasSubstr("a.csv: 400 items, "));
    EXPECT_EQ(Dravin({"--quiet", "build", "s.json", "-o", "a.csv"}).err, "");
}

TEST_F(CommandLine, FailedBuildsLeaveOldOutputsAlone) {
    WriteScene("", R"(, "threshold": 100)");
    m_folder.Write("a.csv", "old");
    ProgramRun run = Dravin({"build", "s.json", "-o", "a.csv", "-o", "a.json"});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(m_folder.Read("a.csv"), "old");
    EXPECT_EQ(Items("a.json")["status"], 10);
}

TEST_F(CommandLine, RejectionsAreCountedByRule) {
    WriteScene("", R"(, "altmin": 5, "altmax": 9, "altlimited": true)");
    ProgramRun run = Dravin({"build", "s.json", "-o", "a.json", "--explain"});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(Items("a.json")["statistics"]["rejected"]["altitude"], 400);
    EXPECT_EQ(Items("a.json")["statistics"]["rejected"]["area"], 0);
    EXPECT_THAT(run.out, HasSubstr("altitude     400"));
    EXPECT_THAT(run.err, HasSubstr("dropped by the altitude limits"));
}

TEST_F(CommandLine, AForgottenGroundIsHelped) {
    WriteScene();
    std::string scene = m_folder.Read("s.json");
    m_folder.Write("s.json", scene.replace(scene.find("\"surflist\": [\"ground\"], "), 24, ""));
    ProgramRun run = Dravin({"build", "s.json"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("There are not Include Areas\nname the ground in \"surflist\""));
}

TEST_F(CommandLine, LimitsNameTheirParameter) {
    WriteScene("", R"(, "rmaxitems": 10)");
    EXPECT_THAT(Dravin({"build", "s.json"}).err, HasSubstr("raise \"rmaxitems\""));
    WriteScene("", R"(, "units_x": 0.001, "units_y": 0.001)");
    EXPECT_THAT(Dravin({"build", "s.json"}).err, HasSubstr("raise \"maxdensity\""));
}

// Messages.

TEST_F(CommandLine, WrongUsageIsJsonOnDemand) {
    for (std::vector<std::string> arguments :
         {std::vector<std::string>{"--json", "bulid"}, {"build", "--json", "s.json", "--filds"}}) {
        ProgramRun run = Dravin(arguments);
        EXPECT_EQ(run.code, 2);
        Json line = Json::parse(run.err);
        EXPECT_EQ(line["level"], "error");
        EXPECT_THAT(line["text"].get<std::string>(), HasSubstr("did you mean"));
    }
}

TEST_F(CommandLine, MessagesAreJsonOnDemand) {
    WriteScene();
    ProgramRun run = Dravin({"--json", "build", "s.json", "--viewport", "-o", "a.csv"});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(Json::parse(run.err)["level"], "note");
    run = Dravin({"--json", "build", "nope.json"});
    EXPECT_EQ(Json::parse(run.err)["level"], "error");
}

TEST_F(CommandLine, QuietKeepsErrors) {
    WriteScene("", R"(, "units_x": -5)");  // clamped, with a warning
    EXPECT_THAT(Dravin({"build", "s.json"}).err, HasSubstr("warning"));
    EXPECT_THAT(Dravin({"--quiet", "build", "s.json"}).err, Not(HasSubstr("warning")));
    EXPECT_THAT(Dravin({"--quiet", "build", "nope.json"}).err, StartsWith("error: "));
}

// Twelve million cells on one thread: long enough for any machine to have to wait. None of them is
// within the limits, so that nothing is held.
TEST_F(CommandLine, LongBuildsShowHowFarTheyAre) {
    WriteScene("", R"(, "units_x": 0.058, "units_y": 0.058, "maxdensity": 0, "altlimited": true,
                "altmin": 1, "altmax": 2)");
    std::vector<std::string> build{kProgram, "build", "s.json", "--threads", "1"};
    EXPECT_THAT(OnTerminal(build, m_folder.File("."), false), HasSubstr("building wood ["));
    build.push_back("--quiet");
    EXPECT_THAT(OnTerminal(build, m_folder.File("."), false), Not(HasSubstr("building")));
    ProgramRun elsewhere = Dravin({"build", "s.json", "--threads", "1"});
    EXPECT_THAT(elsewhere.out + elsewhere.err, Not(HasSubstr("building")));
}

TEST_F(CommandLine, ColoursOnlyOnATerminalThatWantsThem) {
    WriteScene();
    std::vector<std::string> build{kProgram, "build", "s.json"};
    EXPECT_THAT(OnTerminal(build, m_folder.File("."), false), HasSubstr("\033[1mwood"));
    EXPECT_THAT(OnTerminal(build, m_folder.File("."), true), Not(HasSubstr("\033[1m")));
    EXPECT_THAT(Dravin({"build", "s.json"}).out, Not(HasSubstr("\033")));
}

TEST_F(CommandLine, AReaderThatHasSeenEnoughIsNoError) {
    WriteScene();
    ProgramRun run =
        Shell("set -o pipefail; dravin build s.json --fields all -o - | head -1 > got");
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.err, "");
    run = Shell("set -o pipefail; dravin schema | head -1 > got");
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.err, "");
}

TEST_F(CommandLine, ObjectsThatExistAreListed) {
    WriteScene();
    ProgramRun run = Dravin({"build", "s.json", "--object", "nope"});
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.err, HasSubstr("no scatter object \"nope\"; it has \"wood\""));
}

TEST_F(CommandLine, CodecsDoNotChatter) {
    WriteScene();
    // A TIFF whose directory says nonsense: its library complains by itself.
    std::string tiff("II*\0\x08\0\0\0\x01\0\x00\x99\x63\0\x01\0\0\0\x01\0\0\0\0\0\0\0", 26);
    m_folder.Write("map.tif", tiff);
    std::string scene = m_folder.Read("s.json");
    m_folder.Write("s.json", scene.replace(scene.find("map.pgm"), 7, "map.tif"));
    ProgramRun run = Dravin({"build", "s.json"});
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.err, StartsWith("error: "));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

// Help for shells.

TEST_F(CommandLine, TheManualNamesEveryCommandAndOption) {
    std::string manual = Dravin({"help", "--manual"}).out;
    EXPECT_THAT(manual, StartsWith(".TH DRAVIN 1"));
    for (const char* word :
         {"dravin build", "dravin effect run", "\\-\\-no\\-limit", "DRAVIN_HOME"})
        EXPECT_THAT(manual, HasSubstr(word));
}

TEST_F(CommandLine, BashCompletesCommandsAndOptions) {
    ProgramRun run = Shell(R"--(eval "$(dravin help --completion bash)"
        complete_words() { COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _dravin; echo "${COMPREPLY[*]}"; }
        complete_words dravin bu
        complete_words dravin render s.json --sam
        complete_words dravin effect ch)--");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "build\n--samples\ncheck\n");
}

TEST_F(CommandLine, EveryHelpTextHasExamples) {
    for (const char* command : {"build", "render", "info", "schema", "effect", "demo", "help"})
        EXPECT_THAT(Dravin({"help", command}).out, HasSubstr("Examples:")) << command;
    EXPECT_THAT(Dravin({"help", "bulid"}).err, HasSubstr("did you mean \"build\"?"));
    EXPECT_THAT(Dravin({"help"}).out, HasSubstr("Subcommands:"));
}

// The lister.

TEST_F(CommandLine, InfoIsTheLister) {
    WriteScene(R"(, "effects": [{"name": "bad", "program": "{ dpItem.nope = 1; }"}])");
    ProgramRun run = Dravin({"info", "s.json"});
    EXPECT_EQ(run.code, 0) << run.err;
    for (const char* text : {"Items Editor", "1 model", "400 items", "1 XY Surf", "Effects On",
                             "wood: effect \"bad\" at line 1"})
        EXPECT_THAT(run.out, HasSubstr(text));
    EXPECT_THAT(run.out, Not(HasSubstr("Max render")));
    EXPECT_THAT(Dravin({"info", "s.json", "--verbose"}).out, HasSubstr("Max render"));
}

TEST_F(CommandLine, EffectsThatDoNotCompileFailTheBuild) {
    WriteScene(R"(, "effects": [{"name": "bad", "program": "{ dpItem.nope = 1; }"}])");
    ProgramRun run = Dravin({"build", "s.json", "-o", "a.csv"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("error: wood: effect \"bad\" at line 1"));
    run = Dravin({"build", "s.json", "--keep-going", "-o", "a.csv"});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.err, HasSubstr("warning: effect \"bad\": Compile error. "));
}

// Where the data is.

TEST_F(CommandLine, AMissingDataFolderIsToldWithItsRemedy) {
    WriteScene();
    ProgramRun run = Shell("DRAVIN_HOME=/nowhere dravin build s.json");
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.err, HasSubstr("/nowhere (which DRAVIN_HOME names)"));
    run = Shell("DRAVIN_HOME=/nowhere dravin demo");
    EXPECT_EQ(run.code, 3);
    EXPECT_THAT(run.err, HasSubstr("set the environment variable DRAVIN_HOME"));
}

TEST_F(CommandLine, DamagedAndEmptyListsOfTemplatesAreTold) {
    std::filesystem::create_directory(m_folder.File("data"));
    std::filesystem::copy(DRAVIN_SOURCE_DIR "/data/geometry", m_folder.File("data/geometry"),
                          std::filesystem::copy_options::recursive);
    std::filesystem::copy(DRAVIN_SOURCE_DIR "/data/distmaps", m_folder.File("data/distmaps"),
                          std::filesystem::copy_options::recursive);
    m_folder.Write("s.json", R"({"dravin_scene": 1, "nodes": [
        {"name": "ground", "type": "plane"}, {"name": "w", "type": "dravin",
         "params": {"surflist": ["ground"], "mapname": "clumps.bmp"},
         "geometry": [{"name": "oak", "kind": "template", "template": "One Plane"}]}]})");
    m_folder.Write("data/geometry/index.dat",
                   "templates\nOne Plane;oak;One Plane;oak_1.jpg\nTwo Pl");
    std::string build = "DRAVIN_HOME=$PWD/data dravin build s.json";
    EXPECT_THAT(Shell(build).err, HasSubstr("Error reading geometry\\index.dat (line 2)"));
    m_folder.Write("data/geometry/index.dat", "");
    EXPECT_THAT(Shell(build).err, HasSubstr("the row \"oak\" shows nothing"));
}

// Effect files.

TEST_F(CommandLine, EffectFilesThatAreNone) {
    std::string noise;
    uint32_t state = 1;
    for (int i = 0; i < 3000; ++i) noise += char((state = state * 1664525 + 1013904223) >> 24);
    m_folder.Write("noise", noise);
    ProgramRun run = Dravin({"effect", "check", "noise"});
    EXPECT_EQ(run.code, 4);
    EXPECT_EQ(run.err, "error: noise: is no text\n");
    EXPECT_EQ(run.out, "");

    m_folder.Write("empty", " \n");
    run = Dravin({"effect", "check", "empty"});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.err, HasSubstr("empty: is empty and does nothing"));

    m_folder.Write("long", std::string((16 << 20) + 1, ' '));
    run = Dravin({"effect", "check", "long"});
    EXPECT_EQ(run.code, 5);
    EXPECT_THAT(run.err, HasSubstr("split it"));
}

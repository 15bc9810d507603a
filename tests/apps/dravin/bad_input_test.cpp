// The program on input that is missing, damaged, absurd or hostile: it ends soon, with the exit
// code and the message that tell what is wrong, and leaves nothing half written.
#include <gmock/gmock.h>

#include <fmt/format.h>
#include <sys/stat.h>

#include "tests/run_program.h"

using testing::HasSubstr;
using testing::Not;

namespace {

// The sanitizers reserve terabytes of addresses.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr size_t kTwoGiB = 0, kFourGiB = 0;
#else
constexpr size_t kTwoGiB = size_t{2} << 30, kFourGiB = size_t{4} << 30;
#endif
constexpr double kSoonSeconds = 30;  // generous: the machine may be busy, the sanitizers are slow

constexpr const char* kGround = R"({"name": "ground", "type": "plane", "width": 10, "length": 10})";
constexpr const char* kTree = R"({"name": "tree", "type": "box", "width": 1, "length": 1,
                                  "height": 2})";

class BadInput : public testing::Test {
protected:
    ProgramRun Dravin(std::vector<std::string> arguments, const ProgramLimits& limits = {}) const {
        arguments.insert(arguments.begin(), DRAVIN_BINARY_DIR "/apps/dravin/dravin");
        return RunProgram(arguments, m_folder.File("."), limits);
    }
    // Builds a scene of these nodes. With a limit on memory, so that no input can ask for much.
    ProgramRun Build(const std::string& nodes, const std::string& more = {}) const {
        m_folder.Write("s.json", "{\"dravin_scene\": 1, \"nodes\": [" + nodes + "]" + more + "}");
        return Dravin({"build", "s.json"}, {.memoryBytes = kTwoGiB});
    }
    // A scatter object over "ground" that shows "tree".
    static std::string Forest(const std::string& params = {}) {
        return R"({"name": "forest", "type": "dravin", "params": {"surflist": ["ground"])" +
               params + R"(}, "geometry": [{"name": "a", "kind": "custom", "object": "tree"}]})";
    }
    ProgramRun BuildOn(const std::string& ground, const std::string& params = {}) const {
        return Build(ground + "," + kTree + "," + Forest(params));
    }
    ProgramRun BuildOnFile(const std::string& file, const std::string& bytes) const {
        m_folder.Write(file, bytes);
        return BuildOn(R"({"name": "ground", "type": "mesh", "file": ")" + file + "\"}");
    }
    std::string WriteGoodScene() const {
        return m_folder.Write("good.json", std::string("{\"dravin_scene\": 1, \"nodes\": [") +
                                               kGround + "," + kTree + "," + Forest() + "]}");
    }
    // 2 GiB that take no room on the disk.
    void WriteHuge(const std::string& name, const std::string& start) const {
        m_folder.Write(name, start);
        std::filesystem::resize_file(m_folder.File(name), uintmax_t{2} << 30);
    }

    TempFolder m_folder;
};

std::string Garbage() {
    std::string bytes;
    uint32_t state = 12345;
    for (int i = 0; i < 4096; ++i) bytes += char((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
}

void Expect(const ProgramRun& run, int code, const std::string& message) {
    EXPECT_EQ(run.code, code) << run.err;
    EXPECT_THAT(run.err, HasSubstr(message));
    EXPECT_LT(run.seconds, kSoonSeconds);
}

}  // namespace

TEST_F(BadInput, TheGoodSceneBuilds) {
    WriteGoodScene();
    ProgramRun run = Dravin({"build", "good.json", "-o", "items.json"});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("items.json: 1,024 items"));
    EXPECT_EQ(m_folder.NumFiles(), 2u);
}

// Scenes.

TEST_F(BadInput, MissingScene) {
    Expect(Dravin({"build", "no.json"}), 3, "no.json: cannot open the file");
    Expect(Dravin({"info", "."}), 3, "is a folder, expected a file");
    Expect(Dravin({"render", "no.json", "-o", "a.png"}), 3, "no.json: cannot open the file");
}

TEST_F(BadInput, SceneThatIsNoJson) {
    for (const char* text : {"", "[", "{\"dravin_scene\": 1, \"nodes\": [", "\x7F\x45LF\x01"}) {
        m_folder.Write("s.json", text);
        Expect(Dravin({"build", "s.json"}), 4, "s.json:1:");
    }
    m_folder.Write("s.json", std::string(1000000, '['));
    Expect(Dravin({"build", "s.json"}), 4, "nested more than 64 levels deep");
}

TEST_F(BadInput, MessagesCannotSteerTheTerminal) {
    m_folder.Write("s.json", "{\"dravin_scene\": \"\\u001b[2J\"}");
    ProgramRun run = Dravin({"build", "s.json"});
    Expect(run, 4, "expected a whole number");
    EXPECT_EQ(run.err.find('\033'), std::string::npos);
    m_folder.Write("s.json", "{\"dravin_scene\": \x1b\xff");
    EXPECT_EQ(Dravin({"build", "s.json"}).err.find_first_of("\033\xff"), std::string::npos);
}

TEST_F(BadInput, UnknownKeysAndTypesGetASuggestion) {
    Expect(BuildOn(R"({"name": "ground", "type": "plane", "widht": 1})"), 4,
           "/nodes/0/widht: unknown key \"widht\", did you mean \"width\"?");
    Expect(BuildOn(R"({"name": "ground", "type": "shpere"})"), 4, "did you mean \"sphere\"?");
    Expect(BuildOn(kGround, R"(, "seeed": 1)"), 4, "did you mean \"seed\"?");
}

TEST_F(BadInput, DuplicateNames) {
    Expect(Build(std::string(kGround) + "," + kGround), 4, "the name \"ground\" stands twice");
}

TEST_F(BadInput, CyclesOfParents) {
    Expect(Build(R"({"name": "a", "type": "dummy", "parent": "a"})"), 4, "its own parent");
    Expect(Build(R"({"name": "a", "type": "dummy", "parent": "b"},
                    {"name": "b", "type": "dummy", "parent": "a"})"),
           4, "the parent \"b\" stands after its child");
}

TEST_F(BadInput, GeometryWhoseObjectIsGone) {
    Expect(Build(std::string(kGround) + "," + Forest()), 4,
           "/nodes/1/geometry/0/object: no node is named \"tree\"");
}

TEST_F(BadInput, ObjectsThatScatterThemselves) {
    std::string self = R"({"name": "tree", "type": "dravin", "params": {"surflist": ["ground"]},
        "geometry": [{"name": "a", "kind": "custom", "object": "tree"}]})";
    Expect(Build(std::string(kGround) + "," + self), 0, "the object cannot scatter itself");
    std::string pair = R"({"name": "tree", "type": "dravin", "params": {"surflist": ["ground"]},
        "geometry": [{"name": "a", "kind": "custom", "object": "forest"}]})";
    EXPECT_EQ(Build(std::string(kGround) + "," + pair + "," + Forest()).code, 0);
}

TEST_F(BadInput, PointsFromNothing) {
    auto points = [](const char* mode) {
        return fmt::format(R"({{"name": "d", "type": "dravin", "params": {{"distmode": "{}"}},
            "geometry": [{{"name": "a", "object": "tree"}}]}})",
                           mode);
    };
    std::string tree = std::string(kTree) + ",";
    Expect(Build(tree + points("Path")), 1, "the object has no path to place items at");
    Expect(Build(tree + points("Reference")), 1, "(see \"distrefnodes\")");
    Expect(Build(tree + points("Particle Flow")), 1, "the object has no system with particles");
}

TEST_F(BadInput, ThinnedBuildsSaySo) {
    std::string fine = R"(, "units_x": 0.5, "units_y": 0.5, "vmaxitems": 1000)";
    m_folder.Write("s.json", "{\"dravin_scene\": 1, \"nodes\": [" + std::string(kGround) + "," +
                                 kTree + "," + Forest(fine) + "]}");
    Expect(Dravin({"build", "s.json", "--viewport"}), 0, "forest: thinned in steps of ");
    EXPECT_EQ(Dravin({"build", "s.json"}).err, "");
    EXPECT_EQ(Dravin({"build", "s.json", "--viewport", "--no-limit"}).err, "");
}

TEST_F(BadInput, SceneWithoutScatterObject) {
    Expect(Build(kGround), 4, "the scene has no scatter object");
}

// Numbers.

TEST_F(BadInput, InfinitiesAndWhatIsNoNumber) {
    auto plane = [](const char* width) {
        return fmt::format(R"({{"name": "ground", "type": "plane", "width": {}}})", width);
    };
    Expect(BuildOn(plane("1e999")), 4, "/nodes/0/width: the number 1e999 is too large");
    Expect(BuildOn(plane("-1e308")), 4, "expected a number that single precision holds");
    Expect(BuildOn(plane("Infinity")), 4, "s.json:1:");
    Expect(BuildOn(plane("NaN")), 4, "s.json:1:");
    Expect(BuildOn(kGround, R"(, "units_x": 1e999)"), 4, "the number 1e999 is too large");
}

TEST_F(BadInput, SizesOfZero) {
    Expect(BuildOn(R"({"name": "ground", "type": "plane", "width": 0, "length": 0})"), 1,
           "status 1: There are not Include Areas");
    EXPECT_EQ(BuildOn(R"({"name": "ground", "type": "plane", "scale": [0, 0, 0]})").code, 0);
    Expect(BuildOn(kGround, R"(, "units_x": 0, "units_y": 0)"), 1,
           "/nodes/2/params/units_x: 0 is outside 1e-04 to 2147483648, clamped to 1e-04");
    Expect(BuildOn(R"({"name": "ground", "type": "plane", "segments": 0})"), 4, "above 0");
    Expect(BuildOn(kGround, "}, \"unit_scale\": {\"a\": 0"), 4, "unknown key \"unit_scale\"");
}

TEST_F(BadInput, DensityBeyondAllMemory) {
    std::string wide = R"({"name": "ground", "type": "plane", "width": 1e9, "length": 1e9})";
    Expect(BuildOn(wide, R"(, "units_x": 1)"), 1,
           "status 4: Items density is too high. Increase the X/Y Size in Distribution Map");
    std::string huge = R"({"name": "ground", "type": "plane", "width": 3e38, "length": 3e38})";
    Expect(BuildOn(huge, R"(, "units_x": 1)"), 1, "status 4: Items density is too high.");
}

TEST_F(BadInput, MoreItemsThanTheRenderLimit) {
    m_folder.Write("s.json", R"({"dravin_scene": 1, "nodes": [
        {"name": "ground", "type": "plane", "width": 1e5, "length": 1e5}, )" +
                                 std::string(kTree) + "," +
                                 Forest(R"(, "units_x": 1, "maxdensity": 0)") + "]}");
    ProgramRun run = Dravin({"build", "s.json", "--render"}, {.memoryBytes = kTwoGiB});
    EXPECT_EQ(run.code, 1) << run.err;
    EXPECT_THAT(run.err, HasSubstr("status 7: Maximum number of items exceeded"));
}

TEST_F(BadInput, MoreItemsThanMemory) {
    if (kTwoGiB == 0) return;  // sanitizers know no limit on addresses
    m_folder.Write("s.json", R"({"dravin_scene": 1, "nodes": [
        {"name": "ground", "type": "plane", "width": 10000, "length": 10000}, )" +
                                 std::string(kTree) + "," +
                                 Forest(R"(, "units_x": 100, "maxdensity": 0)") + "]}");
    constexpr size_t kOneGiB = kTwoGiB / 2;  // a part of what 10^8 items need
    ProgramRun run = Dravin({"build", "s.json", "--render", "--no-limit", "--threads", "2"},
                            {.memoryBytes = kOneGiB});
    EXPECT_EQ(run.code, 5) << run.err;
    EXPECT_THAT(run.err, HasSubstr("forest: the build broke off: out of memory"));
}

TEST_F(BadInput, NoLimitMeansIt) {
    // 2000 x 2000 cells, where at most a million are allowed.
    std::string fine = R"(, "distmap": "m", "pixels_x": 200, "units_x": 1, "maxdensity": 1)";
    std::string map = R"(, "texmaps": {"m": {"type": "color", "color": [0, 0, 0]}})";
    m_folder.Write("s.json", "{\"dravin_scene\": 1, \"nodes\": [" + std::string(kGround) + "," +
                                 kTree + "," + Forest(fine) + "]" + map + "}");
    Expect(Dravin({"build", "s.json"}), 1,
           "raise \"maxdensity\" (millions of cells; 0 is no limit)");
    // All of them are looked at; none is white.
    Expect(Dravin({"build", "s.json", "--no-limit"}), 1, "status 10: No items");
    // Nobody can count these.
    std::string huge = R"({"name": "ground", "type": "plane", "width": 3e38, "length": 3e38})";
    m_folder.Write("s.json", "{\"dravin_scene\": 1, \"nodes\": [" + huge + "," + kTree + "," +
                                 Forest(R"(, "units_x": 1)") + "]}");
    Expect(Dravin({"build", "s.json", "--no-limit"}), 1,
           "as so many cells cannot be counted; no option raises this");
}

TEST_F(BadInput, PicturesBeyondTheLimit) {
    WriteGoodScene();
    auto render = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"render", "good.json", "-o", "a.png"});
        return Dravin(options, {.memoryBytes = kTwoGiB});
    };
    Expect(render({"--size", "20000x2"}), 5, "give a smaller --size, or --no-limit");
    Expect(render({"--size", "1000000x1000000"}), 5, "at most 16384 a side are rendered");
    Expect(render({"--size", "1000000x1000000", "--no-limit"}), 5, "no option raises this");
    Expect(render({"--size", "2x2", "--samples", "65537"}), 5, "at most 65536 are taken");
    EXPECT_EQ(render({"--size", "20000x1", "--samples", "1", "--no-limit"}).code, 0);
    m_folder.Write("good.json",
                   m_folder.Read("good.json").insert(1, R"("render": {"width": 20000},)"));
    Expect(render({}), 5, "a picture of 20000 x 720 pixels");
}

TEST_F(BadInput, CellsTooSmallForItems) {
    Expect(BuildOn(kGround, R"(, "units_x": 0.001, "units_y": 0.001)"), 1,
           "the map's cells are smaller than 0.0001 and make no items: enlarge \"units_x\"");
}

TEST_F(BadInput, EffectsBeyondTheLimit) {
    m_folder.Write("a.txt", "");
    std::filesystem::resize_file(m_folder.File("a.txt"), (16 << 20) + 1);
    std::string forest = Forest();
    forest.insert(forest.size() - 1, R"(, "effects": [{"name": "e", "file": "a.txt"}])");
    Expect(Build(std::string(kGround) + "," + kTree + "," + forest), 5,
           "a.txt: 16,777,217 bytes, an effect has 16,777,216 at most; split it into several");
}

TEST_F(BadInput, MoreSegmentsThanTheLimit) {
    Expect(BuildOn(R"({"name": "ground", "type": "plane", "segments": 2000000000})"), 5,
           "2000000000 segments are more than the limit of 4096; no option raises this");
}

// Meshes.

TEST_F(BadInput, UnreadableMeshes) {
    Expect(BuildOn(R"({"name": "ground", "type": "mesh", "file": "no.obj"})"), 3,
           "/nodes/0/file: no.obj: cannot open the file: No such file or directory");
    Expect(BuildOn(R"({"name": "ground", "type": "mesh", "file": "/dev/zero"})"), 3,
           "is a device, expected a file");
    mkfifo(m_folder.File("pipe.obj").c_str(), 0600);
    Expect(BuildOn(R"({"name": "ground", "type": "mesh", "file": "pipe.obj"})"), 3, "is a pipe");
}

TEST_F(BadInput, EmptyMeshFiles) {
    for (const char* file : {"a.obj", "a.ply", "a.stl", "a.glb", "a.gltf"})
        Expect(BuildOnFile(file, ""), 4, std::string("/nodes/0: ") + file);
    Expect(BuildOnFile("a.obj", "v 0 0 0\n"), 4, "the mesh has no faces");
}

TEST_F(BadInput, VerticesThatAreNotFinite) {
    Expect(BuildOnFile("a.obj", "v 0 0 0\nv nan 0 0\nv 0 1 0\nf 1 2 3\n"), 4,
           "a.obj:2: a coordinate is not a finite number");
    Expect(BuildOnFile("a.obj", "v 0 0 0\nv 1e99 0 0\nv 0 1 0\nf 1 2 3\n"), 4, "a.obj:2: ");
    Expect(BuildOnFile("a.stl", std::string(80, '\0') + std::string("\1\0\0\0", 4) +
                                    std::string(50, '\xFF')),
           4, "a.stl: triangle 0: a coordinate is not a finite number");
}

TEST_F(BadInput, TrianglesWithoutArea) {
    Expect(BuildOnFile("a.obj", "v 0 0 0\nv 1 0 0\nv 2 0 0\nf 1 2 3\n"), 1,
           "status 1: There are not Include Areas");
}

TEST_F(BadInput, FaceThatNamesNoVertex) {
    Expect(BuildOn(R"({"name": "ground", "type": "mesh", "vertices": [[0, 0, 0]],
                       "faces": [[0, 0, 7]]})"),
           4, "/nodes/0: face 0: vertex index 7 of 1");
}

// Images.

TEST_F(BadInput, UnreadableImages) {
    std::string nodes = std::string(kGround) + "," + kTree + "," + Forest(R"(, "distmap": "m")");
    auto map = [](const char* file) {
        return fmt::format(R"(, "texmaps": {{"m": {{"type": "bitmap", "file": "{}"}}}})", file);
    };
    Expect(Build(nodes, map("no.png")), 3, "/texmaps/m/file: no.png: cannot open the file");
    m_folder.Write("text.png", "no image at all");
    Expect(Build(nodes, map("text.png")), 4, "not a file of a known kind, expected PNG, JPEG");
    m_folder.Write("cut.png", std::string("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16));
    Expect(Build(nodes, map("cut.png")), 4, "cut.png: cannot read the image");
    Expect(BuildOn(R"({"name": "ground", "type": "heightfield", "file": "text.png",
                       "size": [1, 1], "height": 1})"),
           4, "text.png: cannot read the image");
}

TEST_F(BadInput, ImagesBeyondTheInputLimit) {
    m_folder.Write("a.pgm", "P5\n2048 2048\n255\n" + std::string(1 << 22, '\xFF'));
    auto build = [&](const std::string& node, const std::string& params, const std::string& more) {
        m_folder.Write("s.json", "{\"dravin_scene\": 1, \"nodes\": [" + node + "," + kTree + "," +
                                     Forest(params) + "]" + more + "}");
        return [this](std::vector<std::string> options) {
            options.insert(options.begin(), {"build", "s.json"});
            return Dravin(options);
        };
    };
    auto texture = build(kGround, R"(, "distmap": "m")",
                         R"(, "texmaps": {"m": {"type": "bitmap", "file": "a.pgm"}})");
    Expect(texture({"--input-limit", "3"}), 5,
           "/texmaps/m: a.pgm: cannot read the image: 2048 x 2048 pixels of 1 channels: it would "
           "take 4 MiB of memory, one input may take 3; --input-limit 4 allows it");
    EXPECT_EQ(texture({"--input-limit", "4"}).code, 0);
    EXPECT_EQ(texture({"--input-limit", "3", "--no-limit"}).code, 0);
    // A pixel of a distribution map takes 6 bytes as colours and 16 in the map beside its own.
    auto map = build(kGround, R"(, "mapname": "a.pgm", "units_x": 2048)", "");
    Expect(map({"--input-limit", "91"}), 5, "forest: ");
    Expect(map({"--input-limit", "91"}), 5, "--input-limit 92 allows it");
    EXPECT_EQ(map({"--input-limit", "92"}).code, 0);
    // A sample of a terrain is a float.
    auto terrain = build(R"({"name": "ground", "type": "heightfield", "file": "a.pgm"})", "", "");
    Expect(terrain({"--input-limit", "15"}), 5,
           "/nodes/0/file: 2048 x 2048 samples: it would take 16");
    EXPECT_EQ(terrain({"--input-limit", "16"}).code, 0);
}

// Terrains.

TEST_F(BadInput, TerrainsThatDoNotFit) {
    m_folder.Write("a.asc", "ncols 2\nnrows 2\ncellsize 5\n1 2 3 4\n");
    auto terrain = [](const char* keys) {
        return fmt::format(R"({{"name": "ground", "type": "heightfield", "file": "a.asc", {}}})",
                           keys);
    };
    Expect(BuildOn(terrain(R"("samples": [65536, 65536])")), 5,
           "/nodes/0/samples: 65536 x 65536 samples take about 18.73 GB of memory");
    Expect(BuildOn(terrain(R"("samples": [40000, 40000])")), 5, "fewer \"samples\"");
    Expect(BuildOn(terrain(R"("crop": [0, 0, 2, 1])")), 4, "/nodes/0/crop: expected");
    // What does fit as an image may be too much as triangles.
    m_folder.Write("s.json", "{\"dravin_scene\": 1, \"nodes\": [" +
                                 terrain(R"("samples": [6000, 6000])") + "," + kTree + "," +
                                 Forest() + "]}");
    Expect(Dravin({"build", "s.json", "--surfaces", "-o", "a.glb"}), 5,
           "--surfaces: surface \"ground\": ");
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("a.glb")));
}

TEST_F(BadInput, GridsThatAreNoGrids) {
    auto build = [&](const char* text) {
        m_folder.Write("a.asc", text);
        return BuildOn(R"({"name": "ground", "type": "heightfield", "file": "a.asc"})");
    };
    Expect(build("ncols 2\nnrows 2\ncellsize 5\n1 2 3 four\n"), 4,
           "a.asc:4: expected a number with a decimal point, found \"four\"");
    Expect(build("ncols 20000\nnrows 20000\ncellsize 5\n1 2 3 4\n"), 4,
           "a.asc:4: the header claims 20000 x 20000 values");
    Expect(build("ncols 100000\nnrows 2\ncellsize 5\n1 2 3 4\n"), 5,
           "at most 65536 are read; cut the grid, no option raises this");
}

// Two gigabytes of anything fail at once, not after they were read.

TEST_F(BadInput, HugeScenes) {
    WriteHuge("s.json", Garbage());
    Expect(Dravin({"build", "s.json"}, {.memoryBytes = kFourGiB}), 4, "s.json:1:1: ");
    WriteHuge("s.json", "{\"dravin_scene\": 1, \"nodes\": [\"");
    Expect(Dravin({"build", "s.json"}, {.memoryBytes = kFourGiB}), 4, "s.json:1:32: ");
}

TEST_F(BadInput, HugeMeshes) {
    for (const char* file : {"a.obj", "a.ply", "a.stl", "a.glb", "a.gltf"}) {
        WriteHuge(file, Garbage());
        m_folder.Write("s.json", fmt::format(R"({{"dravin_scene": 1, "nodes": [{{"name": "a",
            "type": "mesh", "file": "{}"}}]}})",
                                             file));
        Expect(Dravin({"build", "s.json"}, {.memoryBytes = kFourGiB}), 4, file);
    }
}

TEST_F(BadInput, HugeImages) {
    for (const char* file : {"a.png", "a.jpg", "a.tif", "a.exr", "a.hdr", "a.bmp", "a.tga"}) {
        WriteHuge(file, Garbage());
        m_folder.Write("s.json", fmt::format(R"({{"dravin_scene": 1, "texmaps": {{"m":
            {{"type": "bitmap", "file": "{}"}}}}}})",
                                             file));
        Expect(Dravin({"build", "s.json"}, {.memoryBytes = kFourGiB}), 4, "cannot read the image");
    }
}

// Outputs.

TEST_F(BadInput, OutputsThatCannotBeWritten) {
    WriteGoodScene();
    mkdir(m_folder.File("folder.json").c_str(), 0700);
    mkdir(m_folder.File("locked").c_str(), 0500);
    // Root may write to every folder but those of the kernel.
    bool isRoot = geteuid() == 0;
    std::string locked = isRoot ? "/proc/a.json" : "locked/a.json";
    std::string reason = isRoot ? "No such file" : "Permission denied";
    Expect(Dravin({"build", "good.json", "-o", "none/a.json"}), 6, "none/a.json: cannot write");
    Expect(Dravin({"build", "good.json", "-o", "folder.json"}), 6, "it is a folder");
    Expect(Dravin({"build", "good.json", "-o", locked}), 6,
           locked + ": cannot write the file: " + reason);
    Expect(Dravin({"render", "good.json", "-o", "none/a.png"}), 6, "none/a.png: cannot write");
    // None of several is written when one cannot be.
    Expect(Dravin({"build", "good.json", "-o", "a.csv", "-o", "none/a.json"}), 6, "none/a.json");
    EXPECT_EQ(m_folder.NumFiles(), 3u);
}

TEST_F(BadInput, AFullDevice) {
    WriteGoodScene();
    Expect(Dravin({"build", "good.json", "-o", "-"}, {.out = "/dev/full"}), 6,
           "standard output: cannot write the file: No space left on device");
    Expect(Dravin({"schema"}, {.out = "/dev/full"}), 6, "standard output: cannot write");
    Expect(Dravin({"--help"}, {.out = "/dev/full"}), 6, "standard output: cannot write");
}

TEST_F(BadInput, ClosedStreams) {
    WriteGoodScene();
    Expect(Dravin({"build", "good.json", "-o", "-"}, {.closeResults = true}), 6, "standard output");
    Expect(Dravin({"schema"}, {.closeResults = true}), 6, "standard output: cannot write");
    EXPECT_EQ(Dravin({"build", "no.json"}, {.closeErrors = true}).code, 3);
}

TEST_F(BadInput, TerminationLeavesNoOutput) {
    m_folder.Write("s.json", R"({"dravin_scene": 1, "nodes": [
        {"name": "ground", "type": "plane", "width": 1e5, "length": 1e5}, )" +
                                 std::string(kTree) + "," +
                                 Forest(R"(, "units_x": 0.4, "maxdensity": 0)") + "]}");
    ProgramRun run = Dravin({"build", "s.json", "--viewport", "-o", "a.json"},
                            {.memoryBytes = kTwoGiB, .killAfterMs = 2500});
    EXPECT_EQ(run.code, 143) << run.err;
    EXPECT_EQ(m_folder.NumFiles(), 1u);
}

// Usage.

TEST_F(BadInput, WrongUsage) {
    WriteGoodScene();
    Expect(Dravin({}), 2, "subcommand is required");
    Expect(Dravin({"bild", "good.json"}), 2, "no command \"bild\", did you mean \"build\"?");
    Expect(Dravin({"build"}), 2, "scene is required");
    Expect(Dravin({"build", "good.json", "-o", "a.foo"}), 2, "-o a.foo: unknown kind of output");
    Expect(Dravin({"build", "good.json", "-o", ""}), 2, "unknown kind of output");
    Expect(Dravin({"build", "good.json", "--fields", "sed", "-o", "a.csv"}), 2,
           "--fields: no item field \"sed\", did you mean \"seed\"?");
    Expect(Dravin({"build", "good.json", "--object", "frest"}), 2, "did you mean \"forest\"?");
    Expect(Dravin({"build", "good.json", "--threads", "0"}), 2, "--threads");
    Expect(Dravin({"build", "good.json", "--time", "soon"}), 2, "--time");
    Expect(Dravin({"render", "good.json", "-o", "a.foo"}), 2, "no image format");
    Expect(Dravin({"render", "good.json", "-o", "a.png", "--size", "0x0"}), 2, "--size");
    Expect(Dravin({"render", "good.json", "-o", "a.png", "--camera", "c"}), 2, "no camera \"c\"");
    Expect(Dravin({"schema", "sed"}), 2, "no block or parameter \"sed\", did you mean \"seed\"?");
    EXPECT_EQ(m_folder.NumFiles(), 1u);
}

TEST_F(BadInput, VersionAndHelp) {
    ProgramRun version = Dravin({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out, "6.3.1\n");
    ProgramRun help = Dravin({"build", "--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_THAT(help.out, HasSubstr("--no-limit"));
}

// Models that claim more than they hold, shrink, or come from elsewhere.

TEST_F(BadInput, GltfClaimsAreWeighedBeforeMemory) {
    std::string claim = R"({"asset":{"version":"2.0"},"nodes":[{"mesh":0}],"meshes":[{"primitives":[
        {"attributes":{"POSITION":0}}]}],"accessors":[{"componentType":5126,"count":67108864,
        "type":"VEC3"}]})";
    m_folder.Write("a.gltf", claim);
    ProgramRun run = Dravin({"inspect", "a.gltf"}, {.memoryBytes = size_t{512} << 20});
    Expect(run, 5, "accessor 0: 67108864 elements without a buffer, at most 1048576 are read");
    Expect(BuildOnFile("a.gltf", claim), 5, "67108864 elements");
}

TEST_F(BadInput, InspectTellsWhatIsWrong) {
    Expect(Dravin({"inspect", "no.obj"}), 3, "no.obj: cannot open the file");
    m_folder.Write("a.ply", "solid");
    Expect(Dravin({"inspect", "a.ply"}), 4, "a.ply: not a PLY file");
    m_folder.Write("a.wrl2", "rubbish");
    Expect(Dravin({"inspect", "a.wrl2"}), 4, "no reader knows files ending in \".wrl2\"");
}

TEST_F(BadInput, SourcesThatAreTurnedInVain) {
    std::string turned =
        R"({"name": "tree", "type": "box", "rotation": [0, 90, 0], "hidden": true})";
    ProgramRun run = Build(std::string(kGround) + "," + turned + "," + Forest());
    Expect(run, 0, "/nodes/2/geometry/0/object: the rotation and scale of \"tree\" do not count");
    EXPECT_THAT(run.err, HasSubstr("\"object_offset\" turns and scales"));
    std::string shown = R"({"name": "tree", "type": "box", "rotation": [0, 90, 0]})";
    run = Build(std::string(kGround) + "," + shown + "," + Forest());
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.err, Not(HasSubstr("object_offset")));
}

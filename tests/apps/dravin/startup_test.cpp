// What the program loads, and when: the image library takes far longer to load than a small build.
#include <gmock/gmock.h>

#include "tests/run_program.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class Startup : public testing::Test {
protected:
    Startup() {
        WriteScene("plain.json", "{}", R"("units_x": 5)");
        WriteScene("map.json", R"({"map": {"type": "bitmap", "file": "map.pgm"}})",
                   R"("distmap": "map")");
        m_folder.Write("map.pgm", "P2 2 2 255 255 255 255 255\n");
    }
    void WriteScene(const char* name, const std::string& texmaps, const std::string& params) const {
        m_folder.Write(name, R"({"dravin_scene": 1, "texmaps": )" + texmaps + R"(, "nodes": [
  {"name": "ground", "type": "plane", "width": 20, "length": 20},
  {"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2, "hidden": true},
  {"name": "wood", "type": "dravin", "params": {"surflist": ["ground"], )" +
                                 params +
                                 R"(}, "geometry": [{"name": "tree", "object": "tree"}]}]})");
    }
    ProgramRun Dravin(const std::string& arguments) const {
        std::string text = DRAVIN_BINARY_DIR "/apps/dravin/dravin " + arguments;
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }
    // All shared libraries that the dynamic linker opened, as it tells itself.
    std::string Loaded(const std::string& arguments) const {
        std::string text = "LD_DEBUG=files LD_DEBUG_OUTPUT=log " DRAVIN_BINARY_DIR
                           "/apps/dravin/dravin " +
                           arguments + " && cat log.* && rm log.*";
        ProgramRun run = RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
        EXPECT_EQ(run.code, 0) << run.err;
        EXPECT_THAT(run.out, HasSubstr("libstdc++.so"));
        return run.out;
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(Startup, TheImageLibraryIsNotLoadedWithoutAnImage) {
    for (const char* arguments : {"--version", "--help", "info plain.json",
                                  "build plain.json -o items.csv", "build plain.json -o a.npz"})
        EXPECT_THAT(Loaded(arguments), Not(HasSubstr("OpenImageIO"))) << arguments;
}

TEST_F(Startup, TheFirstImageLoadsIt) {
    EXPECT_THAT(Loaded("build map.json -o items.csv"),
                testing::AllOf(HasSubstr("dravin_images.so"), HasSubstr("OpenImageIO")));
}

// The shell gives a program that it found by its search path no more than its name.
TEST_F(Startup, AnInstalledProgramFindsItsModuleHoweverItIsCalled) {
    ProgramRun copied =
        RunProgram({"/bin/bash", "-c",
                    "mkdir -p tree/bin tree/lib/dravin && cp " DRAVIN_BINARY_DIR
                    "/apps/dravin/dravin tree/bin && cp " DRAVIN_BINARY_DIR
                    "/host/image/dravin_images.so tree/lib/dravin && ln -s tree/bin/dravin linked"},
                   m_folder.File("."));
    ASSERT_EQ(copied.code, 0) << copied.err;
    for (const char* call : {"PATH=tree/bin:$PATH dravin", "PATH=$PWD/tree/bin:$PATH dravin",
                             "tree/bin/dravin", "$PWD/tree/bin/dravin", "./linked"}) {
        ProgramRun run = RunProgram(
            {"/bin/bash", "-c",
             "export LD_DEBUG=files LD_DEBUG_OUTPUT=log; " + std::string(call) +
                 " build map.json -o items.csv && unset LD_DEBUG && cat log.* && rm log.*"},
            m_folder.File("."));
        EXPECT_EQ(run.code, 0) << call << ": " << run.err;
        EXPECT_THAT(run.out, HasSubstr("/tree/lib/dravin/dravin_images.so")) << call;
    }
}

TEST_F(Startup, AMissingModuleIsToldWithARemedy) {
    ProgramRun run = Dravin("build map.json -o items.csv");
    EXPECT_EQ(run.code, 0) << run.err;
    setenv("DRAVIN_IMAGES", "/nowhere/dravin_images.so", 1);
    ProgramRun build = Dravin("build map.json -o items.csv");
    ProgramRun render = Dravin("render plain.json -o picture.png");
    unsetenv("DRAVIN_IMAGES");
    for (const ProgramRun& bad : {build, render}) {
        EXPECT_THAT(bad.err, HasSubstr("/nowhere/dravin_images.so"));
        EXPECT_THAT(bad.err, HasSubstr("DRAVIN_IMAGES"));
    }
    EXPECT_EQ(build.code, 3) << build.err;
    EXPECT_EQ(render.code, 6) << render.err;
}

TEST_F(Startup, AModuleOfAnotherProgramIsRefused) {
    setenv("DRAVIN_IMAGES", "libm.so.6", 1);
    ProgramRun run = Dravin("build map.json -o items.csv");
    unsetenv("DRAVIN_IMAGES");
    EXPECT_EQ(run.code, 3) << run.err;
    EXPECT_THAT(run.err, HasSubstr("libm.so.6: not the module for images of this version"));
}

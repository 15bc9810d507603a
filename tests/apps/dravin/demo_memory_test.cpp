// What a picture of the demo takes: its items share their sources' meshes.
#include <gtest/gtest.h>

#include "apps/dravin/demo_scene.h"
#include "tests/run_program.h"

namespace {

// The same items whatever the size of the picture.
ProgramRun Render(const TempFolder& folder, const std::string& renderer) {
    return RunProgram(
        {DRAVIN_BINARY_DIR "/apps/dravin/dravin", "render", "forest.json", "--renderer", renderer,
         "--size", "64x36", "--samples", "1", "-o", renderer + ".png"},
        folder.File("."));
}

}  // namespace

TEST(DemoMemory, StaysUnderOneAndAHalfGigabytes) {
    constexpr size_t kMost = 1'500'000'000;
    TempFolder folder;
    std::string error;
    ASSERT_TRUE(WriteDemoScene(folder.File("."), {DRAVIN_SOURCE_DIR "/data", kDemoItems}, &error))
        << error;
    for (const char* renderer : {"raytrace", "scanline"}) {
        ProgramRun run = Render(folder, renderer);
        ASSERT_EQ(run.code, 0) << run.err;
        EXPECT_LT(run.peakBytes, kMost) << renderer;
        // A program of this size that is measured at all holds some of it.
        EXPECT_GT(run.peakBytes, size_t{100'000'000}) << renderer;
    }
}

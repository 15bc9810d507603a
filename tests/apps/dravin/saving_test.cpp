// Scenes of some megabytes while their saving goes wrong: killed at random moments, and without
// room for the file.
#include <algorithm>
#include <filesystem>
#include <random>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

constexpr int kItems = 16'000;  // 248 bytes each in a scene file
constexpr const char* kProgram = DRAVIN_BINARY_DIR "/apps/dravin/dravin";

class Saving : public testing::Test {
protected:
    TempFolder m_folder;

    // A scatter object with hand-edited items; its seed, which no item has, tells one scene from
    // the other.
    void WriteScene(const char* name, int seed) {
        std::string items;
        for (int i = 0; i < kItems; ++i)
            items += fmt::format("{}{{\"stored_position\":[{},{},0],\"seed\":{}}}", i ? "," : "",
                                 i % 126, i / 126, i + 100);
        m_folder.Write(name, fmt::format(R"({{"dravin_scene": 1, "nodes": [
  {{"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2}},
  {{"name": "wood", "type": "dravin", "params": {{"mode": 1, "seed": {}}},
   "geometry": [{{"name": "tree", "object": "tree"}}], "items": [{}]}}]}})",
                                         seed, items));
    }
    ProgramRun Dravin(std::vector<std::string> arguments, const ProgramLimits& limits = {}) {
        arguments.insert(arguments.begin(), kProgram);
        return RunProgram(arguments, m_folder.File("."), limits);
    }
    // The seed of a saved scene with all its items; 0 where it cannot be read, or is not whole.
    int SeedOf(const char* scene) {
        ProgramRun run = Dravin({"convert", scene, "read.json"});
        std::string text = m_folder.Read("read.json");
        std::filesystem::remove(m_folder.File("read.json"));
        size_t count = 0;
        for (size_t at = 0; (at = text.find("stored_position", at)) != std::string::npos; ++at)
            ++count;
        if (run.code != 0 || count != kItems) return 0;
        for (int seed : {11, 12})
            if (text.find(fmt::format("\"seed\": {},", seed)) != std::string::npos ||
                text.find(fmt::format("\"seed\": {}\n", seed)) != std::string::npos)
                return seed;
        return 0;
    }
    // Saves by `command` are killed until enough of them ended on either side of the end.
    void KillAtRandom(const std::vector<std::string>& command, int tries) {
        ProgramRun whole = Dravin(command);
        ASSERT_EQ(whole.code, 0) << whole.err;
        std::string saved = m_folder.Read("wood.dscene");
        EXPECT_GT(saved.size(), 3'000'000u);
        std::minstd_rand random(5);
        int killed = 0;
        for (int i = 0; i < tries; ++i) {
            m_folder.Write("wood.dscene", m_old);
            ProgramLimits limits;
            limits.killSignal = SIGKILL;
            limits.killAfterMs = 1 + int(random() % unsigned(whole.seconds * 1100 + 2));
            ProgramRun run = Dravin(command, limits);
            killed += run.code == 1000 + SIGKILL;
            std::string now = m_folder.Read("wood.dscene");
            if (now == m_old) continue;
            EXPECT_EQ(now.size(), saved.size()) << "after " << limits.killAfterMs << " ms";
            EXPECT_EQ(SeedOf("wood.dscene"), 12) << "after " << limits.killAfterMs << " ms";
        }
        EXPECT_GT(killed, 0);
        // What killed runs left does not stop the next one, which takes it away.
        ProgramRun run = Dravin(command);
        EXPECT_EQ(run.code, 0) << run.err;
        EXPECT_EQ(SeedOf("wood.dscene"), 12);
        EXPECT_EQ(m_folder.NumFiles(), 3u);  // the two descriptions and the scene
    }
    void SetUp() override {
        WriteScene("old.json", 11);
        WriteScene("new.json", 12);
        ASSERT_EQ(Dravin({"convert", "old.json", "wood.dscene"}).code, 0);
        m_old = m_folder.Read("wood.dscene");
        ASSERT_EQ(SeedOf("wood.dscene"), 11);
    }
    // No file may grow beyond that many kilobytes; a full disk ends writes the same way.
    ProgramRun WithoutRoom(const std::string& command) {
        std::string text =
            fmt::format("trap '' XFSZ; ulimit -f 1000; exec {} {}", kProgram, command);
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }

    std::string m_old;
};

TEST_F(Saving, AConversionThatIsKilledLeavesTheOldFileOrTheNew) {
    KillAtRandom({"convert", "new.json", "wood.dscene"}, 25);
}

TEST_F(Saving, AnEditThatIsKilledLeavesTheOldFileOrTheNew) {
    KillAtRandom({"edit", "old.json", "--do", "param.set name=seed value=12", "-o", "wood.dscene"},
                 25);
}

TEST_F(Saving, WithoutRoomTheOldFileStays) {
    for (std::string command :
         {"convert new.json wood.dscene",
          "edit old.json --do \"param.set name=seed value=12\" -o wood.dscene"}) {
        ProgramRun run = WithoutRoom(command);
        EXPECT_EQ(run.code, 6) << run.err;
        EXPECT_THAT(run.err, HasSubstr("wood.dscene: cannot write the file: File too large"));
        EXPECT_TRUE(m_folder.Read("wood.dscene") == m_old);
        EXPECT_EQ(m_folder.NumFiles(), 3u);
    }
}

TEST_F(Saving, AFullDeviceIsTold) {
    std::filesystem::create_symlink("/dev/full", m_folder.File("full.dscene"));
    for (std::vector<std::string> command :
         {std::vector<std::string>{"convert", "new.json", "full.dscene"},
          {"edit", "wood.dscene", "--do", "param.set name=seed value=12", "-o", "full.dscene"}}) {
        ProgramRun run = Dravin(command);
        EXPECT_EQ(run.code, 6) << run.err;
        EXPECT_THAT(run.err, HasSubstr("No space left on device"));
    }
}

}  // namespace

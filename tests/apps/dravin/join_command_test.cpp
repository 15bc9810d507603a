// Builds in pieces, and what joins them: the whole, byte for byte, or a refusal.
#include <gmock/gmock.h>

#include <filesystem>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

// Two objects, one of which may not overlap.
constexpr const char* kScene = R"({"dravin_scene": 1, "nodes": [
  {"name": "ground", "type": "plane", "width": 300, "length": 300},
  {"name": "rock", "type": "box", "width": 2, "length": 2, "height": 1},
  {"name": "wood", "type": "dravin",
   "params": {"surflist": ["ground"], "units_x": 40, "units_y": 40, "collision": COLLISION},
   "geometry": [{"name": "a", "object": "rock", "radius": 100, "probability": 30},
                {"name": "b", "object": "rock", "radius": 200}]},
  {"name": "stones/row", "type": "dravin",
   "params": {"surflist": ["ground"], "units_x": 50, "units_y": 50, "seed": 5},
   "geometry": [{"name": "a", "object": "rock"}]}]})";

class Join : public testing::Test {
protected:
    void WriteScene(bool collision) const {
        std::string text = kScene;
        text.replace(text.find("COLLISION"), 9, collision ? "true" : "false");
        m_folder.Write("s.json", text);
    }
    ProgramRun Dravin(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), DRAVIN_BINARY_DIR "/apps/dravin/dravin");
        return RunProgram(arguments, m_folder.File("."));
    }
    ProgramRun Build(const std::string& output, std::vector<std::string> more = {}) const {
        more.insert(more.begin(), {"build", "s.json", "-o", output});
        ProgramRun run = Dravin(more);
        EXPECT_EQ(run.code, 0) << run.err;
        return run;
    }
    // p1.npz .. pN.npz, each on another number of threads.
    void BuildPieces(int n, const std::vector<std::string>& more = {}) const {
        for (int k = 1; k <= n; ++k) {
            std::vector<std::string> arguments{"--piece", fmt::format("{}/{}", k, n), "--threads",
                                               std::to_string(k)};
            arguments.insert(arguments.end(), more.begin(), more.end());
            Build(fmt::format("p{}.npz", k), arguments);
        }
    }
    // The exit code of a join that leaves no output, and what it says.
    ProgramRun Refused(std::vector<std::string> parts) const {
        parts.insert(parts.begin(), "join");
        parts.insert(parts.end(), {"-o", "none.npz"});
        ProgramRun run = Dravin(parts);
        EXPECT_FALSE(std::filesystem::exists(m_folder.File("none.npz")));
        return run;
    }
    bool Same(const char* a, const char* b) const { return m_folder.Read(a) == m_folder.Read(b); }

    TempFolder m_folder;
};

}  // namespace

TEST_F(Join, PiecesInAnyOrderAreTheWhole) {
    for (bool collision : {false, true}) {
        WriteScene(collision);
        Build("whole.npz", {"--fields", "all"});
        BuildPieces(3, {"--fields", "all"});
        ProgramRun run = Dravin({"join", "p2.npz", "p3.npz", "p1.npz", "-o", "joined.npz"});
        EXPECT_EQ(run.code, 0) << run.err;
        EXPECT_TRUE(Same("joined.npz", "whole.npz")) << collision;
    }
}

TEST_F(Join, JoiningRemovesOverlapsBetweenPieces) {
    WriteScene(true);
    Build("whole.json", {"--object", "wood"});
    auto statistics = nlohmann::json::parse(m_folder.Read("whole.json"))["statistics"];
    EXPECT_GT(statistics["rejected"]["collision"], 100);
    Build("whole.npz", {"--object", "wood"});
    for (int n : {1, 2, 7}) {
        BuildPieces(n, {"--object", "wood"});
        std::vector<std::string> arguments{"join", "-o", "joined.npz"};
        for (int k = 1; k <= n; ++k) arguments.push_back(fmt::format("p{}.npz", k));
        ProgramRun run = Dravin(arguments);
        EXPECT_EQ(run.code, 0) << run.err;
        EXPECT_TRUE(Same("joined.npz", "whole.npz")) << n;
    }
}

TEST_F(Join, MissingAndDoubledPiecesAreRefused) {
    WriteScene(false);
    BuildPieces(3);
    ProgramRun missing = Refused({"p1.npz", "p3.npz"});
    EXPECT_EQ(missing.code, 3);
    EXPECT_THAT(missing.err, HasSubstr("piece 2/3 is missing: build it with --piece 2/3"));
    ProgramRun last = Refused({"p1.npz", "p2.npz"});
    EXPECT_THAT(last.err, HasSubstr("piece 3/3 is missing"));
    m_folder.Write("copy.npz", m_folder.Read("p2.npz"));
    ProgramRun doubled = Refused({"p1.npz", "p2.npz", "p3.npz", "copy.npz"});
    EXPECT_EQ(doubled.code, 4);
    EXPECT_THAT(doubled.err, HasSubstr("copy.npz: cannot join: p2.npz is piece 2/3 too"));
    EXPECT_EQ(Refused({"p1.npz", "nowhere.npz"}).code, 3);
}

TEST_F(Join, PiecesOfOtherBuildsAreRefused) {
    struct {
        std::vector<std::string> options;
        const char* difference;
    } kOthers[] = {{{"--piece", "2/2", "--fields", "position"}, "in the fields"},
                   {{"--piece", "2/2", "--viewport"}, "in the options"},
                   {{"--piece", "2/2", "--object", "wood"}, "in the options"},
                   {{"--piece", "2/3"}, "in the number of pieces"}};
    WriteScene(false);
    BuildPieces(2);
    for (const auto& other : kOthers) {
        Build("other.npz", other.options);
        ProgramRun run = Refused({"p1.npz", "other.npz"});
        EXPECT_EQ(run.code, 4);
        EXPECT_THAT(run.err, HasSubstr("other.npz: cannot join: it differs from p1.npz"));
        EXPECT_THAT(run.err, HasSubstr(other.difference));
    }
    m_folder.Write("s.json", m_folder.Read("s.json") + " ");
    Build("other.npz", {"--piece", "2/2"});
    EXPECT_THAT(Refused({"p1.npz", "other.npz"}).err, HasSubstr("in the scene or a file"));
}

TEST_F(Join, WhatIsNoPieceIsRefused) {
    WriteScene(false);
    Build("whole.npz");
    EXPECT_THAT(Refused({"whole.npz"}).err, HasSubstr("whole.npz: cannot join: it is no piece"));
    ProgramRun text = Refused({"s.json"});
    EXPECT_EQ(text.code, 4);
    EXPECT_THAT(text.err, HasSubstr("not an archive that `dravin build` wrote"));
}

TEST_F(Join, DamageIsToldWhereverItIs) {
    WriteScene(true);
    BuildPieces(2);
    std::string good = m_folder.Read("p2.npz");
    for (size_t k = 1; k < 12; ++k) {
        std::string bad = good;
        size_t place = bad.size() * k / 12;
        bad[place] = char(bad[place] ^ 0x10);
        m_folder.Write("p2.npz", bad);
        ProgramRun run = Refused({"p1.npz", "p2.npz"});
        EXPECT_EQ(run.code, 4) << place;
        EXPECT_THAT(run.err, HasSubstr("p2.npz")) << place;
    }
}

TEST_F(Join, APieceIsAnArchiveForOthers) {
    WriteScene(true);
    BuildPieces(2);
    std::string script = m_folder.Write("check.py", R"(
import json, sys, zipfile, numpy as np
f = np.load('p1.npz', allow_pickle=False)
part = json.load(zipfile.ZipFile('p1.npz').open('dravin_part.json'))
rows = {o['name']: o['rows'] for o in part['objects']}
assert (part['number'], part['of']) == (1, 2) and rows['wood'] > 100
assert f['wood/position'].shape == f['dravin_part/wood/center'].shape == (rows['wood'], 3)
assert 'dravin_part/stones/row/center' not in f.files  # they may overlap as they like
)");
    EXPECT_EQ(RunProgram({DRAVIN_PYTHON, script}, m_folder.File(".")).code, 0);
}

TEST_F(Join, WrongUsageIsTold) {
    WriteScene(false);
    for (const char* piece : {"0/2", "3/2", "1", "1/", "a/b", "-1/2", "1/2/3", "1/99999999999"}) {
        ProgramRun run = Dravin({"build", "s.json", "--piece", piece, "-o", "p.npz"});
        EXPECT_EQ(run.code, 2) << piece;
        EXPECT_THAT(run.err, HasSubstr("expected K/N"));
    }
    ProgramRun csv = Dravin({"build", "s.json", "--piece", "1/2", "-o", "p.csv"});
    EXPECT_EQ(csv.code, 2);
    EXPECT_THAT(csv.err, HasSubstr(".npz"));
    BuildPieces(1);
    EXPECT_EQ(Dravin({"join", "p1.npz", "-o", "all.csv"}).code, 2);
    std::string before = m_folder.Read("p1.npz");
    EXPECT_EQ(Dravin({"join", "p1.npz", "-o", "p1.npz"}).code, 2);
    EXPECT_TRUE(m_folder.Read("p1.npz") == before);
    EXPECT_EQ(Dravin({"join", "p1.npz", "-o", "none/all.npz"}).code, 6);
}

TEST_F(Join, NothingVisibleFailsAsTheWholeDoes) {
    WriteScene(false);
    std::string text = m_folder.Read("s.json"), params = R"("params": {)";
    text.insert(text.find(params) + params.size(),
                R"("altlimited": true, "altmin": -10, "altmax": -5, )");
    m_folder.Write("s.json", text);
    EXPECT_EQ(Dravin({"build", "s.json", "-o", "whole.npz"}).code, 1);
    BuildPieces(2);
    ProgramRun run = Refused({"p1.npz", "p2.npz"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("wood: no visible items"));
}

TEST_F(Join, PiecesTogetherKeepTheLimitOfItems) {
    WriteScene(false);
    Build("whole.json", {"--object", "stones/row"});
    auto whole = nlohmann::json::parse(m_folder.Read("whole.json"));
    int items = whole["statistics"]["item_count"];
    std::string scene = m_folder.Read("s.json");
    scene.replace(scene.find("\"seed\": 5"), 9, fmt::format("\"rmaxitems\": {}", items - 1));
    m_folder.Write("s.json", scene);
    BuildPieces(2, {"--object", "stones/row"});
    ProgramRun run = Refused({"p1.npz", "p2.npz"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("\"rmaxitems\""));
    BuildPieces(2, {"--object", "stones/row", "--no-limit"});
    EXPECT_EQ(Dravin({"join", "p1.npz", "p2.npz", "-o", "joined.npz"}).code, 0);
}

#include "common/presets/preset_file.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/temp_folder.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

namespace {

class PresetFiles : public testing::Test {
protected:
    PresetFile File(const std::string& text) const {
        return {m_folder.Write("presets.ini", text), "Dravin"};
    }
    static std::vector<std::string> Names(const PresetFile& file) {
        std::vector<std::string> names;
        EXPECT_TRUE(bool(file.List(&names)));
        return names;
    }
    static IniFile::Entries Lines(const PresetFile& file, std::string name) {
        IniFile::Entries lines;
        EXPECT_TRUE(bool(file.Read(&name, &lines)));
        return lines;
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(PresetFiles, AMissingFileHasNoneAndSavingMakesIt) {
    PresetFile file(m_folder.File("deep/er/presets.ini"), "Dravin");
    EXPECT_THAT(Names(file), IsEmpty());
    EXPECT_TRUE(bool(file.Write("Wood", {{"seed", "7"}})));
    EXPECT_EQ(m_folder.Read("deep/er/presets.ini"), "[Dravin.Wood]\nseed=7\n");
}

TEST_F(PresetFiles, EverySectionThatBeginsWithTheClassIsListed) {
    PresetFile file = File(
        "[Dravin.Wood]\na=1\n[Other.x]\n[DravinxPark]\n[Dravin]\n[Dravin.]\n"
        "[dravin.Low]\n[Dra.y]\n");
    EXPECT_THAT(Names(file), ElementsAre("Wood", "Park", "Low"));
}

TEST_F(PresetFiles, ReadsTheLinesAsTheyStand) {
    PresetFile file = File("[Dravin.Wood]\n; note\nno setting\n b = \"x\" \r\nA=1\na=2\n");
    EXPECT_THAT(Lines(file, "wood"),
                ElementsAre(Pair("b", "\"x\""), Pair("A", "1"), Pair("a", "2")));
}

TEST_F(PresetFiles, WithoutANameTheFirstSectionCounts) {
    PresetFile file = File("[Dravin.Wood]\na=1\n[Dravin.Park]\na=2\n");
    std::string name;
    IniFile::Entries lines;
    EXPECT_TRUE(bool(file.Read(&name, &lines)));
    EXPECT_EQ(name, "Wood");
    PresetFile other = File("[Grass.Lawn]\na=3\n");
    name.clear();
    EXPECT_TRUE(bool(other.Read(&name, &lines)));
    EXPECT_EQ(name, "Grass.Lawn");
    EXPECT_THAT(lines, ElementsAre(Pair("a", "3")));
}

TEST_F(PresetFiles, MissingAndEmptyPresetsAreTold) {
    PresetFile file = File("[Dravin.Wood]\na=1\n[Dravin.Bare]\n");
    IniFile::Entries lines;
    for (std::string name : {"Wod", "Bare"}) {
        PresetResult result = file.Read(&name, &lines);
        EXPECT_EQ(result.status, PresetStatus::kNoSuchPreset);
        EXPECT_THAT(result.error, HasSubstr("it has \"Wood\""));
    }
    EXPECT_EQ(file.Delete("Wod").status, PresetStatus::kNoSuchPreset);
    EXPECT_EQ(file.Rename("Wod", "Wald").status, PresetStatus::kNoSuchPreset);
    EXPECT_EQ(PresetFile(m_folder.File("no.ini"), "Dravin").Delete("Wood").status,
              PresetStatus::kNoSuchPreset);
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("no.ini")));
}

TEST_F(PresetFiles, SavingReplacesTheWholeSectionAndNothingElse) {
    PresetFile file = File("; mine\n[Dravin.Wood]\na=1\nb=2\n\n[Other]\nx=y\n[DRAVIN.WOOD]\nc=3\n");
    EXPECT_TRUE(bool(file.Write("Wood", {{"a", "5"}})));
    EXPECT_EQ(m_folder.Read("presets.ini"), "; mine\n[Dravin.Wood]\na=5\n[Other]\nx=y\n");
}

TEST_F(PresetFiles, DeletesAndRenames) {
    PresetFile file = File("[Dravin.Wood]\na=1\n[Dravin.Park]\na=2\n");
    EXPECT_EQ(file.Rename("Wood", "park").status, PresetStatus::kNameTaken);
    EXPECT_TRUE(bool(file.Rename("Wood", "wood")));  // the case alone
    EXPECT_TRUE(bool(file.Rename("wood", "Forest")));
    EXPECT_TRUE(bool(file.Delete("Park")));
    EXPECT_EQ(m_folder.Read("presets.ini"), "[Dravin.Forest]\na=1\n");
}

TEST_F(PresetFiles, NamesThatNoSectionCanHave) {
    PresetFile file = File("");
    for (const char* name : {"", " a", "a ", "a]b", "[", "a\nb", "\xff", "a\tb"})
        EXPECT_EQ(file.Write(name, {{"a", "1"}}).status, PresetStatus::kBadName) << name;
    EXPECT_EQ(file.Write(std::string(201, 'x'), {}).status, PresetStatus::kBadName);
    EXPECT_TRUE(bool(file.Write("Wald=Ä.1;#", {{"a", "1"}})));
    EXPECT_THAT(Names(file), ElementsAre("Wald=Ä.1;#"));
    EXPECT_THAT(Lines(file, "Wald=Ä.1;#"), ElementsAre(Pair("a", "1")));
}

TEST_F(PresetFiles, BinaryBytesAndHugeFiles) {
    PresetFile file = File(std::string("\xff\xfe\0\x01[Dravin.a]\nb=\xff\n=\n[", 19));
    std::vector<std::string> names;
    PresetResult result = file.List(&names);
    EXPECT_TRUE(bool(result));
    EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("not UTF-8")));

    std::filesystem::resize_file(m_folder.File("presets.ini"), 100'000'000);
    EXPECT_EQ(file.List(&names).status, PresetStatus::kTooLarge);
    EXPECT_EQ(file.Write("a", {{"b", "1"}}).status, PresetStatus::kNotWritten);
    EXPECT_EQ(std::filesystem::file_size(m_folder.File("presets.ini")), 100'000'000u);
}

TEST_F(PresetFiles, AFileThatCannotBeWrittenIsTold) {
    m_folder.Write("file", "");
    PresetFile file(m_folder.File("file/presets.ini"), "Dravin");
    PresetResult result = file.Write("a", {{"b", "1"}});
    EXPECT_EQ(result.status, PresetStatus::kNotWritten);
    EXPECT_THAT(result.error, HasSubstr("file/presets.ini"));
}

TEST_F(PresetFiles, ProcessesThatSaveAtOnceLoseNothing) {
    constexpr int kProcesses = 4, kEach = 20;
    PresetFile file(m_folder.File("presets.ini"), "Dravin");
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        pid_t child = fork();
        if (child == 0) {
            bool all = true;
            for (int i = 0; i < kEach; ++i)
                all &= bool(file.Write(std::to_string(p * kEach + i), {{"a", "1"}}));
            _exit(all ? 0 : 1);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(Names(file).size(), size_t(kProcesses * kEach));
    EXPECT_EQ(m_folder.NumFiles(), 1u);  // no lock is left
}

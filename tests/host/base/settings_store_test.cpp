#include "host/base/settings_store.h"

#include <cstdlib>
#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host/base/ini_file.h"
#include "tests/temp_folder.h"

namespace {

constexpr const char* kKey = "Maker\\Product\\Window";

}  // namespace

TEST(SettingsStore, TheUsersValueStandsBeforeTheMachines) {
    TempFolder folder;
    std::string machine = folder.Write("machine.ini", "[Maker\\Product\\Window]\nLeft=5\nTop=x\n");
    SettingsStore store(folder.File("user/settings.ini"), {folder.File("none.ini"), machine});
    EXPECT_EQ(store.Read(kKey, "left"), "5");
    EXPECT_EQ(store.ReadInt(kKey, "Top", 3), 0);
    EXPECT_EQ(store.ReadInt(kKey, "Width", 3), 3);
    std::string error;
    ASSERT_TRUE(store.Write(kKey, "Left", "-7", &error)) << error;
    EXPECT_EQ(store.ReadInt(kKey, "Left", 0), -7);
    EXPECT_EQ(store.ReadMachine(kKey, "Left"), "5");
}

TEST(SettingsStore, WithoutAFolderNothingIsWritten) {
    SettingsStore store("", {});
    std::string error;
    EXPECT_FALSE(store.Write(kKey, "Left", "1", &error));
    EXPECT_NE(error.find("set HOME"), std::string::npos);
    EXPECT_FALSE(store.Read(kKey, "Left"));
}

TEST(SettingsStore, LiesWhereTheSystemKeepsSettings) {
    TempFolder folder;
    setenv("XDG_CONFIG_DIRS", ("relative:" + folder.File("machine")).c_str(), 1);
    setenv("XDG_CONFIG_HOME", folder.File("user").c_str(), 1);
    SettingsStore store = SettingsStore::OfUser("program");
    EXPECT_EQ(store.UserFile(), folder.File("user/program/settings.ini"));
    std::string error;
    SettingsStore machine(folder.File("machine/program/settings.ini"), {});
    ASSERT_TRUE(machine.Write(kKey, "Height", "9", &error)) << error;
    EXPECT_EQ(store.ReadInt(kKey, "Height", 0), 9);
    unsetenv("XDG_CONFIG_DIRS");
    unsetenv("XDG_CONFIG_HOME");
}

// Programs that write at once lose nothing of each other.
TEST(IniFileEdit, ManyWritersKeepAllChanges) {
    TempFolder folder;
    std::string path = folder.File("deep/f.ini");
    constexpr int kWriters = 4, kEach = 25;
    std::vector<std::jthread> writers;
    for (int w = 0; w < kWriters; ++w)
        writers.emplace_back([&path, w] {
            for (int i = 0; i < kEach; ++i) {
                std::string error, key = std::to_string(w * kEach + i);
                EXPECT_TRUE(IniFile::Edit(
                    path, [&](IniFile& file) { file.Set("s", key, "1"); }, &error))
                    << error;
            }
        });
    writers.clear();
    IniFile file;
    std::string error;
    ASSERT_TRUE(file.Load(path, &error));
    EXPECT_EQ(file.Keys("s").size(), size_t(kWriters * kEach));
}

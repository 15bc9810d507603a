#include "Dravin/config/options.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include <gtest/gtest.h>

#include "Dravin/config/main_folder.h"
#include "Dravin/config/settings.h"
#include "tests/temp_folder.h"

namespace {

// A variable of the environment has another value, or none, while this lives.
class Variable {
public:
    Variable(const char* name, const char* value) : m_name(name) {
        if (const char* old = std::getenv(name)) m_old = old;
        Set(value);
    }
    ~Variable() { Set(m_old ? m_old->c_str() : nullptr); }

private:
    void Set(const char* value) { value ? setenv(m_name, value, 1) : unsetenv(m_name); }
    const char* m_name;
    std::optional<std::string> m_old;
};

}  // namespace

TEST(Options, AFirstRunHasTheDefaults) {
    TempFolder folder;
    TOptions options = LoadOptions(folder.File("none.ini"));
    EXPECT_EQ(options.showMapInViewport, 2);
    EXPECT_EQ(options.pointCloudStyle, 1);
    EXPECT_EQ(options.optimizeAutomaterial, 1);
    int rollouts = 0;
    for (const TOptionName& option : OptionNames())
        if (std::string(option.key).starts_with("rollup")) {
            EXPECT_EQ(options.*option.value, 1) << option.key;
            ++rollouts;
        }
    EXPECT_EQ(rollouts, 13);
    EXPECT_FALSE(std::filesystem::exists(folder.File("none.ini")));
}

TEST(Options, AfterAnUpgradeSuggestionsAreOnAgain) {
    TempFolder folder;
    std::string path =
        folder.Write("o.ini", "[options]\nlatestVersion=6.2.9\nsuggestDisplayAdjust=0\n");
    TOptions options = LoadOptions(path);
    EXPECT_EQ(options.suggestDisplayAdjust, 1);
    EXPECT_EQ(options.latestVersion, "6.3.1");
    std::string error;
    ASSERT_TRUE(SaveOptions(options, path, &error)) << error;
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_NE(text.str().find("latestVersion=6.3.1\n"), std::string::npos);
    options.suggestDisplayAdjust = 0;
    ASSERT_TRUE(SaveOptions(options, path, &error));
    EXPECT_EQ(LoadOptions(path).suggestDisplayAdjust, 0);
}

TEST(Options, ValuesThatAreNoNumbersAreZeroAndOthersStayInTheFile) {
    TempFolder folder;
    std::string path =
        folder.Write("o.ini", "[options]\nshowMapInViewport=yes\nnoPopups=3\nmine=7\n[x]\ny=1\n");
    TOptions options = LoadOptions(path);
    EXPECT_EQ(options.showMapInViewport, 0);
    EXPECT_EQ(options.noPopups, 3);
    std::string error;
    ASSERT_TRUE(SaveOptions(options, path, &error));
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_NE(text.str().find("mine=7\n"), std::string::npos);
    EXPECT_NE(text.str().find("[x]\ny=1\n"), std::string::npos);
}

TEST(Options, LieInTheUsersConfiguration) {
    Variable config("XDG_CONFIG_HOME", "/somewhere");
    EXPECT_EQ(OptionsFile(), "/somewhere/dravin/dravinpack.ini");
    Variable relative("XDG_CONFIG_HOME", "relative");  // counts as none
    Variable home("HOME", "/home/me");
    EXPECT_EQ(OptionsFile(), "/home/me/.config/dravin/dravinpack.ini");
}

TEST(Settings, SayWhereTheMainFolderIsAndWhatUndoMayKeep) {
    TempFolder folder;
    Variable config("XDG_CONFIG_HOME", folder.File("").c_str());
    Variable home("DRAVIN_HOME", "/named");
    EXPECT_EQ(UndoMemoryLimit(), size_t{256} << 20);
    std::string error;
    ASSERT_TRUE(DravinSettings().Write(kSettingsKey, kMainDirSetting, "/told", &error)) << error;
    ASSERT_TRUE(DravinSettings().Write(kSettingsKey, kUndoMemorySetting, "12", &error)) << error;
    EXPECT_EQ(UndoMemoryLimit(), size_t{12} << 20);
    EXPECT_EQ(MainFolder(), "/named");
    Variable none("DRAVIN_HOME", nullptr);
    EXPECT_EQ(MainFolder(), "/told");
    EXPECT_NE(NoMainFolder().find("/told (which the setting MainDir names)"), std::string::npos);
    ASSERT_TRUE(DravinSettings().Write(kSettingsKey, kUndoMemorySetting, "-3", &error)) << error;
    EXPECT_EQ(UndoMemoryLimit(), size_t{1} << 20);
}

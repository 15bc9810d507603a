#include "Dravin/config/options.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/temp_folder.h"

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
    const char* before = std::getenv("XDG_CONFIG_HOME");
    std::string kept = before ? before : "";
    setenv("XDG_CONFIG_HOME", "/somewhere", 1);
    EXPECT_EQ(OptionsFile(), "/somewhere/dravin/dravinpack.ini");
    setenv("XDG_CONFIG_HOME", "relative", 1);  // counts as none
    setenv("HOME", "/home/me", 1);
    EXPECT_EQ(OptionsFile(), "/home/me/.config/dravin/dravinpack.ini");
    setenv("XDG_CONFIG_HOME", kept.c_str(), 1);
}

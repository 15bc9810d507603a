#include "host/base/ini_file.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "tests/temp_folder.h"

namespace {

IniFile Parsed(std::string_view text) {
    IniFile file;
    file.Parse(text);
    return file;
}

}  // namespace

TEST(IniFile, ReadsSectionsKeysAndValues) {
    IniFile file = Parsed(
        "\xEF\xBB\xBF; a comment\r\nbefore=1\r\n[Options]\r\n  Key = some value \r\n"
        "quoted=\" x \"\r\n#key=no\r\nno setting\r\nKEY=second\r\n[other]\nkey=\n");
    EXPECT_EQ(file.Get("", "before"), "1");
    EXPECT_EQ(file.Get("options", "key"), "some value");
    EXPECT_EQ(file.Get("OPTIONS", "quoted"), " x ");
    EXPECT_EQ(file.Get("other", "KEY"), "");
    EXPECT_FALSE(file.Get("options", "none"));
    EXPECT_FALSE(file.Get("options", ""));
    EXPECT_EQ(file.Sections(), (std::vector<std::string>{"Options", "other"}));
    EXPECT_EQ(file.Keys("options"), (std::vector<std::string>{"Key", "quoted", "KEY"}));
}

TEST(IniFile, IntegersAreWhatTheValueBeginsWith) {
    IniFile file = Parsed("[s]\na=12\nb=-3x\nc=x\nd=\ne=99999999999\n");
    EXPECT_EQ(file.GetInt("s", "a", 7), 12);
    EXPECT_EQ(file.GetInt("s", "b", 7), -3);
    EXPECT_EQ(file.GetInt("s", "c", 7), 0);
    EXPECT_EQ(file.GetInt("s", "d", 7), 0);
    EXPECT_EQ(file.GetInt("s", "e", 7), 2147483647);
    EXPECT_EQ(file.GetInt("s", "f", 7), 7);
}

TEST(IniFile, ChangesLeaveEverythingElseAsItStands) {
    IniFile file = Parsed("; mine\n[a]\nx = 1\n; y=2\n\n[b]\nz=3\n");
    file.Set("A", "X", "5");
    file.Set("a", "new", "6");
    file.Set("c", "k", " spaced\nout ");
    file.Remove("b", "Z");
    EXPECT_EQ(file.Text(), "; mine\n[a]\nX=5\n; y=2\nnew=6\n\n[b]\n[c]\nk=\" spaced out \"\n");
    EXPECT_EQ(Parsed(file.Text()).Get("c", "k"), " spaced out ");
}

TEST(IniFile, ValuesReadBackAsTheyWereSet) {
    for (std::string value : {"", "plain", " a", "\"q\"", "'", "a=b", "; c", "[s]", "\"", "µ"}) {
        IniFile file;
        file.Set("s", "k", value);
        EXPECT_EQ(file.Get("s", "k"), value);
        EXPECT_EQ(Parsed(file.Text()).Get("s", "k"), value) << file.Text();
    }
}

TEST(IniFile, IsSavedInAFolderThatItMakes) {
    TempFolder folder;
    std::string path = folder.File("deep/er/file.ini"), error;
    IniFile file;
    EXPECT_TRUE(file.Load(path, &error)) << error;  // none is empty
    file.Set("s", "k", "v");
    ASSERT_TRUE(file.Save(path, &error)) << error;
    IniFile again;
    EXPECT_TRUE(again.Load(path, &error));
    EXPECT_EQ(again.Get("s", "k"), "v");
    EXPECT_FALSE(again.Load(folder.File("deep"), &error));  // a folder
    EXPECT_FALSE(error.empty());
}

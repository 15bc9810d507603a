#include "Dravin/config/effect_library.h"

#include <filesystem>

#include <gmock/gmock.h>

#include "tests/temp_folder.h"

namespace {

namespace fs = std::filesystem;

class EffectLibrary : public testing::Test {
protected:
    TempFolder folder;
    TEffectLibrary library{folder.File("effects")};
    std::string error;

    std::vector<std::string> Names(const std::string& of = "") {
        std::vector<std::string> names;
        auto entries = library.List(of, &error);
        EXPECT_TRUE(entries) << error;
        for (const auto& entry : entries.value_or(std::vector<TEffectLibrary::Entry>()))
            names.push_back(entry.name + (entry.isFolder ? "/" : ""));
        return names;
    }
};

using NameList = std::vector<std::string>;

TEST_F(EffectLibrary, SavesAndLoads) {
    EXPECT_TRUE(library.Save("trees/lean", "one", false, &error)) << error;
    EXPECT_EQ(library.Load("trees/lean", &error), "one");
    EXPECT_FALSE(library.Save("trees/lean", "two", false, &error));
    EXPECT_NE(error.find("already"), std::string::npos);
    EXPECT_EQ(library.Load("trees/lean", &error), "one");
    EXPECT_TRUE(library.Save("trees/lean", "two", true, &error));
    EXPECT_EQ(library.Load("trees/lean", &error), "two");
    EXPECT_FALSE(library.Load("lean", &error));
}

TEST_F(EffectLibrary, ListsByNameWithoutRegardToCase) {
    for (const char* name : {"beta", "Alpha", "gamma/x"}) library.Save(name, "", false, &error);
    folder.Write("effects/.hidden.xml", "");
    folder.Write("effects/notes.txt", "");
    folder.Write("effects/Loud.XML", "");
    EXPECT_EQ(Names(), (NameList{"Alpha", "beta", "gamma/", "Loud"}));
    EXPECT_EQ(Names("gamma"), NameList{"x"});
    EXPECT_FALSE(library.List("delta", &error));
}

TEST_F(EffectLibrary, RenamesEffectsAndFolders) {
    library.Save("a/x", "", false, &error);
    library.Save("y", "", false, &error);
    EXPECT_TRUE(library.Rename("a", "b", &error)) << error;
    EXPECT_TRUE(library.Rename("b/x", "b/z", &error)) << error;
    EXPECT_EQ(Names("b"), NameList{"z"});
    EXPECT_FALSE(library.Rename("b/z", "y", &error));
    EXPECT_EQ(Names(), (NameList{"b/", "y"}));
    EXPECT_FALSE(library.Rename("gone", "here", &error));
}

TEST_F(EffectLibrary, DeletesFoldersWithAllInThemButNotWhatLinksLeadTo) {
    folder.Write("kept.xml", "kept");
    EXPECT_TRUE(library.MakeFolder("a/b", &error));
    library.Save("a/x", "", false, &error);
    fs::create_symlink(folder.File("kept.xml"), folder.File("effects/a/link.xml"));
    fs::create_directory_symlink(folder.File("."), folder.File("effects/a/up"));
    EXPECT_EQ(Names("a"), (NameList{"b/", "link", "up/", "x"}));
    EXPECT_TRUE(library.Delete("a", &error)) << error;
    EXPECT_EQ(Names(), NameList{});
    EXPECT_EQ(folder.Read("kept.xml"), "kept");
    EXPECT_FALSE(library.Delete("a", &error));
    EXPECT_EQ(error, "the library has no \"a\"");
}

TEST_F(EffectLibrary, NamesStayInside) {
    for (const char* name : {"", "..", "../x", "a/../../x", "/etc/passwd", ".x", "a/.b", "a/"}) {
        error.clear();
        EXPECT_FALSE(library.Save(name, "", true, &error)) << name;
        EXPECT_FALSE(library.Delete(name, &error)) << name;
        EXPECT_FALSE(error.empty()) << name;
    }
    EXPECT_FALSE(fs::exists(folder.File("x.xml")));
}

}  // namespace

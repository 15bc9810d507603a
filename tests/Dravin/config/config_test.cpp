#include <cstdlib>

#include <gtest/gtest.h>

#include "Dravin/config/distmap_library.h"
#include "Dravin/config/index_file.h"
#include "Dravin/config/main_folder.h"
#include "host/scene/host_context.h"
#include "tests/temp_folder.h"

namespace {

TEST(IndexFile, ReadsEntriesAfterTheHeaderUpToAnEmptyLine) {
    TempFolder folder;
    IndexFile index =
        ReadIndexFile(folder.Write("i", "\xEF\xBB\xBFheader;;;\r\na;b  \r\nc;\n\nlost;line\n"), 2);
    EXPECT_TRUE(index.IsGood());
    ASSERT_EQ(index.entries.size(), 2u);
    EXPECT_EQ(index.entries[0], (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(index.entries[1], (std::vector<std::string>{"c", ""}));
}

TEST(IndexFile, FourSemicolonsAreFiveFieldsAndThreeAreFour) {
    TempFolder folder;
    IndexFile index = ReadIndexFile(folder.Write("i", "h\nn;f;o;\nn;f;o;i;\n"), 4);
    EXPECT_EQ(index.badLine, 2);
    ASSERT_EQ(index.entries.size(), 1u);
    EXPECT_EQ(index.entries[0][3], "");
}

TEST(IndexFile, LongLinesAreBadAndLongFieldsAreCut) {
    TempFolder folder;
    std::string field(120, 'x');
    IndexFile index = ReadIndexFile(folder.Write("i", "h\n" + field + ";b\n"), 2);
    ASSERT_TRUE(index.IsGood());
    EXPECT_EQ(index.entries[0][0].size(), 99u);
    EXPECT_EQ(ReadIndexFile(folder.Write("j", "h\n" + std::string(258, 'x') + ";b\n"), 2).badLine,
              1);
    EXPECT_FALSE(ReadIndexFile(folder.File("missing"), 2).opened);
    EXPECT_TRUE(ReadIndexFile(folder.Write("e", ""), 2).IsGood());
}

struct Quiet {
    HostContext context;
    ScriptedUserInterface* user;
    Quiet() {
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        context.SetUserInterface(std::move(scripted));
    }
};

TEST(DistMapLibrary, AppendsOther) {
    Quiet host;
    TempFolder folder;
    folder.Write("index.dat", "header\nDense;dense.bmp\nRows;rows.bmp\n");
    TDistMapLibrary library;
    EXPECT_TRUE(library.Read(folder.File("")));
    ASSERT_EQ(library.Entries().size(), 3u);
    EXPECT_EQ(library.Entries()[2].name, "Other");
    EXPECT_EQ(library.Entries()[2].file, "");
}

TEST(DistMapLibrary, ABadThirdLineLeavesTwoMapsWithoutOtherAndIsNotReadAgain) {
    Quiet host;
    TempFolder folder;
    folder.Write("index.dat", "header\nA;a.bmp\nB;b.bmp\nC;c.bmp;more\nD;d.bmp\n");
    TDistMapLibrary library;
    EXPECT_FALSE(library.Read(folder.File("")));
    EXPECT_EQ(library.Entries().size(), 2u);
    ASSERT_EQ(host.user->messages.size(), 1u);
    EXPECT_EQ(host.user->messages[0].text, "Error reading distmaps\\index.dat. Bad format !");
    EXPECT_EQ(host.user->messages[0].caption, "Dravin Pack");
    folder.Write("index.dat", "header\nA;a.bmp\n");
    EXPECT_TRUE(library.Read(folder.File("")));
    EXPECT_EQ(library.Entries().size(), 2u);
}

TEST(DistMapLibrary, AMissingIndexIsToldUnlessQuiet) {
    Quiet host;
    TempFolder folder;
    EXPECT_FALSE(TDistMapLibrary().Read(folder.File("none")));
    ASSERT_EQ(host.user->messages.size(), 1u);
    EXPECT_EQ(host.user->messages[0].text.rfind("Error opening file:  \n", 0), 0u);
    host.context.quiet = true;
    EXPECT_FALSE(TDistMapLibrary().Read(folder.File("none")));
    EXPECT_EQ(host.user->messages.size(), 1u);
}

TEST(MainFolder, IsTakenFromTheEnvironment) { EXPECT_EQ(MainFolder(), std::getenv("DRAVIN_HOME")); }

TEST(ShippedLibrary, HasAtLeastSixteenReadableMaps) {
    Quiet host;
    TDistMapLibrary library;
    EXPECT_TRUE(library.Read(DistMapFolder()));
    EXPECT_GE(library.Entries().size(), 17u);
    for (const auto& entry : library.Entries()) {
        if (entry.file.empty()) continue;
        EXPECT_TRUE(std::filesystem::exists(DistMapFolder() + "/" + entry.file)) << entry.file;
    }
}

}  // namespace

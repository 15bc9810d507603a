#include "host/base/input_record.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "host/base/file_input.h"
#include "tests/temp_folder.h"

TEST(InputRecord, HoldsWhatWasReadByAnyName) {
    TempFolder folder;
    folder.Write("read.txt", "a");
    folder.Write("other.txt", "b");
    std::filesystem::create_symlink("read.txt", folder.File("link"));
    InputRecord record;
    std::string error;
    ASSERT_TRUE(ReadWholeFile(folder.File("link"), 100, &error)) << error;
    EXPECT_TRUE(record.Holds(folder.File("read.txt")));
    EXPECT_TRUE(record.Holds(folder.File("./link")));
    EXPECT_FALSE(record.Holds(folder.File("other.txt")));
    EXPECT_FALSE(record.Holds(folder.File("missing.txt")));
}

TEST(InputRecord, RecordsOnlyWhileItLives) {
    TempFolder folder;
    folder.Write("before.txt", "a");
    folder.Write("during.txt", "b");
    std::string error;
    ASSERT_TRUE(ReadWholeFile(folder.File("before.txt"), 100, &error));
    InputRecord outer;
    {
        InputRecord inner;
        ASSERT_TRUE(ReadWholeFile(folder.File("during.txt"), 100, &error));
        EXPECT_TRUE(inner.Holds(folder.File("during.txt")));
    }
    EXPECT_FALSE(outer.Holds(folder.File("before.txt")));
    EXPECT_FALSE(outer.Holds(folder.File("during.txt")));
    ASSERT_TRUE(ReadWholeFile(folder.File("before.txt"), 100, &error));
    EXPECT_TRUE(outer.Holds(folder.File("before.txt")));
}

TEST(InputRecord, GoesInAnyOrderAndTakesOver) {
    TempFolder folder;
    folder.Write("a.txt", "a");
    folder.Write("b.txt", "b");
    std::string error;
    auto first = std::make_unique<InputRecord>();
    auto second = std::make_unique<InputRecord>();
    first->TakeOver();
    ASSERT_TRUE(ReadWholeFile(folder.File("a.txt"), 100, &error));
    EXPECT_TRUE(first->Holds(folder.File("a.txt")));
    EXPECT_FALSE(second->Holds(folder.File("a.txt")));
    first.reset();
    ASSERT_TRUE(ReadWholeFile(folder.File("b.txt"), 100, &error));
    EXPECT_TRUE(second->Holds(folder.File("b.txt")));
}

#include "host/base/file_input.h"

#include <algorithm>
#include <csignal>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/temp_folder.h"

TEST(FileInput, ReadsAndMapsWholeFiles) {
    TempFolder folder;
    std::string bytes("a\0b\n", 4), error, path = folder.Write("f", bytes);
    EXPECT_EQ(RegularFileSize(path, &error), 4u);
    EXPECT_EQ(ReadWholeFile(path, 4, &error), bytes);
    MappedFile file;
    ASSERT_TRUE(file.Open(path, &error));
    EXPECT_EQ(file.Bytes(), bytes);
}

TEST(FileInput, EmptyFileHasNoBytes) {
    TempFolder folder;
    std::string error, path = folder.Write("f", "");
    MappedFile file;
    ASSERT_TRUE(file.Open(path, &error)) << error;
    EXPECT_TRUE(file.Bytes().empty());
    EXPECT_EQ(ReadWholeFile(path, 0, &error), "");
}

TEST(FileInput, LimitIsNamed) {
    TempFolder folder;
    std::string error, path = folder.Write("f", "12345");
    EXPECT_FALSE(ReadWholeFile(path, 4, &error));
    EXPECT_EQ(error, path + ": 5 bytes, at most 4 are read");
}

TEST(FileInput, EverythingButFilesIsRefused) {
    TempFolder folder;
    std::string error, fifo = folder.File("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_FALSE(RegularFileSize(fifo, &error));
    EXPECT_EQ(error, fifo + ": is a pipe, expected a file");
    EXPECT_FALSE(RegularFileSize("/dev/zero", &error));
    EXPECT_EQ(error, "/dev/zero: is a device, expected a file");
    EXPECT_FALSE(RegularFileSize(folder.File(""), &error));
    EXPECT_NE(error.find("is a folder"), error.npos);
    EXPECT_FALSE(RegularFileSize(folder.File("none"), &error));
    EXPECT_NE(error.find("No such file"), error.npos);
    EXPECT_FALSE(RegularFileSize(std::string("a\0b", 3), &error));
}

TEST(FileInput, TheHeadIsCutAndTheSizeIsWhole) {
    TempFolder folder;
    std::string error, path = folder.Write("f", "12345");
    uint64_t size = 0;
    EXPECT_EQ(ReadFileHead(path, 3, &size, &error), "123");
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(ReadFileHead(path, 99, &size, &error), "12345");
    EXPECT_FALSE(ReadFileHead(folder.File("none"), 3, &size, &error));
    EXPECT_NE(error.find("No such file"), error.npos);
}

// 16 pages, and the second half of them gone while the file is mapped.
TEST(FileInput, AShortenedFileReadsAsZerosAndIsTold) {
    TempFolder folder;
    size_t page = size_t(getpagesize());
    std::string error, path = folder.Write("f", std::string(16 * page, 'x'));
    MappedFile file, other;
    ASSERT_TRUE(file.Open(path, &error)) << error;
    ASSERT_TRUE(other.Open(folder.Write("g", "12345"), &error)) << error;
    EXPECT_FALSE(file.WasCut());
    std::filesystem::resize_file(path, 8 * page);
    std::string_view bytes = file.Bytes();
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 'x'), std::ptrdiff_t(8 * page));
    EXPECT_EQ(bytes[16 * page - 1], '\0');
    EXPECT_TRUE(file.WasCut());
    EXPECT_FALSE(other.WasCut());
}

TEST(FileInput, AFileShortenedWithinItsLastPageIsTold) {
    TempFolder folder;
    std::string error, path = folder.Write("f", "12345");
    MappedFile file;
    ASSERT_TRUE(file.Open(path, &error)) << error;
    std::filesystem::resize_file(path, 3);
    EXPECT_TRUE(file.WasCut());
}

TEST(FileInput, ManyFilesMayBeMappedOneAfterTheOther) {
    TempFolder folder;
    std::string error, path = folder.Write("f", "12345");
    for (int i = 0; i < 1000; ++i) {
        MappedFile file;
        ASSERT_TRUE(file.Open(path, &error)) << i << error;
    }
}

TEST(FileInputDeathTest, OtherFaultsStillEndTheProgram) {
    TempFolder folder;
    size_t page = size_t(getpagesize());
    std::string error, path = folder.Write("f", std::string(page, 'x'));
    MappedFile guarded;
    ASSERT_TRUE(guarded.Open(path, &error)) << error;
    EXPECT_EXIT(
        {
            std::string own = folder.Write("g", std::string(4 * page, 'x'));
            int file = open(own.c_str(), O_RDONLY);
            auto* bytes = static_cast<volatile char*>(
                mmap(nullptr, 4 * page, PROT_READ, MAP_PRIVATE, file, 0));
            std::filesystem::resize_file(own, 0);
            exit(bytes[page]);
        },
        testing::KilledBySignal(SIGBUS), "");
}

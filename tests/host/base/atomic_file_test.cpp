#include "host/base/atomic_file.h"

#include <gtest/gtest.h>
#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/base/memory_file.h"

#include "tests/temp_folder.h"

TEST(AtomicFile, AppearsAtCommitOnly) {
    TempFolder folder;
    folder.Write("a.txt", "old");
    AtomicFile file;
    std::string error;
    ASSERT_TRUE(file.Open(folder.File("a.txt"), &error)) << error;
    file.Write("new");
    EXPECT_EQ(file.Size(), 3u);
    EXPECT_EQ(folder.Read("a.txt"), "old");
    ASSERT_TRUE(file.Commit(&error)) << error;
    EXPECT_EQ(folder.Read("a.txt"), "new");
    EXPECT_EQ(folder.NumFiles(), 1u);
}

TEST(AtomicFile, WithoutCommitNothingChanges) {
    TempFolder folder;
    folder.Write("a.txt", "old");
    {
        AtomicFile file;
        std::string error;
        ASSERT_TRUE(file.Open(folder.File("a.txt"), &error));
        file.Write(std::string(1 << 20, 'x'));
    }
    EXPECT_EQ(folder.Read("a.txt"), "old");
    EXPECT_EQ(folder.NumFiles(), 1u);
}

TEST(AtomicFile, LargeAndSmallWritesKeepTheirOrder) {
    TempFolder folder;
    AtomicFile file;
    std::string error, expected;
    ASSERT_TRUE(file.Open(folder.File("a.bin"), &error));
    for (size_t i = 0; i < 40; ++i) {
        std::string piece(i % 3 == 0 ? 300000 : i * 17, char('a' + i % 26));
        file.Write(piece);
        expected += piece;
    }
    file.Overwrite(1, "HEAD");
    expected.replace(1, 4, "HEAD");
    ASSERT_TRUE(file.Commit(&error));
    EXPECT_TRUE(folder.Read("a.bin") == expected);
}

TEST(AtomicFile, ExtendedRangesAreFilledLater) {
    TempFolder folder;
    AtomicFile file;
    std::string error;
    ASSERT_TRUE(file.Open(folder.File("a.bin"), &error));
    file.Write("head");
    EXPECT_EQ(file.Extend(4), 4u);
    file.Write("tail");
    file.Overwrite(6, "xy");
    EXPECT_EQ(file.Size(), 12u);
    ASSERT_TRUE(file.Commit(&error)) << error;
    EXPECT_EQ(folder.Read("a.bin"), std::string("head\0\0xytail", 12));
    ASSERT_TRUE(file.Open("/dev/null", &error));
    file.Extend(4);
    EXPECT_FALSE(file.Commit(&error));
}

TEST(AtomicFile, UnwritableTargetsAreClearErrors) {
    TempFolder folder;
    AtomicFile file;
    std::string error;
    EXPECT_FALSE(file.Open(folder.File("missing/a.txt"), &error));
    EXPECT_NE(error.find("missing/a.txt: cannot write the file: No such file"), error.npos)
        << error;
    EXPECT_FALSE(file.Open(folder.File(""), &error));
    EXPECT_NE(error.find("it is a folder"), error.npos) << error;
    EXPECT_FALSE(file.Open("", &error));
    EXPECT_FALSE(file.Commit(&error));
}

TEST(AtomicFile, FullDeviceIsReportedAtCommit) {
    AtomicFile file;
    std::string error;
    ASSERT_TRUE(file.Open("/dev/full", &error)) << error;
    file.Write("x");
    EXPECT_FALSE(file.Commit(&error));
    EXPECT_EQ(error, "/dev/full: cannot write the file: No space left on device");
}

TEST(AtomicFile, DevicesStayDevices) {
    AtomicFile file;
    std::string error;
    ASSERT_TRUE(file.Open("/dev/null", &error)) << error;
    file.Write("x");
    EXPECT_TRUE(file.Commit(&error)) << error;
    struct stat info {};
    ASSERT_EQ(stat("/dev/null", &info), 0);
    EXPECT_TRUE(S_ISCHR(info.st_mode));
}

TEST(AtomicFile, LinksAndPermissionsStay) {
    TempFolder folder;
    folder.Write("real.txt", "old");
    ASSERT_EQ(chmod(folder.File("real.txt").c_str(), 0640), 0);
    ASSERT_EQ(symlink("real.txt", folder.File("link.txt").c_str()), 0);
    AtomicFile file;
    std::string error;
    ASSERT_TRUE(file.Open(folder.File("link.txt"), &error));
    file.Write("new");
    ASSERT_TRUE(file.Commit(&error));
    EXPECT_EQ(folder.Read("real.txt"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.File("link.txt")));
    struct stat info {};
    ASSERT_EQ(stat(folder.File("real.txt").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u);
}

TEST(AtomicFile, SignalHandlersRemoveWhatIsOpen) {
    TempFolder folder;
    AtomicFile first, second;
    std::string error;
    ASSERT_TRUE(first.Open(folder.File("a"), &error) && second.Open(folder.File("b"), &error));
    EXPECT_EQ(folder.NumFiles(), 2u);
    AtomicFile::RemoveTemporaryFiles();
    EXPECT_EQ(folder.NumFiles(), 0u);
    EXPECT_FALSE(first.Commit(&error));
}

TEST(AtomicFile, CanWriteLeavesNoTrace) {
    TempFolder folder;
    std::string error, kept = folder.Write("kept", "old"), fifo = folder.File("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_TRUE(AtomicFile::CanWrite(kept, &error)) << error;
    EXPECT_TRUE(AtomicFile::CanWrite(folder.File("new"), &error)) << error;
    EXPECT_TRUE(AtomicFile::CanWrite(fifo, &error)) << error;  // without waiting for a reader
    EXPECT_FALSE(AtomicFile::CanWrite(folder.File("."), &error));
    EXPECT_NE(error.find("it is a folder"), error.npos) << error;
    EXPECT_FALSE(AtomicFile::CanWrite(folder.File("none/new"), &error));
    EXPECT_EQ(folder.Read("kept"), "old");
    EXPECT_EQ(folder.NumFiles(), 2u);
}

TEST(AtomicFile, TheNextWriterRemovesWhatAKilledOneLeft) {
    TempFolder folder;
    folder.Write("a.txt.4242-7.tmp", "half");
    folder.Write("a.txt.notes.tmp", "somebody's");  // not the name of a temporary file
    folder.Write("b.txt.4242-7.tmp", "of another target");
    AtomicFile file;
    std::string error;
    ASSERT_TRUE(file.Open(folder.File("a.txt"), &error)) << error;
    EXPECT_FALSE(std::filesystem::exists(folder.File("a.txt.4242-7.tmp")));
    EXPECT_EQ(folder.Read("a.txt.notes.tmp"), "somebody's");
    EXPECT_EQ(folder.Read("b.txt.4242-7.tmp"), "of another target");
}

TEST(AtomicFile, TemporaryFilesOfLivingWritersStay) {
    TempFolder folder;
    AtomicFile first, second;
    std::string error;
    ASSERT_TRUE(first.Open(folder.File("a.txt"), &error));
    ASSERT_TRUE(second.Open(folder.File("a.txt"), &error));
    EXPECT_EQ(folder.NumFiles(), 2u);
    first.Write("first");
    ASSERT_TRUE(first.Commit(&error)) << error;
    EXPECT_EQ(folder.Read("a.txt"), "first");
}

TEST(AtomicFile, FilesThatBelongTogetherAppearTogether) {
    TempFolder folder;
    folder.Write("a", "old a");
    folder.Write("b", "old b");
    AtomicFile a, b;
    std::string error;
    ASSERT_TRUE(a.Open(folder.File("a"), &error));
    ASSERT_TRUE(b.Open(folder.File("b"), &error));
    a.Write("new a");
    b.Write("new b");
    AtomicFile* both[] = {&a, &b};
    ASSERT_TRUE(AtomicFile::CommitTogether(both, &error)) << error;
    EXPECT_EQ(folder.Read("a") + folder.Read("b"), "new anew b");
    EXPECT_EQ(folder.NumFiles(), 2u);
}

// The second target becomes a folder that cannot be replaced: the first one is as it was.
TEST(AtomicFile, FilesThatBelongTogetherStayTogether) {
    TempFolder folder;
    folder.Write("a", "old a");
    AtomicFile a, b, c;
    std::string error;
    for (auto [file, name] : {std::pair{&a, "a"}, {&c, "c"}, {&b, "b"}})
        ASSERT_TRUE(file->Open(folder.File(name), &error));
    a.Write("new a");
    b.Write("new b");
    c.Write("new c");
    std::filesystem::create_directory(folder.File("b"));
    AtomicFile* all[] = {&a, &c, &b};
    EXPECT_FALSE(AtomicFile::CommitTogether(all, &error));
    EXPECT_EQ(folder.Read("a"), "old a");
    EXPECT_FALSE(std::filesystem::exists(folder.File("c")));
    EXPECT_EQ(folder.NumFiles(), 2u);  // a, and the folder b
}

// A limit of the size of files, as a full disk: the old file stays. In a child, whose limit it is.
TEST(AtomicFile, AFileThatGrowsTooLargeIsAnError) {
    TempFolder folder;
    folder.Write("a.txt", "old");
    pid_t pid = fork();
    if (pid == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{1 << 16, 1 << 16};
        setrlimit(RLIMIT_FSIZE, &limit);
        AtomicFile file;
        std::string error;
        bool opened = file.Open(folder.File("a.txt"), &error);
        file.Write(std::string(1 << 20, 'x'));
        _exit(opened && !file.Commit(&error) && error.find("File too large") != error.npos ? 0 : 1);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(folder.Read("a.txt"), "old");
    EXPECT_EQ(folder.NumFiles(), 1u);
}

TEST(AtomicFile, APipeThatNobodyReadsIsRefused) {
    TempFolder folder;
    ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
    AtomicFile file;
    std::string error;
    EXPECT_FALSE(file.Open(folder.File("pipe"), &error));
    EXPECT_NE(error.find("nobody reads this pipe"), error.npos) << error;
    int reader = open(folder.File("pipe").c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_TRUE(file.Open(folder.File("pipe"), &error)) << error;
    file.Write("hello");
    ASSERT_TRUE(file.Commit(&error)) << error;
    char text[8] = {};
    EXPECT_EQ(read(reader, text, sizeof text), 5);
    close(reader);
}

TEST(MemoryFile, HandsOnWhatWasWrittenByName) {
    TempFolder folder;
    MemoryFile memory;
    FILE* stream = std::fopen(memory.Path().c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    std::fputs("picture", stream);
    std::fclose(stream);
    AtomicFile file;
    std::string error;
    ASSERT_TRUE(file.Open(folder.File("a.png"), &error));
    ASSERT_TRUE(memory.CopyTo(file, &error)) << error;
    ASSERT_TRUE(file.Commit(&error)) << error;
    EXPECT_EQ(folder.Read("a.png"), "picture");
}

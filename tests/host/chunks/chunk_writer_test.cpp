#include "host/chunks/chunk_writer.h"

#include <csignal>
#include <filesystem>
#include <limits>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/host/chunks/chunk_bytes.h"
#include "tests/temp_folder.h"

namespace {

// What `write` leaves in memory, or the error.
template <class Write>
std::string Written(const Write& write) {
    ChunkWriter writer;
    writer.OpenMemory(kGardenFile);
    write(writer);
    std::string error;
    return writer.TakeBytes(&error).value_or(error);
}

TEST(ChunkWriter, WritesNothingAsAHeader) {
    EXPECT_EQ(Written([](ChunkWriter&) {}), RawFile(""));
}

TEST(ChunkWriter, WritesValuesAsTheyLieInMemory) {
    std::string bytes = Written([](ChunkWriter& writer) {
        writer.BeginChunk(0x310, 7);
        writer.Write(uint8_t{0xAB});
        writer.Write(int16_t{-2});
        writer.Write(uint32_t{0x01020304});
        writer.Write(std::numeric_limits<int64_t>::min());
        writer.Write(1.0f);
        writer.Write(-2.0);
        writer.Write(true);
        writer.EndChunk();
    });
    // 1.0f is 0x3F800000; -2.0 is 0xC000000000000000.
    std::string payload = std::string("\xAB\xFE\xFF\x04\x03\x02\x01", 7) +
                          std::string("\0\0\0\0\0\0\0\x80", 8) + std::string("\0\0\x80\x3F", 4) +
                          std::string("\0\0\0\0\0\0\0\xC0", 8) + "\x01";
    EXPECT_EQ(bytes, RawFile(RawChunk(0x310, 7, 0, payload)));
}

TEST(ChunkWriter, WritesTextsAndArraysBehindTheirNumber) {
    struct Pair {
        float x, y;
    };
    std::vector<Pair> pairs{{1, -2}, {0, 0}};
    std::string bytes = Written([&](ChunkWriter& writer) {
        writer.BeginChunk(1);
        writer.WriteText("B\xC3\xA4ume");
        writer.WriteText("");
        writer.WriteArray(std::span<const Pair>(pairs));
        writer.WriteArray(std::span<const int>());
        writer.EndChunk();
    });
    std::string array = Little(2, 8) + Little(0x3F800000, 4) + Little(0xC0000000, 4) + Little(0, 8);
    EXPECT_EQ(bytes, RawFile(ValueChunk(
                         1, Little(6, 8) + "B\xC3\xA4ume" + Little(0, 8) + array + Little(0, 8))));
}

TEST(ChunkWriter, NestsChunks) {
    std::string bytes = Written([](ChunkWriter& writer) {
        writer.BeginChunk(1);
        writer.BeginChunk(2);
        writer.Write(uint8_t{9});
        writer.EndChunk();
        writer.BeginChunk(3);
        writer.EndChunk();
        writer.EndChunk();
        writer.BeginChunk(4);
        writer.EndChunk();
    });
    EXPECT_EQ(bytes, RawFile(GroupChunk(1, ValueChunk(2, "\x09") + ValueChunk(3, "")) +
                             ValueChunk(4, "")));
}

TEST(ChunkWriter, MendsTextsThatAreNotUtf8AndCountsThem) {
    ChunkWriter writer;
    writer.OpenMemory(kGardenFile);
    writer.BeginChunk(1);
    writer.WriteText("a\xFFz");
    writer.WriteText("good");
    writer.EndChunk();
    EXPECT_EQ(writer.NumMendedTexts(), 1u);
    std::string error;
    EXPECT_EQ(writer.TakeBytes(&error),
              RawFile(ValueChunk(1, RawText("a\xEF\xBF\xBDz") + RawText("good"))));
}

TEST(ChunkWriter, RefusesWhatNoReaderTakes) {
    EXPECT_EQ(Written([](ChunkWriter& writer) { writer.Write(1); }),
              "chunks in memory: cannot write: values stand outside all chunks");
    EXPECT_EQ(Written([](ChunkWriter& writer) { writer.EndChunk(); }),
              "chunks in memory: cannot write: a chunk ends that has not begun");
    EXPECT_EQ(Written([](ChunkWriter& writer) { writer.BeginChunk(0x310); }),
              "chunks in memory: 0x310: cannot write: the chunk has not ended");
    EXPECT_EQ(Written([](ChunkWriter& writer) {
                  writer.BeginChunk(1);
                  writer.BeginChunk(2);
                  writer.EndChunk();
                  writer.Write(1);
              }),
              "chunks in memory: 0x1: cannot write: one chunk holds both values and chunks");
    EXPECT_EQ(Written([](ChunkWriter& writer) {
                  for (int i = 0; i < 10000; ++i) writer.BeginChunk(1);
              }).substr(0, 26),
              "chunks in memory: 0x1/0x1/");
    auto keptAt = [](size_t depth) {
        return Written([&](ChunkWriter& writer) {
            for (size_t i = 0; i < depth; ++i) writer.BeginChunk(1);
            writer.WriteKept({2, 0, false, "abc"});
            for (size_t i = 0; i < depth; ++i) writer.EndChunk();
        });
    };
    EXPECT_EQ(keptAt(kMaxChunkDepth - 1).substr(0, 3),
              "\x89"
              "CF");
    EXPECT_NE(keptAt(kMaxChunkDepth).find("more than 64 chunks"), std::string::npos);
}

TEST(ChunkWriter, WithoutAFileEverythingFails) {
    ChunkWriter writer;
    std::string error;
    writer.BeginChunk(1);
    writer.Write(1);
    writer.EndChunk();
    EXPECT_TRUE(writer.HasFailed());
    EXPECT_FALSE(writer.TakeBytes(&error));
    EXPECT_EQ(error, "nothing is open to be written");
    EXPECT_FALSE(writer.OpenFile("/nowhere/at/all", kGardenFile, &error));
    EXPECT_FALSE(writer.Commit(&error));
    EXPECT_EQ(error, "/nowhere/at/all: cannot write the file: No such file or directory");
}

// Three levels around more than fits into the buffer, so that every length is filled in on the
// disk; the same in memory is the expectation, whose layout the tests above fix.
void WriteLong(ChunkWriter& writer) {
    std::vector<uint32_t> large(100000);
    for (size_t i = 0; i < large.size(); ++i) large[i] = uint32_t(i * 2654435761u);
    writer.BeginChunk(1);
    writer.BeginChunk(2);
    for (uint32_t i = 0; i < 40000; ++i) {
        writer.BeginChunk(i);
        writer.Write(i);
        writer.EndChunk();
    }
    writer.EndChunk();
    writer.BeginChunk(3);
    writer.WriteArray(std::span<const uint32_t>(large));
    writer.WriteArray(std::span<const uint32_t>(large).first(3));
    writer.EndChunk();
    writer.EndChunk();
}

TEST(ChunkWriter, FilesEqualMemory) {
    TempFolder folder;
    ChunkWriter writer;
    std::string error;
    ASSERT_TRUE(writer.OpenFile(folder.File("a"), kGardenFile, &error)) << error;
    WriteLong(writer);
    EXPECT_FALSE(std::filesystem::exists(folder.File("a")));
    uint64_t size = writer.Size();
    ASSERT_TRUE(writer.Commit(&error)) << error;
    EXPECT_EQ(folder.Read("a").size(), size);
    EXPECT_TRUE(folder.Read("a") == Written(WriteLong));
    EXPECT_EQ(folder.NumFiles(), 1u);
}

TEST(ChunkWriter, AWriterIsUsedAgain) {
    TempFolder folder;
    ChunkWriter writer;
    std::string error;
    writer.OpenMemory(kGardenFile);
    writer.Write(1);
    EXPECT_FALSE(writer.TakeBytes(&error));
    ASSERT_TRUE(writer.OpenFile(folder.File("a"), kGardenFile, &error));
    writer.BeginChunk(1);
    writer.EndChunk();
    ASSERT_TRUE(writer.Commit(&error)) << error;
    EXPECT_EQ(folder.Read("a"), RawFile(ValueChunk(1, "")));
    EXPECT_FALSE(writer.Commit(&error));
}

TEST(ChunkWriter, FailuresLeaveTheOldFile) {
    TempFolder folder;
    std::string path = folder.Write("a", "old"), error;
    ChunkWriter writer;
    ASSERT_TRUE(writer.OpenFile(path, kGardenFile, &error));
    writer.BeginChunk(1);
    writer.Fail("the mesh is gone");
    writer.EndChunk();
    EXPECT_FALSE(writer.Commit(&error));
    EXPECT_EQ(error, path + ": 0x1: cannot write: the mesh is gone");
    EXPECT_EQ(folder.Read("a"), "old");
    EXPECT_EQ(folder.NumFiles(), 1u);
}

TEST(ChunkWriter, FullDevicesAreReported) {
    ChunkWriter writer;
    std::string error;
    ASSERT_TRUE(writer.OpenFile("/dev/full", kGardenFile, &error)) << error;
    WriteLong(writer);
    EXPECT_FALSE(writer.Commit(&error));
    EXPECT_EQ(error, "/dev/full: cannot write the file: No space left on device");
}

TEST(ChunkWriter, FullDisksAreReportedAndLeaveTheOldFile) {
    TempFolder folder;
    std::string path = folder.Write("a", "old");
    pid_t pid = fork();
    if (pid == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{1 << 16, 1 << 16};
        setrlimit(RLIMIT_FSIZE, &limit);
        ChunkWriter writer;
        std::string error;
        bool opened = writer.OpenFile(path, kGardenFile, &error);
        WriteLong(writer);
        bool failed = writer.HasFailed() && !writer.Commit(&error);
        _exit(opened && failed && error.find("File too large") != error.npos ? 0 : 1);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(folder.Read("a"), "old");
    EXPECT_EQ(folder.NumFiles(), 1u);
}

// What cannot be filled in afterwards gets its bytes in one go.
TEST(ChunkWriter, PipesGetWholeFiles) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::string path = "/proc/self/fd/" + std::to_string(ends[1]), error;
    ChunkWriter writer;
    ASSERT_TRUE(writer.OpenFile(path, kGardenFile, &error)) << error;
    writer.BeginChunk(1);
    writer.Write(uint16_t{5});
    writer.EndChunk();
    ASSERT_TRUE(writer.Commit(&error)) << error;
    std::string bytes(100, 'x');
    bytes.resize(size_t(read(ends[0], bytes.data(), bytes.size())));
    EXPECT_EQ(bytes, RawFile(ValueChunk(1, Little(5, 2))));
    close(ends[0]), close(ends[1]);
}

}  // namespace

#include "host/chunks/chunk_reader.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "host/chunks/chunk_writer.h"
#include "tests/host/chunks/chunk_bytes.h"
#include "tests/temp_folder.h"

namespace {

// Bytes and a reader on them.
struct Opened {
    std::string bytes;
    ChunkReader reader;

    explicit Opened(std::string file) : bytes(std::move(file)) {
        reader.OpenBytes(bytes, "g", kGardenFile);
    }
};

// The error of reading one chunk of these values with `read`.
template <class Read>
std::string ErrorOf(const std::string& payload, const Read& read) {
    Opened file(RawFile(ValueChunk(0x310, payload)));
    EXPECT_TRUE(file.reader.OpenChunk());
    read(file.reader);
    file.reader.CloseChunk();
    return file.reader.Finish() ? "" : file.reader.Error();
}

TEST(ChunkReader, ReadsValues) {
    Opened file(RawFile(RawChunk(
        0x310, 7, 0,
        std::string("\xAB\xFE\xFF\x04\x03\x02\x01\0\0\x80\x3F\0\0\0\0\0\0\0\xC0\x01", 20))));
    ChunkReader& reader = file.reader;
    ASSERT_TRUE(reader.OpenChunk());
    EXPECT_EQ(reader.ChunkId(), 0x310u);
    EXPECT_EQ(reader.ChunkVersion(), 7);
    EXPECT_EQ(reader.ChunkLength(), 20u);
    EXPECT_EQ(reader.Read<uint8_t>(), 0xAB);
    EXPECT_EQ(reader.Read<int16_t>(), -2);
    EXPECT_EQ(reader.Read<uint32_t>(), 0x01020304u);
    EXPECT_EQ(reader.Read<float>(), 1.0f);
    EXPECT_EQ(reader.Read<double>(), -2.0);
    EXPECT_EQ(reader.Remaining(), 1u);
    EXPECT_TRUE(reader.Read<bool>());
    reader.CloseChunk();
    EXPECT_FALSE(reader.OpenChunk());
    EXPECT_TRUE(reader.Finish()) << reader.Error();
}

TEST(ChunkReader, ReadsTextsAndArrays) {
    Opened file(RawFile(ValueChunk(1, RawText("B\xC3\xA4ume") + RawText("") + Little(2, 8) +
                                          Little(7, 4) + Little(0xFFFFFFFF, 4) + Little(0, 8))));
    ChunkReader& reader = file.reader;
    ASSERT_TRUE(reader.OpenChunk());
    std::vector<int> numbers{1}, none{1, 2};
    EXPECT_EQ(reader.ReadText(), "B\xC3\xA4ume");
    EXPECT_EQ(reader.ReadText(), "");
    reader.ReadArray(&numbers);
    reader.ReadArray(&none);
    EXPECT_EQ(numbers, (std::vector<int>{7, -1}));
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(reader.Remaining(), 0u);
    EXPECT_TRUE(reader.Finish()) << reader.Error();
}

TEST(ChunkReader, SkipsWhatNobodyReads) {
    Opened file(
        RawFile(GroupChunk(1, ValueChunk(2, "abc") + ValueChunk(3, Little(5, 4) + "newer")) +
                GroupChunk(9, ValueChunk(1, "x")) + ValueChunk(4, Little(6, 4))));
    std::vector<int> read;
    file.reader.ForEachChunk([&](uint32_t id) {
        if (id == 4) read.push_back(file.reader.Read<int>());
        if (id != 1) return;
        file.reader.ForEachChunk([&](uint32_t inner) {
            if (inner == 3) read.push_back(file.reader.Read<int>());
        });
    });
    EXPECT_EQ(read, (std::vector<int>{5, 6}));
    EXPECT_TRUE(file.reader.Finish()) << file.reader.Error();
}

// A visitor that turns round within a chunk inside.
TEST(ChunkReader, ChunksLeftOpenAreClosed) {
    Opened file(RawFile(GroupChunk(1, GroupChunk(2, ValueChunk(3, "abc"))) + ValueChunk(4, "")));
    std::vector<uint32_t> ids;
    file.reader.ForEachChunk([&](uint32_t id) {
        ids.push_back(id);
        if (id == 1) file.reader.OpenChunk(), file.reader.OpenChunk();
    });
    EXPECT_EQ(ids, (std::vector<uint32_t>{1, 4}));
}

// An older record is shorter: the rest keeps its defaults, and more than is wanted stays.
TEST(ChunkReader, ReadsRecordsAsFarAsTheyGo) {
    Opened file(RawFile(ValueChunk(1, "abc") + ValueChunk(1, "abcdefgh")));
    ChunkReader& reader = file.reader;
    char record[] = "12345";
    ASSERT_TRUE(reader.OpenChunk());
    EXPECT_EQ(reader.ReadBytesUpTo(record, 5), 3u);
    EXPECT_STREQ(record, "abc45");
    reader.CloseChunk();
    ASSERT_TRUE(reader.OpenChunk());
    EXPECT_EQ(reader.ReadBytesUpTo(record, 5), 5u);
    EXPECT_STREQ(record, "abcde");
    EXPECT_TRUE(reader.Finish());
}

TEST(ChunkReader, ErrorsNameThePlace) {
    std::string nodes =
        ValueChunk(3, Little(1, 4)) + ValueChunk(3, Little(2, 4)) + ValueChunk(3, Little(3, 2));
    Opened file(RawFile(GroupChunk(1, GroupChunk(2, nodes))));
    ChunkReader& reader = file.reader;
    int sum = 0;
    reader.ForEachChunk([&](uint32_t) {
        reader.NameChunk("scene");
        reader.ForEachChunk([&](uint32_t) {
            reader.ForEachChunk([&](uint32_t) {
                reader.NameChunk("node");
                sum += reader.Read<int>();
            });
        });
    });
    EXPECT_FALSE(reader.Finish());
    // The header, those of the groups, two nodes of 20 bytes, and a header.
    EXPECT_EQ(reader.Error(),
              "g: scene/0x2/node[2] at byte 112: 4 bytes are wanted where 2 are left");
    EXPECT_EQ(sum, 3);
}

TEST(ChunkReader, ValuesAreChecked) {
    EXPECT_EQ(ErrorOf("\x02", [](ChunkReader& r) { EXPECT_FALSE(r.Read<bool>()); }),
              "g: 0x310 at byte 40: 2 stands for neither true nor false");
    EXPECT_EQ(ErrorOf(RawText("a\xC0\x80"), [](ChunkReader& r) { EXPECT_EQ(r.ReadText(), ""); }),
              "g: 0x310 at byte 48: the text is not UTF-8");
    EXPECT_EQ(ErrorOf("abc", [](ChunkReader& r) { EXPECT_FALSE(r.OpenChunk()); }),
              "g: 0x310 at byte 40: values stand where chunks are expected");
    EXPECT_EQ(ErrorOf("abc", [](ChunkReader& r) { r.Fail("no such kind of node"); }),
              "g: 0x310 at byte 40: no such kind of node");
    Opened file(RawFile(GroupChunk(1, ValueChunk(2, "abcd"))));
    ASSERT_TRUE(file.reader.OpenChunk());
    EXPECT_TRUE(file.reader.HoldsChunks());
    EXPECT_EQ(file.reader.Read<int>(), 0);
    EXPECT_EQ(file.reader.Error(), "g: 0x1 at byte 40: chunks stand where values are expected");
}

TEST(ChunkReader, CountsAreCheckedBeforeMemoryIsTaken) {
    auto readArray = [](ChunkReader& r) {
        std::vector<double> array{1};
        r.ReadArray(&array);
        EXPECT_TRUE(array.empty());
    };
    // The last one times eight is four in 64 bits.
    for (auto [count, text] : {std::pair{uint64_t{1} << 62, "4611686018427387904"},
                               {~uint64_t{0}, "18446744073709551615"},
                               {(uint64_t{1} << 61) + 1, "2305843009213693953"}})
        EXPECT_EQ(ErrorOf(Little(count, 8) + "12345678", readArray),
                  std::string("g: 0x310 at byte 48: ") + text +
                      " elements of 8 bytes are claimed where 8 bytes are left");
    EXPECT_EQ(ErrorOf(Little(uint64_t{5} << 30, 8), [](ChunkReader& r) { r.ReadText(); }),
              "g: 0x310 at byte 48: 5368709120 elements of 1 bytes are claimed where 0 bytes are "
              "left");
}

TEST(ChunkReader, AFailedReaderGivesNothingMore) {
    Opened file(RawFile(ValueChunk(1, "abcd") + ValueChunk(2, "abcd")));
    ChunkReader& reader = file.reader;
    ASSERT_TRUE(reader.OpenChunk());
    reader.Fail("first");
    char bytes[] = "xy";
    std::vector<char> array{'x'};
    reader.ReadBytes(bytes, 2);
    reader.ReadArray(&array);
    EXPECT_EQ(bytes[0] + bytes[1], 0);
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(reader.ReadBytesUpTo(bytes, 2), 0u);
    EXPECT_EQ(reader.Read<int>(), 0);
    EXPECT_EQ(reader.ReadText(), "");
    EXPECT_EQ(reader.KeepChunk(), KeptChunk{});
    EXPECT_EQ(reader.Remaining(), 0u);
    reader.CloseChunk();
    EXPECT_FALSE(reader.OpenChunk());
    reader.Fail("second");
    EXPECT_FALSE(reader.Finish());
    EXPECT_EQ(reader.Error(), "g: 0x1 at byte 40: first");
}

TEST(ChunkReader, NeverOpenedIsAFailure) {
    ChunkReader reader;
    EXPECT_FALSE(reader.OpenChunk());
    EXPECT_EQ(reader.Read<int>(), 0);
    EXPECT_FALSE(reader.Finish());
    EXPECT_EQ(reader.Error(), "nothing is open to be read");
}

TEST(ChunkReader, KeptChunksAreWrittenByteForByte) {
    std::string unknown =
        RawChunk(0xFFFFFFFF, 65535, 1, RawChunk(7, 3, 1, "") + ValueChunk(8, "abc"));
    Opened file(RawFile(GroupChunk(1, ValueChunk(2, "mine") + unknown) + RawChunk(5, 0, 1, "")));
    ChunkReader& reader = file.reader;
    std::vector<KeptChunk> kept;
    reader.ForEachChunk([&](uint32_t id) {
        if (id == 5) return kept.push_back(reader.KeepChunk());
        reader.ForEachChunk([&](uint32_t inner) {
            if (inner != 2) kept.push_back(reader.KeepChunk());
        });
    });
    ASSERT_TRUE(reader.Finish()) << reader.Error();
    ASSERT_EQ(kept.size(), 2u);
    ChunkWriter writer;
    writer.OpenMemory(kGardenFile);
    writer.BeginChunk(1);
    writer.BeginChunk(2);
    writer.WriteBytes("mine");
    writer.EndChunk();
    writer.WriteKept(kept[0]);
    writer.EndChunk();
    writer.WriteKept(kept[1]);
    std::string error;
    EXPECT_EQ(writer.TakeBytes(&error), file.bytes);
}

TEST(ChunkReader, KeepsAChunkThatIsHalfRead) {
    Opened file(RawFile(RawChunk(5, 2, 0, "abcdef")));
    ASSERT_TRUE(file.reader.OpenChunk());
    EXPECT_EQ(file.reader.Read<uint8_t>(), 'a');
    EXPECT_EQ(file.reader.KeepChunk(), (KeptChunk{5, 2, false, "abcdef"}));
    file.reader.CloseChunk();
    EXPECT_TRUE(file.reader.Finish());
}

TEST(ChunkReader, OlderFilesAreRead) {
    Opened file(RawFile("", 1));
    EXPECT_EQ(file.reader.FileVersion(), 1u);
    EXPECT_FALSE(file.reader.OpenChunk());
    EXPECT_TRUE(file.reader.Finish()) << file.reader.Error();
}

TEST(ChunkReader, FilesOfOtherKindsAreRefused) {
    auto error = [](const std::string& bytes) { return Opened(bytes).reader.Error(); };
    std::string file = RawFile("");
    EXPECT_EQ(error(""), "g: is not a garden file");
    EXPECT_EQ(error("{\"nodes\": []}"), "g: is not a garden file");
    EXPECT_EQ(error(Replaced(file, 3, 2, "\n")), "g: is not a garden file");
    EXPECT_EQ(error(Replaced(file, 8, 1, "H")), "g: is not a garden file");
    EXPECT_EQ(error(RawFile("", 4)),
              "g: a newer program wrote this garden file: version 4, where this program reads up "
              "to 3; open it with a newer program");
    EXPECT_EQ(error(file + "x"), "g: the file is damaged: it has 25 bytes where 24 were written");
}

TEST(ChunkReader, ReadsFiles) {
    TempFolder folder;
    std::string path = folder.Write("a", RawFile(ValueChunk(1, Little(42, 4))));
    ChunkReader reader;
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(reader.OpenFile(path, kGardenFile)) << reader.Error();
        ASSERT_TRUE(reader.OpenChunk());
        EXPECT_EQ(reader.Read<int>(), 42);
        EXPECT_TRUE(reader.Finish()) << reader.Error();
    }
    EXPECT_FALSE(reader.OpenFile(folder.File("none"), kGardenFile));
    EXPECT_NE(reader.Error().find("none"), std::string::npos);
    EXPECT_FALSE(reader.OpenFile("/dev/zero", kGardenFile));
}

TEST(ChunkReader, FilesThatOthersCutAreNotBelieved) {
    TempFolder folder;
    std::string path = folder.Write("a", RawFile(ValueChunk(1, std::string(100000, '\0'))));
    ChunkReader reader;
    ASSERT_TRUE(reader.OpenFile(path, kGardenFile)) << reader.Error();
    std::filesystem::resize_file(path, 5000);
    std::vector<char> bytes(100000, 'x');
    ASSERT_TRUE(reader.OpenChunk());
    reader.ReadBytes(bytes.data(), bytes.size());
    EXPECT_FALSE(reader.Finish());
    EXPECT_EQ(reader.Error(), path + ": the file became shorter while it was read");
}

}  // namespace

// Damaged files end in an error or in other values, never in anything worse; a file that is cut
// anywhere ends in an error.
#include <gtest/gtest.h>

#include "host/chunks/chunk_reader.h"
#include "tests/host/chunks/chunk_bytes.h"

namespace {

// What a client of such files holds, read with every kind of value.
struct Garden {
    std::string name;
    bool isWild = false;
    std::vector<float> heights;
    std::vector<KeptChunk> unknown;
    size_t numNodes = 0;
};

void ReadNode(ChunkReader& reader, Garden* garden) {
    reader.NameChunk("node");
    reader.ForEachChunk([&](uint32_t id) {
        if (id == 1) garden->name += reader.ReadText();
        if (id == 2) reader.ReadArray(&garden->heights);
        if (id == 3) garden->isWild = reader.Read<bool>();
        if (id > 3) garden->unknown.push_back(reader.KeepChunk());
    });
    ++garden->numNodes;
}

bool ReadGarden(const std::string& bytes, Garden* garden, std::string* error) {
    ChunkReader reader;
    reader.OpenBytes(bytes, "garden", kGardenFile);
    reader.ForEachChunk(
        [&](uint32_t) { reader.ForEachChunk([&](uint32_t) { ReadNode(reader, garden); }); });
    bool good = reader.Finish();
    *error = reader.Error();
    return good;
}

std::string Heights() {
    return ValueChunk(2, Little(2, 8) + Little(0x3F800000, 4) + Little(0x40000000, 4));
}

// The file, and where the lengths and counts stand that a client looks at.
std::string MakeGarden(std::vector<size_t>* lengths = nullptr) {
    std::string first = ValueChunk(1, RawText("oak")) + Heights() + ValueChunk(3, "\x01");
    std::string second = ValueChunk(1, RawText("")) + GroupChunk(77, ValueChunk(1, "abc"));
    std::string file = RawFile(GroupChunk(1, GroupChunk(2, first) + GroupChunk(2, second)));
    // File size; the groups 1 and 2 at 24 and 40; then text (11 bytes), array (16), bool (1); the
    // second group with an empty text (8) and the group that is unknown, whose inside nobody reads.
    if (lengths) *lengths = {16, 32, 48, 64, 72, 91, 99, 123, 140, 156, 164, 180};
    return file;
}

TEST(ChunkDamage, TheWholeFileIsGood) {
    Garden garden;
    std::string error;
    std::vector<size_t> lengths;
    std::string file = MakeGarden(&lengths);
    ASSERT_TRUE(ReadGarden(file, &garden, &error)) << error;
    EXPECT_EQ(garden.name, "oak");
    EXPECT_TRUE(garden.isWild);
    EXPECT_EQ(garden.heights, (std::vector<float>{1, 2}));
    EXPECT_EQ(garden.numNodes, 2u);
    ASSERT_EQ(garden.unknown.size(), 1u);
    EXPECT_EQ(garden.unknown[0].payload, ValueChunk(1, "abc"));
    for (size_t at : lengths) EXPECT_LT(uint8_t(file[at]), 240) << at;
    for (size_t at : lengths) EXPECT_EQ(file.substr(at + 1, 7), std::string(7, '\0')) << at;
}

TEST(ChunkDamage, EveryCutIsAnError) {
    std::string file = MakeGarden();
    for (size_t size = 0; size < file.size(); ++size) {
        Garden garden;
        std::string error;
        EXPECT_FALSE(ReadGarden(file.substr(0, size), &garden, &error)) << size;
        EXPECT_EQ(error.substr(0, 8), "garden: ") << size;
        EXPECT_EQ(garden.numNodes, 0u) << size;
    }
}

// The size in the header agrees, and the lengths inside tell.
TEST(ChunkDamage, EveryCutThatTheHeaderHidesIsAnErrorInside) {
    std::string chunks = MakeGarden().substr(24);
    for (size_t size = 1; size < chunks.size(); ++size) {
        Garden garden;
        std::string error;
        EXPECT_FALSE(ReadGarden(RawFile(chunks.substr(0, size)), &garden, &error)) << size;
        EXPECT_NE(error.find("left"), std::string::npos) << error;
    }
}

TEST(ChunkDamage, EveryLengthThatIsTooLargeIsAnError) {
    std::vector<size_t> lengths;
    std::string file = MakeGarden(&lengths);
    std::vector<uint64_t> wrong{
        file.size(),  uint64_t{5} << 30, uint64_t{1} << 62,      uint64_t{1} << 63,
        ~uint64_t{0}, ~uint64_t{0} - 15, (uint64_t{1} << 62) + 2};
    for (size_t at : lengths)
        for (uint64_t length : wrong) {
            if (at == 16 && length == file.size()) continue;  // this one is right
            Garden garden;
            std::string error;
            EXPECT_FALSE(ReadGarden(Replaced(file, at, 8, Little(length, 8)), &garden, &error))
                << at << " " << length;
            EXPECT_LE(garden.heights.size(), 2u);
        }
}

// Shorter or odd ones may give other chunks, which are wrong or skipped: whatever is read lies
// within the file.
TEST(ChunkDamage, EveryOddLengthEndsWell) {
    std::vector<size_t> lengths;
    std::string file = MakeGarden(&lengths);
    size_t numBad = 0;
    for (size_t at : lengths)
        for (uint64_t length = 0; length < file.size(); ++length) {
            Garden garden;
            std::string error;
            bool good = ReadGarden(Replaced(file, at, 8, Little(length, 8)), &garden, &error);
            numBad += !good;
            EXPECT_EQ(good, error.empty());
            EXPECT_LE(garden.heights.size() * 4 + garden.name.size(), file.size());
        }
    EXPECT_GT(numBad, lengths.size() * file.size() / 2);
}

TEST(ChunkDamage, EveryWrongByteEndsWell) {
    std::string file = MakeGarden();
    for (size_t at = 0; at < file.size(); ++at)
        for (int bit = 0; bit < 8; ++bit) {
            std::string damaged = file;
            damaged[at] = char(damaged[at] ^ 1 << bit);
            Garden garden;
            std::string error;
            bool good = ReadGarden(damaged, &garden, &error);
            EXPECT_EQ(good, error.empty());
        }
}

std::string Nested(int depth, std::string inner) {
    for (int i = 0; i < depth; ++i) inner = GroupChunk(1, inner);
    return RawFile(inner);
}

size_t Deepest(ChunkReader& reader) {
    size_t deepest = 0;
    reader.ForEachChunk([&](uint32_t) { deepest = std::max(deepest, 1 + Deepest(reader)); });
    return deepest;
}

TEST(ChunkDamage, DepthIsBounded) {
    std::string good = Nested(int(kMaxChunkDepth), "");
    ChunkReader reader;
    ASSERT_TRUE(reader.OpenBytes(good, "g", kGardenFile));
    EXPECT_EQ(Deepest(reader), kMaxChunkDepth);
    EXPECT_TRUE(reader.Finish()) << reader.Error();
    for (int depth : {int(kMaxChunkDepth) + 1, 10000}) {
        std::string bad = Nested(depth, "");
        ASSERT_TRUE(reader.OpenBytes(bad, "g", kGardenFile));
        EXPECT_EQ(Deepest(reader), kMaxChunkDepth);
        EXPECT_FALSE(reader.Finish());
        EXPECT_NE(reader.Error().find("more than 64 chunks stand inside each other"),
                  std::string::npos);
    }
}

TEST(ChunkDamage, UnknownFormsAreErrors) {
    ChunkReader reader;
    std::string bytes = RawFile(RawChunk(7, 0, 2, "abc"));
    ASSERT_TRUE(reader.OpenBytes(bytes, "g", kGardenFile));
    EXPECT_FALSE(reader.OpenChunk());
    EXPECT_EQ(reader.Error(), "g: at byte 24: chunk 0x7 is of the unknown form 2");
}

}  // namespace

#include "Dravin/storage/object_chunks.h"

#include <gtest/gtest.h>

TEST(ObjectChunks, AreIdLengthAndBytes) {
    std::string bytes;
    AppendChunk(bytes, 0xa09, "ab");
    EXPECT_EQ(bytes, std::string("\x09\x0a\x02\0\0\0\0\0\0\0ab", 12));
}

TEST(ObjectChunks, AreWalkedThrough) {
    std::string bytes;
    AppendChunk(bytes, 1, "one");
    AppendChunk(bytes, 2, int32_t{-5});
    TChunkWalk chunks(bytes);
    ASSERT_TRUE(chunks.Next());
    EXPECT_EQ(chunks.Id(), 1);
    EXPECT_EQ(chunks.Payload(), "one");
    ASSERT_TRUE(chunks.Next());
    EXPECT_EQ(chunks.Value<int32_t>(), -5);
    EXPECT_FALSE(chunks.Next());
    EXPECT_FALSE(chunks.IsMalformed());
}

TEST(ObjectChunks, LiesAreFound) {
    std::string bytes;
    AppendChunk(bytes, 1, "abc");
    for (size_t size = 1; size < bytes.size(); ++size) {
        TChunkWalk chunks(std::string_view(bytes).substr(0, size));
        EXPECT_FALSE(chunks.Next());
        EXPECT_TRUE(chunks.IsMalformed()) << size;
    }
    TChunkWalk chunks(bytes);
    ASSERT_TRUE(chunks.Next());
    EXPECT_EQ(chunks.Value<int32_t>(), 0);
    EXPECT_TRUE(chunks.IsMalformed());
}

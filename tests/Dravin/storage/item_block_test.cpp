#include "Dravin/storage/item_block.h"

#include <cstring>

#include <gtest/gtest.h>

#include "Dravin/storage/object_chunks.h"

namespace {

TStoredItem SomeItem() {
    TStoredItem item;
    item.storedPosition = {1, 2, 3};
    item.seed = 0x01020304;
    item.specimenIndex = 5;
    item.sizeFactor = {2, 3, 4};
    item.sourceTransform = Matrix3::RotationZ(0.5f);
    item.elementIndex = -2;
    item.userId = 77;
    item.selected = true;
    item.discarded = item.mirrored = true;
    item.position = {4, 5, 6};
    item.width = 7, item.height = 8;
    item.scale = {9, 10, 11};
    item.tintColor = {0.25f, 0.5f, 0.75f};
    item.tintBlend = 0.125f;
    item.zOffset = 12;
    item.animationOffset = 13;
    return item;
}

template <class T>
T At(const std::string& block, size_t place) {
    T value;
    std::memcpy(&value, block.data() + place, sizeof value);
    return value;
}
template <class T>
void Set(std::string& block, size_t place, T value) {
    std::memcpy(block.data() + place, &value, sizeof value);
}

std::string BlockOf(const TStoredItem& item) {
    std::string block(kItemBlockBytes, 'x');
    WriteItemBlock(item, block.data());
    return block;
}

}  // namespace

TEST(ItemBlock, FieldsStandAtTheirPlaces) {
    std::string block = BlockOf(SomeItem());
    EXPECT_EQ(At<int32_t>(block, 0), 0);
    EXPECT_EQ(At<int32_t>(block, 4), 1);   // discarded
    EXPECT_EQ(At<int32_t>(block, 12), 5);  // row
    EXPECT_EQ(At<float>(block, 16), 1);    // stored position
    EXPECT_EQ(At<float>(block, 24), 3);
    EXPECT_EQ(At<float>(block, 28), 4);  // position
    EXPECT_EQ(At<uint32_t>(block, 40), 0x01020304u);
    EXPECT_EQ(At<float>(block, 52), 7);       // width
    EXPECT_EQ(At<float>(block, 56), 8);       // height
    EXPECT_EQ(At<float>(block, 84), 0.25f);   // tint
    EXPECT_EQ(At<float>(block, 96), 0.125f);  // its blend
    EXPECT_EQ(At<int32_t>(block, 100), 1);    // mirrored
    EXPECT_EQ(At<int32_t>(block, 180), 13);   // animation offset
    EXPECT_EQ(At<float>(block, 184), SomeItem().sourceTransform.row[0].x);
    EXPECT_EQ(At<float>(block, 236), 3);     // size factor y
    EXPECT_EQ(At<int16_t>(block, 240), -2);  // element
    EXPECT_EQ(At<int32_t>(block, 244), 77);  // user id
    for (size_t reserved = 156; reserved < 180; ++reserved) EXPECT_EQ(block[reserved], 0);
}

TEST(ItemBlock, ComesBack) {
    EXPECT_EQ(ReadItemBlock(kItemChunk, BlockOf(SomeItem())), SomeItem());
}

TEST(ItemBlock, OldestFormHasAnAngle) {
    std::string block = BlockOf(SomeItem()).substr(0, 184);
    Set(block, 72, 1.5f);
    auto item = ReadItemBlock(kItemsForm1Chunk, block);
    ASSERT_TRUE(item);
    EXPECT_EQ(item->sourceTransform, Matrix3::RotationZ(1.5f));
    EXPECT_EQ(item->sizeFactor.y, -1);
    EXPECT_EQ(item->userId, 0);
    EXPECT_EQ(item->elementIndex, 0);  // of a fresh item
    EXPECT_EQ(item->storedPosition, (Point3{1, 2, 3}));
}

TEST(ItemBlock, LaterFormsLackLess) {
    std::string block = BlockOf(SomeItem());
    auto second = ReadItemBlock(kItemsForm2Chunk, std::string_view(block).substr(0, 236));
    ASSERT_TRUE(second);
    EXPECT_EQ(second->sourceTransform, SomeItem().sourceTransform);
    EXPECT_EQ(second->sizeFactor.y, -1);
    auto third = ReadItemBlock(kItemsForm3Chunk, std::string_view(block).substr(0, 244));
    ASSERT_TRUE(third);
    EXPECT_EQ(third->sizeFactor.y, 3);
    EXPECT_EQ(third->elementIndex, -2);
    EXPECT_EQ(third->userId, 0);
}

TEST(ItemBlock, OtherSizesAreNoBlocks) {
    std::string block = BlockOf(SomeItem());
    for (uint16_t form : {kItemsForm1Chunk, kItemsForm2Chunk, kItemsForm3Chunk, kItemChunk})
        for (size_t size : {size_t(0), size_t(183), size_t(185), size_t(247)})
            EXPECT_FALSE(ReadItemBlock(form, std::string_view(block).substr(0, size)));
    EXPECT_FALSE(ReadItemBlock(kItemsForm2Chunk, std::string_view(block).substr(0, 184)));
}

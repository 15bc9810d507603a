#include "Dravin/engine/item.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Dravin/engine/item_list.h"

namespace {

TEST(DravinItem, AFreshItemHasItsDefaults) {
    TDravinItem item;
    EXPECT_EQ(item.discarded, 0);
    EXPECT_EQ(item.sizeFactor, (Point3{1, 1, 1}));
    EXPECT_EQ(item.falloffScale, (Point3{1, 1, 1}));
    EXPECT_EQ(item.externalScale, (Point3{1, 1, 1}));
    EXPECT_EQ(item.particleScale, (Point3{1, 1, 1}));
    EXPECT_EQ(item.transform, Matrix3{});
    EXPECT_EQ(item.sourceTransform, Matrix3{});
    EXPECT_EQ(item.includeDistance, 2147483648.0f);
    EXPECT_EQ(item.excludeDistance, 2147483648.0f);
    EXPECT_EQ(item.geometryEntryId, -1);
    EXPECT_EQ(item.pathPosition, 0);
    EXPECT_EQ(item.particleSpeed, Point3{});
    EXPECT_TRUE(item.elementMask.IsEmpty());
    EXPECT_TRUE(item.bounds.IsEmpty());
}

TEST(DravinItem, ResetKeepsThePathTangentOnly) {
    TDravinItem item;
    item.pathTangent = {1, 2, 3};
    item.position = {4, 5, 6};
    item.geometryEntryId = 7;
    item.elementMask = TBitArray(BitArray(3));
    item.Reset();
    EXPECT_EQ(item.pathTangent, (Point3{1, 2, 3}));
    EXPECT_EQ(item.position, Point3{});
    EXPECT_EQ(item.geometryEntryId, -1);
    EXPECT_TRUE(item.elementMask.IsEmpty());
}

TEST(DravinItem, ParticleSpeedIsZeroOnGridItemsAndTheParticlesOwnOtherwise) {
    TDravinItem item;
    const IDravinItem& read = item;
    EXPECT_EQ(*read.ParticleSpeed(), Point3{});
    item.particleSpeed = {0, 0, -3};
    EXPECT_EQ(*read.ParticleSpeed(), (Point3{0, 0, -3}));
}

TEST(DravinItem, TheOriginTransformsToThePosition) {
    TDravinItem item;
    item.fullTransform.SetTrans({1, 2, 3});
    Point3 p;
    EXPECT_TRUE(item.TransformPoint({0, 0, 0}, &p));
    EXPECT_EQ(p, (Point3{1, 2, 3}));
}

TEST(DravinItem, ElementsAreHiddenByTheMaskOfPartialItemsOnly) {
    BitArray bits(3);
    bits.Set(1);
    TDravinItem item;
    item.elementMask = TBitArray(bits);
    EXPECT_TRUE(item.IsElementVisible(1));
    item.partial = 1;
    EXPECT_TRUE(item.IsElementVisible(0));
    EXPECT_FALSE(item.IsElementVisible(1));
    EXPECT_TRUE(item.IsElementVisible(3));
}

struct RenderNodes : IItemRenderNodes, IItemRenderNode {
    float min = 0, max = 0;
    IItemRenderNode* FindRenderNode(const IDravinItem&) override { return this; }
    float TintMin() const override { return min; }
    float TintMax() const override { return max; }
    Color InstanceColor() const override { return {0, 1, 0}; }
    void* Geometry() override { return this; }
    void* Material() override { return nullptr; }
};

TEST(DravinItem, AttachingARenderNodeSetsTheTintFlagByTheTintRange) {
    RenderNodes nodes;
    TDravinItem item;
    item.tintColor = {1, 0, 0};
    Color color;
    float blend;
    item.AttachRenderNode(nodes);
    EXPECT_FALSE(item.Tint(&color, &blend));
    nodes.max = 0.0001f;
    item.AttachRenderNode(nodes);
    EXPECT_TRUE(item.Tint(&color, &blend));
    EXPECT_EQ(color, (Color{1, 0, 0}));
    EXPECT_EQ(item.InstanceColor(), (Color{0, 1, 0}));
}

TEST(BitArrayOfItems, OutOfRangeBitsReadAsFalse) {
    EXPECT_FALSE(TBitArray().Test(0));
    BitArray bits(2);
    bits.Set(1);
    TBitArray mask(bits);
    EXPECT_TRUE(mask.Test(1));
    EXPECT_FALSE(mask.Test(2));
    EXPECT_FALSE(mask.Test(-1));
    EXPECT_EQ(mask.NumBits(), 2);
}

// --- lists
// -----------------------------------------------------------------------------------------

TDravinItem NumberedItem(int i) {
    TDravinItem item;
    item.seed = uint32_t(i);
    item.position = {float(i), 0, 0};
    item.surfaceFace = i;
    return item;
}

TDravinItemList ListOf(int n, uint32_t groups = kAllGroups) {
    TDravinItemList list(groups);
    TDravinItemList::Appender appender = nullptr;
    for (int i = 0; i < n; ++i) list.Append(NumberedItem(i), appender);
    return list;
}

TEST(ItemList, ReadingPastTheEndThrows) {
    TDravinItemList list = ListOf(3);
    EXPECT_THAT([&] { list.Item(3); },
                testing::ThrowsMessage<std::out_of_range>("TVector out of bounds"));
    EXPECT_THROW(TDravinItemList().Item(0), std::out_of_range);
}

TEST(ItemList, KeepsItemsInOrderAcrossChunks) {
    TDravinItemList list = ListOf(1000);
    ASSERT_EQ(list.Count(), 1000u);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(list.Item(size_t(i)).seed, uint32_t(i));
        EXPECT_EQ(list.Item(size_t(i)).surfaceFace, i);
    }
}

TEST(ItemList, GroupsThatAreNotStoredReadAsDefaults) {
    TDravinItemList list = ListOf(10, 0);
    EXPECT_EQ(list.Item(5).surfaceFace, -1);
    EXPECT_EQ(list.Item(5).seed, 5u);
    EXPECT_LT(list.BytesPerItem(), ListOf(1).BytesPerItem());
}

TEST(ItemList, ClearingALargeListSetsTheGrowthStepTo1000) {
    TDravinItemList list = ListOf(150000, 0);
    EXPECT_EQ(list.GrowthStep(), 100u);
    list.Clear();
    EXPECT_EQ(list.GrowthStep(), 1000u);
    EXPECT_TRUE(list.IsEmpty());

    TDravinItemList small = ListOf(100000, 0);
    small.Clear();
    EXPECT_EQ(small.GrowthStep(), 100u);
}

TEST(ItemList, RemovingTheLastItemStepsBackByOne) {
    TDravinItemList list;
    TDravinItemList::Appender appender = nullptr;
    for (int i = 0; i < 5; ++i) list.Append(NumberedItem(i), appender);
    list.RemoveLast(appender);
    EXPECT_EQ(list.Count(), 4u);
    list.Append(NumberedItem(9), appender);
    EXPECT_EQ(list.Item(4).seed, 9u);
}

TEST(ItemList, SpliceKeepsTheOrderOfTheParts) {
    TDravinItemList list = ListOf(150), tail = ListOf(50);
    list.Splice(std::move(tail));
    ASSERT_EQ(list.Count(), 200u);
    EXPECT_EQ(list.Item(149).seed, 149u);
    EXPECT_EQ(list.Item(150).seed, 0u);
    EXPECT_TRUE(tail.IsEmpty());
}

TEST(ItemList, ReorderPlacesAndDrops) {
    TDravinItemList list = ListOf(300);
    std::vector<uint32_t> order;
    for (uint32_t i = 300; i-- > 100;) order.push_back(i);
    list.Reorder(order);
    ASSERT_EQ(list.Count(), 200u);
    EXPECT_EQ(list.Item(0).seed, 299u);
    EXPECT_EQ(list.Item(199).seed, 100u);
}

TEST(ItemList, ACopyIsIndependent) {
    TDravinItemList list = ListOf(500), copy(0u);
    list.SetMarker(7);
    copy.CopyFrom(list);
    list.Clear();
    ASSERT_EQ(copy.Count(), 500u);
    EXPECT_EQ(copy.Item(499).surfaceFace, 499);
    EXPECT_EQ(copy.Marker(), 7);
}

TEST(ItemList, ElementMasksTravelWithTheirItem) {
    TDravinItemList list;
    TDravinItemList::Appender appender = nullptr;
    TDravinItem item = NumberedItem(1);
    item.elementMask = TBitArray(BitArray(4));
    list.Append(NumberedItem(0), appender);
    list.Append(item, appender);
    EXPECT_TRUE(list.Item(0).elementMask.IsEmpty());
    EXPECT_EQ(list.Item(1).elementMask.NumBits(), 4);
}

TEST(ItemList, MemoryIsKeptFromBuildToBuild) {
    TDravinItemList list = ListOf(5000);
    size_t held = list.BytesHeld();
    list.Clear();
    EXPECT_EQ(list.BytesHeld(), held);
    list.Release();
    EXPECT_EQ(list.BytesHeld(), 0u);
}

}  // namespace

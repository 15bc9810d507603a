#include "Dravin/engine/item_id.h"

#include <gtest/gtest.h>

namespace {

constexpr TItemId kCell{TItemId::kMap, 0, {12, 0, 5, 0xffffffff}, 0x9f3a01bc};

TEST(ItemId, StatesTheCellAndTheSeed) {
    EXPECT_EQ(ItemIdText(kCell), "g12.0.5.-1/9f3a01bc");
    EXPECT_EQ(ItemIdText({TItemId::kSurfaceMap, 2, {1, 2, 3, 4}, 10}), "u2.1.2.3.4/0000000a");
    EXPECT_EQ(ItemIdText({TItemId::kPoint, 3, {17}, 17}), "p17.3/00000011");
    EXPECT_EQ(ItemIdText({TItemId::kEdited, 0, {8}, 0xffffffff}), "e8/ffffffff");
}

TEST(ItemId, WhatIsWrittenIsRead) {
    for (const TItemId& id :
         {kCell, TItemId{TItemId::kSurfaceMap, 65535, {1, 2, 3, 4}, 10},
          TItemId{TItemId::kPoint, 3, {0x7fffffff}, 0}, TItemId{TItemId::kEdited, 0, {0}, 1}})
        EXPECT_EQ(ParseItemId(ItemIdText(id)), id) << ItemIdText(id);
}

TEST(ItemId, NothingElseIsRead) {
    for (const char* text : {"",
                             "/",
                             "g",
                             "g1.2.3/00000000",
                             "g1.2.3.4",
                             "g1.2.3.4/",
                             "g1.2.3.4/0",
                             "g1.2.3.4.5/00000000",
                             "G1.2.3.4/00000000",
                             "g1.2.3.4/0000000A",
                             "g01.2.3.4/00000000",
                             "g+1.2.3.4/00000000",
                             "g1.2.3.4/000000001",
                             "g1.2.3.4/00000000 ",
                             " g1.2.3.4/00000000",
                             "x1/00000000",
                             "p1.65536/00000000",
                             "p1.-1/00000000",
                             "g4294967296.0.0.0/00000000",
                             "e1.2/00000000"})
        EXPECT_FALSE(ParseItemId(text)) << text;
}

TEST(ItemId, NeighboursHashApart) {
    TItemId next = kCell;
    ++next.cell[0];
    EXPECT_NE(HashOf(next), HashOf(kCell));
    next = kCell;
    next.part = 1;
    EXPECT_NE(HashOf(next), HashOf(kCell));
}

}  // namespace

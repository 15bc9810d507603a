// Items as an item list stores them: a column a group of fields that belong together, an entry an
// item.
//
// Which columns are stored is fixed when a list is prepared for a build. Columns that the settings
// cannot fill are not stored and read as their defaults. Others are not stored because they follow
// from the rest: a build knows how to work them out again (item_list.h). An item's random values
// are never stored but drawn again from its seed, and so are the coordinates of maps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>

#include "Dravin/engine/item.h"

// Columns that not every list stores, as bits of a set; all others always are.
enum ItemGroups : uint32_t {
    kGroupCell = 1,
    kGroupSurface = 2,
    kGroupFactors = 4,
    kGroupBorders = 8,
    kGroupLooks = 16,
    kGroupSource = 32,
    kGroupKept = 64,
    kGroupBirth = 128,
    kGroupNormal = 256,
    kGroupMapColor = 512,
    kGroupCenter = 1024,
    kAllGroups = 2047,
};

// The rows of an item's transform, which has no translation.
struct ItemFrame {
    Point3 x, y, z;
};

// Small things of an item, in four bytes.
struct ItemMarks {
    int16_t elementIndex = 0;
    uint8_t stateFlags = 0;
    uint8_t bits = 0;

    enum Bit : uint8_t {
        kDiscarded = 1,
        kMirrored = 2,
        kSelected = 4,
        kMarked = 8,
        kPartial = 16,
        kTinted = 32,
        kHorizontalShadow = 64,
        kVerticalShadow = 128,
    };
    bool Is(Bit bit) const { return bits & bit; }
    void Set(Bit bit, bool on) { bits = on ? bits | bit : bits & ~bit; }
};

// Entries of consecutive items, by column; null where the list does not store it.
struct TItemColumns {
    Point3* position = nullptr;
    ItemFrame* frame = nullptr;
    Point3* scale = nullptr;
    float *width = nullptr, *depth = nullptr, *height = nullptr, *zOffset = nullptr;
    int32_t* specimenIndex = nullptr;
    uint32_t* seed = nullptr;
    int32_t* sourceIndex = nullptr;
    ItemMarks* marks = nullptr;
    ItemExtents* extents = nullptr;
    ItemTint* tint = nullptr;

    ItemBirth* birth = nullptr;
    ItemNormal* normal = nullptr;
    ItemMapColor* mapColor = nullptr;
    int32_t* centerPercent = nullptr;
    ItemCell* cell = nullptr;
    ItemSurface* surface = nullptr;
    ItemFactors* factors = nullptr;
    ItemBorders* borders = nullptr;
    ItemLooks* looks = nullptr;
    ItemSource* source = nullptr;
    ItemKept* kept = nullptr;

    // Which parts of the first of these items, and of those behind it, are not drawn.
    std::map<size_t, TBitArray>* masks = nullptr;
    size_t first = 0;  // its number among the masks

    // Fields of item i that stand in columns; the others stay as they are.
    void Read(size_t i, TDravinItem* item) const;
    void Write(size_t i, const TDravinItem& item) const;
    void SetMask(size_t i, const TBitArray& mask) const { (*masks)[first + i] = mask; }
};

// Calls visit(group, column) for all columns, in the order in which they are stored; group 0:
// always.
template <class Visit>
void ForEachColumn(const Visit& visit) {
    using C = TItemColumns;
    visit(0u, &C::position);
    visit(0u, &C::frame);
    visit(0u, &C::scale);
    visit(0u, &C::width);
    visit(0u, &C::depth);
    visit(0u, &C::height);
    visit(0u, &C::zOffset);
    visit(0u, &C::specimenIndex);
    visit(0u, &C::seed);
    visit(0u, &C::sourceIndex);
    visit(0u, &C::marks);
    visit(0u, &C::extents);
    visit(0u, &C::tint);
    visit(uint32_t{kGroupBirth}, &C::birth);
    visit(uint32_t{kGroupNormal}, &C::normal);
    visit(uint32_t{kGroupMapColor}, &C::mapColor);
    visit(uint32_t{kGroupCenter}, &C::centerPercent);
    visit(uint32_t{kGroupCell}, &C::cell);
    visit(uint32_t{kGroupSurface}, &C::surface);
    visit(uint32_t{kGroupFactors}, &C::factors);
    visit(uint32_t{kGroupBorders}, &C::borders);
    visit(uint32_t{kGroupLooks}, &C::looks);
    visit(uint32_t{kGroupSource}, &C::source);
    visit(uint32_t{kGroupKept}, &C::kept);
}

// Bytes of an item in the columns of these groups.
size_t BytesOfItem(uint32_t groups);
// Bytes of the columns of `capacity` items.
size_t BytesOfColumns(uint32_t groups, size_t capacity);
// The columns of `capacity` items in that memory, which is aligned for lines of the cache.
TItemColumns ColumnsIn(std::byte* memory, uint32_t groups, size_t capacity);
// The same columns from item i on.
TItemColumns ColumnsFrom(const TItemColumns& columns, size_t i);

#include "Dravin/engine/item_columns.h"

#include <new>
#include <type_traits>

namespace {

constexpr size_t kAlignment = 64;

bool IsStored(uint32_t group, uint32_t groups) { return group == 0 || (groups & group); }

size_t Align(size_t bytes) { return (bytes + kAlignment - 1) / kAlignment * kAlignment; }

template <class T>
T EntryOf(T* TItemColumns::*);
template <class Column>
using Entry = decltype(EntryOf(Column{}));

struct MarkOfItem {
    ItemMarks::Bit bit;
    uint8_t ItemPlace::*field;
};
constexpr MarkOfItem kMarks[] = {
    {ItemMarks::kDiscarded, &ItemPlace::discarded},
    {ItemMarks::kMirrored, &ItemPlace::mirrored},
    {ItemMarks::kSelected, &ItemPlace::selected},
    {ItemMarks::kMarked, &ItemPlace::marked},
    {ItemMarks::kPartial, &ItemPlace::partial},
    {ItemMarks::kTinted, &ItemPlace::tintFlag},
    {ItemMarks::kHorizontalShadow, &ItemPlace::horizontalShadow},
    {ItemMarks::kVerticalShadow, &ItemPlace::verticalShadow},
};

void ReadMarks(const ItemMarks& marks, TDravinItem& item) {
    item.elementIndex = marks.elementIndex;
    item.stateFlags = marks.stateFlags;
    for (const MarkOfItem& mark : kMarks) item.*mark.field = marks.Is(mark.bit);
}

ItemMarks MarksOf(const TDravinItem& item) {
    ItemMarks marks{item.elementIndex, item.stateFlags, 0};
    for (const MarkOfItem& mark : kMarks) marks.Set(mark.bit, item.*mark.field != 0);
    return marks;
}

// Calls transfer(column, part of the item) for the columns that hold a part as it is.
template <class Item, class Transfer>
void ForEachPart(const TItemColumns& c, Item& item, const Transfer& transfer) {
    using std::conditional_t;
    constexpr bool kIsConst = std::is_const_v<Item>;
    auto group = [&]<class G>(G* column) {
        transfer(column, static_cast<conditional_t<kIsConst, const G, G>&>(item));
    };
    transfer(c.position, item.position);
    transfer(c.scale, item.scale);
    transfer(c.width, item.width);
    transfer(c.depth, item.depth);
    transfer(c.height, item.height);
    transfer(c.zOffset, item.zOffset);
    transfer(c.specimenIndex, item.specimenIndex);
    transfer(c.seed, item.seed);
    transfer(c.sourceIndex, item.sourceIndex);
    transfer(c.centerPercent, item.centerPercent);
    group(c.extents);
    group(c.tint);
    group(c.birth);
    group(c.normal);
    group(c.mapColor);
    group(c.cell);
    group(c.surface);
    group(c.factors);
    group(c.borders);
    group(c.looks);
    group(c.source);
    group(c.kept);
}

}  // namespace

void TItemColumns::Read(size_t i, TDravinItem* item) const {
    ForEachPart(*this, *item, [i](auto* column, auto& part) {
        if (column) part = column[i];
    });
    const ItemFrame& f = frame[i];
    item->transform = {{f.x, f.y, f.z, {}}};
    ReadMarks(marks[i], *item);
    if (masks->empty()) return;
    if (auto mask = masks->find(first + i); mask != masks->end()) item->elementMask = mask->second;
}

void TItemColumns::Write(size_t i, const TDravinItem& item) const {
    ForEachPart(*this, item, [i](auto* column, const auto& part) {
        if (column) column[i] = part;
    });
    const Matrix3& m = item.transform;
    frame[i] = {m.row[0], m.row[1], m.row[2]};
    marks[i] = MarksOf(item);
    if (!item.elementMask.IsEmpty())
        SetMask(i, item.elementMask);
    else if (!masks->empty())
        masks->erase(first + i);
}

size_t BytesOfItem(uint32_t groups) {
    size_t bytes = 0;
    ForEachColumn([&](uint32_t group, auto column) {
        if (IsStored(group, groups)) bytes += sizeof(Entry<decltype(column)>);
    });
    return bytes;
}

size_t BytesOfColumns(uint32_t groups, size_t capacity) {
    size_t bytes = 0;
    ForEachColumn([&](uint32_t group, auto column) {
        if (IsStored(group, groups)) bytes += Align(sizeof(Entry<decltype(column)>) * capacity);
    });
    return bytes;
}

TItemColumns ColumnsIn(std::byte* memory, uint32_t groups, size_t capacity) {
    TItemColumns columns;
    ForEachColumn([&](uint32_t group, auto column) {
        using T = Entry<decltype(column)>;
        static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
        if (!IsStored(group, groups)) return;
        columns.*column = std::launder(reinterpret_cast<T*>(memory));
        memory += Align(sizeof(T) * capacity);
    });
    return columns;
}

TItemColumns ColumnsFrom(const TItemColumns& columns, size_t i) {
    TItemColumns from = columns;
    ForEachColumn([&](uint32_t, auto column) {
        if (from.*column) from.*column += i;
    });
    from.first += i;
    return from;
}

#include "Dravin/engine/item_list.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <stdexcept>

namespace {

constexpr size_t kFirstStep = 100;
constexpr size_t kLargeStep = 1000;
constexpr size_t kLargeList = 100000;
constexpr size_t kLargestChunk = size_t{1} << 14;
constexpr size_t kAlignment = 64;

// The groups in storage order: bit 0 for those that are always stored.
template <class Visit>
void ForEachGroup(Visit visit) {
    visit(0u, static_cast<ItemPlace*>(nullptr));
    visit(0u, static_cast<ItemExtents*>(nullptr));
    visit(0u, static_cast<ItemColors*>(nullptr));
    visit(uint32_t{kGroupCell}, static_cast<ItemCell*>(nullptr));
    visit(uint32_t{kGroupSurface}, static_cast<ItemSurface*>(nullptr));
    visit(uint32_t{kGroupFactors}, static_cast<ItemFactors*>(nullptr));
    visit(uint32_t{kGroupBorders}, static_cast<ItemBorders*>(nullptr));
    visit(uint32_t{kGroupLooks}, static_cast<ItemLooks*>(nullptr));
    visit(uint32_t{kGroupSource}, static_cast<ItemSource*>(nullptr));
    visit(uint32_t{kGroupKept}, static_cast<ItemKept*>(nullptr));
}

// Groups are copied as bytes out of and into the record; padding at the end of one would let it
// overlap its neighbour.
static_assert(sizeof(ItemPlace) == 140 && sizeof(ItemExtents) == 16 && sizeof(ItemColors) == 32 &&
              sizeof(ItemCell) == 28 && sizeof(ItemSurface) == 32 && sizeof(ItemFactors) == 36 &&
              sizeof(ItemBorders) == 32 && sizeof(ItemLooks) == 20 && sizeof(ItemSource) == 128 &&
              sizeof(ItemKept) == 24);

bool IsStored(uint32_t bit, uint32_t groups) { return bit == 0 || (groups & bit); }

size_t Align(size_t bytes) { return (bytes + kAlignment - 1) / kAlignment * kAlignment; }

}  // namespace

// Consecutive items of a block, which holds an array a stored group. Element masks are rare and
// live beside it.
struct TDravinItemList::Chunk {
    std::shared_ptr<TItemBlock> block;
    size_t first = 0;  // in the block
    size_t count = 0;
    std::map<size_t, TBitArray> masks;
    std::byte* place = nullptr;
    std::byte* extents = nullptr;
    std::byte* colors = nullptr;

    static size_t Bytes(size_t capacity, uint32_t groups) {
        size_t bytes = 0;
        ForEachGroup([&]<class G>(uint32_t bit, G*) {
            if (IsStored(bit, groups)) bytes += Align(sizeof(G) * capacity);
        });
        return bytes;
    }

    // Whether n more items fit behind the last one.
    bool HasRoom(size_t n) const {
        return first + count == block->used && block->capacity - block->used >= n;
    }
    void Grow(size_t n) { count += n, block->used += n; }

    // Calls visit(the chunk's array as bytes, tag) for the stored groups.
    template <class Visit>
    void Stored(uint32_t groups, Visit visit) const {
        std::byte* at = block->memory.Data();
        ForEachGroup([&]<class G>(uint32_t bit, G* tag) {
            if (!IsStored(bit, groups)) return;
            visit(at + first * sizeof(G), tag);
            at += Align(sizeof(G) * block->capacity);
        });
    }

    void Write(size_t i, const TDravinItem& item, uint32_t groups) {
        Stored(groups, [&]<class G>(std::byte* at, G*) {
            std::memcpy(at + i * sizeof(G), &static_cast<const G&>(item), sizeof(G));
        });
        if (!item.elementMask.IsEmpty())
            masks[i] = item.elementMask;
        else if (!masks.empty())
            masks.erase(i);
    }

    void Read(size_t i, TDravinItem* item, uint32_t groups) const {
        Stored(groups, [&]<class G>(std::byte* at, G*) {
            std::memcpy(static_cast<void*>(&static_cast<G&>(*item)), at + i * sizeof(G), sizeof(G));
        });
        if (masks.empty()) return;
        if (auto mask = masks.find(i); mask != masks.end()) item->elementMask = mask->second;
    }

    TItemColumns ColumnsAt(size_t first, uint32_t groups) const {
        TItemColumns columns;
        auto at = [&]<class G>(std::byte* array, G*& column) {
            column = std::launder(reinterpret_cast<G*>(array)) + first;
        };
        Stored(groups, [&]<class G>(std::byte* array, G*) {
            if constexpr (std::is_same_v<G, ItemPlace>) at(array, columns.place);
            if constexpr (std::is_same_v<G, ItemExtents>) at(array, columns.extents);
            if constexpr (std::is_same_v<G, ItemColors>) at(array, columns.colors);
            if constexpr (std::is_same_v<G, ItemCell>) at(array, columns.cell);
            if constexpr (std::is_same_v<G, ItemSurface>) at(array, columns.surface);
            if constexpr (std::is_same_v<G, ItemFactors>) at(array, columns.factors);
            if constexpr (std::is_same_v<G, ItemBorders>) at(array, columns.borders);
            if constexpr (std::is_same_v<G, ItemLooks>) at(array, columns.looks);
            if constexpr (std::is_same_v<G, ItemSource>) at(array, columns.source);
            if constexpr (std::is_same_v<G, ItemKept>) at(array, columns.kept);
        });
        return columns;
    }

    template <class G>
    G& At(std::byte* array, size_t i) const {
        return *std::launder(reinterpret_cast<G*>(array + i * sizeof(G)));
    }
};

TDravinItemList::TDravinItemList(uint32_t groups)
    : m_groups(groups), m_memory(std::make_shared<TItemMemory>()), m_growthStep(kFirstStep) {}
TDravinItemList::~TDravinItemList() = default;

TDravinItemList::TDravinItemList(TDravinItemList&& other) noexcept : TDravinItemList(0u) {
    *this = std::move(other);
}

TDravinItemList& TDravinItemList::operator=(TDravinItemList&& other) noexcept {
    std::swap(m_groups, other.m_groups);
    std::swap(m_complete, other.m_complete);
    std::swap(m_chunks, other.m_chunks);
    std::swap(m_open, other.m_open);
    std::swap(m_memory, other.m_memory);
    std::swap(m_growthStep, other.m_growthStep);
    std::swap(m_marker, other.m_marker);
    m_modified = true;
    other.m_modified = true;
    return *this;
}

void TDravinItemList::Prepare(uint32_t groups, ItemCompleter complete) {
    Clear();
    m_groups = groups;
    m_complete = std::move(complete);
}

void TDravinItemList::Index() const {
    if (!m_modified && !m_firstIndex.empty()) return;
    m_firstIndex.assign(1, 0);
    for (const auto& chunk : m_chunks) m_firstIndex.push_back(m_firstIndex.back() + chunk->count);
    m_modified = false;
}

size_t TDravinItemList::Count() const {
    Index();
    return m_firstIndex.back();
}

std::pair<TDravinItemList::Chunk*, size_t> TDravinItemList::Find(size_t i) const {
    Index();
    if (i >= m_firstIndex.back()) throw std::out_of_range("TVector out of bounds");
    auto next = std::upper_bound(m_firstIndex.begin(), m_firstIndex.end(), i);
    size_t c = size_t(next - m_firstIndex.begin()) - 1;
    return {m_chunks[c].get(), i - m_firstIndex[c]};
}

void TDravinItemList::ReadStored(size_t i, TDravinItem* item) const {
    auto [chunk, at] = Find(i);
    chunk->Read(at, item, m_groups);
}

TDravinItem TDravinItemList::Item(size_t i) const {
    TDravinItem item;
    ReadStored(i, &item);
    if (m_complete) m_complete(item);
    return item;
}

TItemColumns TDravinItemList::RecordsFrom(size_t i, size_t* count) const {
    auto [chunk, at] = Find(i);
    *count = chunk->count - at;
    return chunk->ColumnsAt(at, m_groups);
}

void TDravinItemList::Write(size_t i, const TDravinItem& item) {
    auto [chunk, at] = Find(i);
    chunk->Write(at, item, m_groups);
}

ItemPlace& TDravinItemList::Place(size_t i) {
    auto [chunk, at] = Find(i);
    return chunk->At<ItemPlace>(chunk->place, at);
}

const ItemPlace& TDravinItemList::Place(size_t i) const {
    return const_cast<TDravinItemList*>(this)->Place(i);
}

const ItemExtents& TDravinItemList::Extents(size_t i) const {
    auto [chunk, at] = Find(i);
    return chunk->At<ItemExtents>(chunk->extents, at);
}

const ItemColors& TDravinItemList::Colors(size_t i) const {
    auto [chunk, at] = Find(i);
    return chunk->At<ItemColors>(chunk->colors, at);
}

// A chunk at the front of the open block; a new block of that many items where n do not fit.
TDravinItemList::Chunk* TDravinItemList::AddChunk(size_t n, size_t capacity) {
    if (!m_open || m_open->capacity - m_open->used < n)
        m_open = std::make_shared<TItemBlock>(m_memory, Chunk::Bytes(capacity, m_groups), capacity);
    auto chunk = std::make_unique<Chunk>();
    chunk->block = m_open;
    chunk->first = m_open->used;
    int known = 0;
    chunk->Stored(m_groups, [&]<class G>(std::byte* at, G*) {
        std::byte** always[] = {&chunk->place, &chunk->extents, &chunk->colors};
        if (known < 3) *always[known++] = at;
    });
    m_modified = true;
    return m_chunks.emplace_back(std::move(chunk)).get();
}

// Room for n items behind those of the appender.
TDravinItemList::Chunk* TDravinItemList::Fitting(size_t n, Appender appender) {
    if (appender && appender->HasRoom(n)) return appender;
    size_t grown = m_open ? std::min(m_open->capacity * 4, kLargestChunk) : m_growthStep;
    return AddChunk(n, std::max(n, grown));
}

void TDravinItemList::Append(const TDravinItem& item, Appender& appender) {
    appender = Fitting(1, appender);
    appender->Grow(1);
    appender->Write(appender->count - 1, item, m_groups);
    SetModified();
}

TItemColumns TDravinItemList::Extend(size_t n, Appender& appender) {
    appender = Fitting(n, appender);
    size_t first = appender->count;
    TItemColumns columns = appender->ColumnsAt(first, m_groups);
    columns.masks = &appender->masks;
    columns.first = first;
    appender->Grow(n);
    SetModified();
    return columns;
}

// Tested before it is set: threads that append must not fight for its cache line.
void TDravinItemList::SetModified() {
    if (!m_modified.load(std::memory_order_relaxed))
        m_modified.store(true, std::memory_order_relaxed);
}

void TDravinItemList::RemoveLast(Appender appender) {
    assert(appender && appender->count > 0);
    assert(appender->first + appender->count == appender->block->used);
    appender->masks.erase(--appender->count);
    --appender->block->used;
    m_modified = true;
}

void TDravinItemList::Splice(TDravinItemList&& other) {
    assert(other.m_groups == m_groups);
    for (auto& chunk : other.m_chunks) m_chunks.push_back(std::move(chunk));
    other.m_chunks.clear();
    m_modified = true;
    other.m_modified = true;
}

void TDravinItemList::CopyFrom(const TDravinItemList& other) {
    if (&other == this) return;
    Prepare(other.m_groups, other.m_complete);
    m_marker = other.m_marker;
    Reserve(other.Count());
    Appender appender = m_chunks.empty() ? nullptr : m_chunks.front().get();
    for (size_t i = 0; i < other.Count(); ++i) {
        TDravinItem item;
        other.ReadStored(i, &item);
        Append(item, appender);
    }
}

TDravinItemList TDravinItemList::MakePart() const {
    TDravinItemList part(m_groups);
    part.m_complete = m_complete;
    part.m_memory = m_memory;
    part.m_growthStep = m_growthStep;
    return part;
}

std::shared_ptr<TItemBlock> TDravinItemList::Rewind() {
    m_chunks.clear();
    m_modified = true;
    if (m_open.use_count() == 1) m_open->used = 0;
    return std::move(m_open);
}

size_t TDravinItemList::BytesOfChunks() const {
    std::vector<const TItemBlock*> blocks;
    for (const auto& chunk : m_chunks) blocks.push_back(chunk->block.get());
    std::sort(blocks.begin(), blocks.end());
    blocks.erase(std::unique(blocks.begin(), blocks.end()), blocks.end());
    size_t bytes = 0;
    for (const TItemBlock* block : blocks) bytes += block->memory.Bytes();
    return bytes;
}

void TDravinItemList::TrimSpare() { m_memory->Trim(BytesOfChunks()); }

void TDravinItemList::Reorder(std::span<const uint32_t> order) {
    TDravinItemList sorted = MakePart();
    sorted.Reserve(order.size());
    Appender appender = sorted.m_chunks.empty() ? nullptr : sorted.m_chunks.front().get();
    TDravinItem item;
    for (uint32_t i : order) {
        item.elementMask.Clear();
        ReadStored(i, &item);
        sorted.Append(item, appender);
    }
    std::swap(m_chunks, sorted.m_chunks);
    m_open.reset();
    m_modified = true;
}

void TDravinItemList::Reserve(size_t n) {
    if (n > 0 && m_chunks.empty()) AddChunk(n, n);
}

void TDravinItemList::Clear() {
    if (Count() > kLargeList) m_growthStep = kLargeStep;
    m_chunks.clear();  // whose blocks give their memory back to the list's
    m_open.reset();
    m_modified = true;
}

void TDravinItemList::Release() {
    Clear();
    m_memory->Trim(0);
}

size_t TDravinItemList::BytesHeld() const { return BytesOfChunks() + m_memory->Bytes(); }

size_t TDravinItemList::BytesPerItem() const {
    size_t bytes = 0;
    ForEachGroup([&]<class G>(uint32_t bit, G*) {
        if (IsStored(bit, m_groups)) bytes += sizeof(G);
    });
    return bytes;
}

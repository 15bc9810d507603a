#include "Dravin/engine/item_list.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <stdexcept>

namespace {

constexpr size_t kFirstStep = 100;
constexpr size_t kLargeStep = 1000;
constexpr size_t kLargeList = 100000;
constexpr size_t kLargestChunk = size_t{1} << 16;
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
              sizeof(ItemCell) == 28 && sizeof(ItemSurface) == 36 && sizeof(ItemFactors) == 36 &&
              sizeof(ItemBorders) == 32 && sizeof(ItemLooks) == 20 && sizeof(ItemSource) == 128 &&
              sizeof(ItemKept) == 24);

bool IsStored(uint32_t bit, uint32_t groups) { return bit == 0 || (groups & bit); }

size_t Align(size_t bytes) { return (bytes + kAlignment - 1) / kAlignment * kAlignment; }

}  // namespace

// One block of memory, an array a stored group. Element masks are rare and live beside it.
struct TDravinItemList::Chunk {
    HugeBuffer memory;
    size_t capacity;
    size_t count = 0;
    size_t grown;  // capacity that the appender's next chunk starts from
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

    // Calls visit(group array as bytes, tag) for the stored groups.
    template <class Visit>
    void Stored(uint32_t groups, Visit visit) const {
        std::byte* at = memory.Data();
        ForEachGroup([&]<class G>(uint32_t bit, G* tag) {
            if (!IsStored(bit, groups)) return;
            visit(at, tag);
            at += Align(sizeof(G) * capacity);
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

    template <class G>
    G& At(std::byte* array, size_t i) const {
        return *std::launder(reinterpret_cast<G*>(array + i * sizeof(G)));
    }
};

TDravinItemList::TDravinItemList(uint32_t groups) : m_groups(groups), m_growthStep(kFirstStep) {}
TDravinItemList::~TDravinItemList() = default;

TDravinItemList::TDravinItemList(TDravinItemList&& other) noexcept : TDravinItemList(0u) {
    *this = std::move(other);
}

TDravinItemList& TDravinItemList::operator=(TDravinItemList&& other) noexcept {
    std::swap(m_groups, other.m_groups);
    std::swap(m_complete, other.m_complete);
    std::swap(m_chunks, other.m_chunks);
    std::swap(m_spare, other.m_spare);
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

TDravinItemList::Chunk* TDravinItemList::AddChunk(size_t capacity) {
    size_t bytes = Chunk::Bytes(capacity, m_groups);
    std::lock_guard lock(m_mutex);
    auto chunk = std::make_unique<Chunk>();
    if (!m_spare.empty() && m_spare.back().Bytes() >= bytes) {
        chunk->memory = std::move(m_spare.back());
        m_spare.pop_back();
        // A spare block may hold more than asked for; use all of it, within the limit.
        size_t fits = capacity;
        while (fits < kLargestChunk && Chunk::Bytes(fits * 2, m_groups) <= chunk->memory.Bytes())
            fits *= 2;
        capacity = fits;
    } else {
        chunk->memory = HugeBuffer(bytes);
    }
    chunk->capacity = capacity;
    chunk->grown = capacity;
    int known = 0;
    chunk->Stored(m_groups, [&]<class G>(std::byte* at, G*) {
        std::byte** always[] = {&chunk->place, &chunk->extents, &chunk->colors};
        if (known < 3) *always[known++] = at;
    });
    m_modified = true;
    return m_chunks.emplace_back(std::move(chunk)).get();
}

void TDravinItemList::Append(const TDravinItem& item, Appender& appender) {
    if (!appender || appender->count == appender->capacity) {
        size_t capacity = appender ? std::min(appender->grown * 2, kLargestChunk) : m_growthStep;
        appender = AddChunk(capacity);
    }
    appender->Write(appender->count++, item, m_groups);
    // Tested before it is set: threads that append must not fight for its cache line.
    if (!m_modified.load(std::memory_order_relaxed))
        m_modified.store(true, std::memory_order_relaxed);
}

void TDravinItemList::RemoveLast(Appender appender) {
    assert(appender && appender->count > 0);
    appender->masks.erase(--appender->count);
    m_modified = true;
}

void TDravinItemList::Splice(TDravinItemList&& other) {
    assert(other.m_groups == m_groups);
    for (auto& chunk : other.m_chunks) m_chunks.push_back(std::move(chunk));
    for (HugeBuffer& buffer : other.m_spare) m_spare.push_back(std::move(buffer));
    other.m_chunks.clear();
    other.m_spare.clear();
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

void TDravinItemList::ShareSpare(std::span<TDravinItemList> lists) {
    if (lists.empty()) return;
    for (size_t i = 0; i < m_spare.size(); ++i)
        lists[i % lists.size()].m_spare.push_back(std::move(m_spare[i]));
    m_spare.clear();
}

void TDravinItemList::Reorder(std::span<const uint32_t> order) {
    TDravinItemList sorted(m_groups);
    sorted.Reserve(order.size());
    Appender appender = sorted.m_chunks.empty() ? nullptr : sorted.m_chunks.front().get();
    TDravinItem item;
    for (uint32_t i : order) {
        item.elementMask.Clear();
        ReadStored(i, &item);
        sorted.Append(item, appender);
    }
    std::swap(m_chunks, sorted.m_chunks);
    m_modified = true;
}

void TDravinItemList::Reserve(size_t n) {
    if (n > 0 && m_chunks.empty()) AddChunk(n);
}

void TDravinItemList::Clear() {
    if (Count() > kLargeList) m_growthStep = kLargeStep;
    for (auto& chunk : m_chunks) m_spare.push_back(std::move(chunk->memory));
    m_chunks.clear();
    std::sort(m_spare.begin(), m_spare.end(),
              [](const HugeBuffer& a, const HugeBuffer& b) { return a.Bytes() < b.Bytes(); });
    m_modified = true;
}

void TDravinItemList::Release() {
    Clear();
    m_spare.clear();
}

size_t TDravinItemList::BytesHeld() const {
    size_t bytes = 0;
    for (const auto& chunk : m_chunks) bytes += chunk->memory.Bytes();
    for (const HugeBuffer& buffer : m_spare) bytes += buffer.Bytes();
    return bytes;
}

size_t TDravinItemList::BytesPerItem() const {
    size_t bytes = 0;
    ForEachGroup([&]<class G>(uint32_t bit, G*) {
        if (IsStored(bit, m_groups)) bytes += sizeof(G);
    });
    return bytes;
}

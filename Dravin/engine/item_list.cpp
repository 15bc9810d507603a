#include "Dravin/engine/item_list.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <stdexcept>

namespace {

constexpr size_t kFirstStep = 100;
constexpr size_t kLargeStep = 1000;
constexpr size_t kLargeList = 100000;
constexpr size_t kLargestBlock = size_t{4} << 20;  // bytes; a few huge pages

// Items that fill such a block.
size_t MostInBlock(uint32_t groups) {
    size_t items = kLargestBlock / BytesOfItem(groups);
    while (BytesOfColumns(groups, items) > kLargestBlock) --items;
    return items;
}

}  // namespace

// Consecutive items of a block, which holds an array a stored column. Element masks are rare and
// live beside it.
struct TDravinItemList::Chunk {
    std::shared_ptr<TItemBlock> block;
    size_t first = 0;  // in the block
    size_t count = 0;
    std::map<size_t, TBitArray> masks;
    TItemColumns columns;

    // Whether n more items fit behind the last one.
    bool HasRoom(size_t n) const {
        return first + count == block->used && block->capacity - block->used >= n;
    }
    void Grow(size_t n) { count += n, block->used += n; }
};

void TDravinItemList::CopyEntries(const Chunk& from, size_t i, Chunk& to, size_t k) {
    ForEachColumn([&](uint32_t, auto column) {
        if (to.columns.*column) (to.columns.*column)[k] = (from.columns.*column)[i];
    });
    if (from.masks.empty()) return;
    if (auto mask = from.masks.find(i); mask != from.masks.end()) to.masks[k] = mask->second;
}

TDravinItemList::TDravinItemList(uint32_t groups)
    : m_groups(groups), m_memory(std::make_shared<TItemMemory>()), m_growthStep(kFirstStep) {}
TDravinItemList::~TDravinItemList() = default;

TDravinItemList::TDravinItemList(TDravinItemList&& other) noexcept : TDravinItemList(0u) {
    *this = std::move(other);
}

TDravinItemList& TDravinItemList::operator=(TDravinItemList&& other) noexcept {
    std::swap(m_groups, other.m_groups);
    std::swap(m_completer, other.m_completer);
    std::swap(m_chunks, other.m_chunks);
    std::swap(m_open, other.m_open);
    std::swap(m_memory, other.m_memory);
    std::swap(m_growthStep, other.m_growthStep);
    std::swap(m_marker, other.m_marker);
    m_modified = true;
    other.m_modified = true;
    return *this;
}

void TDravinItemList::Prepare(uint32_t groups, ItemCompleter completer) {
    Clear();
    m_groups = groups & ~completer.derived;
    m_completer = std::move(completer);
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

size_t TDravinItemList::ChunkOf(size_t i) const {
    auto next = std::upper_bound(m_firstIndex.begin(), m_firstIndex.end(), i);
    return size_t(next - m_firstIndex.begin()) - 1;
}

std::pair<TDravinItemList::Chunk*, size_t> TDravinItemList::Find(size_t i) const {
    Index();
    if (i >= m_firstIndex.back()) throw std::out_of_range("TVector out of bounds");
    size_t c = ChunkOf(i);
    return {m_chunks[c].get(), i - m_firstIndex[c]};
}

void TDravinItemList::ReadStored(size_t i, TDravinItem* item, uint32_t groups) const {
    auto [chunk, at] = Find(i);
    chunk->columns.Read(at, item);
    if (uint32_t derived = m_completer.derived & groups) m_completer.derive(*item, derived);
}

TDravinItem TDravinItemList::Item(size_t i) const {
    TDravinItem item;
    ReadStored(i, &item);
    if (m_completer.complete) m_completer.complete(item);
    return item;
}

TItemColumns TDravinItemList::ColumnsAt(size_t i, size_t* count) const {
    auto [chunk, at] = Find(i);
    *count = chunk->count - at;
    return ColumnsFrom(chunk->columns, at);
}

void TDravinItemList::Write(size_t i, const TDravinItem& item) {
    auto [chunk, at] = Find(i);
    chunk->columns.Write(at, item);
}

const Point3& TDravinItemList::Position(size_t i) const {
    auto [chunk, at] = Find(i);
    return chunk->columns.position[at];
}

const ItemMarks& TDravinItemList::Marks(size_t i) const {
    auto [chunk, at] = Find(i);
    return chunk->columns.marks[at];
}

// A chunk at the front of the open block; a new block of that many items where n do not fit.
TDravinItemList::Chunk* TDravinItemList::AddChunk(size_t n, size_t capacity) {
    if (!m_open || m_open->capacity - m_open->used < n)
        m_open =
            std::make_shared<TItemBlock>(m_memory, BytesOfColumns(m_groups, capacity), capacity);
    auto chunk = std::make_unique<Chunk>();
    chunk->block = m_open;
    chunk->first = m_open->used;
    chunk->columns =
        ColumnsFrom(ColumnsIn(m_open->memory.Data(), m_groups, m_open->capacity), chunk->first);
    chunk->columns.first = 0;
    chunk->columns.masks = &chunk->masks;
    m_modified = true;
    return m_chunks.emplace_back(std::move(chunk)).get();
}

// Room for n items behind those of the appender.
TDravinItemList::Chunk* TDravinItemList::Fitting(size_t n, Appender appender) {
    if (appender && appender->HasRoom(n)) return appender;
    size_t grown = m_open ? std::min(m_open->capacity * 4, MostInBlock(m_groups)) : m_growthStep;
    return AddChunk(n, std::max(n, grown));
}

void TDravinItemList::Append(const TDravinItem& item, Appender& appender) {
    appender = Fitting(1, appender);
    appender->Grow(1);
    appender->columns.Write(appender->count - 1, item);
    SetModified();
}

TItemColumns TDravinItemList::Extend(size_t n, Appender& appender) {
    appender = Fitting(n, appender);
    TItemColumns columns = ColumnsFrom(appender->columns, appender->count);
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
    Prepare(other.Groups(), other.m_completer);
    m_marker = other.m_marker;
    AppendItems(
        other, [](size_t i) { return i; }, other.Count());
}

// Copies items whichOf(0) … whichOf(count - 1) of a list with the same columns into one piece.
template <class Which>
void TDravinItemList::AppendItems(const TDravinItemList& from, const Which& whichOf, size_t count) {
    Reserve(count);
    if (count == 0) return;
    Chunk& to = *m_chunks.front();
    from.Index();
    size_t c = 0;
    for (size_t k = 0; k < count; ++k) {
        size_t i = whichOf(k);
        bool within = i >= from.m_firstIndex[c] && i < from.m_firstIndex[c + 1];
        if (!within) c = from.ChunkOf(i);
        CopyEntries(*from.m_chunks[c], i - from.m_firstIndex[c], to, k);
    }
    to.Grow(count);
    SetModified();
}

TDravinItemList TDravinItemList::MakePart() const {
    TDravinItemList part(m_groups);
    part.m_completer = m_completer;
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
    sorted.AppendItems(
        *this, [&](size_t k) { return size_t{order[k]}; }, order.size());
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

size_t TDravinItemList::BytesPerItem() const { return BytesOfItem(m_groups); }

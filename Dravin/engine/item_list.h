// The items of one object: a chunked store that owns them, in columns (item_columns.h).
//
// A chunk holds up to its capacity of items; inside, every stored column is an array of its own, so
// that whoever reads items touches only what it reads. Chunks keep their memory from build to
// build. What a list does not store, it asks the build for that filled it: fields that follow from
// the stored ones, random values and coordinates of maps.
//
// Threads: tasks append to parts (MakePart), which take their memory from the same place and are
// spliced when all are done. One list serves one thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "Dravin/engine/item_columns.h"
#include "Dravin/engine/item_memory.h"

// How a list makes up for what it does not store.
struct ItemCompleter {
    uint32_t derived = 0;  // groups that `derive` fills
    // Fills those of the given groups from what is stored. Null: nothing to fill.
    std::function<void(TDravinItem&, uint32_t groups)> derive;
    // Random values, and what follows from all the rest.
    std::function<void(TDravinItem&)> complete;
};

// Random access over a list by its interface for displays.
class TCloudItemList {
public:
    virtual ~TCloudItemList() = default;
    virtual size_t Count() const = 0;
    // The item by value: records are packed inside the list.
    virtual TDravinItem CloudItem(size_t i) const = 0;
};

class TDravinItemList final : public TCloudItemList {
public:
    struct Chunk;
    // What one thread needs to append: its current chunk.
    using Appender = Chunk*;

    explicit TDravinItemList(uint32_t groups = kAllGroups);
    ~TDravinItemList() override;
    TDravinItemList(TDravinItemList&&) noexcept;
    TDravinItemList& operator=(TDravinItemList&&) noexcept;

    // Empties the list and sets the groups that the next build fills, of which those that the
    // completer derives are not stored.
    void Prepare(uint32_t groups, ItemCompleter completer);
    // Groups that items have, stored or derived.
    uint32_t Groups() const { return m_groups | m_completer.derived; }
    // Whether a group is worked out of others when an item is read.
    bool Derives(uint32_t group) const { return m_completer.derived & group; }

    size_t Count() const override;
    bool IsEmpty() const { return Count() == 0; }
    // Item i, with its random values drawn again. Throws std::out_of_range "TVector out of bounds".
    TDravinItem Item(size_t i) const;
    TDravinItem CloudItem(size_t i) const override { return Item(i); }
    // What is stored, and these groups where they are derived: cheaper where nobody reads random
    // values and what follows from them.
    void ReadStored(size_t i, TDravinItem* item, uint32_t groups = kAllGroups) const;
    // The columns from item i on that stand together, which may be read; *count: how many items.
    TItemColumns ColumnsAt(size_t i, size_t* count) const;
    // Replaces the stored part of item i.
    void Write(size_t i, const TDravinItem& item);

    const Point3& Position(size_t i) const;
    const ItemMarks& Marks(size_t i) const;

    // Appends to the appender's chunk, or to a new one when there is none or it is full.
    void Append(const TDravinItem& item, Appender& appender);
    // Adds n items at once, whose columns the caller fills.
    TItemColumns Extend(size_t n, Appender& appender);
    // Takes back the last item of the appender's own chunk, which must exist.
    void RemoveLast(Appender appender);
    // Moves the chunks of `other`, which stores the same groups, behind this list's own.
    void Splice(TDravinItemList&& other);

    // Becomes a copy of `other`: its groups, its items in their order, its marker.
    void CopyFrom(const TDravinItemList& other);
    // An empty list of the same groups for one task of a build, which takes its memory from this
    // one's and is spliced back. Thread safe.
    TDravinItemList MakePart() const;
    // The block that the next items go to, from task to task; null: none yet.
    void Open(std::shared_ptr<TItemBlock> block) { m_open = std::move(block); }
    std::shared_ptr<TItemBlock> Close() { return std::move(m_open); }
    // Empties the list. The block that Close gives, with all of its room where no items of others
    // lie in it.
    std::shared_ptr<TItemBlock> Rewind();
    // Gives memory back of which no item has need, but for what the items fill once more.
    void TrimSpare();

    // Places item order[k] at k. order: a permutation of all items, or a part of them (the others
    // are dropped).
    void Reorder(std::span<const uint32_t> order);

    // Room for n items in one piece, so that a known count does not grow step by step.
    void Reserve(size_t n);
    // Empties the list and keeps the memory. After more than 100,000 items lists grow faster.
    void Clear();
    // Empties the list and gives the memory back.
    void Release();

    // Items of the first block; later ones grow up to a limit.
    size_t GrowthStep() const { return m_growthStep; }
    bool IsModified() const { return m_modified; }
    int32_t Marker() const { return m_marker; }
    void SetMarker(int32_t marker) { m_marker = marker; }
    // Bytes held for items, spare chunks included.
    size_t BytesHeld() const;
    // Bytes of one stored item.
    size_t BytesPerItem() const;

private:
    Chunk* AddChunk(size_t n, size_t capacity);
    Chunk* Fitting(size_t n, Appender appender);
    void SetModified();
    size_t BytesOfChunks() const;
    void Index() const;
    size_t ChunkOf(size_t i) const;
    static void CopyEntries(const Chunk& from, size_t i, Chunk& to, size_t k);
    template <class Which>
    void AppendItems(const TDravinItemList& from, const Which& whichOf, size_t count);
    std::pair<Chunk*, size_t> Find(size_t i) const;

    uint32_t m_groups;
    ItemCompleter m_completer;
    std::vector<std::unique_ptr<Chunk>> m_chunks;
    std::shared_ptr<TItemMemory> m_memory;  // of earlier builds; parts share it
    std::shared_ptr<TItemBlock> m_open;     // where the next chunk goes, if it has room
    size_t m_growthStep = 100;
    int32_t m_marker = 0;

    mutable std::atomic<bool> m_modified{false};
    mutable std::vector<size_t> m_firstIndex;  // index of each chunk's first item, then the count
};

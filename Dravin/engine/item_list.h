// The items of one object: a chunked store that owns them, in columns of field groups.
//
// A chunk holds up to its capacity of items; inside, every stored group of the record (item.h) is
// an array of its own, so that a phase touches only what it reads. Which groups are stored is
// fixed when the list is prepared for a build: groups that the settings cannot fill cost nothing
// and read as their defaults, and an item's random values are never stored but drawn again from
// its seed. Chunks keep their memory from build to build.
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

#include "Dravin/engine/item.h"
#include "Dravin/engine/item_memory.h"

// Groups of the record that a list may store; ItemPlace, ItemExtents and ItemColors always are.
enum ItemGroups : uint32_t {
    kGroupCell = 1,
    kGroupSurface = 2,
    kGroupFactors = 4,
    kGroupBorders = 8,
    kGroupLooks = 16,
    kGroupSource = 32,
    kGroupKept = 64,
    kAllGroups = 127,
};

// Fills the fields of an item that the list does not store (random values, what follows from its
// place).
using ItemCompleter = std::function<void(TDravinItem&)>;

// Random access over a list by its interface for displays.
class TCloudItemList {
public:
    virtual ~TCloudItemList() = default;
    virtual size_t Count() const = 0;
    // The item by value: records are packed inside the list.
    virtual TDravinItem CloudItem(size_t i) const = 0;
};

// Records of consecutive items that wait to be filled, by group; null where the list does not store
// it.
struct TItemColumns {
    ItemPlace* place = nullptr;
    ItemExtents* extents = nullptr;
    ItemColors* colors = nullptr;
    ItemCell* cell = nullptr;
    ItemSurface* surface = nullptr;
    ItemFactors* factors = nullptr;
    ItemBorders* borders = nullptr;
    ItemLooks* looks = nullptr;
    ItemSource* source = nullptr;
    ItemKept* kept = nullptr;
    std::map<size_t, TBitArray>* masks = nullptr;
    size_t first = 0;  // in the chunk

    void SetMask(size_t i, const TBitArray& mask) const { (*masks)[first + i] = mask; }
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

    // Empties the list and sets the groups to store and the completer for the next build.
    void Prepare(uint32_t groups, ItemCompleter complete);
    uint32_t Groups() const { return m_groups; }

    size_t Count() const override;
    bool IsEmpty() const { return Count() == 0; }
    // Item i, with its random values drawn again. Throws std::out_of_range "TVector out of bounds".
    TDravinItem Item(size_t i) const;
    TDravinItem CloudItem(size_t i) const override { return Item(i); }
    // The stored part only, cheaper where nobody reads the random values.
    void ReadStored(size_t i, TDravinItem* item) const;
    // The records from item i on that stand together, which may be read; *count: how many items.
    TItemColumns RecordsFrom(size_t i, size_t* count) const;
    // Replaces the stored part of item i.
    void Write(size_t i, const TDravinItem& item);

    // Direct access to the groups that are always stored.
    ItemPlace& Place(size_t i);
    const ItemPlace& Place(size_t i) const;
    const ItemExtents& Extents(size_t i) const;
    const ItemColors& Colors(size_t i) const;

    // Appends to the appender's chunk, or to a new one when there is none or it is full.
    void Append(const TDravinItem& item, Appender& appender);
    // Adds n items at once, whose records the caller fills.
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
    std::pair<Chunk*, size_t> Find(size_t i) const;

    uint32_t m_groups;
    ItemCompleter m_complete;
    std::vector<std::unique_ptr<Chunk>> m_chunks;
    std::shared_ptr<TItemMemory> m_memory;  // of earlier builds; parts share it
    std::shared_ptr<TItemBlock> m_open;     // where the next chunk goes, if it has room
    size_t m_growthStep = 100;
    int32_t m_marker = 0;

    mutable std::atomic<bool> m_modified{false};
    mutable std::vector<size_t> m_firstIndex;  // index of each chunk's first item, then the count
};

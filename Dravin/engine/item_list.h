// The items of one object: a chunked store that owns them, in columns of field groups.
//
// A chunk holds up to its capacity of items; inside, every stored group of the record (item.h) is
// an array of its own, so that a phase touches only what it reads. Which groups are stored is
// fixed when the list is prepared for a build: groups that the settings cannot fill cost nothing
// and read as their defaults, and an item's random values are never stored but drawn again from
// its seed. Chunks keep their memory from build to build.
//
// Threads: several may append at once, each through an appender of its own; only adding a chunk
// takes the list's lock. Everything else happens when no one appends.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "Dravin/engine/item.h"
#include "host/base/huge_buffer.h"

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
    // Replaces the stored part of item i.
    void Write(size_t i, const TDravinItem& item);

    // Direct access to the groups that are always stored.
    ItemPlace& Place(size_t i);
    const ItemPlace& Place(size_t i) const;
    const ItemExtents& Extents(size_t i) const;
    const ItemColors& Colors(size_t i) const;

    // Appends to the appender's chunk, or to a new one when there is none or it is full.
    void Append(const TDravinItem& item, Appender& appender);
    // Takes back the last item of the appender's own chunk, which must exist.
    void RemoveLast(Appender appender);
    // Moves the chunks of `other`, which stores the same groups, behind this list's own.
    void Splice(TDravinItemList&& other);

    // Becomes a copy of `other`: its groups, its items in their order, its marker.
    void CopyFrom(const TDravinItemList& other);
    // Deals this list's spare memory out to the lists of a build's tasks, before they append.
    void ShareSpare(std::span<TDravinItemList> lists);

    // Places item order[k] at k. order: a permutation of all items, or a part of them (the others
    // are dropped).
    void Reorder(std::span<const uint32_t> order);

    // Room for n items in one piece, so that a known count does not grow step by step.
    void Reserve(size_t n);
    // Empties the list and keeps the memory. After more than 100,000 items lists grow faster.
    void Clear();
    // Empties the list and gives the memory back.
    void Release();

    // Capacity of the first chunk of an appender; later ones double up to a limit.
    size_t GrowthStep() const { return m_growthStep; }
    bool IsModified() const { return m_modified; }
    int32_t Marker() const { return m_marker; }
    void SetMarker(int32_t marker) { m_marker = marker; }
    // Bytes held for items, spare chunks included.
    size_t BytesHeld() const;
    // Bytes of one stored item.
    size_t BytesPerItem() const;

private:
    Chunk* AddChunk(size_t capacity);
    void Index() const;
    std::pair<Chunk*, size_t> Find(size_t i) const;

    uint32_t m_groups;
    ItemCompleter m_complete;
    std::vector<std::unique_ptr<Chunk>> m_chunks;
    std::vector<HugeBuffer> m_spare;  // memory of earlier builds, largest last
    std::mutex m_mutex;               // guards m_chunks and m_spare while threads append
    size_t m_growthStep = 100;
    int32_t m_marker = 0;

    mutable std::atomic<bool> m_modified{false};
    mutable std::vector<size_t> m_firstIndex;  // index of each chunk's first item, then the count
};

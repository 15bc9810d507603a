// The raw render table: what every source of every object is made of, in plain arrays that a
// renderer reads without calling back.
//
// An entry stands for a source that items of an object show: a node of the object's last build, in
// the order of the objects, of their rows and of the rows' nodes. It has a value for each element
// of the source's mesh (the bits of the element's first random value), and the items that show the
// source, in list order; an entry without a source or elements is zero. The table stays where it
// is; its arrays move when they grow. One thread.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

class TDravin;

struct TRawRenderItem {
    uint32_t random;  // bits of the item's random 3
    uint32_t seed;
    uint32_t index;  // in the object's list
    uint32_t reserved[2];
};
static_assert(sizeof(TRawRenderItem) == 20);

// An array that grows by half while it is small, then by steps of 64 KB; it keeps its memory when
// it is emptied.
template <class T>
struct TRawArray {
    T* data;
    uint64_t count;
    uint64_t capacity;

    // Room for n elements; what stands there is lost.
    void Resize(size_t n);
    void Free();
    static size_t Grown(size_t capacity, size_t needed);
};

struct TRawRenderEntry {
    uint32_t source;       // the low half of the source node's address; 0: none
    uint32_t numElements;  // of the source's mesh
    TRawArray<uint32_t> values;
    TRawArray<TRawRenderItem> items;
    uint8_t reserved[16];
};
static_assert(sizeof(TRawRenderEntry) == 72);

struct TRawRenderTable {
    TRawRenderEntry* entries;
    uint64_t count;
};

class TRawTable {
public:
    TRawTable() = default;
    ~TRawTable();
    TRawTable(const TRawTable&) = delete;
    TRawTable& operator=(const TRawTable&) = delete;

    // From the last builds of the objects.
    void Fill(const std::vector<std::shared_ptr<TDravin>>& objects);
    // No values and no items in any entry; the entries stay.
    void Empty();
    TRawRenderTable& Table() { return m_table; }

private:
    void Resize(size_t count);
    size_t AddSources(const TDravin& object, size_t first);

    std::vector<TRawRenderEntry> m_entries;
    TRawRenderTable m_table{};
};

#include "Dravin/render/raw_table.h"

#include <algorithm>
#include <bit>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"

namespace {

constexpr size_t kStepBytes = 64 * 1024;

}  // namespace

template <class T>
size_t TRawArray<T>::Grown(size_t capacity, size_t needed) {
    constexpr size_t kStep = kStepBytes / sizeof(T);
    size_t grown = capacity + (capacity < kStep ? capacity / 2 : kStep);
    return std::max(grown, needed);
}

template <class T>
void TRawArray<T>::Resize(size_t n) {
    if (n > capacity) {
        size_t grown = Grown(capacity, n);
        auto fresh = std::make_unique<T[]>(grown);
        Free();
        data = fresh.release();
        capacity = grown;
    }
    count = n;
}

template <class T>
void TRawArray<T>::Free() {
    delete[] data;
    *this = {};
}

template struct TRawArray<uint32_t>;
template struct TRawArray<TRawRenderItem>;

TRawTable::~TRawTable() { Resize(0); }

void TRawTable::Resize(size_t count) {
    for (size_t i = count; i < m_entries.size(); ++i) {
        m_entries[i].values.Free();
        m_entries[i].items.Free();
    }
    m_entries.resize(count, TRawRenderEntry{});
    m_table = {m_entries.data(), m_entries.size()};
}

void TRawTable::Empty() {
    for (TRawRenderEntry& entry : m_entries) {
        entry.values.count = 0;
        entry.items.count = 0;
    }
}

void TRawTable::Fill(const std::vector<std::shared_ptr<TDravin>>& objects) {
    size_t count = 0;
    for (const auto& object : objects)
        for (size_t r = 0; r < object->Build().Specimens().NumRows(); ++r)
            count += object->Build().Specimens().Row(r).nodes.size();
    Resize(count);
    size_t first = 0;
    for (const auto& object : objects) first = AddSources(*object, first);
}

// The entries of the object's sources from `first` on; what follows them.
size_t TRawTable::AddSources(const TDravin& object, size_t first) {
    const TDravinBuild& build = object.Build();
    const TSpecBuildList& specimens = build.Specimens();
    std::vector<size_t> firstOfRow;
    for (size_t r = 0; r < specimens.NumRows(); ++r) {
        firstOfRow.push_back(first);
        for (const TSpecBuildNode& node : specimens.Row(r).nodes) {
            TRawRenderEntry& entry = m_entries[first++];
            const auto& elements = node.sample->Elements().elements;
            bool shows = node.source && !elements.empty();
            entry.source =
                shows ? uint32_t(reinterpret_cast<uintptr_t>(node.source.get())) : uint32_t{0};
            entry.numElements = shows ? uint32_t(elements.size()) : 0;
            entry.values.Resize(entry.numElements);
            for (uint32_t e = 0; e < entry.numElements; ++e)
                entry.values.data[e] = std::bit_cast<uint32_t>(elements[e].random1);
            entry.items.count = 0;
        }
    }
    if (firstOfRow.empty()) return first;
    std::vector<std::vector<TRawRenderItem>> items(first - firstOfRow.front());
    for (size_t i = 0; i < build.Items().Count(); ++i) {
        TDravinItem item = build.Items().Item(i);
        size_t row = SpecimenRow(item.specimenIndex, specimens.NumRows());
        size_t numNodes = specimens.Row(row).nodes.size();
        if (item.discarded || numNodes == 0) continue;
        size_t entry = firstOfRow[row] + uint16_t(item.elementIndex) % numNodes;
        if (m_entries[entry].source == 0) continue;
        items[entry - firstOfRow.front()].push_back(
            {std::bit_cast<uint32_t>(item.random3), item.seed, uint32_t(i), {}});
    }
    for (size_t e = 0; e < items.size(); ++e) {
        TRawArray<TRawRenderItem>& out = m_entries[firstOfRow.front() + e].items;
        out.Resize(items[e].size());
        std::copy(items[e].begin(), items[e].end(), out.data);
    }
    return first;
}

// What an item is called for as long as its cell, seed and element exist.
//
// Where an item stands in its list changes with whatever else is scattered; its id follows from
// where it was born alone: the cell of the distribution map, or the number of the source point, and
// the seed, which differs from element to element. Neither the row of the geometry list nor the
// level of detail that the item shows is part of it. Items that nothing tells apart share an id:
// those of a cell that several areas include, where `randstacked` is off, and later members of a
// group at points of the same number.
//
// As text: `g12.0.5.-1/9f3a01bc` is the item of column 12 in tile 0, row 5 in tile -1 with that
// seed (eight hexadecimal digits), `u2.12.0.5.-1/…` the same on surface 2 of the list, by its own
// mapping, `p17.0/…` element 0 at point 17, `e17/…` hand-edited item 17.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct TItemId {
    enum Origin : uint8_t { kMap, kSurfaceMap, kPoint, kEdited };

    Origin origin = kMap;
    uint16_t part = 0;               // kSurfaceMap: the surface's number; kPoint: the element
    std::array<uint32_t, 4> cell{};  // column, its tile, row, its tile; else the number and zeros
    uint32_t seed = 0;

    friend bool operator==(const TItemId&, const TItemId&) = default;
};

// Spreads ids over all 64 bits.
inline uint64_t HashOf(const TItemId& id) {
    constexpr uint64_t kOdd = 0x9e3779b97f4a7c15;
    auto mix = [](uint64_t h, uint64_t word) {
        h = (h ^ word) * kOdd;
        return h ^ (h >> 32);
    };
    uint64_t h = mix(id.seed, uint64_t(id.origin) << 16 | id.part);
    h = mix(h, uint64_t(id.cell[1]) << 32 | id.cell[0]);
    return mix(h, uint64_t(id.cell[3]) << 32 | id.cell[2]);
}

std::string ItemIdText(const TItemId& id);
// None for a text that names no item: only what ItemIdText writes does.
std::optional<TItemId> ParseItemId(std::string_view text);

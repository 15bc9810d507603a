// Draws upright quads, cut out by opacity maps, into a buffer of depths.
//
// A map is asked once for each cell of a grid, as large as the first quad that shows it; quads of
// any size read the same grid by their own coordinates. Without the cache it is asked at every
// pixel. One thread.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "Dravin/shadow/texture_context.h"

struct TShadowQuad {
    int x0 = 0, x1 = 0, y0 = 0, y1 = 0;  // columns and rows, both ends included
    float z0 = 0, z1 = 0;                // depths at the top and at the bottom
    const Texmap* map = nullptr;         // null: opaque
    bool isMirrored = false;             // the map's u runs the other way
    uint32_t owner = 0;                  // code of the item

    // The same with another map and owner.
    TShadowQuad Shown(const Texmap* by, uint32_t code) const {
        TShadowQuad quad = *this;
        quad.map = by, quad.owner = code;
        return quad;
    }
};

class TQuadDrawer {
public:
    // depths: size * size, row by row, smaller is nearer. owners: as many, or none: the code of the
    // item whose quad was drawn last.
    TQuadDrawer(std::span<float> depths, std::span<uint32_t> owners, int size, bool usesCache,
                TimeValue time)
        : m_depths(depths), m_owners(owners), m_size(size), m_usesCache(usesCache), m_sc(time) {}

    // What lies beside the buffer is left out, and the map is squeezed onto what remains.
    void Draw(TShadowQuad quad);

private:
    struct Cache {
        const Texmap* map;
        int width, height;
        std::vector<uint8_t> cells;
    };
    Cache& CacheOf(const Texmap& map, int width, int height);
    bool IsVisible(const Texmap& map, Cache* cache, float u, float v);
    bool Ask(const Texmap& map, float u, float v);

    std::span<float> m_depths;
    std::span<uint32_t> m_owners;
    int m_size;
    bool m_usesCache;
    TTextureContext m_sc;
    std::vector<Cache> m_caches;
};

#include "Dravin/shadow/quad_drawer.h"

#include <algorithm>

namespace {

constexpr uint8_t kUnknown = 0xFF;
constexpr float kOpaque = 0.5f;  // from this value on

}  // namespace

TQuadDrawer::Cache& TQuadDrawer::CacheOf(const Texmap& map, int width, int height) {
    auto found = std::find_if(m_caches.begin(), m_caches.end(),
                              [&](const Cache& cache) { return cache.map == &map; });
    if (found != m_caches.end()) return *found;
    std::vector<uint8_t> cells(size_t(width) * size_t(height), kUnknown);
    return m_caches.emplace_back(Cache{&map, width, height, std::move(cells)});
}

bool TQuadDrawer::Ask(const Texmap& map, float u, float v) {
    m_sc.uvw = {u, v, 0};
    m_sc.screenX = int(u), m_sc.screenY = int(v);
    return m_sc.Mono(map) >= kOpaque;
}

bool TQuadDrawer::IsVisible(const Texmap& map, Cache* cache, float u, float v) {
    if (!cache) return Ask(map, u, v);
    int column = std::min(int(float(cache->width) * u), cache->width - 1);
    int row = std::min(int(float(cache->height) * v), cache->height - 1);
    uint8_t& cell = cache->cells[size_t(row) * size_t(cache->width) + size_t(column)];
    if (cell == kUnknown) cell = Ask(map, u, v);
    return cell != 0;
}

void TQuadDrawer::Draw(TShadowQuad quad) {
    int last = m_size - 1;
    if (quad.x1 < 0 || quad.y1 < 0 || quad.x0 > last || quad.y0 > last || quad.x0 > quad.x1 ||
        quad.y0 > quad.y1)
        return;
    quad.x0 = std::max(quad.x0, 0), quad.y0 = std::max(quad.y0, 0);
    quad.x1 = std::min(quad.x1, last), quad.y1 = std::min(quad.y1, last);
    int width = quad.x1 - quad.x0 + 1, height = quad.y1 - quad.y0 + 1;
    Cache* cache = quad.map && m_usesCache ? &CacheOf(*quad.map, width, height) : nullptr;
    float z = quad.z0, stepZ = (quad.z1 - quad.z0) / float(height);
    for (int row = 0; row < height; ++row, z += stepZ) {
        // From the pixel's own number, so that the last one is exactly 0.
        float v = float(height - 1 - row) / float(height);
        size_t line = size_t(quad.y0 + row) * size_t(m_size) + size_t(quad.x0);
        for (int column = 0; column < width; ++column) {
            float& depth = m_depths[line + size_t(column)];
            if (!(z < depth)) continue;
            int across = quad.isMirrored ? width - 1 - column : column;
            float u = float(across) / float(width);
            if (quad.map && !IsVisible(*quad.map, cache, u, v)) continue;
            depth = z;
            if (!m_owners.empty()) m_owners[line + size_t(column)] = quad.owner;
        }
    }
}

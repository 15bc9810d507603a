// A scene's texture map as the engine asks it.
#pragma once

#include <array>

#include "Dravin/engine/map_sampler.h"
#include "host/scene/texmap.h"

class TTexmapSampler : public IMapSampler {
public:
    explicit TTexmapSampler(const Texmap& map) : m_map(map) {}

    void Sample(std::span<const MapPoint> points, std::span<AColor> out) const override {
        std::array<TexPoint, kBlock> block;
        for (size_t first = 0; first < points.size(); first += kBlock) {
            size_t count = std::min(kBlock, points.size() - first);
            for (size_t i = 0; i < count; ++i)
                block[i] = {points[first + i].uvw, points[first + i].position};
            m_map.EvalColors({block.data(), count}, out.subspan(first, count));
        }
    }

private:
    static constexpr size_t kBlock = 64;
    const Texmap& m_map;
};

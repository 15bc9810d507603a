// The own numbers of many items, random 1 to 3, drawn again from their seeds in vector lanes.
//
// What draws items alone leaves out here is everything else that follows from a seed: renderers
// want these three of every item. The same bits as ItemRandoms has. One thread.
#pragma once

#include <span>
#include <vector>

#include "Dravin/engine/transforms.h"

class TItemNumbers {
public:
    // The settings outlive it.
    explicit TItemNumbers(const TTransformSettings& settings);

    // x, y, z: random 1, 2, 3 of the item with that seed. Any number of items; some hundreds at a
    // time stay in the cache. out is as long as itemSeeds.
    void Draw(std::span<const uint32_t> itemSeeds, std::span<Point3> out);

private:
    bool IsRejected(size_t lane) const;

    const TTransformSettings& m_settings;
    TTransformRanges m_ranges;
    size_t m_first, m_numSteps;  // of random 1, and up to random 3
    size_t m_stride = 0;
    std::vector<uint32_t> m_seeds, m_outputs;
};

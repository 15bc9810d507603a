// The random values of many items at once.
//
// Generators run in vector lanes (nurandom_batch.h), a lane an item; which of their outputs becomes
// which value is the order of FillRandoms. Values that no setting asks for are stepped over and not
// worked out. Serves one thread.
#pragma once

#include <span>
#include <vector>

#include "Dravin/engine/item_lanes.h"
#include "Dravin/engine/transforms.h"
#include "common/nurandom/nurandom_batch.h"

class TLaneDraws {
public:
    // rotates: rotations are wanted whatever the settings (programs read them).
    TLaneDraws(const TTransformSettings& settings, bool rotates);

    // Seeds a generator for each item (the object's seed is added) and takes all its outputs.
    void Draw(std::span<const uint32_t> itemSeeds);
    size_t Count() const { return m_count; }
    // Which of an item's draws is random 1; random 2 and 3 follow.
    static size_t FirstNumberStep(const TTransformSettings& settings) {
        return StepsOf(settings).random1;
    }

    // Values of draw i, for whoever chooses before there is a lane.
    Point3 RandomB(size_t i) const;
    Point3 RandomTranslation(size_t i) const;
    float Random4(size_t i) const;

    // Copies of the generators as they stand behind their draws.
    void TakeGenerators(TNuRandomLanes& out) const;

    // Fills the lanes' columns; lane k is draw k. Ranges are the object's, or the lanes' own
    // overrides.
    void Fill(TItemLanes& lanes) const;

private:
    // Where values stand in the row of outputs; kNotDrawn: a curve that is empty draws nothing.
    enum : uint8_t { kNotDrawn = 255 };
    struct Steps {
        uint8_t scale[3], integer, random1, rotation[3], sample, random4, count;
    };
    static Steps StepsOf(const TTransformSettings& settings);

    const uint32_t* Output(size_t step) const { return m_outputs.data() + step * m_stride; }
    float Unit(size_t step, size_t i) const;
    void MarkRejected();
    void FillScales(TItemLanes& lanes) const;
    void FillRotations(TItemLanes& lanes) const;
    void FillAgain(TItemLanes& lanes, size_t k) const;

    const TTransformSettings& m_settings;
    TTransformRanges m_ranges;
    Steps m_steps;
    bool m_rotates;
    size_t m_count = 0, m_stride = 0;
    std::vector<uint32_t> m_seeds, m_outputs, m_carry;
    std::vector<uint32_t> m_rejected;    // draws with an output that no number comes of
    std::vector<ItemRandoms> m_redrawn;  // their values, by the ranges of the object
};

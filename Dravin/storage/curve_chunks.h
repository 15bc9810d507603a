// The falloff curves of a scatter object in its chunks.
#pragma once

#include <span>

#include "Dravin/params/dravin_params.h"
#include "Dravin/storage/object_chunks.h"

struct TCurveChunk {
    uint16_t chunk;
    DravinSlot slot;
    int curve;  // of the set
};
// In the order in which they are written.
std::span<const TCurveChunk> CurveChunks();

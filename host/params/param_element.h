// What a parameter block holds of one element; for the block's own sources.
#pragma once

#include "host/params/param_block.h"

// Elements of reference types keep their target in a slot; the value beside it stays null then.
struct IParamBlock2::Element {
    ParamValue value;
    ParamTrack track;
    std::unique_ptr<Reference<ReferenceTarget>> slot;
};

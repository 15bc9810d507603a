// The tint settings of a block of parameters, wherever its class keeps them.
#pragma once

#include "Dravin/materials/tint.h"
#include "host/params/param_block.h"

struct TTintParams {
    ParamID min, max, mode, mapMode, color1, color2, map;
};

// At time t; the map is not brought there.
TTintSettings ReadTint(const IParamBlock2& block, const TTintParams& params, TimeValue t);

#include "Dravin/materials/tint_params.h"

#include "host/scene/texmap.h"

TTintSettings ReadTint(const IParamBlock2& block, const TTintParams& params, TimeValue t) {
    TTintSettings tint;
    tint.SetRange(block.GetInt(params.min, t), block.GetInt(params.max, t));
    tint.fromMap = block.GetInt(params.mode, t) != 0;
    tint.mapAsTexture = block.GetInt(params.mapMode, t) != 0;
    tint.color1 = block.GetColor(params.color1, t);
    tint.color2 = block.GetColor(params.color2, t);
    tint.map = block.GetTexmap(params.map, t);
    return tint;
}

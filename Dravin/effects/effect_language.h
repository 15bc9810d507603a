// The expression language as effects speak it: built-in functions, host functions, "dpItem", "Max".
#pragma once

#include <memory>
#include <vector>

#include "Dravin/effects/tavuvm_expr/expr_lang.h"
#include "Dravin/engine/build_input.h"
#include "Dravin/engine/effect_runner.h"

// What host functions of a running program look at.
struct TEffVMCallback {
    const TBuildInput* input = nullptr;         // null: no surfaces, no geometry
    const TGeometryChoice* geometry = nullptr;  // null: geometry 0
    // By the row of the effect parameter; null entries: missing.
    std::span<const IMapSampler* const> textures;
    std::span<const BezierCurve* const> curves;
};

// Built-in and host functions; one library, made when first asked for.
const tavuvm_expr::function_library& EffectFunctions();

// Names that every effect sees; the slots of the item's attributes and of the time.
struct TEffectNames {
    tavuvm_expr::expr_lang names{EffectFunctions()};
    size_t itemSlot = 0;  // of the first attribute (item_attributes.h)
    size_t timeSlot = 0;

    TEffectNames();
};

// The kinds of effect parameters, and the lists that hold what belongs to each.
#pragma once

#include <string>
#include <vector>

#include "Dravin/params/dravin_params.h"
#include "host/params/param_block.h"

struct TEffectKind {
    const char* word;
    int type;     // EffectParamKind
    int numType;  // EffectNumberKind, of numbers
    // The lists of value, and, of numbers, of minimum, maximum and default; -1: none.
    ParamID value, min, max, def;

    bool IsNumber() const { return type == 0; }
};
// By number.
inline constexpr TEffectKind kEffectKinds[] = {
    {"integer", 0, 0, effectParams::kEfpaintval, effectParams::kEfpaintmin,
     effectParams::kEfpaintmax, effectParams::kEfpaintdef},
    {"real", 0, 1, effectParams::kEfpafloatval, effectParams::kEfpafloatmin,
     effectParams::kEfpafloatmax, effectParams::kEfpafloatdef},
    {"unit", 0, 2, effectParams::kEfpaunitval, effectParams::kEfpaunitmin,
     effectParams::kEfpaunitmax, effectParams::kEfpaunitdef},
    {"node", 1, 0, effectParams::kEfpainode, -1, -1, -1},
    {"controller", 2, 0, effectParams::kEfpacontref, -1, -1, -1},
    {"texmap", 3, 0, effectParams::kEfpatexmap, -1, -1, -1},
    {"curve", 4, 0, effectParams::kEfpacurve, -1, -1, -1},
};
inline constexpr int kEffectKindReal = 1;

const std::vector<std::string>& EffectKindWords();
// The kind by its word, -1 for none.
int EffectKindOfWord(const std::string& word);
// The kind of a row of the parameter lists, -1 for numbers that mean none.
int EffectKindOfRow(const IParamBlock2& block, int row);

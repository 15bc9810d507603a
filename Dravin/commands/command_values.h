// What commands read from arguments of any kind, and what several of them say.
#pragma once

#include "host/params/param_assign.h"

// A finite number; false, and `out` may hold anything, where the value is none.
bool ReadNumber(const ParamInput& input, float* out);

// Why a command that asks has done nothing.
inline constexpr const char* kDeclined =
    "the answer was no, and nothing has changed; --yes answers yes";

// What commands read from arguments of any kind, and what several of them say.
#pragma once

#include <vector>

#include "host/math/point.h"
#include "host/params/param_assign.h"

// A finite number; false, and `out` may hold anything, where the value is none.
bool ReadNumber(const ParamInput& input, float* out);
// [[x, y], ...] or [[x, y, z], ...], one row at least; false, and `places` may hold anything, where
// the value is none.
bool ReadPlaces(const ParamInput& input, std::vector<Point3>* places);

// Why a command that asks has done nothing.
inline constexpr const char* kDeclined =
    "the answer was no, and nothing has changed; --yes answers yes";

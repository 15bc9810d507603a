#include "Dravin/commands/command_values.h"

#include <cmath>

bool ReadNumber(const ParamInput& input, float* out) {
    if (auto* i = std::get_if<int64_t>(&input.value)) return *out = float(*i), true;
    auto* d = std::get_if<double>(&input.value);
    if (d) *out = float(*d);
    return d && std::isfinite(*out);
}

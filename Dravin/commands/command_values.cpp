#include "Dravin/commands/command_values.h"

#include <cmath>

namespace {

bool ReadPlace(const ParamInput& input, Point3* p) {
    auto* numbers = std::get_if<ParamInput::Array>(&input.value);
    if (!numbers || (numbers->size() != 2 && numbers->size() != 3)) return false;
    for (size_t i = 0; i < numbers->size(); ++i)
        if (!ReadNumber((*numbers)[i], &(*p)[int(i)])) return false;
    return true;
}

}  // namespace

bool ReadNumber(const ParamInput& input, float* out) {
    if (auto* i = std::get_if<int64_t>(&input.value)) return *out = float(*i), true;
    auto* d = std::get_if<double>(&input.value);
    if (d) *out = float(*d);
    return d && std::isfinite(*out);
}

bool ReadPlaces(const ParamInput& input, std::vector<Point3>* places) {
    auto* rows = std::get_if<ParamInput::Array>(&input.value);
    if (!rows || rows->empty()) return false;
    for (const ParamInput& row : *rows)
        if (!ReadPlace(row, &places->emplace_back())) return false;
    return true;
}

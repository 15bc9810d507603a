// Numbers in the extensions of a glTF file.
#pragma once

#include <limits>

#include <tiny_gltf.h>

// The whole number, or `missing` for anything else and for what no int holds.
inline int GltfInt(const tinygltf::Value& value, int missing = -1) {
    if (!value.IsNumber()) return missing;
    double number = value.GetNumberAsDouble();
    constexpr double kMost = std::numeric_limits<int>::max();
    return number >= -kMost && number <= kMost ? int(number) : missing;
}

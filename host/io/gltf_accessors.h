// Numbers from a glTF file's buffers, every range checked before it is read.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tinygltf {
class Model;
}

// Elements that an accessor may have without a buffer, which are zeros but for sparse ones (morph
// targets); the input limit (host/base/input_limit.h) raises it.
uint64_t MaxPlainGltfElements();
// "67108864 elements without a buffer, at most 1048576 are read; ..."
std::string TooManyPlainGltfElements(uint64_t count);

class GltfAccessors {
public:
    explicit GltfAccessors(const tinygltf::Model& model) : m_model(model) {}

    // The first `components` numbers of each element, normalised integers as fractions; sparse
    // elements are put in their places. False with a reason in `error`.
    bool ReadFloats(int accessor, int components, std::vector<float>& out,
                    std::string* error) const;
    bool ReadIndices(int accessor, std::vector<uint32_t>& out, std::string* error) const;

private:
    const tinygltf::Model& m_model;
};

#include "host/io/gltf_accessors.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>
#include <tiny_gltf.h>

#include "host/base/input_limit.h"
#include "host/math/point.h"

namespace {

class Reader {
public:
    explicit Reader(const tinygltf::Model& model) : m_model(model) {}

    // The first `components` numbers of each element, normalised integers as fractions.
    bool ReadFloats(int accessor, int components, std::vector<float>& out, std::string* error) {
        const tinygltf::Accessor* a = Find(accessor, error);
        if (!a) return false;
        int present = tinygltf::GetNumComponentsInType(uint32_t(a->type));
        if (present < components)
            return Fail(accessor, fmt::format("{} components, expected {}", present, components),
                        error);
        return Read(accessor, *a, components, out, error);
    }
    bool ReadIndices(int accessor, std::vector<uint32_t>& out, std::string* error) {
        const tinygltf::Accessor* a = Find(accessor, error);
        if (!a) return false;
        if (a->type != TINYGLTF_TYPE_SCALAR || !IsIndexType(a->componentType))
            return Fail(accessor, "indices are no unsigned whole numbers", error);
        return Read(accessor, *a, 1, out, error);
    }

private:
    static bool Fail(int accessor, const std::string& what, std::string* error) {
        *error = fmt::format("accessor {}: {}", accessor, what);
        return false;
    }
    const tinygltf::Accessor* Find(int accessor, std::string* error) {
        if (accessor >= 0 && size_t(accessor) < m_model.accessors.size())
            return &m_model.accessors[size_t(accessor)];
        Fail(accessor, fmt::format("the file has {}", m_model.accessors.size()), error);
        return nullptr;
    }

    // Start of `count` elements of elementBytes each within a buffer view, null if they do not fit.
    const unsigned char* Elements(int viewIndex, uint64_t offset, uint64_t count,
                                  uint64_t elementBytes, uint64_t* stride) const {
        if (viewIndex < 0 || size_t(viewIndex) >= m_model.bufferViews.size()) return nullptr;
        const tinygltf::BufferView& view = m_model.bufferViews[size_t(viewIndex)];
        if (view.buffer < 0 || size_t(view.buffer) >= m_model.buffers.size()) return nullptr;
        const std::vector<unsigned char>& data = m_model.buffers[size_t(view.buffer)].data;
        if (view.byteOffset > data.size() || view.byteLength > data.size() - view.byteOffset)
            return nullptr;
        *stride = view.byteStride ? view.byteStride : elementBytes;
        if (count == 0) return data.data();
        if (offset > view.byteLength || elementBytes > view.byteLength - offset) return nullptr;
        if (count - 1 > (view.byteLength - offset - elementBytes) / *stride) return nullptr;
        return data.data() + view.byteOffset + offset;
    }

    template <class T>
    static T Load(const unsigned char* p) {
        T value;
        std::memcpy(&value, p, sizeof value);
        return value;
    }
    static float Component(const unsigned char* p, int type, bool normalized, float*) {
        auto scaled = [&](float value, float most) {
            return normalized ? std::max(value / most, -1.0f) : value;
        };
        switch (type) {
            case TINYGLTF_COMPONENT_TYPE_BYTE:
                return scaled(float(Load<int8_t>(p)), 127);
            case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
                return scaled(float(Load<uint8_t>(p)), 255);
            case TINYGLTF_COMPONENT_TYPE_SHORT:
                return scaled(float(Load<int16_t>(p)), 32767);
            case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
                return scaled(float(Load<uint16_t>(p)), 65535);
            case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
                return float(Load<uint32_t>(p));
            default:
                return Load<float>(p);
        }
    }
    static bool IsIndexType(int type) {
        return type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE ||
               type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT ||
               type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
    }
    static uint32_t Component(const unsigned char* p, int type, bool, uint32_t*) {
        switch (type) {
            case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
                return Load<uint8_t>(p);
            case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
                return Load<uint16_t>(p);
            default:
                return Load<uint32_t>(p);
        }
    }

    template <class T>
    bool Read(int index, const tinygltf::Accessor& a, int components, std::vector<T>& out,
              std::string* error) {
        int componentBytes = tinygltf::GetComponentSizeInBytes(uint32_t(a.componentType));
        bool isKnown = a.componentType == TINYGLTF_COMPONENT_TYPE_FLOAT ||
                       (a.componentType >= TINYGLTF_COMPONENT_TYPE_BYTE &&
                        a.componentType <= TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT &&
                        a.componentType != TINYGLTF_COMPONENT_TYPE_INT);
        int present = tinygltf::GetNumComponentsInType(uint32_t(a.type));
        if (!isKnown || componentBytes <= 0 || present <= 0)
            return Fail(index, "unknown component type", error);
        auto elementBytes = uint64_t(componentBytes) * uint64_t(present);
        uint64_t stride = 0;
        const unsigned char* data = nullptr;
        if (a.bufferView >= 0) {
            data = Elements(a.bufferView, a.byteOffset, a.count, elementBytes, &stride);
            if (!data)
                return Fail(index, fmt::format("{} elements do not fit its buffer", a.count),
                            error);
        } else if (a.count > MaxPlainGltfElements()) {
            return Fail(index, TooManyPlainGltfElements(a.count), error);
        }
        auto load = [&](const unsigned char* element, size_t i) {
            for (int k = 0; k < components; ++k)
                out[i * size_t(components) + size_t(k)] =
                    Component(element + k * componentBytes, a.componentType, a.normalized,
                              static_cast<T*>(nullptr));
        };
        out.assign(a.count * size_t(components), T{});
        for (size_t i = 0; data && i < a.count; ++i) load(data + i * stride, i);
        return !a.sparse.isSparse || ReadSparse(index, a, elementBytes, load, error);
    }
    // Elements that replace those of the plain list, by index.
    template <class Load>
    bool ReadSparse(int index, const tinygltf::Accessor& a, uint64_t elementBytes, Load load,
                    std::string* error) {
        auto& sparse = a.sparse;
        int type = sparse.indices.componentType;
        int indexBytes = tinygltf::GetComponentSizeInBytes(uint32_t(type));
        uint64_t indexStride = 0, stride = 0;
        bool isPlausible = sparse.count >= 0 && IsIndexType(type) &&
                           sparse.indices.byteOffset >= 0 && sparse.values.byteOffset >= 0;
        const unsigned char *indices = nullptr, *values = nullptr;
        if (isPlausible) {
            indices = Elements(sparse.indices.bufferView, uint64_t(sparse.indices.byteOffset),
                               uint64_t(sparse.count), uint64_t(indexBytes), &indexStride);
            values = Elements(sparse.values.bufferView, uint64_t(sparse.values.byteOffset),
                              uint64_t(sparse.count), elementBytes, &stride);
        }
        if (!indices || !values)
            return Fail(index, "sparse elements do not fit their buffer", error);
        for (uint64_t i = 0; i < uint64_t(sparse.count); ++i) {
            uint32_t at =
                Component(indices + i * indexStride, type, false, static_cast<uint32_t*>(nullptr));
            if (at >= a.count) return Fail(index, fmt::format("sparse index {}", at), error);
            load(values + i * stride, at);
        }
        return true;
    }

    const tinygltf::Model& m_model;
};

// What an element takes as the numbers of a mesh, at the least.
constexpr uint64_t kElementBytes = sizeof(Point3);

}  // namespace

uint64_t MaxPlainGltfElements() {
    constexpr uint64_t kUsual = 1 << 20;
    return std::max(kUsual, RaisedByInputLimit(0) / kElementBytes);
}

std::string TooManyPlainGltfElements(uint64_t count) {
    uint64_t bytes = std::min(count, kNoInputLimit / kElementBytes) * kElementBytes;
    return fmt::format("{} elements without a buffer, at most {} are read; {}", count,
                       MaxPlainGltfElements(),
                       RaiseInputLimitTo(std::max(bytes, kDefaultInputLimit + 1)));
}

bool GltfAccessors::ReadFloats(int accessor, int components, std::vector<float>& out,
                               std::string* error) const {
    return Reader(m_model).ReadFloats(accessor, components, out, error);
}

bool GltfAccessors::ReadIndices(int accessor, std::vector<uint32_t>& out,
                                std::string* error) const {
    return Reader(m_model).ReadIndices(accessor, out, error);
}

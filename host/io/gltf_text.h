// Pieces of a glTF file in the making: JSON lists and the layout of the binary buffer.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/atomic_file.h"
#include "host/io/instance_placement.h"

// The members of one JSON array, collected as text.
class JsonList {
public:
    // Number of the element that is appended.
    size_t Add(const std::string& element);
    size_t Count() const { return m_count; }
    // `,"key":[…]`, or nothing for an empty list, which the format forbids.
    std::string Member(const char* key) const;

private:
    std::string m_text;
    size_t m_count = 0;
};

std::string JsonQuoted(std::string_view text);
std::string JsonArray(std::initializer_list<float> values);
inline std::string JsonArray(const Point3& p) { return JsonArray({p.x, p.y, p.z}); }
// `"translation":…,"rotation":…,"scale":…`
std::string PlacementMembers(const InstancePlacement& p);

// The file's name as a relative reference: everything but letters, digits and -_.~ percent-encoded.
std::string GltfUri(const std::string& file);

template <class T>
std::string_view BytesOf(const std::vector<T>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

enum class GltfTarget { kNone = 0, kVertices = 34962, kIndices = 34963 };

// What the binary buffer will hold, in order: data at hand, and ranges that are filled later. Every
// view starts at a multiple of four.
class GltfBuffer {
public:
    // Number of a new buffer view of these bytes.
    size_t AddData(std::string bytes, GltfTarget target);
    size_t AddRange(uint64_t size, GltfTarget target);
    uint64_t Offset(size_t view) const { return m_offsets[view]; }
    uint64_t Size() const { return m_size; }
    const JsonList& Views() const { return m_views; }

    // Appends the whole buffer, ranges as zeros, to a file in which it starts at out.Size().
    void Write(AtomicFile& out) const;

private:
    JsonList m_views;
    std::vector<uint64_t> m_offsets;
    std::vector<std::pair<uint64_t, std::string>> m_data;
    uint64_t m_size = 0;
};

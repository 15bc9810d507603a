#include "host/io/gltf_text.h"

#include <cctype>
#include <cstring>

#include <fmt/format.h>

#include "host/io/json_text.h"

size_t JsonList::Add(const std::string& element) {
    if (m_count > 0) m_text += ",\n";
    m_text += element;
    return m_count++;
}

std::string JsonList::Member(const char* key) const {
    return m_count ? fmt::format(",\n\"{}\":[\n{}\n]", key, m_text) : std::string();
}

std::string JsonQuoted(std::string_view text) {
    std::string result;
    AppendJsonString(result, text);
    return result;
}

std::string JsonArray(std::initializer_list<float> values) {
    std::string text = "[";
    for (float f : values) {
        if (text.size() > 1) text += ',';
        AppendJsonNumber(text, f);
    }
    return text + ']';
}

std::string PlacementMembers(const InstancePlacement& p) {
    const Quat& q = p.rotation;
    return fmt::format("\"translation\":{},\"rotation\":{},\"scale\":{}", JsonArray(p.translation),
                       JsonArray({q.x, q.y, q.z, q.w}), JsonArray(p.scale));
}

std::string GltfUri(const std::string& file) {
    std::string uri;
    for (char c : file) {
        bool isPlain = std::isalnum(static_cast<unsigned char>(c)) || std::strchr("-_.~", c);
        uri += isPlain ? std::string(1, c) : fmt::format("%{:02X}", uint8_t(c));
    }
    return uri;
}

size_t GltfBuffer::AddData(std::string bytes, GltfTarget target) {
    size_t view = AddRange(bytes.size(), target);
    m_data.emplace_back(m_offsets.back(), std::move(bytes));
    return view;
}

size_t GltfBuffer::AddRange(uint64_t size, GltfTarget target) {
    m_offsets.push_back(m_size);
    std::string text =
        fmt::format("{{\"buffer\":0,\"byteOffset\":{},\"byteLength\":{}", m_size, size);
    if (target != GltfTarget::kNone) text += fmt::format(",\"target\":{}", int(target));
    m_size += (size + 3) / 4 * 4;
    return m_views.Add(text + '}');
}

void GltfBuffer::Write(AtomicFile& out) const {
    uint64_t start = out.Size();
    for (const auto& [offset, bytes] : m_data) {
        if (uint64_t gap = start + offset - out.Size()) out.Extend(gap);
        out.Write(bytes);
    }
    if (uint64_t rest = start + m_size - out.Size()) out.Extend(rest);
}

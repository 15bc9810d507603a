// Writes small glTF files for tests: arrays of numbers become accessors of one buffer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <fmt/format.h>

inline std::string Base64(const std::string& bytes) {
    const char* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k)
            group = group << 8 | (i + k < bytes.size() ? uint8_t(bytes[i + k]) : 0);
        for (size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

class GltfBuilder {
public:
    // Number of an accessor over these numbers.
    int Floats(const std::vector<float>& values, const char* type) {
        return Accessor(View(values), 5126, values.size() / Components(type), type);
    }
    int Shorts(const std::vector<uint16_t>& values, const char* type = "SCALAR") {
        return Accessor(View(values), 5123, values.size() / Components(type), type);
    }
    // Bytes as they are; `more` stands behind the view's members, with a comma before it.
    int Bytes(const std::string& bytes, const std::string& more = "") {
        size_t offset = m_bytes.size();
        m_bytes += bytes;
        m_bytes.resize((m_bytes.size() + 3) / 4 * 4);
        return Add(m_views, m_numViews,
                   fmt::format("{{\"buffer\":0,\"byteOffset\":{},\"byteLength\":{}{}}}", offset,
                               bytes.size(), more));
    }
    int Accessor(int view, int componentType, size_t count, const char* type,
                 const std::string& more = "") {
        std::string bufferView = view < 0 ? "" : fmt::format("\"bufferView\":{},", view);
        return Add(m_accessors, m_numAccessors,
                   fmt::format("{{{}\"componentType\":{},\"count\":{},\"type\":\"{}\"{}}}",
                               bufferView, componentType, count, type, more));
    }
    size_t NumBytes() const { return m_bytes.size(); }

    // The file; `rest` holds nodes, meshes and so on.
    std::string File(const std::string& rest) const {
        return fmt::format(
            R"({{"asset":{{"version":"2.0"}},{},"accessors":[{}],"bufferViews":[{}],)"
            R"("buffers":[{{"byteLength":{},"uri":"data:application/octet-stream;base64,{}"}}]}})",
            rest, m_accessors, m_views, m_bytes.size(), Base64(m_bytes));
    }

private:
    static size_t Components(const std::string& type) {
        return type == "SCALAR" ? 1
               : type == "VEC2" ? 2
               : type == "VEC3" ? 3
               : type == "VEC4" ? 4
                                : 16;
    }
    template <class T>
    int View(const std::vector<T>& values) {
        return Bytes({reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)});
    }
    static int Add(std::string& list, int& count, const std::string& element) {
        list += (count ? "," : "") + element;
        return count++;
    }

    std::string m_bytes, m_views, m_accessors;
    int m_numViews = 0, m_numAccessors = 0;
};

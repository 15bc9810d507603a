// The parts of a PLY file: what its header describes, and the numbers of its body.
#pragma once

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ply {

enum class Format { kAscii, kLittle, kBig };
enum class Type { kInt8, kUInt8, kInt16, kUInt16, kInt32, kUInt32, kFloat, kDouble };

inline constexpr size_t kTypeBytes[] = {1, 1, 2, 2, 4, 4, 4, 8};
inline constexpr int64_t kMaxListLength = 1 << 24;

inline std::optional<Type> TypeOfName(std::string_view name) {
    constexpr std::pair<std::string_view, Type> kNames[] = {
        {"char", Type::kInt8},     {"int8", Type::kInt8},     {"uchar", Type::kUInt8},
        {"uint8", Type::kUInt8},   {"short", Type::kInt16},   {"int16", Type::kInt16},
        {"ushort", Type::kUInt16}, {"uint16", Type::kUInt16}, {"int", Type::kInt32},
        {"int32", Type::kInt32},   {"uint", Type::kUInt32},   {"uint32", Type::kUInt32},
        {"float", Type::kFloat},   {"float32", Type::kFloat}, {"double", Type::kDouble},
        {"float64", Type::kDouble}};
    for (auto& [text, type] : kNames)
        if (text == name) return type;
    return std::nullopt;
}

struct PlyProperty {
    std::string name;
    Type type = Type::kFloat;
    std::optional<Type> countType;  // of a list
};

struct Element {
    std::string name;
    uint64_t count = 0;
    std::vector<PlyProperty> properties;

    // Index of the first of these properties, -1 when there is none.
    int Find(std::initializer_list<std::string_view> names) const {
        for (std::string_view wanted : names)
            for (size_t i = 0; i < properties.size(); ++i)
                if (properties[i].name == wanted) return int(i);
        return -1;
    }
    // Fewest bytes that a row can take; text needs a digit and a blank for each number.
    uint64_t LeastBytes(Format format) const {
        uint64_t bytes = 0;
        for (const PlyProperty& p : properties)
            bytes += format == Format::kAscii ? 2 : kTypeBytes[int(p.countType.value_or(p.type))];
        return bytes;
    }
};

// Takes numbers one after the other from the body, in whichever form it has.
class Body {
public:
    Body(Format format, std::string_view bytes) : m_format(format), m_rest(bytes) {}

    size_t BytesLeft() const { return m_rest.size(); }
    // Goes to the next line of a text after a row. True when that skipped something.
    bool EndRow() {
        if (m_format != Format::kAscii) return false;
        size_t end = std::min(m_rest.find('\n'), m_rest.size());
        bool skipped = m_rest.substr(0, end).find_first_not_of(" \t\r") != m_rest.npos;
        m_rest.remove_prefix(end);
        return skipped;
    }

    bool Read(Type type, double* value) {
        return m_format == Format::kAscii ? ReadText(value) : ReadBinary(type, value);
    }

private:
    bool ReadText(double* value) {
        size_t first = m_rest.find_first_not_of(" \t\r\n");
        if (first == m_rest.npos) return false;
        const char* start = m_rest.data() + first;
        const char* stop = m_rest.data() + m_rest.size();
        if (*start == '+') ++start;
        auto [end, status] = std::from_chars(start, stop, *value);
        if (status == std::errc::result_out_of_range)
            *value = 0;
        else if (status != std::errc{})
            return false;
        m_rest.remove_prefix(size_t(end - m_rest.data()));
        return true;
    }
    template <class T>
    double Load() const {
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, m_rest.data(), sizeof(T));
        bool isForeign = (m_format == Format::kBig) != (std::endian::native == std::endian::big);
        if (isForeign) std::reverse(bytes, bytes + sizeof(T));
        T value;
        std::memcpy(&value, bytes, sizeof(T));
        return double(value);
    }
    double Load(Type type) const {
        switch (type) {
            case Type::kInt8:
                return Load<int8_t>();
            case Type::kUInt8:
                return Load<uint8_t>();
            case Type::kInt16:
                return Load<int16_t>();
            case Type::kUInt16:
                return Load<uint16_t>();
            case Type::kInt32:
                return Load<int32_t>();
            case Type::kUInt32:
                return Load<uint32_t>();
            case Type::kFloat:
                return double(Load<float>());
            case Type::kDouble:
                break;
        }
        return Load<double>();
    }
    bool ReadBinary(Type type, double* value) {
        size_t bytes = kTypeBytes[int(type)];
        if (m_rest.size() < bytes) return false;
        *value = Load(type);
        m_rest.remove_prefix(bytes);
        return true;
    }

    Format m_format;
    std::string_view m_rest;
};

}  // namespace ply

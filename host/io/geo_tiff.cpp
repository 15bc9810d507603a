#include "host/io/geo_tiff.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/math/degrees.h"

namespace {

constexpr uint64_t kMaxText = 1 << 20;

// Numbers of either byte order at checked places.
class Reader {
public:
    Reader(std::string_view bytes, bool isBig) : m_bytes(bytes), m_isBig(isBig) {}

    bool Has(uint64_t offset, uint64_t count) const {
        return offset <= m_bytes.size() && count <= m_bytes.size() - offset;
    }
    // The unsigned number of `size` bytes at `offset`, 0 beyond the end.
    uint64_t Number(uint64_t offset, size_t size) const {
        if (!Has(offset, size)) return 0;
        uint64_t value = 0;
        for (size_t i = 0; i < size; ++i) {
            size_t place = m_isBig ? i : size - 1 - i;
            value = value << 8 | uint8_t(m_bytes[offset + place]);
        }
        return value;
    }
    std::string_view Text(uint64_t offset, uint64_t count) const {
        return Has(offset, count) ? m_bytes.substr(offset, count) : std::string_view{};
    }

private:
    std::string_view m_bytes;
    bool m_isBig;
};

// One entry of a directory.
struct Entry {
    uint16_t tag, type;
    uint64_t count, place;  // of the first value
};

enum Type : uint16_t { kAscii = 2, kShort = 3, kDouble = 12 };

size_t SizeOf(uint16_t type) {
    constexpr size_t kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
    return type < std::size(kSizes) ? kSizes[type] : 0;
}

// Calls visit(entry) for the entries of the first directory whose values lie within the file.
template <class Visit>
void ForEachEntry(const Reader& reader, bool isLarge, const Visit& visit) {
    size_t word = isLarge ? 8 : 4;  // bytes of an offset
    uint64_t directory = isLarge ? reader.Number(8, 8) : reader.Number(4, 4);
    size_t countSize = isLarge ? 8 : 2, entrySize = isLarge ? 20 : 12;
    uint64_t count = reader.Number(directory, countSize);
    for (uint64_t i = 0; i < count; ++i) {
        uint64_t at = directory + countSize + i * entrySize;
        if (!reader.Has(at, entrySize)) return;
        Entry entry{uint16_t(reader.Number(at, 2)), uint16_t(reader.Number(at + 2, 2)),
                    reader.Number(at + 4, word), at + 4 + word};
        size_t size = SizeOf(entry.type);
        if (size == 0 || entry.count > UINT64_MAX / size) continue;
        if (entry.count * size > word) entry.place = reader.Number(entry.place, word);
        if (reader.Has(entry.place, entry.count * size)) visit(entry);
    }
}

std::vector<double> Doubles(const Reader& reader, const Entry& entry) {
    std::vector<double> values;
    if (entry.type != kDouble) return values;
    for (uint64_t i = 0; i < entry.count; ++i)
        values.push_back(std::bit_cast<double>(reader.Number(entry.place + 8 * i, 8)));
    return values;
}

// The first N of the values, when there are so many.
template <size_t N>
std::optional<std::array<double, N>> First(const std::vector<double>& values) {
    if (values.size() < N) return std::nullopt;
    std::array<double, N> first;
    std::copy_n(values.begin(), N, first.begin());
    return first;
}

std::string_view TextOf(const Reader& reader, const Entry& entry) {
    if (entry.type != kAscii) return {};
    std::string_view text = reader.Text(entry.place, std::min(entry.count, kMaxText));
    return text.substr(0, text.find('\0'));
}

void TakeEntry(const Reader& reader, const Entry& entry, GeoTiffTags* tags) {
    switch (entry.tag) {
        case 33550:
            tags->pixelScale = First<3>(Doubles(reader, entry));
            break;
        case 33922:
            tags->tiepoint = First<6>(Doubles(reader, entry));
            break;
        case 34264:
            tags->transformation = First<16>(Doubles(reader, entry));
            break;
        case 34735:
            if (entry.type != kShort) break;
            tags->keys.clear();
            for (uint64_t i = 0; i < entry.count; ++i)
                tags->keys.push_back(uint16_t(reader.Number(entry.place + 2 * i, 2)));
            break;
        case 34736:
            tags->doubles = Doubles(reader, entry);
            break;
        case 42112: {
            std::string_view text = TextOf(reader, entry);
            for (const char* role : {"role=\"scale\"", "role=\"offset\""})
                tags->statesValueScale |= text.find(role) != std::string_view::npos;
            break;
        }
        case 42113:
            tags->noData = ParseNumber(Trim(TextOf(reader, entry)));
            break;
        default:
            break;
    }
}

// Keys and their values (OGC 19-008r4, annex B).
enum KeyId : uint16_t {
    kModelType = 1024,
    kAngularUnits = 2054,
    kLinearUnits = 3076,
    kLinearUnitSize = 3077,
    kVerticalUnits = 4099,
};
constexpr uint16_t kGeographic = 2, kUserDefined = 32767;

// Metres in a linear unit by its EPSG code.
std::optional<double> MetresOfUnit(uint16_t code) {
    switch (code) {
        case 9001:
            return 1;
        case 9002:
            return 0.3048;  // international foot
        case 9003:
            return 1200.0 / 3937;  // US survey foot
        case 9030:
            return 1852;  // nautical mile
        case 9036:
            return 1000;  // kilometre
        case 9093:
            return 1609.344;  // statute mile
        case 9096:
            return 0.9144;  // yard
        default:
            return std::nullopt;
    }
}

std::optional<double> DegreesOfUnit(uint16_t code) {
    switch (code) {
        case 9101:
            return 1 / kRadiansOfDegree;
        case 9102:
        case 9122:
            return 1;
        case 9103:
            return 1.0 / 60;
        case 9104:
            return 1.0 / 3600;
        case 9105:
            return 0.9;  // grad
        default:
            return std::nullopt;
    }
}

struct Cells {
    double x, y, middleY;  // in model units
};

std::optional<Cells> CellsOf(const GeoTiffTags& tags, int width, int height, GeoScale* scale) {
    if (tags.pixelScale && (*tags.pixelScale)[0] > 0 && (*tags.pixelScale)[1] > 0) {
        Cells cells{(*tags.pixelScale)[0], (*tags.pixelScale)[1], 0};
        if (tags.tiepoint)
            cells.middleY = (*tags.tiepoint)[4] - (height / 2.0 - (*tags.tiepoint)[1]) * cells.y;
        return cells;
    }
    if (!tags.transformation) return std::nullopt;
    const std::array<double, 16>& m = *tags.transformation;
    Cells cells{std::hypot(m[0], m[4]), std::hypot(m[1], m[5]),
                m[4] * width / 2 + m[5] * height / 2 + m[7]};
    if (!(cells.x > 0 && cells.y > 0)) return std::nullopt;
    if (m[1] != 0 || m[4] != 0)
        scale->warnings.push_back("the file turns its image; the terrain lies along the axes");
    else if (m[0] < 0 || m[5] > 0)
        scale->warnings.push_back(
            "the file mirrors its image; its bottom row lies at the lowest y all the same");
    return cells;
}

}  // namespace

std::optional<uint16_t> GeoTiffTags::Key(uint16_t id) const {
    for (size_t i = 4; i + 3 < keys.size(); i += 4)
        if (keys[i] == id && keys[i + 1] == 0) return keys[i + 3];
    return std::nullopt;
}

std::optional<double> GeoTiffTags::DoubleKey(uint16_t id) const {
    for (size_t i = 4; i + 3 < keys.size(); i += 4)
        if (keys[i] == id && keys[i + 1] == 34736 && keys[i + 3] < doubles.size())
            return doubles[keys[i + 3]];
    return std::nullopt;
}

GeoTiffTags ReadGeoTiffTags(std::string_view bytes) {
    GeoTiffTags tags;
    if (bytes.size() < 8) return tags;
    bool isBig = bytes.starts_with("MM");
    Reader reader(bytes, isBig);
    uint64_t version = reader.Number(2, 2);
    if ((!isBig && !bytes.starts_with("II")) || (version != 42 && version != 43)) return tags;
    ForEachEntry(reader, version == 43,
                 [&](const Entry& entry) { TakeEntry(reader, entry, &tags); });
    return tags;
}

DegreeLengths MetresPerDegree(double latitudeDegrees) {
    constexpr double kMajor = 6378137, kFlattening = 1 / 298.257223563;
    constexpr double kSquare = kFlattening * (2 - kFlattening);  // of the eccentricity
    double sine = std::sin(latitudeDegrees * kRadiansOfDegree);
    double w = std::sqrt(1 - kSquare * sine * sine);
    double x = kMajor / w * std::cos(latitudeDegrees * kRadiansOfDegree);
    return {x * kRadiansOfDegree, kMajor * (1 - kSquare) / (w * w * w) * kRadiansOfDegree};
}

void ScaleDegrees(double degreesX, double degreesY, double latitude, GeoScale* scale) {
    if (!(std::abs(latitude) < 90)) latitude = 0;
    DegreeLengths metres = MetresPerDegree(latitude);
    scale->cellX = degreesX * metres.x, scale->cellY = degreesY * metres.y;
    scale->warnings.push_back(fmt::format(
        "the file's cells are {:.6g} x {:.6g} degrees, taken as {:.4g} x {:.4g} m, their size at "
        "latitude {:.2f}; give \"size\" for another projection",
        degreesX, degreesY, scale->cellX, scale->cellY, latitude));
}

GeoScale ScaleOf(const GeoTiffTags& tags, int width, int height) {
    GeoScale scale;
    auto metres = [&](uint16_t key, const char* what) {
        std::optional<uint16_t> code = tags.Key(key);
        if (!code) return 1.0;
        std::optional<double> size = MetresOfUnit(*code);
        if (!size && *code == kUserDefined && key == kLinearUnits)
            size = tags.DoubleKey(kLinearUnitSize);
        if (!size || !(*size > 0) || !std::isfinite(*size)) {
            scale.warnings.push_back(
                fmt::format("the unit {} of the file's {} is not known; they are taken as metres",
                            *code, what));
            return 1.0;
        }
        return *size;
    };
    scale.metresPerValue = metres(kVerticalUnits, "heights");
    if (tags.statesValueScale)
        scale.warnings.push_back(
            "the file states a scale or an offset of its values, which is not applied; give "
            "\"height_range\"");
    std::optional<Cells> cells = CellsOf(tags, width, height, &scale);
    if (!cells || !std::isfinite(cells->x) || !std::isfinite(cells->y)) return scale;
    if (tags.Key(kModelType) == kGeographic) {
        double degrees = DegreesOfUnit(tags.Key(kAngularUnits).value_or(9102)).value_or(1);
        ScaleDegrees(cells->x * degrees, cells->y * degrees, cells->middleY * degrees, &scale);
        return scale;
    }
    double unit = metres(kLinearUnits, "cells");
    scale.cellX = cells->x * unit, scale.cellY = cells->y * unit;
    return scale;
}

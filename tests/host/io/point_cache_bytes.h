// Point caches as bytes.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

inline void AppendNumber(std::string& bytes, uint32_t bits, bool isBigEndian) {
    for (int i = 0; i < 4; ++i) bytes += char(bits >> 8 * (isBigEndian ? 3 - i : i));
}
inline void AppendFloats(std::string& bytes, const std::vector<float>& values, bool isBigEndian) {
    for (float f : values) AppendNumber(bytes, std::bit_cast<uint32_t>(f), isBigEndian);
}

inline std::string Pc2Bytes(int numPoints, float start, float step, int numSamples,
                            const std::vector<float>& coordinates, int version = 1) {
    std::string bytes("POINTCACHE2\0", 12);
    AppendNumber(bytes, uint32_t(version), false);
    AppendNumber(bytes, uint32_t(numPoints), false);
    AppendFloats(bytes, {start, step}, false);
    AppendNumber(bytes, uint32_t(numSamples), false);
    AppendFloats(bytes, coordinates, false);
    return bytes;
}

inline std::string MddBytes(int numPoints, const std::vector<float>& seconds,
                            const std::vector<float>& coordinates) {
    std::string bytes;
    AppendNumber(bytes, uint32_t(seconds.size()), true);
    AppendNumber(bytes, uint32_t(numPoints), true);
    AppendFloats(bytes, seconds, true);
    AppendFloats(bytes, coordinates, true);
    return bytes;
}

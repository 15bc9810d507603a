// Images in memory, in the depth in which they were stored.
//
// width x height pixels of 1 to 4 channels (grey; grey and alpha; red, green, blue; the same and
// alpha), interleaved, top row first. Values are what the file holds: no gamma is applied anywhere.
// Integer channels stand for value / (2^bits - 1). Plain data, immutable once shared.
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>
#include <variant>
#include <vector>

#include "host/math/color.h"

class Bitmap {
public:
    using Data = std::variant<std::vector<uint8_t>, std::vector<uint16_t>, std::vector<float>>;

    Bitmap() = default;
    // data: width * height * channels values.
    Bitmap(int width, int height, int channels, Data data)
        : m_width(width), m_height(height), m_channels(channels), m_data(std::move(data)) {
        assert(channels >= 1 && channels <= 4);
        assert(std::visit([](auto& v) { return v.size(); }, m_data) ==
               size_t(width) * size_t(height) * size_t(channels));
    }

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    int Channels() const { return m_channels; }
    bool IsEmpty() const { return m_width == 0 || m_height == 0; }
    bool HasAlpha() const { return m_channels == 2 || m_channels == 4; }
    const Data& Values() const { return m_data; }
    size_t BytesHeld() const {
        return std::visit([](auto& v) { return v.size() * sizeof(v[0]); }, m_data);
    }

    // Pixel at column x and row y from the bottom; grey is spread to all three colours, missing
    // alpha is 1.
    AColor Pixel(int x, int y) const {
        return std::visit([&](auto& v) { return Spread(&v[Index(x, y)]); }, m_data);
    }
    // The same as 16-bit numbers: 8-bit values times 257, floats clamped to [0, 1] and rounded.
    std::array<uint16_t, 4> Pixel16(int x, int y) const {
        return std::visit(
            [&](auto& v) {
                auto* p = &v[Index(x, y)];
                bool isGrey = m_channels < 3;
                return std::array<uint16_t, 4>{
                    To16(p[0]), To16(p[isGrey ? 0 : 1]), To16(p[isGrey ? 0 : 2]),
                    HasAlpha() ? To16(p[m_channels - 1]) : uint16_t{65535}};
            },
            m_data);
    }

private:
    static float ToFloat(uint8_t v) { return float(v) / 255.0f; }
    static float ToFloat(uint16_t v) { return float(v) / 65535.0f; }
    static float ToFloat(float v) { return v; }
    static uint16_t To16(uint8_t v) { return uint16_t(v * 257); }
    static uint16_t To16(uint16_t v) { return v; }
    static uint16_t To16(float v) {
        return v > 0 ? uint16_t(std::min(v, 1.0f) * 65535.0f + 0.5f) : uint16_t{0};
    }

    size_t Index(int x, int y) const {
        assert(x >= 0 && x < m_width && y >= 0 && y < m_height);
        return (size_t(m_height - 1 - y) * size_t(m_width) + size_t(x)) * size_t(m_channels);
    }
    template <class T>
    AColor Spread(const T* p) const {
        float first = ToFloat(p[0]);
        float alpha = HasAlpha() ? ToFloat(p[m_channels - 1]) : 1.0f;
        if (m_channels < 3) return {first, first, first, alpha};
        return {first, ToFloat(p[1]), ToFloat(p[2]), alpha};
    }

    int m_width = 0, m_height = 0, m_channels = 1;
    Data m_data;
};

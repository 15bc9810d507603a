#include "Dravin/materials/tint.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "host/scene/texmap.h"

namespace {

// Hue and saturation of `tint` at the value of `color`, by the HSV model: there colours of one hue
// and saturation are multiples of each other, and the value is the largest component.
Color AtValueOf(const Color& color, const Color& tint) {
    float value = std::max({color.r, color.g, color.b});
    float own = std::max({tint.r, tint.g, tint.b});
    return own > 0 ? tint * (value / own) : Color{value, value, value};
}

float Mix(float a, float b, float t) { return a * (1 - t) + b * t; }
Color Mix(const Color& a, const Color& b, float t) { return a * (1 - t) + b * t; }

}  // namespace

// Rounds of shifts and additions in the manner of Jenkins' integer hashes, on the bits of both
// values in [1, 2).
float MixHash(float x, float y) {
    auto a = std::bit_cast<uint32_t>(x + 1), b = std::bit_cast<uint32_t>(y + 1);
    uint32_t h1 = (b << 12) + a + 0x7ED55D16u;
    uint32_t h2 = (h1 >> 19) ^ b ^ 0xC761C23Cu;
    uint32_t h3 = h1 + (h2 << 5) + 0x165667B1u;
    uint32_t h4 = (h2 + 0xD3A2646Cu) ^ (h3 << 9);
    uint32_t h5 = h3 + (h4 << 3) + 0xFD7046C5u;
    uint32_t bits = (((h5 >> 16) ^ h5 ^ h4 ^ 0xFFDA4F09u) & 0x7FFFFFu) | 0x3F800000u;
    return std::clamp(std::bit_cast<float>(bits) - 1, 0.f, 1.f);
}

Color BlendTint(int blend, const Color& color, const Color& tint, float amount) {
    switch (blend) {
        case kTintNormal:
            return Mix(color, tint, amount);
        case kTintColor:
            return Mix(color, AtValueOf(color, tint), amount);
        case kTintAdditive:
            return Mix(color, color + tint, amount);
        case kTintAverage:
            return Mix(color, (color + tint) * 0.5f, amount);
        case kTintMultiply:
            return Mix(color, color * tint, amount);
        case kTintMultiplyAmount:
            return color * tint * amount;
        default:
            return color;
    }
}

void TTintSettings::SetRange(int percent1, int percent2) {
    min = float(std::min(percent1, percent2)) * 0.01f;
    max = float(std::max(percent1, percent2)) * 0.01f;
}

Color Tinted(const Color& color, const TShadedItem& item, const TElementRandoms& element,
             const TTintRequest& request) {
    float v = request.variation;
    bool isItems = !request.overriding && v == 0;  // as its build tinted it
    const TTintSettings& s = request.overriding ? *request.overriding : *request.object;
    float amount = item.tintBlend;
    if (!isItems) {
        float p = Mix(item.random1, MixHash(item.random1, element.first), v);
        amount = (s.max - s.min) * p + s.min;
    }
    if (!(amount > 0)) return color;
    Color tint = item.tintColor;
    bool isKept = isItems || (!request.overriding && s.fromMap && s.mapAsTexture);
    if (!isKept) {
        float m = Mix(item.random2, MixHash(item.random2, element.second), v);
        if (!s.fromMap) {
            tint = s.color1 + (s.color2 - s.color1) * m;
        } else if (!s.map) {
            return color;
        } else {
            float q = Mix(item.random3, MixHash(item.random3, element.second), v);
            Point3 uvw = s.mapAsTexture ? item.tintUvw : Point3{m, q, m};
            tint = s.map->EvalColor({uvw, item.position}).Rgb();
        }
    }
    return BlendTint(request.blend, color, tint, amount);
}

#include "host/render/render_texture.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

// Linear light of each 8-bit display value.
const std::array<float, 256>& LinearTable() {
    static const std::array<float, 256> table = [] {
        std::array<float, 256> t{};
        for (size_t i = 0; i < t.size(); ++i) t[i] = DisplayToLinear(float(i) / 255);
        return t;
    }();
    return table;
}

uint8_t ToByte(float value) { return uint8_t(std::lround(std::clamp(value, 0.f, 1.f) * 255)); }

// Index in [0, size) of the texel that stands at place i, which may lie outside the image.
int WrapIndex(int i, int size, BitmapTex::Wrap wrap) {
    if (wrap == BitmapTex::Wrap::kClamp) return std::clamp(i, 0, size - 1);
    int period = wrap == BitmapTex::Wrap::kMirror ? 2 * size : size;
    i %= period;
    if (i < 0) i += period;
    return i < size ? i : 2 * size - 1 - i;
}

// Brings a coordinate near the image, where float places texels exactly.
float WrapCoordinate(float x, BitmapTex::Wrap wrap) {
    if (!std::isfinite(x)) return 0;
    if (wrap == BitmapTex::Wrap::kClamp) return std::clamp(x, -1.f, 2.f);
    return x - 2 * std::floor(x / 2);
}

}  // namespace

RenderTexture::RenderTexture(const Texmap& map, MapUse use, float cutoff)
    : m_map(&map), m_use(use), m_cutoff(cutoff), m_channels(use == MapUse::kMask ? 1 : 3) {
    auto* bitmap = dynamic_cast<const BitmapTex*>(&map);
    if (!bitmap || !bitmap->Image() || bitmap->Image()->IsEmpty()) return;
    m_wrap = bitmap->wrap;
    m_isNearest = bitmap->filter == BitmapTex::Filter::kNearest;
    Bake(*bitmap->Image(), bitmap->alphaOnly);
    AddCoarserLevels();
}

void RenderTexture::Bake(const Bitmap& image, bool alphaOnly) {
    Level& level = m_levels.emplace_back();
    level.width = image.Width();
    level.height = image.Height();
    level.texels.reserve(size_t(level.width) * size_t(level.height) * size_t(m_channels));
    for (int y = 0; y < level.height; ++y)
        for (int x = 0; x < level.width; ++x) {
            AColor c = image.Pixel(x, y);
            if (m_use == MapUse::kMask)
                level.texels.push_back(ToByte(alphaOnly ? c.a : Luminance(c.Rgb()) * c.a));
            else
                for (float value : {c.r, c.g, c.b}) level.texels.push_back(ToByte(value));
        }
}

float RenderTexture::Value(uint8_t texel, bool isFinest) const {
    if (m_use == MapUse::kColor) return LinearTable()[texel];
    float value = float(texel) / 255;
    return isFinest && m_cutoff > 0 ? float(value >= m_cutoff) : value;
}

void RenderTexture::AddCoarserLevels() {
    while (m_levels.back().width > 1 || m_levels.back().height > 1) {
        const Level& fine = m_levels.back();
        bool isFinest = m_levels.size() == 1;
        Level coarse{std::max(1, fine.width / 2), std::max(1, fine.height / 2), {}};
        coarse.texels.reserve(size_t(coarse.width) * size_t(coarse.height) * size_t(m_channels));
        for (int y = 0; y < coarse.height; ++y)
            for (int x = 0; x < coarse.width; ++x)
                for (int c = 0; c < m_channels; ++c) {
                    float sum = 0;
                    for (int k = 0; k < 4; ++k) {
                        int fx = std::min(2 * x + (k & 1), fine.width - 1);
                        int fy = std::min(2 * y + (k >> 1), fine.height - 1);
                        size_t i =
                            (size_t(fy) * size_t(fine.width) + size_t(fx)) * size_t(m_channels) +
                            size_t(c);
                        sum += Value(fine.texels[i], isFinest);
                    }
                    float mean = sum / 4;
                    coarse.texels.push_back(
                        ToByte(m_use == MapUse::kColor ? LinearToDisplay(mean) : mean));
                }
        m_levels.push_back(std::move(coarse));
    }
}

RenderTexture::Footprint RenderTexture::Locate(Point2 uv, float width) const {
    Point3 placed = m_map->Place({uv.x, uv.y, 0});
    float u = WrapCoordinate(placed.x, m_wrap), v = WrapCoordinate(placed.y, m_wrap);
    float scale = std::max(std::fabs(m_map->tiling->x), std::fabs(m_map->tiling->y));
    float texels = width * scale * float(std::max(m_levels[0].width, m_levels[0].height));
    int level = texels > 1 ? std::ilogb(texels * 1.41421356f) : 0;
    const Level& l = m_levels[size_t(std::clamp(level, 0, int(m_levels.size()) - 1))];
    float x = u * float(l.width), y = v * float(l.height);
    if (m_isNearest && level == 0) x = std::floor(x) + 0.5f, y = std::floor(y) + 0.5f;
    x -= 0.5f, y -= 0.5f;
    int x0 = int(std::floor(x)), y0 = int(std::floor(y));
    return {&l,
            WrapIndex(x0, l.width, m_wrap),
            WrapIndex(x0 + 1, l.width, m_wrap),
            WrapIndex(y0, l.height, m_wrap),
            WrapIndex(y0 + 1, l.height, m_wrap),
            x - float(x0),
            y - float(y0)};
}

Color RenderTexture::Texel(const Level& level, int x, int y) const {
    const uint8_t* p = &level.texels[(size_t(y) * size_t(level.width) + size_t(x)) * 3];
    if (m_use == MapUse::kData) return Color{float(p[0]), float(p[1]), float(p[2])} * (1.0f / 255);
    const auto& linear = LinearTable();
    return {linear[p[0]], linear[p[1]], linear[p[2]]};
}

Color RenderTexture::LookUp(Point2 uv, float width) const {
    Footprint f = Locate(uv, width);
    auto texel = [&](int x, int y) { return Texel(*f.level, x, y); };
    return (texel(f.x0, f.y0) * (1 - f.u) + texel(f.x1, f.y0) * f.u) * (1 - f.v) +
           (texel(f.x0, f.y1) * (1 - f.u) + texel(f.x1, f.y1) * f.u) * f.v;
}

float RenderTexture::LookUpMask(Point2 uv, float width) const {
    Footprint f = Locate(uv, width);
    auto texel = [&](int x, int y) {
        return float(f.level->texels[size_t(y) * size_t(f.level->width) + size_t(x)]);
    };
    float value = ((texel(f.x0, f.y0) * (1 - f.u) + texel(f.x1, f.y0) * f.u) * (1 - f.v) +
                   (texel(f.x0, f.y1) * (1 - f.u) + texel(f.x1, f.y1) * f.u) * f.v) /
                  255;
    // Near by the edge is sharp; coarser levels hold what was cut already.
    return m_cutoff > 0 && f.level == &m_levels[0] ? float(value >= m_cutoff) : value;
}

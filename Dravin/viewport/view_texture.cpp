#include "Dravin/viewport/view_texture.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "host/scene/material.h"

namespace {

constexpr int kBakedSide = 64, kMeanSide = 16;

// A map without an image, over the unit square of its coordinates.
std::shared_ptr<const Bitmap> Baked(const Texmap& map) {
    std::vector<TexPoint> points(kBakedSide * kBakedSide);
    for (int i = 0; i < int(points.size()); ++i) {
        float u = (float(i % kBakedSide) + 0.5f) / kBakedSide;
        float v = 1 - (float(i / kBakedSide) + 0.5f) / kBakedSide;  // bitmaps begin at the top
        points[size_t(i)] = {{u, v, 0}, {}};
    }
    std::vector<AColor> colors(points.size());
    map.EvalColors(points, colors);
    std::vector<float> values;
    for (const AColor& c : colors) values.insert(values.end(), {c.r, c.g, c.b, c.a});
    return std::make_shared<const Bitmap>(kBakedSide, kBakedSide, 4, std::move(values));
}

TViewMap MapOf(const Texmap* map) {
    TViewMap out;
    // Noise lies in space, not on texture coordinates.
    if (!map || dynamic_cast<const NoiseTex*>(map)) return out;
    if (auto* bitmap = dynamic_cast<const BitmapTex*>(map)) {
        if (!bitmap->Image() || bitmap->Image()->IsEmpty()) return out;
        out.image = bitmap->Image();
        out.alphaOnly = bitmap->alphaOnly;
        out.wrap = bitmap->wrap;
        out.isNearest = bitmap->filter == BitmapTex::Filter::kNearest;
        Point3 origin = bitmap->Place({}), u = bitmap->Place({1, 0, 0}) - origin;
        Point3 v = bitmap->Place({0, 1, 0}) - origin;
        for (int i = 0; i < 2; ++i)
            out.place[i][0] = u[i], out.place[i][1] = v[i], out.place[i][2] = origin[i];
    } else {
        out.image = Baked(*map);
    }
    return out;
}

int Wrapped(int i, int size, BitmapTex::Wrap wrap) {
    if (wrap == BitmapTex::Wrap::kClamp) return std::clamp(i, 0, size - 1);
    int turn = i >= 0 ? i / size : -((size - 1 - i) / size);
    int inside = i - turn * size;
    return wrap == BitmapTex::Wrap::kMirror && (turn & 1) ? size - 1 - inside : inside;
}

// Nearest pixel at coordinates of the image.
AColor Look(const TViewMap& map, float u, float v) {
    constexpr float kMost = 1e6f;
    auto at = [&](float x, int size) {
        float place = std::floor(std::clamp(x, -kMost, kMost) * float(size));
        return Wrapped(int(place), size, map.wrap);
    };
    AColor c = map.image->Pixel(at(u, map.image->Width()), at(v, map.image->Height()));
    return map.alphaOnly ? AColor{1, 1, 1, c.a} : c;
}

bool Invert(const float m[2][3], float out[2][3]) {
    float det = m[0][0] * m[1][1] - m[0][1] * m[1][0];
    if (!(std::abs(det) > 1e-12f)) return false;
    out[0][0] = m[1][1] / det, out[0][1] = -m[0][1] / det;
    out[1][0] = -m[1][0] / det, out[1][1] = m[0][0] / det;
    for (int i = 0; i < 2; ++i) out[i][2] = -(out[i][0] * m[0][2] + out[i][1] * m[1][2]);
    return true;
}

Point2 Apply(const float m[2][3], float u, float v) {
    return {m[0][0] * u + m[0][1] * v + m[0][2], m[1][0] * u + m[1][1] * v + m[1][2]};
}

uint8_t Byte(float v) { return uint8_t(std::clamp(v, 0.f, 1.f) * 255 + 0.5f); }

// What the mask says of a place; 1 without a mask.
float Opacity(const TViewTexture& t, Point2 uv) {
    if (!t.mask.image) return 1;
    Point2 p = Apply(t.mask.place, uv.x, uv.y);
    AColor c = Look(t.mask, p.x, p.y);
    return Luminance(c.Rgb()) * c.a;
}

bool SameMap(const TViewMap& a, const TViewMap& b) {
    return a.image == b.image && a.alphaOnly == b.alphaOnly && a.wrap == b.wrap &&
           a.isNearest == b.isNearest && std::memcmp(a.place, b.place, sizeof a.place) == 0;
}

}  // namespace

bool operator==(const TViewTexture& a, const TViewTexture& b) {
    return SameMap(a.color, b.color) && SameMap(a.mask, b.mask) && a.factor == b.factor &&
           a.cutoff == b.cutoff && a.channel == b.channel;
}

const TViewMap& PlacingMap(const TViewTexture& texture) {
    return texture.color.image ? texture.color : texture.mask;
}

std::shared_ptr<const TViewTexture> TextureOf(const StandardMtl& material) {
    TViewTexture texture;
    texture.color = MapOf(material.diffuseMap.Get());
    texture.mask = MapOf(material.opacityMap.Get());
    if (!texture.color.image && !texture.mask.image) return nullptr;
    texture.factor = material.mapFactor;
    texture.cutoff = material.opacityCutoff;
    texture.channel = texture.color.image ? material.diffuseMap->channel.Get()
                                          : material.opacityMap->channel.Get();
    return std::make_shared<const TViewTexture>(std::move(texture));
}

TViewImage MakeViewImage(const TViewTexture& texture, int maxSide) {
    const TViewMap& base = PlacingMap(texture);
    TViewImage out;
    out.width = std::min(base.image->Width(), maxSide);
    out.height = std::min(base.image->Height(), maxSide);
    out.rgba.resize(size_t(out.width) * size_t(out.height) * 4);
    float back[2][3] = {{1, 0, 0}, {0, 1, 0}};
    bool canCut = Invert(base.place, back);
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x) {
            float u = (float(x) + 0.5f) / float(out.width);
            float v = (float(y) + 0.5f) / float(out.height);
            AColor c;
            c.r = c.g = c.b = 1;
            if (texture.color.image) c = Look(texture.color, u, v);
            float opacity = canCut ? Opacity(texture, Apply(back, u, v)) : 1;
            uint8_t* p = &out.rgba[(size_t(y) * size_t(out.width) + size_t(x)) * 4];
            Color f = texture.factor;
            p[0] = Byte(c.r * f.r), p[1] = Byte(c.g * f.g), p[2] = Byte(c.b * f.b);
            p[3] = Byte(opacity);
        }
    return out;
}

Color MeanColor(const TViewTexture& texture) {
    TViewImage image = MakeViewImage(texture, kMeanSide);
    float sum[4]{};
    for (size_t i = 0; i < image.rgba.size(); i += 4) {
        auto weight = float(image.rgba[i + 3]);
        for (size_t c = 0; c < 3; ++c) sum[c] += float(image.rgba[i + c]) * weight / 255;
        sum[3] += weight;
    }
    if (sum[3] <= 0) return {0.6f, 0.6f, 0.6f};
    return Color{sum[0], sum[1], sum[2]} * (1 / sum[3]);
}

#include "host/scene/texmaps.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "host/math/noise3.h"

namespace {

float FiniteOrZero(float f) { return std::isfinite(f) ? f : 0.0f; }
float Frac(float f) { return f - std::floor(f); }
float Clamp01(float f) { return std::clamp(f, 0.0f, 1.0f); }

AColor Opaque(Color c) { return {c.r, c.g, c.b, 1}; }
AColor Blend(Color a, Color b, float t) { return Opaque(a + (b - a) * t); }
AColor Blend(AColor a, AColor b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t,
            a.a + (b.a - a.a) * t};
}

// The coordinate brought into [0, 1].
float WrapUnit(float u, BitmapTex::Wrap wrap) {
    switch (wrap) {
        case BitmapTex::Wrap::kClamp:
            return Clamp01(u);
        case BitmapTex::Wrap::kMirror: {
            float t = u - 2 * std::floor(u / 2);
            return t > 1 ? 2 - t : t;
        }
        case BitmapTex::Wrap::kTile:
            break;
    }
    return Frac(u);
}

// A pixel index at most one step outside [0, size): the other edge when tiled, else the same edge
// (a mirrored image meets its own edge pixel).
int WrapPixel(int i, int size, BitmapTex::Wrap wrap) {
    if (wrap == BitmapTex::Wrap::kTile) return i < 0 ? size - 1 : (i >= size ? 0 : i);
    return std::clamp(i, 0, size - 1);
}

// Runs `eval` on every point: the one loop behind all batch forms.
template <class Eval>
void EvalEach(std::span<const TexPoint> points, std::span<AColor> out, Eval eval) {
    for (size_t i = 0; i < points.size(); ++i) out[i] = eval(points[i]);
}

Point3 Finite(const Point3& p) { return {FiniteOrZero(p.x), FiniteOrZero(p.y), FiniteOrZero(p.z)}; }

}  // namespace

void Texmap::SetRotation(float degrees) {
    double radians = double(degrees) * 3.14159265358979323846 / 180;
    m_turn = Turn{degrees, float(std::sin(radians)), float(std::cos(radians))};
}

AColor ColorTex::EvalColor(const TexPoint&) const { return Opaque(color); }

void ColorTex::EvalColors(std::span<const TexPoint>, std::span<AColor> out) const {
    std::fill(out.begin(), out.end(), Opaque(color));
}

AColor UvwTex::EvalColor(const TexPoint& p) const {
    Point3 t = Finite(Place(p.uvw));
    return {Frac(t.x), Frac(t.y), Frac(t.z), 1};
}

void UvwTex::EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const {
    EvalEach(points, out, [this](const TexPoint& p) { return UvwTex::EvalColor(p); });
}

AColor GradientTex::EvalColor(const TexPoint& p) const {
    Point3 t = Finite(Place(p.uvw));
    return Blend(color1, color2, Clamp01(axis == kU ? t.x : t.y));
}

void GradientTex::EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const {
    EvalEach(points, out, [this](const TexPoint& p) { return GradientTex::EvalColor(p); });
}

AColor CheckerTex::EvalColor(const TexPoint& p) const {
    Point3 t = Finite(Place(p.uvw));
    // Each term is reduced by itself: the sum of two large ones could lose its last bit.
    bool isOddU = std::fmod(std::floor(2 * t.x), 2.0f) != 0;
    bool isOddV = std::fmod(std::floor(2 * t.y), 2.0f) != 0;
    return Opaque(isOddU == isOddV ? color1 : color2);
}

void CheckerTex::EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const {
    EvalEach(points, out, [this](const TexPoint& p) { return CheckerTex::EvalColor(p); });
}

void BitmapTex::SetFile(std::string file) {
    RecordExchange(*this, [this, otherFile = m_file, otherImage = m_image]() mutable {
        std::swap(m_file, otherFile);
        std::swap(m_image, otherImage);
        NotifyDependents();
    });
    m_file = std::move(file);
    m_image = nullptr;
    NotifyDependents();
}

void BitmapTex::SetImage(std::shared_ptr<const Bitmap> image) {
    RecordExchange(*this, [this, other = m_image]() mutable {
        std::swap(m_image, other);
        NotifyDependents();
    });
    m_image = std::move(image);
    NotifyDependents();
}

bool BitmapTex::Update(TimeValue, std::string* error) {
    if (m_image) return true;
    if (m_file.empty() || !m_loader) {
        *error = fmt::format("texture map \"{}\": no image file is named", name.Get());
        return false;
    }
    m_image = m_loader(m_file, error);
    return m_image != nullptr;
}

AColor BitmapTex::Lookup(const TexPoint& p) const {
    AColor color = Sample(p);
    return alphaOnly ? AColor{1, 1, 1, color.a} : color;
}

AColor BitmapTex::Sample(const TexPoint& p) const {
    if (!m_image || m_image->IsEmpty()) return {0, 0, 0, 1};
    const Bitmap& image = *m_image;
    int width = image.Width(), height = image.Height();
    Point3 placed = Finite(Place(p.uvw));
    float x = WrapUnit(placed.x, wrap) * float(width);
    float y = WrapUnit(placed.y, wrap) * float(height);
    if (filter == Filter::kNearest)
        return image.Pixel(std::min(int(x), width - 1), std::min(int(y), height - 1));

    x -= 0.5f, y -= 0.5f;
    float left = std::floor(x), below = std::floor(y);
    int x0 = WrapPixel(int(left), width, wrap), x1 = WrapPixel(int(left) + 1, width, wrap);
    int y0 = WrapPixel(int(below), height, wrap), y1 = WrapPixel(int(below) + 1, height, wrap);
    float s = x - left, t = y - below;
    return Blend(Blend(image.Pixel(x0, y0), image.Pixel(x1, y0), s),
                 Blend(image.Pixel(x0, y1), image.Pixel(x1, y1), s), t);
}

AColor BitmapTex::EvalColor(const TexPoint& p) const { return Lookup(p); }

void BitmapTex::EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const {
    EvalEach(points, out, [this](const TexPoint& p) { return Lookup(p); });
}

AColor NoiseTex::EvalColor(const TexPoint& p) const {
    float scale = size != 0.0f ? 1 / size : 0;
    float noise = FractalNoise3(p.position * scale, levels, uint32_t(seed));
    return Blend(color1, color2, Clamp01(0.5f + noise));
}

void NoiseTex::EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const {
    EvalEach(points, out, [this](const TexPoint& p) { return NoiseTex::EvalColor(p); });
}

// Copies.

std::shared_ptr<ReferenceTarget> ColorTex::Clone(CloneMap&) const {
    auto copy = std::make_shared<ColorTex>();
    CopyPlacing(*copy);
    copy->color = color;
    return copy;
}

std::shared_ptr<ReferenceTarget> UvwTex::Clone(CloneMap&) const {
    auto copy = std::make_shared<UvwTex>();
    CopyPlacing(*copy);
    return copy;
}

std::shared_ptr<ReferenceTarget> GradientTex::Clone(CloneMap&) const {
    auto copy = std::make_shared<GradientTex>();
    CopyPlacing(*copy);
    copy->color1 = color1;
    copy->color2 = color2;
    copy->axis = axis;
    return copy;
}

std::shared_ptr<ReferenceTarget> CheckerTex::Clone(CloneMap&) const {
    auto copy = std::make_shared<CheckerTex>();
    CopyPlacing(*copy);
    copy->color1 = color1;
    copy->color2 = color2;
    return copy;
}

std::shared_ptr<ReferenceTarget> BitmapTex::Clone(CloneMap&) const {
    auto copy = std::make_shared<BitmapTex>(m_loader);
    CopyPlacing(*copy);
    copy->filter = filter;
    copy->wrap = wrap;
    copy->alphaOnly = alphaOnly;
    copy->m_file = m_file;
    copy->m_image = m_image;
    return copy;
}

std::shared_ptr<ReferenceTarget> NoiseTex::Clone(CloneMap&) const {
    auto copy = std::make_shared<NoiseTex>();
    CopyPlacing(*copy);
    copy->color1 = color1;
    copy->color2 = color2;
    copy->size = size;
    copy->levels = levels;
    copy->seed = seed;
    return copy;
}

// The host's texture maps.
//
// All of them place the coordinates first (Texmap::Place); coordinates that are not finite
// count as 0. Colours are as given, never clamped or gamma corrected. EvalColors gives the same
// bits as EvalColor, one virtual call for a whole batch.
#pragma once

#include <functional>

#include "host/scene/bitmap.h"
#include "host/scene/texmap.h"

class ColorTex : public Texmap {
public:
    Property<Color> color{this, {1, 1, 1}};

    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    static constexpr ClassInfo kClass{{0x3d1c0030, 0x52a7}, SuperClass::kTexmap, "color"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};

// (frac u, frac v, frac w) as red, green, blue.
class UvwTex : public Texmap {
public:
    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    static constexpr ClassInfo kClass{{0x3d1c0031, 0x52a7}, SuperClass::kTexmap, "uvw"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};

// From color1 at 0 to color2 at 1 along u or v; constant beyond.
class GradientTex : public Texmap {
public:
    enum Axis { kU, kV };
    Property<Color> color1{this, {0, 0, 0}}, color2{this, {1, 1, 1}};
    Property<Axis> axis{this, kV};

    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    static constexpr ClassInfo kClass{{0x3d1c0032, 0x52a7}, SuperClass::kTexmap, "gradient"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};

// color1 where floor(2u) + floor(2v) is even, else color2: two by two fields a unit.
class CheckerTex : public Texmap {
public:
    Property<Color> color1{this, {0, 0, 0}}, color2{this, {1, 1, 1}};

    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    static constexpr ClassInfo kClass{{0x3d1c0033, 0x52a7}, SuperClass::kTexmap, "checker"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};

// Reads an image file; null with a reason in `error`.
using BitmapLoader =
    std::function<std::shared_ptr<const Bitmap>(const std::string& file, std::string* error)>;

// An image; v = 0 is its bottom edge. Bilinear filtering takes pixel centres at (i + 0.5) / size
// and wraps its neighbours like the coordinate. Black and opaque while no image is loaded.
class BitmapTex : public Texmap {
public:
    enum class Filter { kNearest, kBilinear };
    enum class Wrap { kTile, kClamp, kMirror };
    Property<Filter> filter{this, Filter::kBilinear};
    Property<Wrap> wrap{this, Wrap::kTile};
    // White with the image's alpha: the cut-out of a colour image.
    Property<bool> alphaOnly{this, false};

    // The loader is asked at the first Update after the file was named.
    explicit BitmapTex(BitmapLoader loader) : m_loader(std::move(loader)) {}

    const std::string& File() const { return m_file; }
    // Another file; tells, and can be undone.
    void SetFile(std::string file);
    // Shows an image that has no file of its own (textures packed in a model file).
    void SetImage(std::shared_ptr<const Bitmap> image);

    // The loaded image, null before a successful Update.
    const std::shared_ptr<const Bitmap>& Image() const { return m_image; }

    bool Update(TimeValue t, std::string* error) override;
    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    std::string ImageFile() const override { return m_file; }
    static constexpr ClassInfo kClass{{0x3d1c0034, 0x52a7}, SuperClass::kTexmap, "bitmap"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    AColor Lookup(const TexPoint& p) const;
    AColor Sample(const TexPoint& p) const;

    BitmapLoader m_loader;
    std::string m_file;
    std::shared_ptr<const Bitmap> m_image;
};

// Between color1 and color2 by gradient noise at the shaded point (object space; the noise is seen
// at position / size). `levels` octaves, each of twice the frequency and half the weight.
class NoiseTex : public Texmap {
public:
    Property<Color> color1{this, {0, 0, 0}}, color2{this, {1, 1, 1}};
    // Length of a lattice cell, scene units; 0 gives the middle of the colours.
    Property<float> size{this, 25.0f};
    Property<int> levels{this, 3};  // 1..16
    Property<int> seed{this, 0};

    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    static constexpr ClassInfo kClass{{0x3d1c0035, 0x52a7}, SuperClass::kTexmap, "noise"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};

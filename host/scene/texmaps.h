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
    Color color{1, 1, 1};

    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    std::string ClassName() const override { return "color"; }
};

// (frac u, frac v, frac w) as red, green, blue.
class UvwTex : public Texmap {
public:
    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    std::string ClassName() const override { return "uvw"; }
};

// From color1 at 0 to color2 at 1 along u or v; constant beyond.
class GradientTex : public Texmap {
public:
    enum Axis { kU, kV };
    Color color1{0, 0, 0}, color2{1, 1, 1};
    Axis axis = kV;

    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    std::string ClassName() const override { return "gradient"; }
};

// color1 where floor(2u) + floor(2v) is even, else color2: two by two fields a unit.
class CheckerTex : public Texmap {
public:
    Color color1{0, 0, 0}, color2{1, 1, 1};

    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    std::string ClassName() const override { return "checker"; }
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
    Filter filter = Filter::kBilinear;
    Wrap wrap = Wrap::kTile;
    bool alphaOnly = false;  // white with the image's alpha: the cut-out of a colour image

    // The loader is asked at the first Update after the file was named.
    explicit BitmapTex(BitmapLoader loader) : m_loader(std::move(loader)) {}

    const std::string& File() const { return m_file; }
    void SetFile(std::string file);
    // Shows an image that has no file of its own (textures packed in a model file).
    void SetImage(std::shared_ptr<const Bitmap> image);

    // The loaded image, null before a successful Update.
    const std::shared_ptr<const Bitmap>& Image() const { return m_image; }

    bool Update(TimeValue t, std::string* error) override;
    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    std::string ImageFile() const override { return m_file; }
    std::string ClassName() const override { return "bitmap"; }

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
    Color color1{0, 0, 0}, color2{1, 1, 1};
    float size = 25;  // length of a lattice cell, scene units; 0 gives the middle of the colours
    int levels = 3;   // 1..16
    int seed = 0;

    AColor EvalColor(const TexPoint& p) const override;
    void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const override;
    std::string ClassName() const override { return "noise"; }
};

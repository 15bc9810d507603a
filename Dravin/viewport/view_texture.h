// The maps of a material as viewports show them: an image for the colour, and one that cuts out.
//
// Taken from maps that were brought to a time; images are shared, other maps of texture coordinates
// become small images. Immutable; threads share it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/scene/texmaps.h"

class StandardMtl;

// An image and how it lies on the texture coordinates.
struct TViewMap {
    std::shared_ptr<const Bitmap> image;
    bool alphaOnly = false;
    // Coordinates (u, v, 1) of the image: rows times columns.
    float place[2][3] = {{1, 0, 0}, {0, 1, 0}};
    BitmapTex::Wrap wrap = BitmapTex::Wrap::kTile;
    bool isNearest = false;
};

struct TViewTexture {
    TViewMap color, mask;   // without an image: white, opaque
    Color factor{1, 1, 1};  // multiplies the colour map
    float cutoff = 0;       // opaque where the mask reaches it; 0: patterned by its value
    int channel = 1;        // of the mesh, for both

    friend bool operator==(const TViewTexture& a, const TViewTexture& b);
};

// Four bytes a pixel, rows bottom up: display colour and opacity.
struct TViewImage {
    int width = 0, height = 0;
    std::vector<uint8_t> rgba;
};

// The maps of a material; null where it has none that can be shown.
std::shared_ptr<const TViewTexture> TextureOf(const StandardMtl& material);
// Both maps in one image, which lies as `place` of the colour map says (of the mask's where there
// is no other), no larger than maxSide a side. Takes time.
TViewImage MakeViewImage(const TViewTexture& texture, int maxSide);
const TViewMap& PlacingMap(const TViewTexture& texture);
// Mean display colour, weighted by opacity.
Color MeanColor(const TViewTexture& texture);

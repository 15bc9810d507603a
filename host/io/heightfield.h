// Terrain from an image.
#pragma once

#include <memory>
#include <string>

#include "host/geom/mesh.h"
#include "host/scene/bitmap.h"

struct HeightFieldOptions {
    float sizeX = 100, sizeY = 100;  // scene units
    float height = 10;               // z of a white pixel
    int samplesX = 0, samplesY = 0;  // vertices; 0: the image's pixels
};

// The most vertices a side that a terrain may have.
inline constexpr int kMaxHeightFieldSamples = 16384;

// A grid centred on its pivot, z = value (0..1, the first channel or the luminance) x height,
// mapping channel 1 over [0, 1] x [0, 1]; the image's bottom row lies at the lowest y. With other
// sample counts than the image's pixels, heights are interpolated between pixel centres, which span
// the whole size. Null with a reason in `error` for sample counts out of 2..kMaxHeightFieldSamples.
std::shared_ptr<Mesh> MakeHeightField(const Bitmap& image, const HeightFieldOptions& options,
                                      std::string* error);
// The same from an image file.
std::shared_ptr<Mesh> ReadHeightField(const std::string& file, const HeightFieldOptions& options,
                                      std::string* error);

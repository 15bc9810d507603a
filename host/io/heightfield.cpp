#include "host/io/heightfield.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "host/geom/mesh_tools.h"
#include "host/io/bitmap.h"

namespace {

// The place of sample i of n among `pixels` pixel centres: end meets end.
struct Place {
    int first, second;
    float t;
};
Place PlaceOfSample(int i, int n, int pixels) {
    double position = double(i) * double(pixels - 1) / double(n - 1);
    int first = std::min(int(position), pixels - 1);
    return {first, std::min(first + 1, pixels - 1), float(position - first)};
}

float Value(const Bitmap& image, int x, int y) {
    AColor c = image.Pixel(x, y);
    return image.Channels() < 3 ? c.r : Luminance(c.Rgb());
}

bool CheckSamples(int nx, int ny, std::string* error) {
    bool ok = std::min(nx, ny) >= 2 && std::max(nx, ny) <= kMaxHeightFieldSamples;
    if (!ok)
        *error = fmt::format("heightfield: {} x {} samples, expected 2 to {} each", nx, ny,
                             kMaxHeightFieldSamples);
    return ok;
}

}  // namespace

std::shared_ptr<Mesh> MakeHeightField(const Bitmap& image, const HeightFieldOptions& options,
                                      std::string* error) {
    int nx = options.samplesX ? options.samplesX : image.Width();
    int ny = options.samplesY ? options.samplesY : image.Height();
    if (image.IsEmpty() || !CheckSamples(nx, ny, error)) return nullptr;
    std::vector<float> values;
    values.reserve(size_t(nx) * size_t(ny));
    for (int j = 0; j < ny; ++j) {
        Place v = PlaceOfSample(j, ny, image.Height());
        for (int i = 0; i < nx; ++i) {
            Place u = PlaceOfSample(i, nx, image.Width());
            float low = Value(image, u.first, v.first), high = Value(image, u.first, v.second);
            if (u.t > 0) low += (Value(image, u.second, v.first) - low) * u.t;
            if (u.t > 0) high += (Value(image, u.second, v.second) - high) * u.t;
            values.push_back(low + (high - low) * v.t);
        }
    }
    return std::make_shared<Mesh>(MakeHeightFieldMesh(values, size_t(nx), size_t(ny), options.sizeX,
                                                      options.sizeY, options.height));
}

std::shared_ptr<Mesh> ReadHeightField(const std::string& file, const HeightFieldOptions& options,
                                      std::string* error) {
    std::shared_ptr<const Bitmap> image = ReadBitmap(file, error);
    return image ? MakeHeightField(*image, options, error) : nullptr;
}

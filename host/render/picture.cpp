#include "host/render/picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "host/base/atomic_file.h"
#include "host/base/memory_file.h"
#include "host/image/image_module.h"
#include "host/render/render_texture.h"
#include "host/render/sampler.h"

namespace {

float FilmicCurve(float x) {
    return std::clamp(x * (2.51f * x + 0.09f) / (x * (2.43f * x + 0.62f) + 0.15f), 0.f, 1.f);
}

// Rounds with a fixed dither, so that skies show no bands.
uint8_t DitheredByte(float value, size_t place) {
    float dither = UnitFloat(HashMix(uint32_t(place) * 2654435761u)) - 0.5f;
    return uint8_t(std::clamp(std::lround(value * 255 + dither * 0.9f), 0l, 255l));
}

std::string EndingOf(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
    return ending;
}

bool IsLinearFormat(const std::string& ending) { return ending == ".exr" || ending == ".hdr"; }

// Linear light times the exposure.
std::vector<float> LinearValues(const Picture& picture) {
    std::vector<float> values;
    values.reserve(picture.pixels.size() * 3);
    for (Color pixel : picture.pixels) {
        Color c = picture.Light(pixel);
        for (float value : {c.r, c.g, c.b}) values.push_back(value);
    }
    return values;
}

std::vector<uint8_t> DisplayBytes(const Picture& picture) {
    std::vector<uint8_t> bytes;
    bytes.reserve(picture.pixels.size() * 3);
    for (Color pixel : picture.pixels) {
        Color c = picture.Shown(pixel);
        for (float value : {c.r, c.g, c.b}) bytes.push_back(DitheredByte(value, bytes.size()));
    }
    return bytes;
}

bool WriteTo(const ImageModule& module, const std::string& format, const std::string& path,
             const Picture& picture, bool isLinear, std::string* error) {
    ImageToWrite image;
    image.width = picture.width, image.height = picture.height, image.channels = 3;
    image.sample = isLinear ? ImageSample::kFloat : ImageSample::kUInt8;
    image.stored = isLinear ? ImageSample::kHalf : ImageSample::kUInt8;
    image.colorSpace = isLinear ? "Linear" : "sRGB";
    image.quality = 95;
    std::vector<float> values;
    std::vector<uint8_t> bytes;
    if (isLinear)
        image.values = (values = LinearValues(picture)).data();
    else
        image.values = (bytes = DisplayBytes(picture)).data();
    return module.write(format.c_str(), path.c_str(), image, error);
}

}  // namespace

Color ToneMap(Color light, float exposure) {
    // A little of each channel goes to the others: very bright colours turn white, not garish.
    Color c = light * exposure;
    float y = 0.2126f * c.r + 0.7152f * c.g + 0.0722f * c.b;
    constexpr float kCross = 0.06f;
    c = c * (1 - kCross) + Color{y, y, y} * kCross;
    auto channel = [](float x) { return LinearToDisplay(FilmicCurve(std::max(0.f, x) * 0.75f)); };
    return {channel(c.r), channel(c.g), channel(c.b)};
}

Color Picture::Light(Color pixel) const {
    return isDisplay ? DisplayToLinear(pixel) : pixel * exposure;
}

Color Picture::Shown(Color pixel) const { return isDisplay ? pixel : ToneMap(pixel, exposure); }

bool IsPictureFormat(const std::string& path, std::string* error) {
    const ImageModule* module = LoadImageModule(error);
    return module && !module->formatOf(path.c_str()).empty();
}

std::string WritePicture(const std::string& path, const Picture& picture) {
    std::string ending = EndingOf(path), error;
    auto cannotWrite = [&](const std::string& why) {
        return fmt::format("{}: cannot write the picture: {}", path, why);
    };
    const ImageModule* module = LoadImageModule(&error);
    if (!module) return cannotWrite(error);
    std::string format = module->formatOf(path.c_str());
    if (format.empty())
        return fmt::format("{}: no image format for the ending \"{}\", use .png, .jpg or .exr",
                           path, ending);
    AtomicFile target;
    if (!target.Open(path, &error)) return error;
    MemoryFile memory;
    if (!WriteTo(*module, format, memory.Path(), picture, IsLinearFormat(ending), &error))
        return cannotWrite(error);
    bool isWritten = memory.CopyTo(target, &error) && target.Commit(&error);
    return isWritten ? std::string() : error;
}

#include "Dravin/build/density_loader.h"

#include <filesystem>

#include "Dravin/config/main_folder.h"
#include "host/io/bitmap.h"

namespace fs = std::filesystem;

namespace {

// Red, green, blue of every pixel in 16 bits, top row first.
std::vector<uint16_t> Rgb16(const Bitmap& image) {
    std::vector<uint16_t> rgb;
    rgb.reserve(size_t(image.Width()) * size_t(image.Height()) * 3);
    for (int y = image.Height() - 1; y >= 0; --y)
        for (int x = 0; x < image.Width(); ++x) {
            std::array<uint16_t, 4> pixel = image.Pixel16(x, y);
            rgb.insert(rgb.end(), pixel.begin(), pixel.begin() + 3);
        }
    return rgb;
}

}  // namespace

std::string FindDistMapFile(const std::string& mapName, const std::string& sceneFile) {
    if (mapName.empty()) return {};
    fs::path name = NativePath(mapName);
    std::error_code error;
    if (name.is_absolute()) return fs::is_regular_file(name, error) ? name.string() : "";
    for (fs::path folder : {fs::path(sceneFile).parent_path(), fs::path(DistMapFolder())})
        if (fs::is_regular_file(folder / name, error)) return (folder / name).string();
    return {};
}

TDensityMap LoadDensityMap(const std::string& mapName, const std::string& sceneFile,
                           int thresholdPercent, std::string* error) {
    std::string file = FindDistMapFile(mapName, sceneFile);
    if (file.empty()) {
        *error = "distribution map \"" + mapName +
                 "\" is neither beside the scene nor in the library (see \"mapname\")";
        return {};
    }
    std::shared_ptr<const Bitmap> image = ReadBitmap(file, error);
    if (!image) return {};
    return {image->Width(), image->Height(), Rgb16(*image), thresholdPercent};
}

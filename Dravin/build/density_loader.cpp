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

SceneFile FindDistMapFile(const std::string& mapName, const std::string& sceneFile) {
    SceneFile file = FindSceneFile(fs::path(sceneFile).parent_path().string(), mapName);
    if (!file.path.empty() || mapName.empty()) return file;
    SceneFile shipped = FindSceneFile(DistMapFolder(), mapName);
    return shipped.path.empty() ? file : shipped;
}

TDensityLoad LoadDensityMap(const std::string& mapName, const std::string& sceneFile,
                            int thresholdPercent) {
    TDensityLoad load;
    SceneFile file = FindDistMapFile(mapName, sceneFile);
    load.warning = file.warning;
    if (file.path.empty()) {
        load.error = "distribution map \"" + mapName +
                     "\" is neither beside the scene nor in the library (see \"mapname\")";
        return load;
    }
    constexpr size_t kRgbBytes = 3 * sizeof(uint16_t);
    ImageError error;
    std::shared_ptr<const Bitmap> image =
        ReadImage(file.path, kRgbBytes + sizeof(TDensityMap::Pixel), &error);
    if (image)
        load.map = {image->Width(), image->Height(), Rgb16(*image), thresholdPercent};
    else
        load.error = error.text, load.isLimit = error.isLimit;
    return load;
}

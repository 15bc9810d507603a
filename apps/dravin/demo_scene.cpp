#include "apps/dravin/demo_scene.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>

#include "apps/dravin/demo_description.h"
#include "apps/dravin/demo_farm.h"
#include "apps/dravin/demo_terrain.h"
#include "host/base/atomic_file.h"
#include "host/base/file_input.h"
#include "host/base/thread_pool.h"
#include "host/io/bitmap.h"

namespace fs = std::filesystem;

namespace {

// A rectangle of the valley and how finely an image of it is drawn.
struct Window {
    float x0, y0, x1, y1;
    float step;      // between the centres of two pixels
    bool atCorners;  // pixels stand on the corners of cells (heights), not in their middles

    int Columns() const { return int(std::lround((x1 - x0) / step)) + (atCorners ? 1 : 0); }
    int Rows() const { return int(std::lround((y1 - y0) / step)) + (atCorners ? 1 : 0); }
    float X(int column) const { return x0 + (float(column) + (atCorners ? 0.f : 0.5f)) * step; }
    // Rows of an image run from the top, which lies at the far end.
    float Y(int row) const {
        return y0 + (float(Rows() - 1 - row) + (atCorners ? 0.f : 0.5f)) * step;
    }
};

constexpr float kHalfWidth = demo::kValleyWidth / 2, kHalfLength = demo::kValleyLength / 2;
constexpr Window kValleyHeights{-kHalfWidth, -kHalfLength, kHalfWidth,
                                kHalfLength, demo::kCell,  true};
constexpr Window kValleyColors{-kHalfWidth, -kHalfLength, kHalfWidth, kHalfLength, 1.25f, false};
constexpr Window kValleyMask{-kHalfWidth, -kHalfLength, kHalfWidth, kHalfLength, 2, false};

Window MeadowWindow(bool heights) {
    demo::Rect r = demo::kMeadow;
    return {r.x0, r.y0, r.x1, r.y1, heights ? demo::kCell : 1, heights};
}

Window ShoreWindow(bool heights) {
    demo::Rect r = demo::kShore;
    return {r.x0, r.y0, r.x1, r.y1, heights ? demo::kCell : 1, heights};
}

// Draws an image row by row on all processors; `pixel` writes `channels` numbers in 0..1.
template <class T>
Bitmap Draw(const Window& window, int channels,
            const std::function<void(float x, float y, float* out)>& pixel) {
    int w = window.Columns(), h = window.Rows();
    std::vector<T> values(size_t(w) * size_t(h) * size_t(channels));
    constexpr float kWhite = sizeof(T) == 1 ? 255.f : 65535.f;
    ParallelFor(size_t(h), NumProcessors(), [&](size_t row) {
        float out[4];
        T* target = &values[row * size_t(w) * size_t(channels)];
        for (int column = 0; column < w; ++column) {
            pixel(window.X(column), window.Y(int(row)), out);
            for (int c = 0; c < channels; ++c)
                *target++ = T(std::lround(std::clamp(out[c], 0.f, 1.f) * kWhite));
        }
    });
    return Bitmap(w, h, channels, std::move(values));
}

Bitmap DrawHeights(const demo::Valley& valley, const Window& window) {
    return Draw<uint16_t>(window, 1, [&](float x, float y, float* out) {
        *out = (valley.Height(x, y) - demo::kLowest) / (demo::kHighest - demo::kLowest);
    });
}

using Amount = float (demo::Valley::*)(float, float) const;

Bitmap DrawMask(const demo::Valley& valley, const Window& window, Amount amount) {
    return Draw<uint8_t>(window, 1,
                         [&](float x, float y, float* out) { *out = (valley.*amount)(x, y); });
}

Bitmap DrawGround(const demo::Valley& valley) {
    return Draw<uint8_t>(kValleyColors, 3, [&](float x, float y, float* out) {
        Color c = valley.Ground(x, y);
        out[0] = c.r, out[1] = c.g, out[2] = c.b;
    });
}

constexpr Window kTrack{-demo::kRoadHalfWidth, 0,      demo::kRoadHalfWidth,
                        demo::kRoadTile,       0.025f, false};

Bitmap DrawTrack() {
    return Draw<uint8_t>(kTrack, 3, [](float x, float y, float* out) {
        Color c = demo::RoadColor(x, y);
        out[0] = c.r, out[1] = c.g, out[2] = c.b;
    });
}

Bitmap DrawTrackMask() {
    return Draw<uint8_t>(kTrack, 1,
                         [](float x, float y, float* out) { *out = demo::RoadOpacity(x, y); });
}

bool WriteImages(const fs::path& folder, const demo::Valley& valley, std::string* error) {
    using demo::Valley;
    struct Mask {
        const char* file;
        Window window;
        Amount amount;
    };
    const Mask masks[] = {{"forest_mask.png", kValleyMask, &Valley::Forest},
                          {"rock_mask.png", kValleyMask, &Valley::Rocks},
                          {"meadow_mask.png", MeadowWindow(false), &Valley::Meadow},
                          {"flower_mask.png", MeadowWindow(false), &Valley::Flowers},
                          {"shore_mask.png", ShoreWindow(false), &Valley::FarMeadow},
                          {"floor_mask.png", ShoreWindow(false), &Valley::Forest},
                          {"edge_mask.png", ShoreWindow(false), &Valley::ForestEdge}};
    struct Terrain {
        const char* file;
        Window window;
    };
    const Terrain terrains[] = {{"valley.png", kValleyHeights},
                                {"meadow.png", MeadowWindow(true)},
                                {"shore.png", ShoreWindow(true)}};
    auto write = [&](const char* file, const Bitmap& image) {
        return WriteBitmap((folder / file).string(), image, error);
    };
    for (const Mask& mask : masks)
        if (!write(mask.file, DrawMask(valley, mask.window, mask.amount))) return false;
    for (const Terrain& terrain : terrains)
        if (!write(terrain.file, DrawHeights(valley, terrain.window))) return false;
    return write("ground.png", DrawGround(valley)) && write("track.png", DrawTrack()) &&
           write("track_mask.png", DrawTrackMask());
}

// Scenes that come ready made, and what they show beside the forest's species.
constexpr const char* kMoreScenes[] = {"wall.json", "autumn.json", "boulders.json"};
constexpr const char* kMoreImages[] = {"ivy_map.png", "bank.png"};
constexpr const char* kMoreModels[] = {
    "wall.glb",      "wall.png",      "door.glb", "door.png",           "ivy_near.glb",
    "ivy.png",       "rose_near.glb", "rose.png", "mapleleaf_near.glb", "mapleleaf_mid.glb",
    "mapleleaf.png", "moss_near.glb", "moss.png"};

std::vector<std::string> ModelFiles() {
    std::vector<std::string> files{"cabin.glb", "cabin.png"};
    for (const demo::Species& species : demo::kSpecies) {
        files.push_back(fmt::format("{}_near.glb", species.name));
        files.push_back(fmt::format("{}.png", species.name));
        if (species.isCut) files.push_back(fmt::format("{}_mask.png", species.name));
    }
    files.insert(files.end(), std::begin(kMoreModels), std::end(kMoreModels));
    return files;
}

bool WriteText(const fs::path& path, const std::string& text, std::string* error) {
    AtomicFile file;
    if (!file.Open(path.string(), error)) return false;
    file.Write(text);
    return file.Commit(error);
}

template <class Files>
bool CopyFiles(const fs::path& from, const fs::path& to, const Files& files, std::string* error) {
    constexpr uint64_t kMaxBytes = uint64_t{1} << 30;
    for (const auto& file : files) {
        auto bytes = ReadWholeFile((from / file).string(), kMaxBytes, error);
        if (!bytes || !WriteText(to / file, *bytes, error)) return false;
    }
    return true;
}

}  // namespace

bool WriteDemoScene(const std::string& folder, const DemoOptions& options, std::string* error) {
    fs::path root(folder);
    std::error_code failure;
    for (const char* part : {"images", "models"}) {
        fs::create_directories(root / part, failure);
        if (!failure) continue;
        *error = fmt::format("{}: cannot create the folder: {}", (root / part).string(),
                             failure.message());
        return false;
    }
    double items = std::clamp(options.items, 1e3, 1e8);
    demo::Valley valley(NumProcessors());
    fs::path data(options.dataFolder);
    return CopyFiles(data / "models", root / "models", ModelFiles(), error) &&
           CopyFiles(data / "scenes" / "images", root / "images", kMoreImages, error) &&
           CopyFiles(data / "scenes", root, kMoreScenes, error) &&
           WriteImages(root / "images", valley, error) &&
           WriteText(root / "models" / "track.obj", demo::RoadMesh(valley), error) &&
           WriteText(root / "forest.json", demo::Description(valley, items), error);
}

#include "host/io/gltf_image.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/io/bitmap.h"

namespace {

constexpr int kBakedSize = 512;
constexpr uint64_t kMaxFileBytes = uint64_t{1} << 30;

const BitmapTex* AsBitmap(const Texmap* map) { return dynamic_cast<const BitmapTex*>(map); }

// The maps that an image stands for; solid ones count as their middle colour.
const Texmap* ColorMap(const StandardMtl& m) {
    return m.diffuseMap && !IsSolid(*m.diffuseMap.Get()) ? m.diffuseMap.Get() : nullptr;
}
const Texmap* AlphaMap(const StandardMtl& m) {
    return m.opacityMap && !IsSolid(*m.opacityMap.Get()) ? m.opacityMap.Get() : nullptr;
}

// Whether the opacity map is no more than the alpha of the diffuse image.
bool IsOwnAlpha(const StandardMtl& m) {
    const BitmapTex *color = AsBitmap(ColorMap(m)), *alpha = AsBitmap(AlphaMap(m));
    return color && alpha && alpha->alphaOnly && !color->alphaOnly &&
           ((color->Image() && color->Image() == alpha->Image()) ||
            (!color->File().empty() && color->File() == alpha->File()));
}

std::string MapKey(const Texmap* map) {
    if (!map) return "-";
    auto* bitmap = AsBitmap(map);
    if (bitmap && !bitmap->File().empty())
        return fmt::format("file:{}:{}", bitmap->alphaOnly, bitmap->File());
    if (bitmap)
        return fmt::format("image:{}:{}", bitmap->alphaOnly, fmt::ptr(bitmap->Image().get()));
    return fmt::format("map:{}", fmt::ptr(map));
}

std::string MimeType(const std::string& bytes) {
    if (bytes.compare(0, 8, "\x89PNG\r\n\x1A\n") == 0) return "image/png";
    return bytes.compare(0, 3, "\xFF\xD8\xFF") == 0 ? "image/jpeg" : "";
}

std::string ImageName(const StandardMtl& m) {
    auto* bitmap = AsBitmap(ColorMap(m) ? ColorMap(m) : AlphaMap(m));
    std::string file = bitmap ? std::filesystem::path(bitmap->File()).stem().string() : "";
    std::string name = !file.empty() ? file : !m.name->empty() ? m.name.Get() : "texture";
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '_') c = '_';
    return name;
}

// The image of a map: a bitmap's own size, placement left out as it stands beside the texture; any
// other map over [0, 1] x [0, 1], placement included.
struct Plane {
    const Texmap* map;
    int width = kBakedSize, height = kBakedSize;

    explicit Plane(const Texmap* m) : map(m) {
        if (auto* bitmap = AsBitmap(m); bitmap && bitmap->Image())
            width = bitmap->Image()->Width(), height = bitmap->Image()->Height();
    }
    AColor At(float u, float v) const {
        auto* bitmap = AsBitmap(map);
        if (!bitmap) return map->EvalColor({{u, v, 0}, {}});
        const Bitmap& image = *bitmap->Image();
        AColor c = image.Pixel(std::min(int(u * float(width)), width - 1),
                               std::min(int(v * float(height)), height - 1));
        return bitmap->alphaOnly ? AColor{1, 1, 1, c.a} : c;
    }
};

uint8_t ToByte(float f) { return f > 0 ? uint8_t(std::min(f, 1.0f) * 255 + 0.5f) : uint8_t{0}; }

// Colour and alpha at the centres of the larger image's pixels.
Bitmap Compose(const StandardMtl& m) {
    const Texmap *color = ColorMap(m), *alpha = AlphaMap(m);
    int width = 1, height = 1;
    for (const Texmap* map : {color, alpha}) {
        if (!map) continue;
        Plane plane(map);
        width = std::max(width, plane.width), height = std::max(height, plane.height);
    }
    int channels = alpha ? 4 : 3;
    std::vector<uint8_t> values;
    values.reserve(size_t(width) * size_t(height) * size_t(channels));
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column) {
            float u = (float(column) + 0.5f) / float(width);
            float v = 1 - (float(row) + 0.5f) / float(height);
            Color c = color ? Plane(color).At(u, v).Rgb() : Color{1, 1, 1};
            for (float f : {c.r, c.g, c.b}) values.push_back(ToByte(f));
            if (!alpha) continue;
            AColor a = Plane(alpha).At(u, v);
            values.push_back(ToByte(Luminance(a.Rgb()) * a.a));
        }
    return {width, height, channels, std::move(values)};
}

bool EncodePng(const Bitmap& bitmap, std::string* bytes, std::string* error) {
    // The image library writes to files only through names with an ending; one in the folder for
    // temporary files serves, and is removed at once.
    std::string pattern = (std::filesystem::temp_directory_path() / "dravin-XXXXXX.png").string();
    int fd = mkstemps(pattern.data(), 4);
    if (fd < 0) return *error = "cannot make a temporary file for a texture", false;
    close(fd);
    bool ok = WriteBitmap(pattern, bitmap, error);
    std::optional<std::string> read =
        ok ? ReadWholeFile(pattern, kMaxFileBytes, error) : std::nullopt;
    std::remove(pattern.c_str());
    if (read) *bytes = std::move(*read);
    return read.has_value();
}

}  // namespace

bool IsSolid(const Texmap& map) { return dynamic_cast<const NoiseTex*>(&map) != nullptr; }

std::string GltfImageKey(const StandardMtl& material) {
    if (!ColorMap(material) && !AlphaMap(material)) return {};
    std::string alpha = IsOwnAlpha(material) ? "-" : MapKey(AlphaMap(material));
    return MapKey(ColorMap(material)) + "|" + alpha;
}

bool MakeGltfImage(const StandardMtl& material, GltfImage* image, std::string* error) {
    for (Texmap* map : {material.diffuseMap.Get(), material.opacityMap.Get()})
        if (map && !map->Update(0, error)) return false;
    image->name = ImageName(material);
    auto* color = AsBitmap(ColorMap(material));
    bool isWholeImage = color && !color->alphaOnly && (!AlphaMap(material) || IsOwnAlpha(material));
    if (isWholeImage && !color->File().empty()) {
        std::optional<std::string> bytes = ReadWholeFile(color->File(), kMaxFileBytes, error);
        if (!bytes) return false;
        image->mimeType = MimeType(*bytes);
        if (!image->mimeType.empty()) return image->bytes = std::move(*bytes), true;
    }
    image->mimeType = "image/png";
    if (isWholeImage) return EncodePng(*color->Image(), &image->bytes, error);
    return EncodePng(Compose(material), &image->bytes, error);
}

#include "host/io/bitmap.h"

#include <algorithm>
#include <array>
#include <type_traits>

#include <fmt/format.h>

#include "host/base/atomic_file.h"
#include "host/base/memory_file.h"
#include "host/io/grey_bmp.h"
#include "host/io/image_input.h"

namespace {

// Only files of these kinds are written.
constexpr std::array kWrittenFormats{"png", "tiff", "openexr", "jpeg", "bmp", "targa", "hdr"};

bool IsWrittenFormat(const std::string& format) {
    return std::find(kWrittenFormats.begin(), kWrittenFormats.end(), format) !=
           kWrittenFormats.end();
}

// The kind of a list's samples.
template <class T>
constexpr ImageSample kSampleOf = std::is_same_v<T, uint8_t>    ? ImageSample::kUInt8
                                  : std::is_same_v<T, uint16_t> ? ImageSample::kUInt16
                                                                : ImageSample::kFloat;

template <class T>
bool ReadValues(OpenedImage& image, int channels, Bitmap::Data* data, std::string* why) {
    const ImageHeader& header = image.Header();
    std::vector<T> values(size_t(header.width) * size_t(header.height) * size_t(channels));
    bool ok = image.Read(channels, kSampleOf<T>, values.data(), why);
    *data = std::move(values);
    return ok;
}

// Grey and something that is not alpha counts as grey alone.
int ChannelsKept(const ImageHeader& header) {
    if (header.channels == 2 && header.alphaChannel != 1) return 1;
    return std::min(header.channels, 4);
}

std::shared_ptr<const Bitmap> ReadOpened(OpenedImage& image, const std::string& name,
                                         std::string* error) {
    const ImageHeader& header = image.Header();
    int channels = ChannelsKept(header);
    Bitmap::Data data;
    std::string why;
    bool ok =
        header.sample == ImageSample::kUInt8    ? ReadValues<uint8_t>(image, channels, &data, &why)
        : header.sample == ImageSample::kUInt16 ? ReadValues<uint16_t>(image, channels, &data, &why)
                                                : ReadValues<float>(image, channels, &data, &why);
    if (ok) return std::make_shared<Bitmap>(header.width, header.height, channels, std::move(data));
    *error = fmt::format("{}: cannot read the image: {}", name, why);
    return nullptr;
}

// The samples in which a format stores an image.
ImageSample StoredSamples(const std::string& format, const Bitmap& image, bool fullFloat) {
    if (format == "openexr") return fullFloat ? ImageSample::kFloat : ImageSample::kHalf;
    if (format == "hdr") return ImageSample::kFloat;
    bool isDeep = format == "png" || format == "tiff";
    bool isBytes = std::holds_alternative<std::vector<uint8_t>>(image.Values());
    return isDeep && !isBytes ? ImageSample::kUInt16 : ImageSample::kUInt8;
}

ImageToWrite ToWrite(const Bitmap& image, ImageSample stored) {
    ImageToWrite result;
    result.width = image.Width(), result.height = image.Height();
    result.channels = image.Channels(), result.hasAlpha = image.HasAlpha();
    result.stored = stored;
    std::visit(
        [&](auto& values) {
            result.sample = kSampleOf<std::decay_t<decltype(values[0])>>;
            result.values = values.data();
        },
        image.Values());
    return result;
}

}  // namespace

std::shared_ptr<const Bitmap> ReadImage(const std::string& file, size_t moreBytesPerPixel,
                                        ImageError* error) {
    return CatchImageExceptions(file, &error->text, [&]() -> std::shared_ptr<const Bitmap> {
        if (auto grey = ReadGreyBmpFile(file, moreBytesPerPixel)) return grey;
        OpenedImage image = OpenImage(file, {moreBytesPerPixel, 0});
        if (image) return ReadOpened(image, file, &error->text);
        *error = {image.error, image.isLimit};
        return nullptr;
    });
}

std::shared_ptr<const Bitmap> ReadBitmap(const std::string& file, std::string* error) {
    ImageError failure;
    std::shared_ptr<const Bitmap> image = ReadImage(file, 0, &failure);
    if (!image) *error = failure.text;
    return image;
}

std::shared_ptr<const Bitmap> ReadBitmapFromMemory(std::string_view bytes, const std::string& name,
                                                   std::string* error, uint64_t bytesBefore) {
    return CatchImageExceptions(name, error, [&]() -> std::shared_ptr<const Bitmap> {
        OpenedImage image = OpenImageBytes(bytes, name, {0, bytesBefore});
        if (image) return ReadOpened(image, name, error);
        *error = image.error;
        return nullptr;
    });
}

bool WriteBitmap(const std::string& file, const Bitmap& image, std::string* error, bool fullFloat) {
    auto fail = [&](const std::string& why) {
        *error = fmt::format("{}: cannot write the image: {}", file, why);
        return false;
    };
    std::string why;
    const ImageModule* module = LoadImageModule(&why);
    if (!module) return fail(why);
    std::string format = module->formatOf(file.c_str());
    if (!IsWrittenFormat(format))
        return fail(
            "the ending names no image format, expected .png, .exr, .jpg, .tif, .bmp, .tga or "
            ".hdr");
    if (image.IsEmpty()) return fail("it has no pixels");
    AtomicFile target;
    MemoryFile memory;
    if (!target.Open(file, error)) return false;
    ImageToWrite written = ToWrite(image, StoredSamples(format, image, fullFloat));
    if (!module->write(format.c_str(), memory.Path().c_str(), written, &why)) return fail(why);
    return memory.CopyTo(target, error) && target.Commit(error);
}

std::shared_ptr<BitmapTex> MakeBitmapTex(const std::string& file) {
    auto map = std::make_shared<BitmapTex>(ReadBitmap);
    map->SetFile(file);
    return map;
}

#include "host/io/bitmap.h"

#include <array>

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include "host/base/atomic_file.h"
#include "host/base/memory_file.h"
#include "host/io/image_input.h"

namespace {

// Only files of these kinds are written.
constexpr std::array kWrittenFormats{"png", "tiff", "openexr", "jpeg", "bmp", "targa", "hdr"};

bool IsWrittenFormat(const std::string& format) {
    return std::find(kWrittenFormats.begin(), kWrittenFormats.end(), format) !=
           kWrittenFormats.end();
}

template <class T>
bool ReadValues(OIIO::ImageInput& input, int channels, Bitmap::Data* data) {
    const OIIO::ImageSpec& spec = input.spec();
    std::vector<T> values(size_t(spec.width) * size_t(spec.height) * size_t(channels));
    bool ok = input.read_image(0, 0, 0, channels, OIIO::BaseTypeFromC<T>::value, values.data());
    *data = std::move(values);
    return ok;
}

// Grey and something that is not alpha counts as grey alone.
int ChannelsKept(const OIIO::ImageSpec& spec) {
    if (spec.nchannels == 2 && spec.alpha_channel != 1) return 1;
    return std::min(spec.nchannels, 4);
}

std::shared_ptr<const Bitmap> ReadOpened(OIIO::ImageInput* input, const std::string& name,
                                         std::string* error) {
    const OIIO::ImageSpec& spec = input->spec();
    int channels = ChannelsKept(spec);
    Bitmap::Data data;
    bool ok = false;
    switch (spec.format.basetype) {
        case OIIO::TypeDesc::UINT8:
            ok = ReadValues<uint8_t>(*input, channels, &data);
            break;
        case OIIO::TypeDesc::UINT16:
            ok = ReadValues<uint16_t>(*input, channels, &data);
            break;
        default:
            ok = ReadValues<float>(*input, channels, &data);
            break;
    }
    if (!ok) {
        *error = fmt::format("{}: cannot read the image: {}", name, ImageReason(input->geterror()));
        return nullptr;
    }
    return std::make_shared<Bitmap>(spec.width, spec.height, channels, std::move(data));
}

// The type in which a format stores the image.
OIIO::TypeDesc StoredType(const OIIO::ImageOutput& output, const Bitmap& image, bool fullFloat) {
    std::string format = output.format_name();
    if (format == "openexr") return fullFloat ? OIIO::TypeDesc::FLOAT : OIIO::TypeDesc::HALF;
    if (format == "hdr") return OIIO::TypeDesc::FLOAT;
    bool isDeep = format == "png" || format == "tiff";
    bool isBytes = std::holds_alternative<std::vector<uint8_t>>(image.Values());
    return isDeep && !isBytes ? OIIO::TypeDesc::UINT16 : OIIO::TypeDesc::UINT8;
}

OIIO::TypeDesc TypeInMemory(const Bitmap& image) {
    if (std::holds_alternative<std::vector<uint8_t>>(image.Values())) return OIIO::TypeDesc::UINT8;
    if (std::holds_alternative<std::vector<uint16_t>>(image.Values()))
        return OIIO::TypeDesc::UINT16;
    return OIIO::TypeDesc::FLOAT;
}

OIIO::ImageSpec WriteSpec(const OIIO::ImageOutput& output, const Bitmap& image, bool fullFloat) {
    OIIO::ImageSpec spec(image.Width(), image.Height(), image.Channels(),
                         StoredType(output, image, fullFloat));
    if (image.Channels() == 1) spec.channelnames = {"Y"};
    if (image.Channels() == 2) spec.channelnames = {"Y", "A"};
    if (image.HasAlpha()) spec.alpha_channel = image.Channels() - 1;
    spec.attribute("oiio:UnassociatedAlpha", 1);
    return spec;
}

}  // namespace

std::shared_ptr<const Bitmap> ReadImage(const std::string& file, size_t moreBytesPerPixel,
                                        ImageError* error) {
    return CatchImageExceptions(file, &error->text, [&]() -> std::shared_ptr<const Bitmap> {
        OpenedImage image = OpenImage(file, {moreBytesPerPixel, 0});
        if (image.input) return ReadOpened(image.input.get(), file, &error->text);
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
    PrepareImageLibrary();
    std::unique_ptr<OIIO::ImageInput> input = ImageReaderFor(bytes, name, error);
    if (!input) return nullptr;
    OIIO::Filesystem::IOMemReader reader(const_cast<char*>(bytes.data()), bytes.size());
    OIIO::Filesystem::IOProxy* proxy = &reader;
    OIIO::ImageSpec config = ImageReadConfig(), spec;
    config.attribute("oiio:ioproxy", OIIO::TypeDesc::PTR, &proxy);
    return CatchImageExceptions(name, error, [&]() -> std::shared_ptr<const Bitmap> {
        std::string problem;
        bool isLimit = false;
        if (!input->supports("ioproxy") || !input->open("memory", spec, config))
            problem = ImageReason(input->geterror());
        else
            problem = CheckImageHeader(input->spec(), bytes.size(), {0, bytesBefore}, &isLimit);
        if (problem.empty()) return ReadOpened(input.get(), name, error);
        *error = fmt::format("{}: cannot read the image: {}", name, problem);
        return nullptr;
    });
}

bool WriteBitmap(const std::string& file, const Bitmap& image, std::string* error, bool fullFloat) {
    PrepareImageLibrary();
    std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(file);
    if (!output || !IsWrittenFormat(output->format_name())) {
        OIIO::geterror();  // the library keeps the message until it is asked for
        *error = fmt::format(
            "{}: cannot write the image: the ending names no image format, "
            "expected .png, .exr, .jpg, .tif, .bmp, .tga or .hdr",
            file);
        return false;
    }
    if (image.IsEmpty()) {
        *error = fmt::format("{}: cannot write the image: it has no pixels", file);
        return false;
    }
    AtomicFile target;
    MemoryFile memory;
    if (!target.Open(file, error)) return false;
    OIIO::TypeDesc type = TypeInMemory(image);
    bool ok =
        output->open(memory.Path(), WriteSpec(*output, image, fullFloat)) &&
        std::visit([&](auto& v) { return output->write_image(type, v.data()); }, image.Values());
    ok = output->close() && ok;
    if (!ok) {
        *error =
            fmt::format("{}: cannot write the image: {}", file, ImageReason(output->geterror()));
        return false;
    }
    return memory.CopyTo(target, error) && target.Commit(error);
}

std::shared_ptr<BitmapTex> MakeBitmapTex(const std::string& file) {
    auto map = std::make_shared<BitmapTex>(ReadBitmap);
    map->SetFile(file);
    return map;
}

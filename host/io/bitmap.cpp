#include "host/io/bitmap.h"

#include <array>
#include <mutex>

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include "host/base/atomic_file.h"
#include "host/base/file_input.h"
#include "host/base/memory_file.h"
#include "host/io/image_kind.h"

namespace {

// The best compression that formats reach on plain images; deflate ends at 1032.
constexpr uint64_t kBestCompression = 4096;
// Images of this size are allocated whatever the file's length.
constexpr uint64_t kHarmlessBytes = 16 << 20;
constexpr uint64_t kMaxImageBytes = uint64_t{8} << 30;

// Only files of these kinds are written.
constexpr std::array kWrittenFormats{"png", "tiff", "openexr", "jpeg", "bmp", "targa", "hdr"};

void PrepareLibrary() {
    static std::once_flag once;
    // One reader thread an image: the caller decides what runs in parallel.
    std::call_once(once, [] { OIIO::attribute("threads", 1); });
}

std::string Reason(const std::string& text) {
    std::string trimmed = text.substr(0, text.find('\n'));
    return trimmed.empty() ? "the file is damaged or of an unknown kind" : trimmed;
}

bool IsWrittenFormat(const std::string& format) {
    return std::find(kWrittenFormats.begin(), kWrittenFormats.end(), format) !=
           kWrittenFormats.end();
}

// Empty when the header is believable for a file of `fileBytes`.
std::string CheckHeader(const OIIO::ImageSpec& spec, uint64_t fileBytes) {
    if (spec.width < 1 || spec.height < 1 || spec.depth > 1 || spec.nchannels < 1)
        return fmt::format("{} x {} x {} pixels of {} channels, expected a plain image", spec.width,
                           spec.height, spec.depth, spec.nchannels);
    if (spec.width > kMaxImageSide || spec.height > kMaxImageSide)
        return fmt::format("{} x {} pixels, at most {} a side are read", spec.width, spec.height,
                           kMaxImageSide);
    uint64_t bytes = uint64_t(spec.width) * uint64_t(spec.height) * spec.pixel_bytes();
    if (bytes > kMaxImageBytes || (bytes > kHarmlessBytes && bytes / kBestCompression > fileBytes))
        return fmt::format("claims {} x {} pixels of {} channels, the file has {} bytes only",
                           spec.width, spec.height, spec.nchannels, fileBytes);
    return {};
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
                                         uint64_t fileBytes, std::string* error) {
    const OIIO::ImageSpec& spec = input->spec();
    if (std::string problem = CheckHeader(spec, fileBytes); !problem.empty()) {
        *error = fmt::format("{}: cannot read the image: {}", name, problem);
        return nullptr;
    }
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
        *error = fmt::format("{}: cannot read the image: {}", name, Reason(input->geterror()));
        return nullptr;
    }
    return std::make_shared<Bitmap>(spec.width, spec.height, channels, std::move(data));
}

// Some of the library's readers throw on damaged files.
template <class Read>
std::shared_ptr<const Bitmap> CatchExceptions(const std::string& name, std::string* error,
                                              const Read& read) {
    try {
        return read();
    } catch (const std::bad_alloc&) {
        *error = fmt::format("{}: cannot read the image: out of memory", name);
    } catch (const std::exception& e) {
        *error = fmt::format("{}: cannot read the image: the file is damaged ({})", name, e.what());
    }
    return nullptr;
}

OIIO::ImageSpec ReadConfig() {
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    return config;
}

// The library's reader for bytes that begin with `head`; null with a reason in `error`.
std::unique_ptr<OIIO::ImageInput> ReaderFor(std::string_view head, const std::string& name,
                                            std::string* error) {
    std::string kind = ImageKind(head, name);
    std::unique_ptr<OIIO::ImageInput> input;
    if (!kind.empty()) input = OIIO::ImageInput::create(kind);
    OIIO::geterror();  // the library keeps the message until it is asked for
    if (!input)
        *error = fmt::format("{}: cannot read the image: not a file of a known kind, expected {}",
                             name, kImageKinds);
    return input;
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

std::shared_ptr<const Bitmap> ReadBitmap(const std::string& file, std::string* error) {
    PrepareLibrary();
    uint64_t size = 0;
    std::optional<std::string> head = ReadFileHead(file, kImageKindBytes, &size, error);
    if (!head) return nullptr;
    std::unique_ptr<OIIO::ImageInput> input = ReaderFor(*head, file, error);
    if (!input) return nullptr;
    return CatchExceptions(file, error, [&]() -> std::shared_ptr<const Bitmap> {
        OIIO::ImageSpec spec;
        if (input->open(file, spec, ReadConfig()))
            return ReadOpened(input.get(), file, size, error);
        *error = fmt::format("{}: cannot read the image: {}", file, Reason(input->geterror()));
        return nullptr;
    });
}

std::shared_ptr<const Bitmap> ReadBitmapFromMemory(std::string_view bytes, const std::string& name,
                                                   std::string* error) {
    PrepareLibrary();
    std::unique_ptr<OIIO::ImageInput> input = ReaderFor(bytes, name, error);
    if (!input) return nullptr;
    OIIO::Filesystem::IOMemReader reader(const_cast<char*>(bytes.data()), bytes.size());
    OIIO::Filesystem::IOProxy* proxy = &reader;
    OIIO::ImageSpec config = ReadConfig(), spec;
    config.attribute("oiio:ioproxy", OIIO::TypeDesc::PTR, &proxy);
    return CatchExceptions(name, error, [&]() -> std::shared_ptr<const Bitmap> {
        if (input->supports("ioproxy") && input->open("memory", spec, config))
            return ReadOpened(input.get(), name, bytes.size(), error);
        *error = fmt::format("{}: cannot read the image: {}", name, Reason(input->geterror()));
        return nullptr;
    });
}

bool WriteBitmap(const std::string& file, const Bitmap& image, std::string* error, bool fullFloat) {
    PrepareLibrary();
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
        *error = fmt::format("{}: cannot write the image: {}", file, Reason(output->geterror()));
        return false;
    }
    return memory.CopyTo(target, error) && target.Commit(error);
}

std::shared_ptr<BitmapTex> MakeBitmapTex(const std::string& file) {
    auto map = std::make_shared<BitmapTex>(ReadBitmap);
    map->SetFile(file);
    return map;
}

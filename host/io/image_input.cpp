#include "host/io/image_input.h"

#include <algorithm>
#include <mutex>

#include "host/base/file_input.h"
#include "host/base/input_limit.h"
#include "host/io/bitmap.h"
#include "host/io/image_kind.h"

namespace {

// The best compression that formats reach on plain images; deflate ends at 1032.
constexpr uint64_t kBestCompression = 4096;
// Images of this size are allocated whatever the file's length.
constexpr uint64_t kHarmlessBytes = 16 << 20;

// Bytes of a value once it is read: what is neither 8 nor 16 bits wide becomes a float.
uint64_t BytesInMemory(OIIO::TypeDesc type) { return std::min<uint64_t>(type.basesize(), 4); }

// Without an input limit the sides are bounded by the numbers alone.
bool IsSideTooLong(const OIIO::ImageSpec& spec) {
    return std::max(spec.width, spec.height) > kMaxImageSide && InputLimit() != kNoInputLimit;
}

}  // namespace

void PrepareImageLibrary() {
    static std::once_flag once;
    // One reader thread an image: the caller decides what runs in parallel.
    std::call_once(once, [] { OIIO::attribute("threads", 1); });
}

std::string ImageReason(const std::string& text) {
    std::string trimmed = text.substr(0, text.find('\n'));
    return trimmed.empty() ? "the file is damaged or of an unknown kind" : trimmed;
}

std::string CheckImageHeader(const OIIO::ImageSpec& spec, uint64_t fileBytes, const MoreBytes& more,
                             bool* isLimit) {
    if (spec.width < 1 || spec.height < 1 || spec.depth > 1 || spec.nchannels < 1)
        return fmt::format("{} x {} x {} pixels of {} channels, expected a plain image", spec.width,
                           spec.height, spec.depth, spec.nchannels);
    if (IsSideTooLong(spec)) {
        *isLimit = true;
        return fmt::format(
            "{} x {} pixels, at most {} a side are read; cut or scale the image, or give "
            "--no-limit",
            spec.width, spec.height, kMaxImageSide);
    }
    uint64_t pixels = uint64_t(spec.width) * uint64_t(spec.height);
    uint64_t bytes = pixels * spec.pixel_bytes();
    if (bytes > kHarmlessBytes && bytes / kBestCompression > fileBytes)
        return fmt::format("claims {} x {} pixels of {} channels, the file has {} bytes only",
                           spec.width, spec.height, spec.nchannels, fileBytes);
    uint64_t taken = uint64_t(spec.nchannels) * BytesInMemory(spec.format) + more.perPixel;
    std::string heavy = OverInputLimit(pixels * taken + more.before);
    if (heavy.empty()) return {};
    *isLimit = true;
    return fmt::format("{} x {} pixels of {} channels: it {}", spec.width, spec.height,
                       spec.nchannels, heavy);
}

OIIO::ImageSpec ImageReadConfig() {
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    return config;
}

std::unique_ptr<OIIO::ImageInput> ImageReaderFor(std::string_view head, const std::string& name,
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

OpenedImage OpenImage(const std::string& file, const MoreBytes& more) {
    PrepareImageLibrary();
    OpenedImage image;
    std::optional<std::string> head =
        ReadFileHead(file, kImageKindBytes, &image.fileBytes, &image.error);
    if (!head) return image;
    std::unique_ptr<OIIO::ImageInput> input = ImageReaderFor(*head, file, &image.error);
    if (!input) return image;
    OIIO::ImageSpec spec;
    std::string problem;
    if (!input->open(file, spec, ImageReadConfig()))
        problem = ImageReason(input->geterror());
    else
        problem = CheckImageHeader(input->spec(), image.fileBytes, more, &image.isLimit);
    if (problem.empty())
        image.input = std::move(input);
    else
        image.error = fmt::format("{}: cannot read the image: {}", file, problem);
    return image;
}

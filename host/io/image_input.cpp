#include "host/io/image_input.h"

#include <algorithm>

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
uint64_t BytesInMemory(const ImageHeader& header) {
    return std::min<uint64_t>(header.sampleBytes, 4);
}

// Without an input limit the sides are bounded by the numbers alone.
bool IsSideTooLong(const ImageHeader& header) {
    return std::max(header.width, header.height) > kMaxImageSide && InputLimit() != kNoInputLimit;
}

// Empty when the header is believable for a file of `fileBytes` and its pixels may be held; else
// what is wrong with it.
std::string CheckHeader(const ImageHeader& header, uint64_t fileBytes, const MoreBytes& more,
                        bool* isLimit) {
    if (header.width < 1 || header.height < 1 || header.depth > 1 || header.channels < 1)
        return fmt::format("{} x {} x {} pixels of {} channels, expected a plain image",
                           header.width, header.height, header.depth, header.channels);
    if (IsSideTooLong(header)) {
        *isLimit = true;
        return fmt::format(
            "{} x {} pixels, at most {} a side are read; cut or scale the image, or give "
            "--no-limit",
            header.width, header.height, kMaxImageSide);
    }
    uint64_t pixels = uint64_t(header.width) * uint64_t(header.height);
    uint64_t bytes = pixels * header.pixelBytes;
    if (bytes > kHarmlessBytes && bytes / kBestCompression > fileBytes)
        return fmt::format("claims {} x {} pixels of {} channels, the file has {} bytes only",
                           header.width, header.height, header.channels, fileBytes);
    uint64_t taken = uint64_t(header.channels) * BytesInMemory(header) + more.perPixel;
    std::string heavy = OverInputLimit(pixels * taken + more.before);
    if (heavy.empty()) return {};
    *isLimit = true;
    return fmt::format("{} x {} pixels of {} channels: it {}", header.width, header.height,
                       header.channels, heavy);
}

// The image that `open` gives for the kind of file that begins with `head`, weighed.
template <class Open>
OpenedImage OpenKind(std::string_view head, const std::string& name, uint64_t fileBytes,
                     const MoreBytes& more, const Open& open) {
    OpenedImage image;
    std::string kind = ImageKind(head, name), problem;
    if (kind.empty()) {
        image.error =
            fmt::format("{}: cannot read the image: not a file of a known kind, expected {}", name,
                        kImageKinds);
        return image;
    }
    const ImageModule* module = LoadImageModule(&problem);
    ImageFilePtr file(module ? open(*module, kind.c_str(), &problem) : nullptr, {module});
    if (file) problem = CheckHeader(module->header(file.get()), fileBytes, more, &image.isLimit);
    if (problem.empty())
        image.Take(std::move(file));
    else
        image.error = fmt::format("{}: cannot read the image: {}", name, problem);
    return image;
}

}  // namespace

OpenedImage OpenImage(const std::string& file, const MoreBytes& more) {
    uint64_t fileBytes = 0;
    OpenedImage failed;
    std::optional<std::string> head =
        ReadFileHead(file, kImageKindBytes, &fileBytes, &failed.error);
    if (!head) return failed;
    return OpenKind(*head, file, fileBytes, more,
                    [&](const ImageModule& module, const char* kind, std::string* error) {
                        return module.open(kind, file.c_str(), error);
                    });
}

OpenedImage OpenImageBytes(std::string_view bytes, const std::string& name, const MoreBytes& more) {
    return OpenKind(bytes, name, bytes.size(), more,
                    [&](const ImageModule& module, const char* kind, std::string* error) {
                        return module.openBytes(kind, bytes.data(), bytes.size(), error);
                    });
}

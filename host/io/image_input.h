// Opening image files for reading: what the readers of pictures and of heights share.
//
// Includes the image library; only sources of host/io do so.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

struct OpenedImage {
    std::unique_ptr<OIIO::ImageInput> input;  // null with a reason in `error`
    uint64_t fileBytes = 0;
    std::string error;
    bool isLimit = false;  // the error is a limit, not a fault of the file
};

// What is weighed together with an image's pixels.
struct MoreBytes {
    uint64_t perPixel = 0;  // that the caller makes of each
    uint64_t before = 0;    // that the same file has taken already
};

// Called once before the library is used.
void PrepareImageLibrary();
// Finds the reader for the file's kind, opens the file and weighs its header (CheckImageHeader).
// Some of the library's readers throw on damaged files: see CatchImageExceptions.
OpenedImage OpenImage(const std::string& file, const MoreBytes& more = {});
// The library's reader for bytes that begin with `head`; null with a reason in `error`.
std::unique_ptr<OIIO::ImageInput> ImageReaderFor(std::string_view head, const std::string& name,
                                                 std::string* error);
// How images are opened: colours are not multiplied by alpha.
OIIO::ImageSpec ImageReadConfig();
// Empty when the header is believable for a file of `fileBytes` and its pixels, with what the
// caller makes of them, stay within the input limit (host/base/input_limit.h); else what is wrong
// with it.
std::string CheckImageHeader(const OIIO::ImageSpec& spec, uint64_t fileBytes, const MoreBytes& more,
                             bool* isLimit);
// What the library said, in one line.
std::string ImageReason(const std::string& text);

// Runs read(), which returns a pointer or a flag; a default one, with a reason in `error`, when it
// throws.
template <class Read>
auto CatchImageExceptions(const std::string& name, std::string* error, const Read& read)
    -> decltype(read()) {
    try {
        return read();
    } catch (const std::bad_alloc&) {
        *error = fmt::format("{}: cannot read the image: out of memory", name);
    } catch (const std::exception& e) {
        *error = fmt::format("{}: cannot read the image: the file is damaged ({})", name, e.what());
    }
    return {};
}

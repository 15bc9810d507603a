// Opening image files for reading: what the readers of pictures and of heights share.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "host/image/image_module.h"

// An image whose header is believable, or why there is none.
class OpenedImage {
public:
    std::string error;
    bool isLimit = false;  // the error is a limit, not a fault of the file

    explicit operator bool() const { return m_file != nullptr; }
    const ImageHeader& Header() const { return Module().header(m_file.get()); }
    // As the functions of ImageModule of these names; false with a reason in `why`.
    bool Read(int channels, ImageSample as, void* values, std::string* why) {
        return Module().read(m_file.get(), channels, as, values, why);
    }
    bool ReadRows(int first, int end, int channels, ImageSample as, void* values,
                  std::string* why) {
        return Module().readRows(m_file.get(), first, end, channels, as, values, why);
    }

    void Take(ImageFilePtr file) { m_file = std::move(file); }

private:
    const ImageModule& Module() const { return *m_file.get_deleter().module; }

    ImageFilePtr m_file{nullptr, {nullptr}};
};

// What is weighed together with an image's pixels.
struct MoreBytes {
    uint64_t perPixel = 0;  // that the caller makes of each
    uint64_t before = 0;    // that the same file has taken already
};

// Finds the reader for the file's kind, opens the file and weighs its header: a size that its bytes
// cannot make good, or pixels that, with what the caller makes of them, go beyond the input limit
// (host/base/input_limit.h) are refused before any pixel is allocated. Some of the library's
// readers throw on damaged files: see CatchImageExceptions.
OpenedImage OpenImage(const std::string& file, const MoreBytes& more = {});
// The same of bytes, which must outlive the image; `name` stands in messages.
OpenedImage OpenImageBytes(std::string_view bytes, const std::string& name, const MoreBytes& more);

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

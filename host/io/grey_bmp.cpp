#include "host/io/grey_bmp.h"

#include <array>
#include <optional>

#include "host/base/file_input.h"
#include "host/base/input_limit.h"
#include "host/io/bitmap.h"

namespace {

// The file header takes 14 bytes, the oldest image header 40 more, then follows the palette.
constexpr size_t kHeaderBytes = 54, kEntryBytes = 4, kMostEntries = 256;

struct GreyHeader {
    int width = 0, height = 0;  // rows stand bottom up
    size_t pixels = 0;          // where they start
    size_t rowBytes = 0;        // whole words
    std::array<uint8_t, kMostEntries> grey{};
};

uint32_t Number(std::string_view bytes, size_t offset, size_t count) {
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i) value |= uint32_t(uint8_t(bytes[offset + i])) << (8 * i);
    return value;
}

// The palette as grey values; false when one of its colours is not grey. Entries are blue, green,
// red and nothing.
bool ReadPalette(std::string_view entries, GreyHeader* header) {
    for (size_t i = 0; i * kEntryBytes < entries.size(); ++i) {
        std::string_view entry = entries.substr(i * kEntryBytes, 3);
        if (entry[0] != entry[1] || entry[1] != entry[2]) return false;
        header->grey[i] = uint8_t(entry[0]);
    }
    return true;
}

bool IsKind(std::string_view bytes) {
    return bytes.size() >= kHeaderBytes && bytes.starts_with("BM") && Number(bytes, 14, 4) == 40 &&
           Number(bytes, 26, 2) == 1 && Number(bytes, 28, 2) == 8 && Number(bytes, 30, 4) == 0;
}

std::optional<GreyHeader> ReadHeader(std::string_view bytes) {
    if (!IsKind(bytes)) return std::nullopt;
    GreyHeader header;
    header.width = int(Number(bytes, 18, 4)), header.height = int(Number(bytes, 22, 4));
    if (header.width < 1 || header.width > kMaxImageSide) return std::nullopt;
    if (header.height < 1 || header.height > kMaxImageSide) return std::nullopt;
    header.pixels = Number(bytes, 10, 4);
    header.rowBytes = (size_t(header.width) + 3) / 4 * 4;
    size_t paletteBytes =
        kMostEntries * kEntryBytes;  // of a full one, so that all indices are good
    bool isFull = Number(bytes, 46, 4) % kMostEntries == 0;
    bool fits = header.pixels >= kHeaderBytes + paletteBytes && header.pixels <= bytes.size() &&
                (bytes.size() - header.pixels) / header.rowBytes >= size_t(header.height);
    if (!isFull || !fits) return std::nullopt;
    if (!ReadPalette(bytes.substr(kHeaderBytes, paletteBytes), &header)) return std::nullopt;
    return header;
}

}  // namespace

std::shared_ptr<const Bitmap> ReadGreyBmp(std::string_view bytes, size_t moreBytesPerPixel) {
    std::optional<GreyHeader> header = ReadHeader(bytes);
    if (!header) return nullptr;
    uint64_t numPixels = uint64_t(header->width) * uint64_t(header->height);
    if (!OverInputLimit(numPixels * (1 + moreBytesPerPixel)).empty()) return nullptr;
    std::vector<uint8_t> values;
    values.reserve(numPixels);
    for (size_t y = size_t(header->height); y-- > 0;) {
        size_t row = header->pixels + y * header->rowBytes;
        for (char index : bytes.substr(row, size_t(header->width)))
            values.push_back(header->grey[uint8_t(index)]);
    }
    return std::make_shared<Bitmap>(header->width, header->height, 1, std::move(values));
}

std::shared_ptr<const Bitmap> ReadGreyBmpFile(const std::string& file, size_t moreBytesPerPixel) {
    MappedFile map;
    std::string ignored;
    if (!map.Open(file, &ignored)) return nullptr;
    std::shared_ptr<const Bitmap> image = ReadGreyBmp(map.Bytes(), moreBytesPerPixel);
    return map.WasCut() ? nullptr : image;
}

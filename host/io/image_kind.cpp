#include "host/io/image_kind.h"

#include <cctype>

namespace {

using std::string_view_literals::operator""sv;

struct Mark {
    size_t offset;
    std::string_view bytes;
    const char* kind;
};

constexpr Mark kMarks[] = {
    {0, "\x89PNG\r\n\x1A\n"sv, "png"},
    {0, "\xFF\xD8\xFF"sv, "jpeg"},
    {0, "II\x2A\0"sv, "tiff"},
    {0, "MM\0\x2A"sv, "tiff"},
    {0, "II\x2B\0"sv, "tiff"},
    {0, "MM\0\x2B"sv, "tiff"},
    {0, "\x76\x2F\x31\x01"sv, "openexr"},
    {0, "#?RADIANCE"sv, "hdr"},
    {0, "#?RGBE"sv, "hdr"},
    {0, "GIF8"sv, "gif"},
    {8, "WEBP"sv, "webp"},
    {0, "8BPS"sv, "psd"},
    {0, "DDS "sv, "dds"},
    {0, "\x01\xDA"sv, "sgi"},
    {0, "FOR4"sv, "iff"},
    {4, "jP  \r\n\x87\n"sv, "jpeg2000"},
    {0, "\xFF\x4F\xFF\x51"sv, "jpeg2000"},
    {0, "BM"sv, "bmp"},
};

// "P1" to "P6" and "PF", "Pf", each followed by a blank.
bool IsPnm(std::string_view head) {
    if (head.size() < 3 || head[0] != 'P') return false;
    bool isDigit = head[1] >= '1' && head[1] <= '6';
    return (isDigit || head[1] == 'F' || head[1] == 'f') && std::isspace(uint8_t(head[2]));
}

bool EndsInTga(std::string_view name) {
    if (name.size() < 4) return false;
    std::string ending(name.substr(name.size() - 4));
    for (char& c : ending) c = char(std::tolower(uint8_t(c)));
    return ending == ".tga";
}

}  // namespace

std::string ImageKind(std::string_view head, std::string_view fileName) {
    for (const Mark& mark : kMarks)
        if (head.size() >= mark.offset && head.substr(mark.offset, mark.bytes.size()) == mark.bytes)
            return mark.kind;
    if (IsPnm(head)) return "pnm";
    return EndsInTga(fileName) ? "targa" : "";
}

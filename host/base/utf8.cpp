#include "host/base/utf8.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Bytes at the start that are below 0x80, counted eight at a time.
size_t AsciiLength(std::string_view text) {
    size_t n = 0;
    for (uint64_t eight; n + sizeof eight <= text.size(); n += sizeof eight) {
        std::memcpy(&eight, text.data() + n, sizeof eight);
        if (eight & 0x8080808080808080u) break;
    }
    while (n < text.size() && uint8_t(text[n]) < 0x80) ++n;
    return n;
}

}  // namespace

size_t Utf8Length(std::string_view text) {
    auto byte = [&](size_t i) { return i < text.size() ? uint8_t(text[i]) : uint8_t{0}; };
    auto isTail = [&](size_t i) { return (byte(i) & 0xC0) == 0x80; };
    uint8_t lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead < 0xE0) return isTail(1) ? 2 : 0;
    if (lead >= 0xE0 && lead < 0xF0) {
        bool isAllowed = !(lead == 0xE0 && byte(1) < 0xA0) && !(lead == 0xED && byte(1) > 0x9F);
        return isAllowed && isTail(1) && isTail(2) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead < 0xF5) {
        bool isAllowed = !(lead == 0xF0 && byte(1) < 0x90) && !(lead == 0xF4 && byte(1) > 0x8F);
        return isAllowed && isTail(1) && isTail(2) && isTail(3) ? 4 : 0;
    }
    return 0;
}

bool IsUtf8(std::string_view text) {
    for (;;) {
        text.remove_prefix(AsciiLength(text));
        if (text.empty()) return true;
        size_t n = Utf8Length(text);
        if (n == 0) return false;
        text.remove_prefix(n);
    }
}

std::string MendUtf8(std::string_view text) {
    std::string mended;
    mended.reserve(text.size());
    while (!text.empty()) {
        size_t n = Utf8Length(text);
        mended += n ? text.substr(0, n) : kReplacement;
        text.remove_prefix(n ? n : 1);
    }
    return mended;
}

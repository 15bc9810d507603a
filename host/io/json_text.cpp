#include "host/io/json_text.h"

namespace {

// Length of the UTF-8 sequence at the start of `text`, 0 when it is none (RFC 3629: no overlong
// forms, no surrogates, nothing beyond U+10FFFF).
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

void AppendControl(std::string& out, char c) {
    switch (c) {
        case '\n':
            out += "\\n";
            return;
        case '\t':
            out += "\\t";
            return;
        case '\r':
            out += "\\r";
            return;
        default:
            break;
    }
    const char* digits = "0123456789abcdef";
    out += "\\u00";
    out += digits[uint8_t(c) >> 4];
    out += digits[c & 15];
}

}  // namespace

void AppendJsonString(std::string& out, std::string_view text) {
    out += '"';
    while (!text.empty()) {
        size_t n = Utf8Length(text);
        char c = text[0];
        if (n == 0)
            out += "\xEF\xBF\xBD";
        else if (c == '"' || c == '\\')
            (out += '\\') += c;
        else if (uint8_t(c) < 0x20)
            AppendControl(out, c);
        else
            out.append(text.substr(0, n));
        text.remove_prefix(n ? n : 1);
    }
    out += '"';
}

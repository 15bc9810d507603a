#include "host/io/json_text.h"

#include "host/base/utf8.h"

namespace {

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

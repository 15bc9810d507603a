#include "host/io/usd_text.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/base/number_text.h"

namespace {

constexpr std::string_view kSeparator = ", ";

bool IsLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

std::string AsIdentifier(std::string_view name) {
    std::string identifier(name);
    std::replace_if(identifier.begin(), identifier.end(), std::not_fn(IsLetterOrDigit), '_');
    bool startsWell = !identifier.empty() && !(identifier[0] >= '0' && identifier[0] <= '9');
    if (!startsWell) identifier.insert(0, 1, '_');
    return identifier;
}

char* Append(char* out, std::string_view text) { return std::copy(text.begin(), text.end(), out); }

char* AppendTuple(char* out, std::initializer_list<float> values) {
    *out++ = '(';
    bool isFirst = true;
    for (float value : values) {
        if (!isFirst) out = Append(out, kSeparator);
        isFirst = false;
        out = WriteNumber(out, value);
    }
    *out++ = ')';
    return out;
}

}  // namespace

std::string UsdNames::Unique(std::string_view wanted) {
    std::string base = AsIdentifier(wanted), name = base;
    for (int k = 2; !m_taken.insert(name).second; ++k) name = fmt::format("{}_{}", base, k);
    return name;
}

std::string UsdDisplayName(const std::string& identifier, const std::string& name) {
    return identifier == name || name.empty() ? "" : "displayName = " + UsdQuoted(name);
}

std::string UsdQuoted(std::string_view text) {
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\')
            quoted.append({'\\', c});
        else if (c == '\n')
            quoted += "\\n";
        else if (static_cast<unsigned char>(c) < ' ')
            quoted += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        else
            quoted += c;
    }
    return quoted + '"';
}

std::string UsdAsset(std::string_view path) {
    const char* mark = path.find('@') == std::string_view::npos ? "@" : "@@@";
    return fmt::format("{}{}{}", mark, path, mark);
}

std::string UsdTuple(std::initializer_list<float> values) {
    std::string text(values.size() * (kNumberRoom + kSeparator.size()) + 2, ' ');
    text.resize(size_t(AppendTuple(text.data(), values) - text.data()));
    return text;
}

std::string UsdMatrix(const Matrix3& m) {
    std::string rows;
    for (int i = 0; i < 4; ++i) {
        const Point3& r = m.row[i];
        rows += (i > 0 ? ", " : "") + UsdTuple({r.x, r.y, r.z, i == 3 ? 1.0f : 0.0f});
    }
    return "( " + rows + " )";
}

void AppendUsdElement(TextBuffer& text, int32_t value) {
    text.EndAt(WriteNumber(Append(text.Room(2 * kNumberRoom), kSeparator), value));
}

void AppendUsdElement(TextBuffer& text, std::initializer_list<float> tuple) {
    char* out = text.Room((tuple.size() + 1) * (kNumberRoom + kSeparator.size()) + 2);
    text.EndAt(AppendTuple(Append(out, kSeparator), tuple));
}

UsdArrays::UsdArrays(AtomicFile& out, int threads, std::function<bool(uint64_t)> goOn)
    : m_out(out), m_texts(size_t(std::max(threads, 1))), m_goOn(std::move(goOn)) {}

// A line a piece.
void UsdArrays::WritePiece(std::string_view text, bool* isFirst) {
    if (text.empty()) return;
    text.remove_prefix(kSeparator.size());
    if (!*isFirst) m_out.Write(",\n");
    *isFirst = false;
    m_out.Write(text);
}

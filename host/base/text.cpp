#include "host/base/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include <fmt/format.h>

namespace {

template <class T>
std::optional<T> ParseWhole(std::string_view text) {
    T value{};
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

template <class T>
std::string Shortest(T value) {
    char buffer[64];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, end);
}

// Optimal string alignment: insert, delete, replace, and swap of neighbours cost one each.
size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
    for (size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
    for (size_t i = 1; i <= a.size(); ++i)
        for (size_t j = 1; j <= b.size(); ++j) {
            d[i][j] = std::min(
                {d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
        }
    return d[a.size()][b.size()];
}

}  // namespace

std::optional<double> ParseNumber(std::string_view text) { return ParseWhole<double>(text); }
std::optional<long long> ParseInteger(std::string_view text) { return ParseWhole<long long>(text); }

std::string FormatNumber(float value) { return Shortest(value); }
std::string FormatNumber(double value) { return Shortest(value); }

std::string FormatTwelveDigits(double value) {
    if (!std::isfinite(value)) return Shortest(value);
    if (value == 0) return std::signbit(value) ? "-0." : "0.";
    std::string text = fmt::format("{:.11e}", value);  // d.ddddddddddde-xx
    size_t e = text.find('e');
    int exponent = std::stoi(text.substr(e + 1));
    bool negative = text[0] == '-';
    std::string digits = text.substr(negative, 1) + text.substr(negative + 2, e - negative - 2);
    digits.erase(digits.find_last_not_of('0') + 1);
    std::string sign = negative ? "-" : "";
    if (exponent < -1 || exponent >= 12)
        return fmt::format("{}{}.{}e{}{:03}", sign, digits[0], digits.substr(1),
                           exponent < 0 ? '-' : '+', std::abs(exponent));
    if (exponent == -1) return sign + "0." + digits;
    size_t whole = size_t(exponent) + 1;
    if (digits.size() < whole) digits.append(whole - digits.size(), '0');
    return sign + digits.substr(0, whole) + "." + digits.substr(whole);
}

double ParseLeadingNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\v\f"), text.size()));
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    double value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        // Too large or too small to hold: as strtod, infinity or zero by the exponent's sign.
        bool tiny = std::string_view(text.data(), size_t(end - text.data())).find("e-") !=
                    std::string_view::npos;
        double size = tiny ? 0 : std::numeric_limits<double>::infinity();
        return text[0] == '-' ? -size : size;
    }
    return error == std::errc{} ? value : 0;
}

int ParseLeadingInteger(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\v\f"), text.size()));
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    int value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range)
        return text[0] == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    return error == std::errc{} ? value : 0;
}

std::string FormatGrouped(long long value) {
    std::string digits = fmt::format("{}", value);
    size_t first = digits[0] == '-' ? 1 : 0;
    for (size_t i = digits.size(); i > first + 3;) digits.insert(i -= 3, 1, ',');
    return digits;
}

std::string FormatCount(int n) {
    if (n <= 1000) return fmt::format("{}", n);
    if (n <= 1000000) return fmt::format("{:.1f}K", double(float(n) * 0.001f));
    return fmt::format("{:.1f}M", double(float(n) * 0.000001f));
}

std::vector<std::string> Split(std::string_view text, char separator) {
    std::vector<std::string> fields;
    while (true) {
        size_t end = text.find(separator);
        fields.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) return fields;
        text.remove_prefix(end + 1);
    }
}

std::string_view TrimRight(std::string_view text, std::string_view blanks) {
    size_t last = text.find_last_not_of(blanks);
    return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

std::string_view Trim(std::string_view text, std::string_view blanks) {
    size_t first = text.find_first_not_of(blanks);
    return first == text.npos ? std::string_view() : TrimRight(text.substr(first), blanks);
}

std::string NearestName(std::string_view name, const std::vector<std::string>& candidates) {
    constexpr size_t kLongestCompared = 64;  // the table is quadratic; longer names are no typos
    std::string nearest;
    size_t best = std::max<size_t>(1, name.size() / 3) + 1;
    if (name.size() > kLongestCompared) return nearest;
    for (const std::string& candidate : candidates) {
        if (candidate.size() > kLongestCompared) continue;
        size_t distance = EditDistance(name, candidate);
        if (distance < best) best = distance, nearest = candidate;
    }
    return nearest;
}

std::string DidYouMean(std::string_view name, const std::vector<std::string>& candidates) {
    std::string nearest = NearestName(name, candidates);
    return nearest.empty() ? "" : fmt::format(", did you mean \"{}\"?", nearest);
}

std::string ListedNames(const std::vector<std::string>& names, size_t most) {
    std::string text;
    for (size_t i = 0; i < std::min(names.size(), most); ++i)
        text += fmt::format("{}\"{}\"", i ? ", " : "", names[i]);
    return names.size() > most ? fmt::format("{} and {} more", text, names.size() - most) : text;
}

std::string CutText(std::string_view text, size_t n) {
    auto isStart = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    size_t end = 0;
    for (size_t count = 0; end < text.size(); ++end)
        if (isStart(text[end]) && count++ == n) break;
    return std::string(text.substr(0, end));
}

std::string FirstLine(std::string_view text) {
    constexpr size_t kMaxCharacters = 300;
    std::string_view line = Trim(text);
    line = TrimRight(line.substr(0, line.find('\n')));
    std::string cut = CutText(line, kMaxCharacters);
    return cut.size() < line.size() ? cut + "..." : cut;
}

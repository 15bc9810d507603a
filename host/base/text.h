// Numbers and names in text, independent of the process locale.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The whole text as a number with a decimal point; none for anything else ("", "1,5", "1x").
std::optional<double> ParseNumber(std::string_view text);
std::optional<long long> ParseInteger(std::string_view text);

// Shortest text that reads back as the same 32-bit float or double ("0.1", "1e+20", "nan", "inf").
std::string FormatNumber(float value);
std::string FormatNumber(double value);

// Number with twelve significant digits as the XML files hold it: always a point, no zeros after
// the last digit, an exponent of three digits below 0.1 and from 1e12 on. 100 is "100.", 0.05
// "5.e-002".
std::string FormatTwelveDigits(double value);

// Leading number of a text the way strtod and atoi read it with a decimal point: blanks first, then
// as much as makes a number, the rest ignored; 0 when there is none. Out-of-range integers
// saturate.
double ParseLeadingNumber(std::string_view text);
int ParseLeadingInteger(std::string_view text);

// Number with thousands grouping: 1234567 is "1,234,567".
std::string FormatGrouped(long long value);
// Compact count: n up to 1000 plain, up to a million as "1.5K", above as "2.5M".
std::string FormatCount(int n);

std::vector<std::string> Split(std::string_view text, char separator);
std::string_view TrimRight(std::string_view text, std::string_view blanks = " \t\r\n");
// Without the blanks at both ends.
std::string_view Trim(std::string_view text, std::string_view blanks = " \t\r\n");

// The candidate nearest to `name` by edit distance (Damerau-Levenshtein, Damerau 1964), if it is
// near enough to be what the user meant: at most a third of the name's length away. Empty when none
// is.
std::string NearestName(std::string_view name, const std::vector<std::string>& candidates);
// `, did you mean "x"?` for the nearest candidate, or nothing.
std::string DidYouMean(std::string_view name, const std::vector<std::string>& candidates);

// `"a", "b" and 3 more`: the first names, ten unless told. Empty where there are none.
std::string ListedNames(const std::vector<std::string>& names, size_t most = 10);

// At most n characters (code points) of UTF-8 text; a cut never splits one.
std::string CutText(std::string_view text, size_t n);

// The first line that is not blank, for a message: at most 300 characters, then three dots. Empty
// when there is none.
std::string FirstLine(std::string_view text);

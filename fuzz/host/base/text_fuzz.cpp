#include <cmath>

#include "fuzz/fuzz_file.h"
#include "host/base/text.h"

// Numbers come back from their texts, cuts keep whole characters, nothing looks beyond the end.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    if (std::optional<double> number = ParseNumber(text)) {
        std::optional<double> again = ParseNumber(FormatNumber(*number));
        Promise(again && (*again == *number || (std::isnan(*again) && std::isnan(*number))));
        FormatTwelveDigits(*number);
    }
    if (std::optional<long long> integer = ParseInteger(text)) {
        Promise(!FormatGrouped(*integer).empty());
        FormatCount(int(*integer & 0x7FFFFFFF));
    }
    double leading = ParseLeadingNumber(text);
    FormatTwelveDigits(leading);
    FormatNumber(float(leading));
    ParseLeadingInteger(text);
    Promise(text.substr(0, CutText(text, 5).size()) == CutText(text, 5));
    std::vector<std::string> words = Split(text.substr(0, 200), ';');
    Promise(words.size() >= 1);
    NearestName(words[0], words);
    return 0;
}

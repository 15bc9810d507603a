#include "Dravin/storage/template_record.h"

#include <codecvt>
#include <locale>

#include "host/base/utf8.h"

namespace {

using Utf16Converter = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;

// Nothing for text that is none.
std::u16string Utf16(const std::string& text) {
    return Utf16Converter("", u"").from_bytes(MendUtf8(text));
}
std::string Utf8(const std::u16string& units) { return Utf16Converter("", u"").to_bytes(units); }

constexpr size_t kTextUnits = 100;

void PutText(std::string& record, size_t place, const std::string& text) {
    std::u16string units = Utf16(text);
    units.resize(kTextUnits - 1);
    for (size_t i = 0; i < units.size(); ++i) {
        record[(place * kTextUnits + i) * 2] = char(units[i] & 0xFF);
        record[(place * kTextUnits + i) * 2 + 1] = char(units[i] >> 8);
    }
}

std::string GetText(std::string_view record, size_t place) {
    std::u16string units;
    for (size_t i = 0; i < kTextUnits - 1; ++i) {
        size_t at = (place * kTextUnits + i) * 2;
        if (at + 1 >= record.size()) break;
        auto unit = char16_t(uint8_t(record[at]) | uint8_t(record[at + 1]) << 8);
        if (unit == 0) break;
        units += unit;
    }
    return Utf8(units);
}

}  // namespace

std::string TemplateRecord(const TSpecGeom& entry) {
    std::string record(kTemplateRecordBytes, '\0');
    const std::string* texts[] = {&entry.name, &entry.file, &entry.object, &entry.image};
    for (size_t i = 0; i < 4; ++i) PutText(record, i, *texts[i]);
    return record;
}

std::shared_ptr<TSpecGeom> ReadTemplateRecord(std::string_view record) {
    return std::make_shared<TSpecGeom>(GetText(record, 0), GetText(record, 1), GetText(record, 2),
                                       GetText(record, 3));
}

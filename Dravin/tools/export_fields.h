// What the XML export can say of an item: the fields in their fixed order.
#pragma once

#include <bitset>
#include <span>
#include <string>
#include <string_view>
#include <vector>

enum class TExportField : int {
    kIndex,
    kGeomID,
    kGeomType,
    kColorID,
    kDescription,
    kSize,
    kProbability,
    kMaterial,
    kPosition,
    kLocalPosition,
    kSeed,
    kScale,
    kRotation,
    kLocalTM,
    kFinalTM,
    kTintColor,
    kTintMult,
    kMirror,
    kLookAtVector,
    kLightVector,
    kBillboardVector,
    kZOffset,
    kAnimSample,
    kAnimOffset,
    kSurfNormal,
    kSurfDirection,
    kSurfFace,
    kSurfBary,
};
inline constexpr size_t kNumExportFields = 28;

struct TExportFieldName {
    const char* key;          // attribute in the document, name in settings and options
    const char* description;  // for users
};
// By TExportField.
std::span<const TExportFieldName, kNumExportFields> ExportFieldNames();

class TExportFields {
public:
    static TExportFields All() { return TExportFields(~std::bitset<kNumExportFields>()); }
    static TExportFields None() { return TExportFields({}); }
    // Keys separated by commas, semicolons or blanks. Those that are no keys go to `unknown`.
    static TExportFields Parse(std::string_view keys, std::vector<std::string>* unknown);

    bool Has(TExportField field) const { return m_fields[size_t(field)]; }
    void Add(TExportField field) { m_fields.set(size_t(field)); }

private:
    explicit TExportFields(std::bitset<kNumExportFields> fields) : m_fields(fields) {}

    std::bitset<kNumExportFields> m_fields;
};

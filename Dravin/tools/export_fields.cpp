#include "Dravin/tools/export_fields.h"

namespace {

// Texts that users know, the open bracket of the rotation included.
constexpr TExportFieldName kNames[] = {
    {"index", "Index"},
    {"geomID", "Index in the Geometry List (zero based)"},
    {"geomType", "Type of object in Geometry List (0:disabled, 1:template, 2:custom)"},
    {"colorID", "Color ID"},
    {"description", "Description in Geometry List"},
    {"size", "Size in Geometry List (width,height)"},
    {"probability", "Probability value in Geometry List"},
    {"material", "Material name in Geometry List"},
    {"position", "Position in world coordinates [X,Y,Z]"},
    {"localPosition", "Position in local coordinates [X,Y,Z]"},
    {"seed", "Random seed"},
    {"scale", "Final Scale [X,Y,Z]"},
    {"rotation", "Final Rotation (4x3 Matrix"},
    {"localTM", "Transformation Matrix in local coordinates (4x3 Matrix)"},
    {"finalTM", "Transformation Matrix in world coordinates (4x3 Matrix)"},
    {"tintColor", "Tint Color [R,G,B]"},
    {"tintMult", "Tint Multiplier (0.0 to 1.0)"},
    {"mirror", "1 if item is mirrored, 0 if not"},
    {"lookAtVector", "2D vector from Item to Look-At target [X,Y]"},
    {"lightVector", "2D vector from Item to Light [X,Y]"},
    {"billboardVector", "2D vector parallel to billboard [X,Y]"},
    {"zOffset", "Z Offset"},
    {"animSample", "Animation Sample index (zero based)"},
    {"animOffset", "Animation Offset (in ticks, 4800 ticks per second)"},
    {"surfNormal", "Normal to Surface [X,Y,Z]"},
    {"surfDirection", "Direction vector on Surface [X,Y,Z]"},
    {"surfFace", "Index of face hit on Surface"},
    {"surfBary", "Barycentric coordinates of face hit on Surface"},
};
static_assert(std::size(kNames) == kNumExportFields);

constexpr std::string_view kSeparators = ",; \t\r\n";

}  // namespace

std::span<const TExportFieldName, kNumExportFields> ExportFieldNames() { return kNames; }

TExportFields TExportFields::Parse(std::string_view keys, std::vector<std::string>* unknown) {
    TExportFields fields = None();
    while (true) {
        size_t start = keys.find_first_not_of(kSeparators);
        if (start == keys.npos) return fields;
        keys.remove_prefix(start);
        std::string_view key = keys.substr(0, keys.find_first_of(kSeparators));
        keys.remove_prefix(key.size());
        size_t i = 0;
        while (i < kNumExportFields && key != kNames[i].key) ++i;
        if (i < kNumExportFields)
            fields.Add(TExportField(i));
        else
            unknown->emplace_back(key);
    }
}

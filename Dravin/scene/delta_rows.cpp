// Changes of single generated items: `deltas` of a description.
#include <cmath>

#include <fmt/format.h>

#include "Dravin/scene/dravin_rows.h"
#include "host/base/text.h"

using Json = nlohmann::ordered_json;

namespace {

using Writer = DescriptionWriter;

constexpr Point3 kUnscaled{1, 1, 1};

TItemId ReadId(const DescriptionValue& value) {
    std::string text = value.AsText();
    std::optional<TItemId> id = ParseItemId(text);
    if (value.Document().Failed()) return {};
    if (!id)
        value.Fail(fmt::format(
            "\"{}\" is no item id; expected one as the item field \"id\" holds it, like "
            "\"g12.0.5.-1/9f3a01bc\"",
            CutText(text, 60)));
    else if (id->origin == TItemId::kEdited)
        value.Fail("hand-edited items are changed in \"items\"; only generated ones have deltas");
    return id.value_or(TItemId());
}

// A row of the geometry list by its number from 0 or by its name.
int32_t ReadRow(const DescriptionValue& value, const IParamBlock2& geometry) {
    int count = geometry.Count(geomParams::kNamelist);
    if (value.IsText()) {
        std::vector<std::string> names;
        for (int i = 0; i < count; ++i)
            names.push_back(geometry.GetString(geomParams::kNamelist, 0, i));
        return value.AsChoice(names);
    }
    int row = value.AsInt();
    if (!value.Document().Failed() && (row < 0 || row >= count))
        value.Fail(fmt::format("there is no row {} in the geometry list of {}; rows count from 0",
                               row, count));
    return row;
}

Point3 ReadScale(const DescriptionValue& value) {
    Point3 scale = value.AsPoint3();
    if (!(scale.x > 0 && scale.y > 0 && scale.z > 0)) value.Fail("expected three numbers above 0");
    return scale;
}

TItemDelta ReadDelta(const DescriptionValue& value, const IParamBlock2& geometry) {
    DescriptionObject keys(value);
    TItemDelta delta;
    delta.id = ReadId(keys.Require("id"));
    delta.deleted = keys.Bool("delete", false);
    auto move = keys.Find("move"), rotate = keys.Find("rotate"), scale = keys.Find("scale");
    auto row = keys.Find("geometry");
    keys.Finish();
    if (value.Document().Failed()) return delta;
    if (delta.deleted && (move || rotate || scale || row))
        keys.Fail("an item that \"delete\" takes away cannot be changed as well");
    if (move) delta.move = move->AsPoint3();
    if (rotate) delta.rotateDegrees = rotate->AsPoint3();
    if (scale) delta.scale = ReadScale(*scale);
    if (row && !row->IsNull()) delta.geometry = ReadRow(*row, geometry);
    return delta;
}

}  // namespace

void ReadDeltas(TDravin& object, const DescriptionValue& list, const DescriptionContext&) {
    std::vector<TItemDelta> read;
    std::map<std::string, size_t> places;
    for (const DescriptionValue& value : list.AsArray()) {
        TItemDelta delta = ReadDelta(value, object.Block(kGeomParams));
        if (value.Document().Failed()) return;
        auto [it, isNew] = places.emplace(ItemIdText(delta.id), read.size());
        if (!isNew)
            return value.Fail(fmt::format("the id \"{}\" stands twice, first in element {}",
                                          it->first, it->second));
        read.push_back(delta);
    }
    if (!list.Document().Failed()) object.SetDeltas(std::move(read));
}

Json WriteDeltas(const TDravin& object, const DescriptionWriter& writer) {
    Json list;
    for (const TItemDelta& delta : object.Deltas()) {
        Json keys{{"id", ItemIdText(delta.id)}};
        if (delta.deleted) keys["delete"] = true;
        auto add = [&](const char* key, const Point3& value, const Point3& missing) {
            if (!delta.deleted && (writer.complete || value != missing))
                keys[key] = Writer::Triple(value);
        };
        add("move", delta.move, {});
        add("rotate", delta.rotateDegrees, {});
        add("scale", delta.scale, kUnscaled);
        if (!delta.deleted && delta.geometry >= 0) keys["geometry"] = delta.geometry;
        list.push_back(keys);
    }
    return list;
}

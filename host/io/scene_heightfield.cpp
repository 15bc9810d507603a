// The node type "heightfield".
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/io/scene_parts.h"
#include "host/scene/height_field_object.h"

using Json = nlohmann::ordered_json;
using Heights = HeightfieldOrigin::Heights;

namespace {

constexpr const char* kHeightForms =
    "expected a number, the height of a white pixel, or \"file\" for pixel values in metres";

void ReadSize(const DescriptionValue& value, HeightfieldOrigin& origin) {
    Point2 size = value.AsPoint2();
    if (!(size.x > 0 && size.y > 0)) value.Fail("expected two numbers above 0");
    origin.size = size;
}

void ReadSamples(const DescriptionValue& value, HeightfieldOrigin& origin) {
    std::vector<DescriptionValue> counts = value.AsArray(2);
    if (counts.size() != 2) return;
    origin.samplesX = counts[0].AsInt(), origin.samplesY = counts[1].AsInt();
    for (const DescriptionValue& count : counts)
        if (count.AsInt() < 2) count.Fail("expected a whole number, 2 or above");
}

void ReadCrop(const DescriptionValue& value, HeightfieldOrigin& origin) {
    std::vector<DescriptionValue> numbers = value.AsArray(4);
    if (numbers.size() != 4) return;
    std::array<int, 4> crop;
    for (size_t i = 0; i < 4; ++i) crop[i] = numbers[i].AsInt();
    origin.crop = crop;
}

void ReadHeight(const DescriptionValue& value, HeightfieldOrigin& origin) {
    origin.heights = Heights::kScaled;
    if (value.IsNumber())
        origin.height = value.AsFloat();
    else if (value.IsText() && value.AsText() == "file")
        origin.heights = Heights::kFile;
    else
        value.Fail(kHeightForms);
}

void ReadHeights(DescriptionObject& keys, HeightfieldOrigin& origin) {
    auto height = keys.Find("height"), range = keys.Find("height_range");
    if (height) ReadHeight(*height, origin);
    if (!range) return;
    if (height) range->Fail("\"height\" and \"height_range\" exclude each other");
    Point2 ends = range->AsPoint2();
    origin.heights = Heights::kRange;
    origin.low = ends.x, origin.high = ends.y;
}

class HeightfieldDescription : public INodeDescription {
public:
    std::shared_ptr<Object> Read(DescriptionObject& keys,
                                 DescriptionContext& context) const override {
        HeightfieldOrigin origin;
        DescriptionValue file = keys.Require("file");
        if (auto size = keys.Find("size")) ReadSize(*size, origin);
        if (auto samples = keys.Find("samples")) ReadSamples(*samples, origin);
        if (auto crop = keys.Find("crop")) ReadCrop(*crop, origin);
        ReadHeights(keys, origin);
        DescriptionDocument& document = keys.Value().Document();
        if (document.Failed()) return nullptr;
        origin.file = context.FileOf(file);
        if (origin.file.empty()) return nullptr;
        HeightfieldLoad load =
            context.formats.Loaders().LoadHeightfield(origin, context.scene.unitScale);
        for (const std::string& warning : load.warnings) keys.Value().Warn(warning);
        if (load.field)
            return std::make_shared<HeightFieldObject>(std::move(load.field), std::move(origin));
        document.Fail(keys.Value().Json(), load.key, load.error, load.errorClass);
        return nullptr;
    }

    bool Write(const Object& object, Json& keys, const DescriptionWriter& writer) const override {
        auto* terrain = dynamic_cast<const HeightFieldObject*>(&object);
        if (!terrain) return false;
        const HeightfieldOrigin& origin = terrain->origin;
        auto number = [](float value) { return DescriptionWriter::Number(value); };
        keys["file"] = writer.FileName(origin.file);
        if (origin.size) keys["size"] = {number(origin.size->x), number(origin.size->y)};
        if (origin.samplesX > 0) keys["samples"] = {origin.samplesX, origin.samplesY};
        if (origin.crop) keys["crop"] = *origin.crop;
        if (origin.heights == Heights::kScaled) keys["height"] = number(origin.height);
        if (origin.heights == Heights::kRange)
            keys["height_range"] = {number(origin.low), number(origin.high)};
        if (origin.heights == Heights::kFile) keys["height"] = "file";
        return true;
    }
};

}  // namespace

void RegisterHeightfieldType(SceneFormats& formats) {
    formats.RegisterNode("heightfield", std::make_unique<HeightfieldDescription>());
}

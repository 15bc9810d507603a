#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/base/log.h"
#include "host/base/text.h"
#include "host/io/scene_classes.h"
#include "host/io/scene_parts.h"
#include "host/scene/host_context.h"

// Modifiers of nodes. A class with a format of its own is read by that; every other class of the
// session that is a modifier by its parameters, whose internal names are the keys.

using Json = nlohmann::ordered_json;

namespace {

const std::vector<std::string> kUpAxes = {"y", "z"};
const std::vector<std::string> kCacheUnits = {"scene", "metres"};
const std::vector<std::string> kBeyond = {"hold", "cycle"};

std::vector<std::string> ModifierTypes(const SceneFormats& formats) {
    std::vector<std::string> types;
    for (const auto& [type, format] : formats.Modifiers()) types.push_back(type);
    for (const std::string& type : SceneClassNames(SuperClass::kModifier))
        if (!formats.FindModifier(type)) types.push_back(type);
    return types;
}

std::shared_ptr<Modifier> ReadModifier(DescriptionObject& keys, const Object& base,
                                       DescriptionContext& context) {
    DescriptionValue type = keys.Require("type");
    std::string name = type.Document().Failed() ? "" : type.AsText();
    if (type.Document().Failed()) return nullptr;
    std::shared_ptr<Modifier> modifier;
    const ClassDesc* desc = FindSceneClass(SuperClass::kModifier, name);
    if (const ModifierFormat* format = context.formats.FindModifier(name))
        modifier = format->read(keys, context, base);
    else if (desc)
        modifier = std::dynamic_pointer_cast<Modifier>(ReadByClass(*desc, keys, context));
    else
        type.Fail(fmt::format("unknown modifier \"{}\"{}", CutText(name, 60),
                              DidYouMean(name, ModifierTypes(context.formats))));
    if (!modifier) return nullptr;
    if (!modifier->Takes(base))
        type.Fail(fmt::format("a modifier \"{}\" can do nothing with an object of class \"{}\"",
                              name, base.ClassName()));
    modifier->enabled = keys.Bool("enabled", true);
    return modifier;
}

Json WriteModifier(const Modifier& modifier, const DescriptionWriter& writer) {
    Json keys;
    for (const auto& [type, format] : writer.formats.Modifiers()) {
        keys = {{"type", type}};
        if (format.write(modifier, keys, writer)) return keys;
    }
    keys = Json::object();
    if (WriteByClass(modifier, keys, writer)) return keys;
    LogWarning(
        fmt::format("a modifier of class \"{}\" is left out of the description: the class is "
                    "not registered",
                    modifier.ClassName()));
    return nullptr;
}

// Point caches.

// Samples must fit the mesh as it rests.
void CheckPoints(const IPointSamples& samples, const Object& base, const DescriptionValue& file) {
    auto* tri = dynamic_cast<const TriObject*>(&base);
    size_t numVerts = tri ? tri->GetMesh()->verts.size() : samples.NumPoints();
    if (samples.NumPoints() != numVerts)
        file.Fail(
            fmt::format("the cache moves {} points, the mesh has {} vertices; export both "
                        "from the same model",
                        samples.NumPoints(), numVerts));
}

std::shared_ptr<Modifier> ReadPointCache(DescriptionObject& keys, DescriptionContext& context,
                                         const Object& base) {
    DescriptionValue file = keys.Require("file");
    if (file.Document().Failed()) return nullptr;
    PointCache cache;
    cache.origin.file = context.FileOf(file);
    if (int up = keys.Choice("up", kUpAxes, -1); up >= 0) cache.origin.up = UpAxis(up);
    cache.origin.inMetres = keys.Choice("units", kCacheUnits, 0) == 1;
    auto modifier = std::make_shared<PointCacheModifier>();
    if (auto start = keys.Find("start")) modifier->start = start->AsInt();
    if (auto speed = keys.Find("speed")) {
        modifier->speed = speed->AsFloat();
        if (!(modifier->speed > 0)) speed->Fail("expected a number above 0");
    }
    modifier->before = KeysBeyond(keys.Choice("before", kBeyond, 0));
    modifier->after = KeysBeyond(keys.Choice("after", kBeyond, 0));
    if (file.Document().Failed()) return nullptr;
    PointCacheLoad load = context.formats.Loaders().LoadPointCache(
        cache.origin, context.scene.unitScale, context.scene.ticksPerFrame);
    if (!load.warning.empty()) file.Warn(load.warning);
    if (!load.samples) return file.Fail(load.error, load.errorClass), nullptr;
    CheckPoints(*load.samples, base, file);
    cache.samples = std::move(load.samples);
    modifier->cache = std::move(cache);
    return modifier;
}

bool WritePointCache(const Modifier& modifier, Json& keys, const DescriptionWriter& writer) {
    auto* points = dynamic_cast<const PointCacheModifier*>(&modifier);
    if (!points) return false;
    const PointCacheOrigin& origin = points->cache->origin;
    keys["file"] = writer.FileName(origin.file);
    if (origin.up) keys["up"] = kUpAxes[size_t(*origin.up)];
    if (origin.inMetres) keys["units"] = kCacheUnits[1];
    if (points->start->has_value()) keys["start"] = *points->start.Get();
    if (points->speed != 1.0f) keys["speed"] = DescriptionWriter::Number(points->speed);
    if (points->before != KeysBeyond::kHold) keys["before"] = kBeyond[size_t(points->before.Get())];
    if (points->after != KeysBeyond::kHold) keys["after"] = kBeyond[size_t(points->after.Get())];
    return true;
}

}  // namespace

std::shared_ptr<Object> ReadModifiers(const DescriptionValue& list, std::shared_ptr<Object> base,
                                      DescriptionContext& context) {
    std::vector<DescriptionValue> values = list.AsArray();
    if (values.empty()) return base;
    auto derived = std::make_shared<DerivedObject>();
    for (const DescriptionValue& value : values) {
        DescriptionObject keys(value);
        std::shared_ptr<Modifier> modifier = ReadModifier(keys, *base, context);
        keys.Finish();
        if (!modifier || list.Document().Failed()) return nullptr;
        derived->InsertModifier(derived->NumModifiers(), std::move(modifier));
    }
    derived->SetBase(std::move(base));
    return derived;
}

Json WriteModifiers(const DerivedObject& derived, const DescriptionWriter& writer) {
    Json list = Json::array();
    if (auto* below = dynamic_cast<const DerivedObject*>(derived.Base()))
        list = WriteModifiers(*below, writer);
    for (int i = 0; i < derived.NumModifiers(); ++i) {
        const Modifier* modifier = derived.GetModifier(i);
        Json keys = modifier ? WriteModifier(*modifier, writer) : Json();
        if (keys.is_null()) continue;
        if (!modifier->enabled) keys["enabled"] = false;
        list.push_back(std::move(keys));
    }
    return list;
}

void RegisterHostModifiers(SceneFormats& formats) {
    formats.RegisterModifier("point_cache", {ReadPointCache, WritePointCache});
}

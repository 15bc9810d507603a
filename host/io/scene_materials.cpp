#include <algorithm>
#include <unordered_map>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/base/text.h"
#include "host/io/scene_classes.h"
#include "host/io/scene_parts.h"
#include "host/params/param_block.h"
#include "host/scene/physical_material.h"

using Json = nlohmann::ordered_json;

namespace {

// Texture maps of the host: the description is read here and made by the loaders.

struct Keys {
    bool color, colors, axis, bitmap, noise;
};
// Which keys each type has beside those of every map.
const std::map<std::string, Keys> kTexmapKeys = {
    {"color", {true, false, false, false, false}},
    {"uvw", {false, false, false, false, false}},
    {"gradient", {false, true, true, false, false}},
    {"checker", {false, true, false, false, false}},
    {"bitmap", {false, false, false, true, false}},
    {"noise", {false, true, false, false, true}},
};
const std::vector<std::string> kAxes = {"u", "v"};
const std::vector<std::string> kViewportMaps = {"none", "diffuse", "material"};  // by ViewportMaps
const std::vector<std::string> kFilters = {"nearest", "bilinear"};
const std::vector<std::string> kWraps = {"tile", "clamp", "mirror"};

std::shared_ptr<Texmap> ReadHostTexmap(const std::string& type, DescriptionObject& keys,
                                       DescriptionContext& context) {
    const Keys& has = kTexmapKeys.at(type);
    TexmapDescription d;
    d.type = type;
    if (has.color) d.color = keys.ColorOf("color", d.color);
    if (has.colors) {
        d.color1 = keys.ColorOf("color1", d.color1);
        d.color2 = keys.ColorOf("color2", d.color2);
    }
    if (has.axis) d.axisV = keys.Choice("axis", kAxes, 0) == 1;
    if (has.bitmap) {
        DescriptionValue file = keys.Require("file");
        d.filter = kFilters[size_t(keys.Choice("filter", kFilters, 1))];
        d.wrap = kWraps[size_t(keys.Choice("wrap", kWraps, 0))];
        if (!keys.Value().Document().Failed()) d.file = context.FileOf(file);
    }
    if (has.noise) {
        d.size = keys.Float("size", d.size);
        if (auto levels = keys.Find("levels")) {
            d.levels = levels->AsInt();
            if (d.levels < 1 || d.levels > 16) levels->Fail("expected a whole number in 1..16");
        }
        d.seed = keys.Int("seed", d.seed);
    }
    if (keys.Value().Document().Failed()) return nullptr;
    TexmapLoad load = context.formats.Loaders().MakeTexmap(d);
    if (!load.texmap) keys.Value().Fail(load.error, load.errorClass);
    return load.texmap;
}

bool WriteHostTexmap(const std::string& type, const Texmap& texmap, Json& keys,
                     const DescriptionWriter& writer) {
    TexmapDescription d;
    if (!writer.formats.Loaders().DescribeTexmap(texmap, &d) || d.type != type) return false;
    const Keys& has = kTexmapKeys.at(type);
    if (has.color) keys["color"] = DescriptionWriter::Triple(d.color);
    if (has.colors) {
        keys["color1"] = DescriptionWriter::Triple(d.color1);
        keys["color2"] = DescriptionWriter::Triple(d.color2);
    }
    if (has.axis) keys["axis"] = kAxes[d.axisV];
    if (has.bitmap) {
        keys["file"] = writer.FileName(d.file);
        keys["filter"] = d.filter;
        keys["wrap"] = d.wrap;
    }
    if (has.noise) {
        keys["size"] = DescriptionWriter::Number(d.size);
        keys["levels"] = d.levels;
        keys["seed"] = d.seed;
    }
    return true;
}

// Materials of the host.

void ReadStandardKeys(DescriptionObject& keys, DescriptionContext& context, StandardMtl* mtl) {
    mtl->diffuse = keys.ColorOf("diffuse", mtl->diffuse);
    mtl->opacity = keys.Float("opacity", mtl->opacity);
    mtl->opacityCutoff = keys.Float("opacity_cutoff", mtl->opacityCutoff);
    mtl->mapFactor = keys.ColorOf("map_factor", mtl->mapFactor);
    mtl->vertexColors = keys.Bool("vertex_colors", mtl->vertexColors);
    mtl->twoSided = keys.Bool("two_sided", mtl->twoSided);
    mtl->wireframe = keys.Bool("wireframe", mtl->wireframe);
    mtl->viewportMaps =
        ViewportMaps(keys.Choice("viewport_maps", kViewportMaps, int(mtl->viewportMaps.Get())));
    if (auto map = keys.Find("diffuse_map")) mtl->diffuseMap = context.TexmapOf(*map);
    if (auto map = keys.Find("opacity_map")) mtl->opacityMap = context.TexmapOf(*map);
}

std::shared_ptr<Mtl> ReadStandard(DescriptionObject& keys, DescriptionContext& context) {
    auto mtl = std::make_shared<StandardMtl>();
    ReadStandardKeys(keys, context, mtl.get());
    mtl->translucency = keys.Float("translucency", mtl->translucency);
    mtl->reflectivity = keys.Float("reflectivity", mtl->reflectivity);
    mtl->ripple = keys.Float("ripple", mtl->ripple);
    return mtl;
}

std::shared_ptr<Mtl> ReadPhysical(DescriptionObject& keys, DescriptionContext& context) {
    auto mtl = std::make_shared<PhysicalMtl>();
    ReadStandardKeys(keys, context, mtl.get());
    mtl->metallic = keys.Float("metallic", mtl->metallic);
    mtl->roughness = keys.Float("roughness", mtl->roughness);
    mtl->normalScale = keys.Float("normal_scale", mtl->normalScale);
    mtl->emission = keys.ColorOf("emission", mtl->emission);
    mtl->emissionStrength = keys.Float("emission_strength", mtl->emissionStrength);
    if (auto map = keys.Find("metallic_roughness_map"))
        mtl->metallicRoughnessMap = context.TexmapOf(*map);
    if (auto map = keys.Find("normal_map")) mtl->normalMap = context.TexmapOf(*map);
    if (auto map = keys.Find("emission_map")) mtl->emissionMap = context.TexmapOf(*map);
    return mtl;
}

void WriteUnless(float usual, Json& keys, const char* key, float value) {
    if (value != usual) keys[key] = DescriptionWriter::Number(value);
}

void WriteStandardKeys(const StandardMtl* standard, Json& keys, const DescriptionWriter& writer) {
    const StandardMtl plain;
    keys["diffuse"] = DescriptionWriter::Triple(standard->diffuse);
    if (standard->diffuseMap) keys["diffuse_map"] = writer.TexmapName(standard->diffuseMap.Get());
    if (standard->opacity != plain.opacity)
        keys["opacity"] = DescriptionWriter::Number(standard->opacity);
    if (standard->opacityMap) keys["opacity_map"] = writer.TexmapName(standard->opacityMap.Get());
    if (standard->mapFactor != plain.mapFactor)
        keys["map_factor"] = DescriptionWriter::Triple(standard->mapFactor);
    if (standard->vertexColors) keys["vertex_colors"] = true;
    if (standard->twoSided) keys["two_sided"] = true;
    if (standard->wireframe) keys["wireframe"] = true;
    if (standard->viewportMaps != ViewportMaps::kNone)
        keys["viewport_maps"] = kViewportMaps[size_t(standard->viewportMaps.Get())];
    WriteUnless(0, keys, "opacity_cutoff", standard->opacityCutoff);
}

bool WriteStandard(const Mtl& mtl, Json& keys, const DescriptionWriter& writer) {
    auto* standard = dynamic_cast<const StandardMtl*>(&mtl);
    if (!standard || dynamic_cast<const PhysicalMtl*>(&mtl)) return false;
    WriteStandardKeys(standard, keys, writer);
    WriteUnless(0, keys, "translucency", standard->translucency);
    WriteUnless(0, keys, "reflectivity", standard->reflectivity);
    WriteUnless(0, keys, "ripple", standard->ripple);
    return true;
}

bool WritePhysical(const Mtl& mtl, Json& keys, const DescriptionWriter& writer) {
    auto* physical = dynamic_cast<const PhysicalMtl*>(&mtl);
    if (!physical) return false;
    WriteStandardKeys(physical, keys, writer);
    keys["metallic"] = DescriptionWriter::Number(physical->metallic);
    keys["roughness"] = DescriptionWriter::Number(physical->roughness);
    WriteUnless(1, keys, "normal_scale", physical->normalScale);
    if (!(physical->emission == Color{}))
        keys["emission"] = DescriptionWriter::Triple(physical->emission);
    WriteUnless(1, keys, "emission_strength", physical->emissionStrength);
    auto map = [&](const char* key, const Reference<Texmap>& texmap) {
        if (texmap) keys[key] = writer.TexmapName(texmap.Get());
    };
    map("metallic_roughness_map", physical->metallicRoughnessMap);
    map("normal_map", physical->normalMap);
    map("emission_map", physical->emissionMap);
    return true;
}

// Entries may stand anywhere in the table of materials, so they are filled in later.
std::shared_ptr<Mtl> ReadMulti(DescriptionObject& keys, DescriptionContext& context) {
    auto mtl = std::make_shared<MultiMtl>();
    std::vector<DescriptionValue> subs = keys.Array("sub");
    context.WhenAllExist([mtl, subs, &context] {
        mtl->SetNumRefs(int(subs.size()));
        for (size_t i = 0; i < subs.size(); ++i) mtl->SetReference(int(i), context.MtlOf(subs[i]));
    });
    return mtl;
}

bool WriteMulti(const Mtl& mtl, Json& keys, const DescriptionWriter& writer) {
    auto* multi = dynamic_cast<const MultiMtl*>(&mtl);
    if (!multi) return false;
    keys["sub"] = Json::array();
    for (int i = 0; i < multi->NumSubMtls(); ++i)
        keys["sub"].push_back(writer.MtlName(multi->GetSubMtl(i)));
    return true;
}

// An entity of the type that its keys name, by the type's format or its class; null after failing.
template <class Entity, class Format>
std::shared_ptr<Entity> ReadEntity(DescriptionObject& keys, DescriptionContext& context,
                                   SuperClass super, const std::map<std::string, Format>& formats) {
    DescriptionValue type = keys.Require("type");
    if (keys.Value().Document().Failed()) return nullptr;
    std::string name = type.AsText();
    if (auto format = formats.find(name); format != formats.end())
        return format->second.read(keys, context);
    if (const ClassDesc* desc = FindSceneClass(super, name))
        return std::dynamic_pointer_cast<Entity>(ReadByClass(*desc, keys, context));
    std::vector<std::string> types = SceneClassNames(super);
    for (const auto& [known, format] : formats) types.push_back(known);
    if (type.IsText())
        type.Fail(fmt::format("unknown type \"{}\"{}", CutText(name, 60), DidYouMean(name, types)));
    return nullptr;
}

// How many materials with sub-materials stand inside each other, material by material: each is
// looked at once, and a chain of any length takes no stack.
class MtlNesting {
public:
    static constexpr int kRing = -1;

    // 0 for a plain material; kRing when it holds itself, through others or not.
    int Of(const Mtl* root) {
        std::vector<Open> path;
        if (root && !m_nesting.contains(root)) Enter(root, path);
        while (!path.empty()) {
            Open& top = path.back();
            if (top.next == top.mtl->NumSubMtls()) {
                m_nesting[top.mtl] = Finished(*top.mtl);
                path.pop_back();
                continue;
            }
            const Mtl* sub = top.mtl->GetSubMtl(top.next++);
            if (!sub) continue;
            auto known = m_nesting.find(sub);
            if (known == m_nesting.end())
                Enter(sub, path);
            else if (known->second == kIsOpen)
                return kRing;
        }
        return root ? m_nesting[root] : 0;
    }

private:
    static constexpr int kIsOpen = -2;
    struct Open {
        const Mtl* mtl;
        int next;
    };

    void Enter(const Mtl* mtl, std::vector<Open>& path) {
        m_nesting[mtl] = kIsOpen;
        path.push_back({mtl, 0});
    }
    int Finished(const Mtl& mtl) const {
        int nesting = 0;
        for (int i = 0; i < mtl.NumSubMtls(); ++i)
            if (const Mtl* sub = mtl.GetSubMtl(i)) nesting = std::max(nesting, m_nesting.at(sub));
        return mtl.NumSubMtls() > 0 ? nesting + 1 : 0;
    }

    std::unordered_map<const Mtl*, int> m_nesting;
};

// Lets all go one by one: rings would stay for ever, and the end of a long chain would take its
// length in stack.
void TakeApart(const Scene& scene) {
    for (const auto& [name, mtl] : scene.Materials()) {
        if (auto* multi = dynamic_cast<MultiMtl*>(mtl.get())) multi->SetNumRefs(0);
        for (const std::shared_ptr<IParamBlock2>& block : ParamBlocksOf(*mtl))
            for (const ParamDef& def : block->GetDesc().params)
                for (int i = 0; def.type == ParamType::kMaterial && i < block->Count(def.id); ++i)
                    block->SetValue(def.id, 0, nullptr, i);
    }
}

}  // namespace

void ReadTexmaps(const DescriptionValue& value, DescriptionContext& context) {
    for (const auto& [name, map] : DescriptionObject(value).Members()) {
        DescriptionObject keys(map);
        int channel = keys.Int("channel", 1);
        auto tiling = keys.Find("tiling"), offset = keys.Find("offset");
        float rotation = keys.Float("rotation", 0);
        std::shared_ptr<Texmap> texmap =
            ReadEntity<Texmap>(keys, context, SuperClass::kTexmap, context.formats.Texmaps());
        keys.Finish();
        if (!texmap || value.Document().Failed()) return;
        texmap->name = name;
        texmap->channel = channel;
        if (tiling) texmap->tiling = tiling->AsPoint2();
        if (offset) texmap->offset = offset->AsPoint2();
        texmap->SetRotation(rotation);
        context.scene.SetTexmap(name, texmap);
    }
}

void ReadMaterials(const DescriptionValue& value, DescriptionContext& context) {
    for (const auto& [name, material] : DescriptionObject(value).Members()) {
        DescriptionObject keys(material);
        std::shared_ptr<Mtl> mtl =
            ReadEntity<Mtl>(keys, context, SuperClass::kMaterial, context.formats.Materials());
        keys.Finish();
        if (!mtl || value.Document().Failed()) return;
        mtl->name = name;
        context.scene.SetMaterial(name, mtl);
    }
}

void CheckMaterialNesting(const DescriptionValue& value, const DescriptionContext& context) {
    if (value.Document().Failed()) return TakeApart(context.scene);
    MtlNesting nesting;
    for (const auto& [name, member] : DescriptionObject(value).Members()) {
        auto found = context.scene.Materials().find(name);
        if (found == context.scene.Materials().end()) continue;  // not read, after an error
        int levels = nesting.Of(found->second.get());
        if (levels == MtlNesting::kRing)
            member.Fail(fmt::format("the material \"{}\" holds itself", name));
        else if (levels > kMaxMtlNesting)
            member.Fail(fmt::format("{} materials stand inside each other, at most {} may; "
                                    "no option raises this",
                                    levels, kMaxMtlNesting),
                        DescriptionErrorClass::kLimit);
        if (value.Document().Failed()) return TakeApart(context.scene);
    }
}

void RegisterHostTexmaps(SceneFormats& formats) {
    for (const auto& [type, keys] : kTexmapKeys)
        formats.RegisterTexmap(
            type, {[type = type](DescriptionObject& k, DescriptionContext& context) {
                       return ReadHostTexmap(type, k, context);
                   },
                   [type = type](const Texmap& map, Json& k, const DescriptionWriter& writer) {
                       return WriteHostTexmap(type, map, k, writer);
                   }});
}

void RegisterHostMaterials(SceneFormats& formats) {
    formats.RegisterMaterial("standard", {ReadStandard, WriteStandard});
    formats.RegisterMaterial("physical", {ReadPhysical, WritePhysical});
    formats.RegisterMaterial("multi", {ReadMulti, WriteMulti});
}

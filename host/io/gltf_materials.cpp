#include "host/io/gltf_materials.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "host/io/export_colors.h"
#include "host/io/gltf_image.h"
#include "host/scene/physical_material.h"
#include "host/scene/texmaps.h"

namespace {

std::string AlphaMembers(const StandardMtl& material) {
    constexpr float kUsualCutoff = 0.5f;
    float cutoff = material.opacityCutoff;
    bool isCut = ImagedMap(material.opacityMap) || material.opacity < 1;
    if (cutoff > 0 && isCut)
        return cutoff == kUsualCutoff
                   ? ",\"alphaMode\":\"MASK\""
                   : fmt::format(",\"alphaMode\":\"MASK\",\"alphaCutoff\":{}", cutoff);
    if (material.opacity < 1) return ",\"alphaMode\":\"BLEND\"";
    return isCut ? ",\"alphaMode\":\"MASK\"" : "";
}

constexpr char kMatt[] = "\"metallicFactor\":0,\"roughnessFactor\":1";

// inside: what its usual model holds beside the base colour; more: what stands after that model.
std::string MaterialText(const std::string& name, const AColor& c, const std::string& texture,
                         const std::string& inside, const std::string& more) {
    std::string title = name.empty() ? "" : fmt::format("\"name\":{},", JsonQuoted(name));
    return fmt::format("{{{}\"pbrMetallicRoughness\":{{{}\"baseColorFactor\":{},{}}}{}}}", title,
                       texture, JsonArray({ToUnit(c.r), ToUnit(c.g), ToUnit(c.b), ToUnit(c.a)}),
                       inside, more);
}

}  // namespace

bool GltfMaterials::Add(const StandardMtl* material, size_t* number, std::string* error) {
    auto [entry, isNew] = m_numbers.try_emplace(material, m_materials.Count());
    *number = entry->second;
    if (!isNew) return true;
    if (!material) {
        Color grey = LinearFactor(kDefaultGrey);
        m_materials.Add(MaterialText("", {grey.r, grey.g, grey.b, 1}, "", kMatt, ""));
        return true;
    }
    std::string texture, inside = kMatt, more = AlphaMembers(*material);
    if (!AddBaseTexture(*material, &texture, error)) return false;
    if (material->twoSided) more += ",\"doubleSided\":true";
    if (auto* physical = dynamic_cast<const PhysicalMtl*>(material))
        if (!AddPhysical(*physical, &inside, &more, error)) return false;
    Color color = BaseFactor(*material);
    m_materials.Add(MaterialText(material->name, {color.r, color.g, color.b, material->opacity},
                                 texture, inside, more));
    return true;
}

bool GltfMaterials::AddBaseTexture(const StandardMtl& material, std::string* member,
                                   std::string* error) {
    std::string key = GltfImageKey(material);
    if (key.empty()) return true;
    auto [image, isNew] = m_imageByKey.try_emplace(key, m_images.Count());
    if (isNew && !AddImage(material, error)) return false;
    *member = TextureMember("baseColorTexture", material, image->second);
    return true;
}

bool GltfMaterials::AddMap(const Reference<Texmap>& map, const char* slot, const std::string& more,
                           std::string* member, std::string* error) {
    if (!ImagedMap(map)) return true;
    StandardMtl carrier;  // shows the map as a colour, which takes its image as it is
    carrier.diffuseMap = map.Share();
    auto [image, isNew] = m_imageByKey.try_emplace(GltfImageKey(carrier), m_images.Count());
    if (isNew && !AddImage(carrier, error)) return false;
    *member += TextureMember(slot, carrier, image->second, more);
    return true;
}

bool GltfMaterials::AddPhysical(const PhysicalMtl& m, std::string* inside, std::string* outside,
                                std::string* error) {
    std::string map, maps;
    if (!AddMap(m.metallicRoughnessMap, "metallicRoughnessTexture", "", &map, error)) return false;
    *inside = fmt::format("{}\"metallicFactor\":{},\"roughnessFactor\":{}", map, ToUnit(m.metallic),
                          ToUnit(m.roughness));
    std::string scale = fmt::format(",\"scale\":{}", m.normalScale.Get());
    if (!AddMap(m.normalMap, "normalTexture", scale, &maps, error)) return false;
    if (!(m.emission == Color{})) {
        if (!AddMap(m.emissionMap, "emissiveTexture", "", &maps, error)) return false;
        Color glow = LinearFactor(m.emission);
        *outside += fmt::format(",\"emissiveFactor\":{}", JsonArray({glow.r, glow.g, glow.b}));
        if (m.emissionStrength != 1) {
            m_usesStrength = true;
            *outside += fmt::format(
                ",\"extensions\":{{\"KHR_materials_emissive_strength\":{{\"emissiveStrength\":{}}}}"
                "}",
                std::max(0.f, m.emissionStrength.Get()));
        }
    }
    if (!maps.empty()) outside->append(",").append(maps, 0, maps.size() - 1);
    return true;
}

std::string GltfMaterials::TextureMember(const char* slot, const StandardMtl& material,
                                         size_t image, const std::string& more) {
    const Texmap* map = ImagedMap(material.diffuseMap);
    if (!map) map = material.opacityMap.Get();
    auto* bitmap = dynamic_cast<const BitmapTex*>(map);
    std::string texture = fmt::format("{{\"source\":{},\"sampler\":{}}}", image, Sampler(bitmap));
    auto [entry, isNew] = m_textureByText.try_emplace(texture, m_textures.Count());
    if (isNew) m_textures.Add(texture);
    return fmt::format("\"{}\":{{\"index\":{},\"texCoord\":{}{}{}}},", slot, entry->second,
                       std::clamp(map->channel.Get(), 1, 8) - 1, more,
                       bitmap ? TransformMember(*bitmap) : "");
}

// Here v counts from the bottom: v * t + o there is v * t + (1 - t - o) in the file, and with a
// rotation the corner moves as its sine and cosine say. The transform of a baked map is in its
// image.
std::string GltfMaterials::TransformMember(const BitmapTex& map) {
    float degrees = map.RotationDegrees();
    const Point2 tiling = map.tiling, offset = map.offset;
    if (tiling == Point2{1, 1} && offset == Point2{} && degrees == 0) return {};
    m_usesTransform = true;
    float angle = degrees * 0.017453293f, s = degrees == 0 ? 0 : std::sin(angle),
          c = degrees == 0 ? 1 : std::cos(angle);
    std::string rotation = degrees == 0 ? "" : fmt::format(",\"rotation\":{}", angle);
    return fmt::format(
        ",\"extensions\":{{\"KHR_texture_transform\":{{\"offset\":{},\"scale\":{}{}}}}}",
        JsonArray({offset.x - s * tiling.y, 1 - c * tiling.y - offset.y}),
        JsonArray({tiling.x, tiling.y}), rotation);
}

size_t GltfMaterials::Sampler(const BitmapTex* map) {
    int wrap = 10497, filter = 9729;
    if (map && map->wrap == BitmapTex::Wrap::kClamp) wrap = 33071;
    if (map && map->wrap == BitmapTex::Wrap::kMirror) wrap = 33648;
    if (map && map->filter == BitmapTex::Filter::kNearest) filter = 9728;
    std::string text =
        fmt::format("{{\"magFilter\":{},\"wrapS\":{},\"wrapT\":{}}}", filter, wrap, wrap);
    auto [entry, isNew] = m_samplerByText.try_emplace(text, m_samplers.Count());
    if (isNew) m_samplers.Add(text);
    return entry->second;
}

bool GltfMaterials::AddImage(const StandardMtl& material, std::string* error) {
    GltfImage image;
    if (!MakeGltfImage(material, &image, error)) return false;
    if (m_embed) {
        size_t view = m_buffer.AddData(std::move(image.bytes), GltfTarget::kNone);
        m_images.Add(fmt::format("{{\"name\":{},\"bufferView\":{},\"mimeType\":\"{}\"}}",
                                 JsonQuoted(image.name), view, image.mimeType));
        return true;
    }
    const char* ending = image.mimeType == "image/png" ? "png" : "jpg";
    std::string file = fmt::format("{}_{}_{}.{}", m_prefix, m_images.Count(), image.name, ending);
    m_images.Add(fmt::format("{{\"name\":{},\"uri\":{}}}", JsonQuoted(image.name),
                             JsonQuoted(GltfUri(file))));
    m_files.emplace_back(file, std::move(image.bytes));
    return true;
}

std::string GltfMaterials::Members() const {
    return m_materials.Member("materials") + m_textures.Member("textures") +
           m_samplers.Member("samplers") + m_images.Member("images");
}

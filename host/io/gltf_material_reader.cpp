#include "host/io/gltf_material_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <fmt/format.h>
#include <tiny_gltf.h>

#include "host/io/bitmap.h"
#include "host/io/gltf_value.h"
#include "host/io/image_kind.h"
#include "host/math/display_color.h"
#include "host/scene/physical_material.h"

namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;

std::string DecodePercent(const std::string& text) {
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        auto digits = std::string_view(text).substr(std::min(i + 1, text.size()), 2);
        bool isCode =
            text[i] == '%' && digits.size() == 2 &&
            std::from_chars(digits.data(), digits.data() + 2, value, 16).ptr == digits.data() + 2;
        result += isCode ? char(value) : text[i];
        if (isCode) i += 2;
    }
    return result;
}

// Factors of the file are linear light. One stays exactly one.
float ToDisplay(double linear) {
    return linear >= 1 ? 1.0f : LinearToDisplay(float(std::max(linear, 0.0)));
}
Color ToDisplay(const std::vector<double>& c) {
    return {ToDisplay(c[0]), ToDisplay(c[1]), ToDisplay(c[2])};
}

std::vector<double> Numbers(const tinygltf::Value& value) {
    std::vector<double> numbers;
    for (size_t i = 0; i < value.ArrayLen(); ++i)
        if (value.Get(int(i)).IsNumber()) numbers.push_back(value.Get(int(i)).GetNumberAsDouble());
    return numbers;
}

// Texture coordinates of the file count v from the top. What it does to (u, v), u' = R S u + o with
// a clockwise R, is for v from the bottom: tiling S, the same angle counter-clockwise, and an
// offset that puts the corner where it was.
void Transform(const tinygltf::Value& transform, BitmapTex* map) {
    auto pair = [&](const char* key, Point2 missing) {
        std::vector<double> v = Numbers(transform.Get(key));
        return v.size() == 2 ? Point2{float(v[0]), float(v[1])} : missing;
    };
    Point2 scale = pair("scale", {1, 1}), offset = pair("offset", {0, 0});
    const tinygltf::Value& turn = transform.Get("rotation");
    double angle = turn.IsNumber() ? turn.GetNumberAsDouble() : 0;
    auto s = float(std::sin(angle)), c = float(std::cos(angle));
    map->tiling = scale;
    map->offset = {offset.x + s * scale.y, 1 - c * scale.y - offset.y};
    map->SetRotation(float(angle * kDegreesPerRadian));
}

const tinygltf::Value* Find(const tinygltf::ExtensionMap& extensions, const char* name) {
    auto found = extensions.find(name);
    return found != extensions.end() && found->second.IsObject() ? &found->second : nullptr;
}

}  // namespace

struct GltfMaterialReader::BaseColor {
    std::vector<double> factor{1, 1, 1, 1};
    tinygltf::TextureInfo texture;
};

GltfMaterialReader::GltfMaterialReader(const tinygltf::Model& model, ModelFiles& files)
    : m_model(model), m_files(files), m_materials(model.materials.size()) {}

std::shared_ptr<StandardMtl> GltfMaterialReader::Get(int index) {
    if (index < 0 || size_t(index) >= m_materials.size()) return nullptr;
    std::shared_ptr<StandardMtl>& material = m_materials[size_t(index)];
    if (material) return material;
    const tinygltf::Material& source = m_model.materials[size_t(index)];
    ImportedMaterial report;
    material = ReadPhysical(source, &report);
    if (!material) material = std::make_shared<StandardMtl>();
    material->name = report.name = source.name;
    material->twoSided = source.doubleSided;
    material->vertexColors = true;
    BaseColor base = FindBaseColor(source);
    material->diffuse = material->mapFactor = ToDisplay(base.factor);
    bool isMask = source.alphaMode == "MASK" && source.alphaCutoff > 0;
    bool isBlend = source.alphaMode == "BLEND";
    report.alpha = isMask    ? ImportedAlpha::kMask
                   : isBlend ? ImportedAlpha::kBlend
                             : ImportedAlpha::kOpaque;
    if (isMask || isBlend) material->opacity = float(base.factor[3]);
    if (isMask) material->opacityCutoff = float(source.alphaCutoff);
    if (base.texture.index >= 0) {
        material->diffuseMap = Texture(base.texture, "diffuse", &report);
        std::shared_ptr<BitmapTex> alpha;
        if (material->diffuseMap && (isMask || isBlend))
            alpha = Texture(base.texture, "diffuse", nullptr);
        if (alpha) alpha->alphaOnly = true;
        if (alpha) material->opacityMap = alpha;
    }
    if (source.occlusionTexture.index >= 0) m_files.LeaveOut("occlusion map");
    m_files.Model().materials.push_back(std::move(report));
    return material;
}

// The colour of the usual model, or of the one with specular and glossiness that came before it.
GltfMaterialReader::BaseColor GltfMaterialReader::FindBaseColor(
    const tinygltf::Material& source) const {
    BaseColor base;
    const tinygltf::Value* older = Find(source.extensions, "KHR_materials_pbrSpecularGlossiness");
    std::vector<double> factor =
        older ? Numbers(older->Get("diffuseFactor")) : source.pbrMetallicRoughness.baseColorFactor;
    if (factor.size() == 4) base.factor = factor;
    if (!older) base.texture = source.pbrMetallicRoughness.baseColorTexture;
    if (!older || !older->Get("diffuseTexture").IsObject()) return base;
    const tinygltf::Value& texture = older->Get("diffuseTexture");
    base.texture.index = GltfInt(texture.Get("index"));
    base.texture.texCoord = GltfInt(texture.Get("texCoord"), 0);
    const tinygltf::Value& extensions = texture.Get("extensions");
    if (extensions.IsObject())
        for (const std::string& name : extensions.Keys())
            base.texture.extensions[name] = extensions.Get(name);
    return base;
}

std::shared_ptr<PhysicalMtl> GltfMaterialReader::ReadPhysical(const tinygltf::Material& source,
                                                              ImportedMaterial* report) {
    const tinygltf::PbrMetallicRoughness& pbr = source.pbrMetallicRoughness;
    const tinygltf::TextureInfo& map = pbr.metallicRoughnessTexture;
    bool hasMap = map.index >= 0, saysMetal = source.values.contains("metallicFactor") || hasMap;
    auto metal = saysMetal ? float(pbr.metallicFactor) : 0;
    bool isGlowing = std::any_of(source.emissiveFactor.begin(), source.emissiveFactor.end(),
                                 [](double c) { return c > 0; });
    bool isMatt = metal == 0 && pbr.roughnessFactor >= 1 && !hasMap;
    if (isMatt && !isGlowing && source.normalTexture.index < 0) return nullptr;
    auto material = std::make_shared<PhysicalMtl>();
    material->metallic = metal;
    material->roughness = float(pbr.roughnessFactor);
    if (hasMap) material->metallicRoughnessMap = Texture(map, "metallic_roughness", report);
    if (source.normalTexture.index >= 0) {
        tinygltf::TextureInfo normal;
        normal.index = source.normalTexture.index;
        normal.texCoord = source.normalTexture.texCoord;
        normal.extensions = source.normalTexture.extensions;
        material->normalMap = Texture(normal, "normal", report);
        material->normalScale = float(source.normalTexture.scale);
    }
    if (!isGlowing) return material;
    material->emission = ToDisplay(source.emissiveFactor);
    if (const tinygltf::Value* strength =
            Find(source.extensions, "KHR_materials_emissive_strength"))
        if (const tinygltf::Value& value = strength->Get("emissiveStrength"); value.IsNumber())
            material->emissionStrength = float(value.GetNumberAsDouble());
    if (source.emissiveTexture.index >= 0)
        material->emissionMap = Texture(source.emissiveTexture, "emission", report);
    return material;
}

std::shared_ptr<BitmapTex> GltfMaterialReader::Texture(const tinygltf::TextureInfo& info,
                                                       const char* slot, ImportedMaterial* report) {
    if (size_t(info.index) >= m_model.textures.size()) return nullptr;
    const tinygltf::Texture& texture = m_model.textures[size_t(info.index)];
    int index = ImageOf(texture);
    if (index < 0 || size_t(index) >= m_model.images.size()) {
        m_files.Warn(fmt::format("texture {} has no image", info.index));
        return nullptr;
    }
    std::shared_ptr<BitmapTex> map = Image(size_t(index), slot, report);
    if (!map) return nullptr;
    int set = info.texCoord;
    Wrap(texture, map.get());
    if (const tinygltf::Value* transform = Find(info.extensions, "KHR_texture_transform")) {
        Transform(*transform, map.get());
        set = GltfInt(transform->Get("texCoord"), set);
    }
    map->channel = std::clamp(set, 0, 7) + 1;
    return map;
}

// The plain image, or the one of a newer kind when it is the only one.
int GltfMaterialReader::ImageOf(const tinygltf::Texture& texture) const {
    if (texture.source >= 0) return texture.source;
    for (const auto& [name, extension] : texture.extensions)
        if (extension.IsObject() && extension.Get("source").IsNumber())
            return GltfInt(extension.Get("source"));
    return -1;
}

std::shared_ptr<BitmapTex> GltfMaterialReader::Image(size_t index, const char* slot,
                                                     ImportedMaterial* report) {
    const tinygltf::Image& image = m_model.images[index];
    std::shared_ptr<BitmapTex> map = image.uri.empty()
                                         ? PackedImage(index, slot, report)
                                         : m_files.Texture(DecodePercent(image.uri), slot, report);
    if (map && !image.name.empty()) map->name = image.name;
    return map;
}

std::shared_ptr<BitmapTex> GltfMaterialReader::PackedImage(size_t index, const char* slot,
                                                           ImportedMaterial* report) {
    const std::vector<unsigned char>& data = m_model.images[index].image;
    std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
    auto [entry, isNew] = m_packed.try_emplace(index);
    if (isNew) {
        std::string reason, name = fmt::format("image {}", index);
        if (ImageKind(bytes.substr(0, kImageKindBytes), "").empty())
            reason = DescribeUnreadImage(bytes, name);
        else
            entry->second = m_files.PackedImage(bytes, name, &reason);
        if (!entry->second) m_files.Warn("texture left out: " + reason);
    }
    if (report) report->textures.push_back({slot, "embedded", !bytes.empty()});
    if (!entry->second) return nullptr;
    auto map = std::make_shared<BitmapTex>(ReadBitmap);
    map->SetImage(entry->second);
    return map;
}

void GltfMaterialReader::Wrap(const tinygltf::Texture& texture, BitmapTex* map) {
    if (texture.sampler < 0 || size_t(texture.sampler) >= m_model.samplers.size()) return;
    const tinygltf::Sampler& sampler = m_model.samplers[size_t(texture.sampler)];
    if (sampler.wrapS == TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE) map->wrap = BitmapTex::Wrap::kClamp;
    if (sampler.wrapS == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT)
        map->wrap = BitmapTex::Wrap::kMirror;
    if (sampler.wrapT != sampler.wrapS)
        m_files.Warn("a texture wraps in its second direction as in its first");
    if (sampler.magFilter == TINYGLTF_TEXTURE_FILTER_NEAREST)
        map->filter = BitmapTex::Filter::kNearest;
}

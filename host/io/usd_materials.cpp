#include "host/io/usd_materials.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/near_path.h"
#include "host/base/text.h"
#include "host/io/export_colors.h"
#include "host/io/gltf_image.h"
#include "host/scene/physical_material.h"
#include "host/scene/texmaps.h"

namespace fs = std::filesystem;

namespace {

const BitmapTex* AsBitmap(const Texmap* map) { return dynamic_cast<const BitmapTex*>(map); }

std::string Tuple(const AColor& c) { return UsdTuple({c.r, c.g, c.b, c.a}); }

bool IsPlaced(const Texmap& map) {
    return !(map.tiling.Get() == Point2{1, 1}) || !(map.offset.Get() == Point2{}) ||
           map.RotationDegrees() != 0;
}

bool IsSamePlace(const Texmap& a, const Texmap& b) {
    return a.channel.Get() == b.channel.Get() && a.tiling.Get() == b.tiling.Get() &&
           a.offset.Get() == b.offset.Get() && a.RotationDegrees() == b.RotationDegrees() &&
           AsBitmap(&a)->wrap.Get() == AsBitmap(&b)->wrap.Get();
}

const char* WrapName(const BitmapTex* map) {
    if (!map || map->wrap == BitmapTex::Wrap::kTile) return "repeat";
    return map->wrap == BitmapTex::Wrap::kClamp ? "clamp" : "mirror";
}

// The map may stand for others whose placement is in their image.
bool HasFile(const Texmap* map) {
    auto* bitmap = AsBitmap(map);
    return bitmap && !bitmap->File().empty();
}

}  // namespace

UsdMaterials::UsdMaterials(std::string root, const std::string& usdPath,
                           std::vector<std::string>* warnings)
    : m_root(std::move(root)),
      m_folder(fs::absolute(usdPath).parent_path().string()),
      m_stem(fs::path(usdPath).stem().string()),
      m_warnings(warnings) {}

bool UsdMaterials::Add(const StandardMtl* material, std::string* path, std::string* error) {
    auto [entry, isNew] = m_paths.try_emplace(material);
    if (!isNew) return *path = entry->second, true;
    std::string wanted = !material ? "default_grey" : material->name.Get();
    m_name = m_names.Unique(wanted.empty() ? "material" : wanted);
    m_path = *path = entry->second = m_root + "/" + m_name;
    m_inputs.clear();
    m_textures.clear();
    if (!material)
        m_inputs = fmt::format("                color3f inputs:diffuseColor = {}\n",
                               UsdTuple(LinearFactor(kDefaultGrey)));
    else if (!AddDiffuse(*material, error) || !AddOpacity(*material, error))
        return false;
    auto* physical = dynamic_cast<const PhysicalMtl*>(material);
    if (physical && !AddPhysical(*physical, error)) return false;
    if (!physical)
        m_inputs +=
            "                float inputs:metallic = 0\n"
            "                float inputs:roughness = 1\n";
    if (material) TellOfLeftOut(*material);
    std::string shown = UsdDisplayName(m_name, wanted);
    m_text += fmt::format(
        "        def Material \"{}\"{}\n        {{\n"
        "            token outputs:surface.connect = <{}/Surface.outputs:surface>\n\n"
        "            def Shader \"Surface\"\n            {{\n"
        "                uniform token info:id = \"UsdPreviewSurface\"\n"
        "{}                token outputs:surface\n            }}\n",
        m_name, shown.empty() ? "" : fmt::format(" (\n            {}\n        )", shown), m_path,
        m_inputs);
    WriteTextures();
    m_text += "        }\n";
    return true;
}

std::string UsdMaterials::FileFromFolder(const std::string& file) const {
    std::string path = NearPath(file, m_folder);
    return fs::path(path).is_absolute() ? path : "./" + path;
}

bool UsdMaterials::BakeImage(const StandardMtl& carrier, Image* image, std::string* error) {
    auto [entry, isNew] = m_baked.try_emplace(GltfImageKey(carrier));
    if (isNew) {
        GltfImage made;
        if (!MakeGltfImage(carrier, &made, error)) return false;
        const char* ending = made.mimeType == "image/png" ? "png" : "jpg";
        std::string file = fmt::format("{}_{}_{}.{}", m_stem, m_files.size(), made.name, ending);
        entry->second.file = "./" + file;
        m_files.emplace_back(file, std::move(made.bytes));
    }
    *image = entry->second;
    return true;
}

bool UsdMaterials::FindColorImage(const Reference<Texmap>& map, Image* image, std::string* error) {
    if (HasFile(map.Get()) && !AsBitmap(map.Get())->alphaOnly) {
        image->file = FileFromFolder(map->ImageFile());
        return true;
    }
    StandardMtl carrier;  // shows the map as a colour
    carrier.name = m_name;
    carrier.diffuseMap = map.Share();
    return BakeImage(carrier, image, error);
}

// An opacity is the luminance times the alpha: a file serves where one of its channels is that.
bool UsdMaterials::FindAlphaImage(const Reference<Texmap>& map, Image* image, std::string* error) {
    if (!map->Update(0, error)) return false;
    auto* bitmap = AsBitmap(map.Get());
    bool isGrey = bitmap && bitmap->Image() && bitmap->Image()->Channels() == 1;
    if (HasFile(bitmap) && (bitmap->alphaOnly || isGrey)) {
        *image = {FileFromFolder(bitmap->File()), bitmap->alphaOnly ? 'a' : 'r'};
        return true;
    }
    StandardMtl carrier;  // an image whose alpha is the opacity
    carrier.name = m_name;
    carrier.opacityMap = map.Share();
    return BakeImage(carrier, image, error);
}

void UsdMaterials::Connect(const char* type, const char* input, Texture& texture,
                           const char* output) {
    if (std::find(texture.outputs.begin(), texture.outputs.end(), output) == texture.outputs.end())
        texture.outputs.push_back(output);
    m_inputs += fmt::format("                {} inputs:{}.connect = <{}/{}.outputs:{}>\n", type,
                            input, m_path, texture.name, output);
}

bool UsdMaterials::AddDiffuse(const StandardMtl& material, std::string* error) {
    Color factor = BaseFactor(material);
    if (!ImagedMap(material.diffuseMap)) {
        if (material.vertexColors)
            m_inputs += fmt::format(
                "                color3f inputs:diffuseColor.connect = "
                "<{}/VertexColor.outputs:result>\n",
                m_path);
        else
            m_inputs +=
                fmt::format("                color3f inputs:diffuseColor = {}\n", UsdTuple(factor));
        return true;
    }
    Texture texture{"DiffuseTexture", material.diffuseMap.Get()};
    if (!FindColorImage(material.diffuseMap, &texture.image, error)) return false;
    texture.scale = {factor.r, factor.g, factor.b, 1};
    texture.isColor = true;
    Connect("color3f", "diffuseColor", texture, "rgb");
    m_textures.push_back(std::move(texture));
    return true;
}

bool UsdMaterials::AddOpacity(const StandardMtl& material, std::string* error) {
    float opacity = ToUnit(material.opacity), cutoff = ToUnit(material.opacityCutoff);
    const Texmap* map = ImagedMap(material.opacityMap);
    if (map) {
        Texture texture{"OpacityTexture", map};
        if (!FindAlphaImage(material.opacityMap, &texture.image, error)) return false;
        // Colour and alpha of one image come from one texture, as renderers like it best.
        Texture* diffuse = m_textures.empty() ? nullptr : &m_textures.back();
        bool isShared = diffuse && HasFile(diffuse->map) && HasFile(map) &&
                        texture.image.alpha == 'a' && IsSamePlace(*diffuse->map, *map) &&
                        diffuse->image.file == texture.image.file;
        Texture& used = isShared ? *diffuse : texture;
        (texture.image.alpha == 'a' ? used.scale.a : used.scale.r) = opacity;
        Connect("float", "opacity", used, texture.image.alpha == 'a' ? "a" : "r");
        if (!isShared) m_textures.push_back(std::move(texture));
    } else if (opacity < 1) {
        m_inputs +=
            fmt::format("                float inputs:opacity = {}\n", FormatNumber(opacity));
    }
    if (cutoff > 0 && (map || opacity < 1))
        m_inputs += fmt::format("                float inputs:opacityThreshold = {}\n",
                                FormatNumber(cutoff));
    return true;
}

bool UsdMaterials::AddPhysical(const PhysicalMtl& m, std::string* error) {
    float metallic = ToUnit(m.metallic), roughness = ToUnit(m.roughness);
    if (ImagedMap(m.metallicRoughnessMap)) {
        Texture texture{"RoughnessTexture", m.metallicRoughnessMap.Get()};
        if (!FindColorImage(m.metallicRoughnessMap, &texture.image, error)) return false;
        texture.scale = {1, roughness, metallic, 1};
        Connect("float", "metallic", texture, "b");
        Connect("float", "roughness", texture, "g");
        m_textures.push_back(std::move(texture));
    } else {
        m_inputs += fmt::format(
            "                float inputs:metallic = {}\n"
            "                float inputs:roughness = {}\n",
            FormatNumber(metallic), FormatNumber(roughness));
    }
    if (ImagedMap(m.normalMap)) {
        Texture texture{"NormalTexture", m.normalMap.Get()};
        if (!FindColorImage(m.normalMap, &texture.image, error)) return false;
        // 0..1 of the image for -1..1 of the normal.
        float slope = m.normalScale;
        texture.scale = {2 * slope, 2 * slope, 2, 1};
        texture.bias = {-slope, -slope, -1, 0};
        Connect("normal3f", "normal", texture, "rgb");
        m_textures.push_back(std::move(texture));
    }
    Color glow = LinearFactor(m.emission) * std::max(0.0f, m.emissionStrength.Get());
    if (glow == Color{}) return true;
    if (!ImagedMap(m.emissionMap)) {
        m_inputs +=
            fmt::format("                color3f inputs:emissiveColor = {}\n", UsdTuple(glow));
        return true;
    }
    Texture texture{"EmissionTexture", m.emissionMap.Get()};
    if (!FindColorImage(m.emissionMap, &texture.image, error)) return false;
    texture.scale = {glow.r, glow.g, glow.b, 1};
    texture.isColor = true;
    Connect("color3f", "emissiveColor", texture, "rgb");
    m_textures.push_back(std::move(texture));
    return true;
}

void UsdMaterials::WriteTextures() {
    for (const Texture& texture : m_textures) WriteTexture(texture);
    if (m_inputs.find("/VertexColor.") == std::string::npos) return;
    m_text +=
        "            def Shader \"VertexColor\"\n            {\n"
        "                uniform token info:id = \"UsdPrimvarReader_float3\"\n"
        "                float3 inputs:fallback = (1, 1, 1)\n"
        "                string inputs:varname = \"vertexColor\"\n"
        "                float3 outputs:result\n            }\n";
}

// The texture, the coordinates that it reads, and between them their placement, which baked images
// hold already.
void UsdMaterials::WriteTexture(const Texture& texture) {
    const Texmap& map = *texture.map;
    const BitmapTex* bitmap = AsBitmap(&map);
    bool isPlaced = bitmap && IsPlaced(map);
    std::string node = fmt::format("{}/{}", m_path, texture.name);
    m_text += fmt::format(
        "            def Shader \"{}\"\n            {{\n"
        "                uniform token info:id = \"UsdUVTexture\"\n"
        "                asset inputs:file = {}\n",
        texture.name, UsdAsset(texture.image.file));
    if (!(texture.bias == AColor{0, 0, 0, 0}))
        m_text += fmt::format("                float4 inputs:bias = {}\n", Tuple(texture.bias));
    if (!(texture.scale == AColor{1, 1, 1, 1}))
        m_text += fmt::format("                float4 inputs:scale = {}\n", Tuple(texture.scale));
    m_text += fmt::format(
        "                token inputs:sourceColorSpace = \"{}\"\n"
        "                float2 inputs:st.connect = <{}{}.outputs:result>\n"
        "                token inputs:wrapS = \"{}\"\n                token inputs:wrapT = "
        "\"{}\"\n",
        texture.isColor ? "sRGB" : "raw", node, isPlaced ? "Placing" : "Coordinates",
        WrapName(bitmap), WrapName(bitmap));
    for (const std::string& output : texture.outputs)
        m_text += fmt::format("                {} outputs:{}\n",
                              output == "rgb" ? "float3" : "float", output);
    m_text += "            }\n";
    if (isPlaced)
        m_text += fmt::format(
            "            def Shader \"{}Placing\"\n            {{\n"
            "                uniform token info:id = \"UsdTransform2d\"\n"
            "                float2 inputs:in.connect = <{}Coordinates.outputs:result>\n"
            "                float inputs:rotation = {}\n                float2 inputs:scale = {}\n"
            "                float2 inputs:translation = {}\n                float2 "
            "outputs:result\n"
            "            }}\n",
            texture.name, node, FormatNumber(map.RotationDegrees()),
            UsdTuple({map.tiling->x, map.tiling->y}), UsdTuple({map.offset->x, map.offset->y}));
    int channel = std::max(1, map.channel.Get());
    m_text += fmt::format(
        "            def Shader \"{}Coordinates\"\n            {{\n"
        "                uniform token info:id = \"UsdPrimvarReader_float2\"\n"
        "                float2 inputs:fallback = (0, 0)\n"
        "                string inputs:varname = \"st{}\"\n"
        "                float2 outputs:result\n            }}\n",
        texture.name, channel == 1 ? "" : std::to_string(channel));
}

void UsdMaterials::Warn(const StandardMtl& material, const std::string& text) {
    m_warnings->push_back(fmt::format("material \"{}\": {}", material.name.Get(), text));
}

void UsdMaterials::TellOfLeftOut(const StandardMtl& material) {
    if (material.translucency > 0) Warn(material, "its translucency is left out");
    if (material.reflectivity > 0) Warn(material, "its mirror is left out");
    if (material.ripple > 0) Warn(material, "its ripples are left out");
    if (material.diffuseMap && !ImagedMap(material.diffuseMap))
        Warn(material, "noise is written as its middle colour");
    if (material.opacityMap && !ImagedMap(material.opacityMap))
        Warn(material, "noise in its opacity is left out");
    if (material.vertexColors && ImagedMap(material.diffuseMap))
        Warn(material, "vertex colours do not multiply its map");
    else if (material.vertexColors && !(BaseFactor(material) == Color{1, 1, 1}))
        Warn(material, "its colour does not multiply the vertex colours");
    for (const Texture& texture : m_textures)
        if (auto* bitmap = AsBitmap(texture.map);
            bitmap && bitmap->filter == BitmapTex::Filter::kNearest)
            Warn(material, "a map that shows single pixels is written as a smooth one");
}

#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/base/near_path.h"
#include "host/base/text.h"
#include "host/io/scene_description.h"
#include "host/io/scene_file.h"
#include "host/io/scene_parts.h"

namespace {

template <class Map>
std::vector<std::string> KeysOf(const Map& map) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : map) keys.push_back(key);
    return keys;
}

template <class Map>
auto FindPointer(const Map& map, const std::string& key) {
    auto it = map.find(key);
    return it == map.end() ? nullptr : &it->second;
}

std::string NoSuch(const char* what, const std::string& name,
                   const std::vector<std::string>& names) {
    return fmt::format("no {} is named \"{}\"{}", what, CutText(name, 60), DidYouMean(name, names));
}

std::shared_ptr<ReferenceTarget> FindNamed(const Scene& scene, ParamType type,
                                           const std::string& name, std::string* error) {
    if (type == ParamType::kNode) {
        if (INode* node = scene.FindNode(name)) return node->shared_from_this();
        std::vector<std::string> names;
        for (const INode* node : scene.Nodes()) names.push_back(node->GetName());
        *error = NoSuch("node", name, names);
    } else if (type == ParamType::kTexmap) {
        if (auto found = FindPointer(scene.Texmaps(), name)) return *found;
        *error = NoSuch("texture map", name, KeysOf(scene.Texmaps()));
    } else if (type == ParamType::kMaterial) {
        if (auto found = FindPointer(scene.Materials(), name)) return *found;
        *error = NoSuch("material", name, KeysOf(scene.Materials()));
    } else {
        *error = "this reference cannot be named";
    }
    return nullptr;
}

template <class T>
std::shared_ptr<T> Named(const Scene& scene, ParamType type, const DescriptionValue& value) {
    if (value.IsNull()) return nullptr;
    std::string error, name = value.AsText();
    auto target = FindNamed(scene, type, name, &error);
    if (!target) value.Fail(error);
    return std::static_pointer_cast<T>(target);
}

}  // namespace

SceneFormats::SceneFormats(std::shared_ptr<ISceneLoaders> loaders) : m_loaders(std::move(loaders)) {
    RegisterHostTexmaps(*this);
    RegisterHostMaterials(*this);
    RegisterMeshTypes(*this);
    RegisterHeightfieldType(*this);
    RegisterExternalType(*this);
    RegisterOtherTypes(*this);
    RegisterHostModifiers(*this);
}

void SceneFormats::RegisterNode(const std::string& type,
                                std::unique_ptr<INodeDescription> description) {
    m_nodes[type] = std::move(description);
}
void SceneFormats::RegisterMaterial(const std::string& type, MaterialFormat format) {
    m_materials[type] = std::move(format);
}
void SceneFormats::RegisterTexmap(const std::string& type, TexmapFormat format) {
    m_texmaps[type] = std::move(format);
}

void SceneFormats::RegisterModifier(const std::string& type, ModifierFormat format) {
    m_modifiers[type] = std::move(format);
}

const INodeDescription* SceneFormats::FindNode(const std::string& type) const {
    auto found = FindPointer(m_nodes, type);
    return found ? found->get() : nullptr;
}
const MaterialFormat* SceneFormats::FindMaterial(const std::string& type) const {
    return FindPointer(m_materials, type);
}
const TexmapFormat* SceneFormats::FindTexmap(const std::string& type) const {
    return FindPointer(m_texmaps, type);
}
const ModifierFormat* SceneFormats::FindModifier(const std::string& type) const {
    return FindPointer(m_modifiers, type);
}
std::vector<std::string> SceneFormats::NodeTypes() const { return KeysOf(m_nodes); }
std::vector<std::string> SceneFormats::MaterialTypes() const { return KeysOf(m_materials); }
std::vector<std::string> SceneFormats::TexmapTypes() const { return KeysOf(m_texmaps); }

void DescriptionContext::RunLater() {
    // An action may add others.
    for (size_t i = 0; i < m_later.size(); ++i) {
        std::function<void()> action = std::move(m_later[i]);
        action();
    }
    m_later.clear();
}

std::shared_ptr<INode> DescriptionContext::NodeOf(const DescriptionValue& name) const {
    return Named<INode>(scene, ParamType::kNode, name);
}
std::shared_ptr<Texmap> DescriptionContext::TexmapOf(const DescriptionValue& name) const {
    return Named<Texmap>(scene, ParamType::kTexmap, name);
}
std::shared_ptr<Mtl> DescriptionContext::MtlOf(const DescriptionValue& name) const {
    return Named<Mtl>(scene, ParamType::kMaterial, name);
}

NameResolver DescriptionContext::Resolver() const { return ResolverOf(scene); }

NameResolver ResolverOf(const Scene& scene) {
    return [&scene](ParamType type, const std::string& name, std::string* error) {
        return FindNamed(scene, type, name, error);
    };
}

std::string DescriptionContext::FileOf(const DescriptionValue& name) const {
    std::string text = name.AsText();
    if (name.Document().Failed()) return {};
    SceneFile file = FindSceneFile(folder, text);
    if (!file.error.empty())
        name.Fail(file.error, file.isName ? DescriptionErrorClass::kMissingInput
                                          : DescriptionErrorClass::kMalformed);
    if (!file.warning.empty()) name.Warn(file.warning);
    return file.path;
}

nlohmann::ordered_json DescriptionWriter::NodeName(const INode* node) const {
    if (!node || node->GetScene() != &scene) return nullptr;
    return node->GetName();
}

nlohmann::ordered_json DescriptionWriter::TexmapName(const Texmap* texmap) const {
    for (const auto& [name, held] : scene.Texmaps())
        if (held.get() == texmap) return name;
    return nullptr;
}

nlohmann::ordered_json DescriptionWriter::MtlName(const Mtl* mtl) const {
    for (const auto& [name, held] : scene.Materials())
        if (held.get() == mtl) return name;
    return nullptr;
}

std::string DescriptionWriter::FileName(const std::string& path) const {
    return NearPath(path, folder);
}

nlohmann::ordered_json DescriptionWriter::Number(float value) {
    if (!std::isfinite(value)) return 0;
    // Whole numbers stand without a point, others as the shortest text that reads back.
    if (value == std::trunc(value) && std::abs(value) < 1e9f) return int64_t(value);
    return *ParseNumber(FormatNumber(value));
}

nlohmann::ordered_json DescriptionWriter::Number(double value) {
    if (!std::isfinite(value)) return 0;
    if (value == std::trunc(value) && std::abs(value) < 1e9) return int64_t(value);
    return value;
}

nlohmann::ordered_json DescriptionWriter::Triple(const Point3& p) {
    return {Number(p.x), Number(p.y), Number(p.z)};
}

nlohmann::ordered_json DescriptionWriter::Triple(const Color& c) {
    return Triple(Point3{c.r, c.g, c.b});
}

nlohmann::ordered_json DescriptionWriter::Matrix(const Matrix3& m) {
    nlohmann::ordered_json rows;
    for (const Point3& row : m.row) rows.push_back(Triple(row));
    return rows;
}

#include "host/io/external_scenes.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/scene/external_object.h"

namespace {

constexpr size_t kMostOpening = 32;  // files that each name the next

std::string CanonicalPath(const std::string& path) {
    std::error_code failed;
    std::string canonical = std::filesystem::canonical(path, failed).string();
    return failed ? path : canonical;
}

ExternalSceneLoad Failed(std::string error, DescriptionErrorClass why) {
    ExternalSceneLoad load;
    load.error = std::move(error);
    load.errorClass = why;
    return load;
}

std::vector<std::string> NodeNames(const Scene& scene) {
    std::vector<std::string> names;
    for (const INode* node : scene.Nodes()) names.push_back(node->GetName());
    return names;
}

// Empty: lengths and times mean the same in both scenes.
std::string UnitWarning(const Scene& scene, const Scene& shownIn, const std::string& file) {
    if (scene.unitScale != shownIn.unitScale)
        return fmt::format(
            "{}: its unit is {} m, this scene's {} m; its numbers are kept, a scale of {} at the "
            "node gives the same size",
            file, scene.unitScale.Get(), shownIn.unitScale.Get(),
            float(scene.unitScale / shownIn.unitScale));
    return {};
}

}  // namespace

ExternalSceneLoad ISceneLoaders::LoadScene(const std::string& path, WorkWatch*) {
    return Failed(path + ": this program shows no objects of other scenes",
                  DescriptionErrorClass::kMissingInput);
}

ExternalSceneLoad ExternalScenes::Load(const std::string& path, WorkWatch* watch) {
    std::string canonical = CanonicalPath(path);
    if (auto known = m_scenes[canonical].lock()) return {known, {}, {}, {}};
    if (std::find(m_opening.begin(), m_opening.end(), canonical) != m_opening.end())
        return Failed(fmt::format("{}: the scene shows an object of itself, through {}", path,
                                  m_opening.back()),
                      DescriptionErrorClass::kMalformed);
    if (m_opening.size() >= kMostOpening)
        return Failed(fmt::format("{}: more than {} scenes that each show an object of the next",
                                  path, kMostOpening),
                      DescriptionErrorClass::kLimit);
    m_opening.push_back(canonical);
    ExternalSceneLoad load = Open(path, watch);
    m_opening.pop_back();
    m_scenes[canonical] = load.scene;
    return load;
}

ExternalSceneLoad ExternalScenes::Open(const std::string& path, WorkWatch* watch) {
    SceneReadResult result = m_open(path, watch);
    ExternalSceneLoad load;
    load.error = std::move(result.error);
    load.errorClass = result.errorClass;
    load.warnings = std::move(result.warnings);
    load.scene = std::move(result.scene);
    return load;
}

std::shared_ptr<ExternalObject> ShowExternal(
    const ExternalOrigin& origin, ISceneLoaders& loaders, const Scene& shownIn, WorkWatch* watch,
    std::vector<std::string>* warnings,
    const std::function<void(const std::string&, DescriptionErrorClass)>& fail) {
    ExternalSceneLoad load = loaders.LoadScene(origin.file, watch);
    for (std::string& warning : load.warnings) warnings->push_back(std::move(warning));
    if (!load.scene) return fail(load.error, load.errorClass), nullptr;
    INode* node = load.scene->FindNode(origin.object);
    if (!node) {
        fail(fmt::format("{}: there is no node \"{}\"{}", origin.file, origin.object,
                         DidYouMean(origin.object, NodeNames(*load.scene))),
             DescriptionErrorClass::kMalformed);
        return nullptr;
    }
    if (std::string why = ExternalObject::Refusal(*node); !why.empty()) {
        fail(fmt::format("{}: the node \"{}\" {}", origin.file, origin.object, why),
             DescriptionErrorClass::kMalformed);
        return nullptr;
    }
    if (std::string warning = UnitWarning(*load.scene, shownIn, origin.file); !warning.empty())
        warnings->push_back(std::move(warning));
    return std::make_shared<ExternalObject>(origin, load.scene, *node);
}

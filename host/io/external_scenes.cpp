#include "host/io/external_scenes.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/scene/derived_object.h"
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

namespace {

// The external object that a node shows, below its modifiers; null where it shows another.
ExternalObject* ExternalOf(const INode& node) {
    Object* object = node.GetObjectRef();
    while (auto* derived = dynamic_cast<DerivedObject*>(object)) object = derived->Base();
    return dynamic_cast<ExternalObject*>(object);
}

void ShowInstead(INode& node, std::shared_ptr<ExternalObject> object) {
    auto* derived = dynamic_cast<DerivedObject*>(node.GetObjectRef());
    if (!derived) return node.SetObjectRef(std::move(object));
    while (auto* below = dynamic_cast<DerivedObject*>(derived->Base())) derived = below;
    derived->SetBase(std::move(object));
}

}  // namespace

int RereadExternals(Scene& scene, ISceneLoaders& loaders, const std::string& file,
                    std::vector<std::string>* warnings, std::string* error) {
    std::map<ExternalObject*, std::shared_ptr<ExternalObject>> reread;
    for (const INode* node : scene.Nodes())
        if (ExternalObject* object = ExternalOf(*node))
            if (file.empty() || object->Origin().file == file) reread[object] = nullptr;
    loaders.ForgetScenes();
    for (auto& [before, now] : reread) {
        now = ShowExternal(before->Origin(), loaders, scene, nullptr, warnings,
                           [&](const std::string& why, DescriptionErrorClass) { *error = why; });
        if (!now) return 0;
    }
    for (INode* node : scene.Nodes()) {
        auto it = reread.find(ExternalOf(*node));
        if (it != reread.end()) ShowInstead(*node, it->second);
    }
    return int(reread.size());
}

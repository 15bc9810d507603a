#include "common/util/material_library.h"

#include <fmt/format.h>

#include "common/util/report_error.h"
#include "host/base/log.h"
#include "host/params/reachable.h"

namespace {

// `name`, or name with the first free number behind it.
template <class Map>
std::string FreeName(const Map& named, const std::string& name) {
    std::string free = name;
    for (int n = 2; named.contains(free); ++n) free = fmt::format("{} {}", name, n);
    return free;
}

// A copy of a material of `from`, with the named maps and materials that it needs.
std::shared_ptr<Mtl> TakeOver(Scene& scene, const Scene& from, const std::shared_ptr<Mtl>& wanted,
                              const std::string& name) {
    std::set<const ReferenceTarget*> needed;
    CollectReachable(*wanted, needed);
    CloneMap copies;
    auto copy = [&copies](const auto& target) {
        auto made = std::static_pointer_cast<typename std::decay_t<decltype(target)>::element_type>(
            target->Clone(copies));
        copies.Add(*target, made);
        return made;
    };
    std::vector<std::pair<std::string, std::shared_ptr<Texmap>>> maps;
    std::vector<std::pair<std::string, std::shared_ptr<Mtl>>> materials;
    for (const auto& [mapName, texmap] : from.Texmaps())
        if (needed.contains(texmap.get())) maps.push_back({mapName, copy(texmap)});
    for (const auto& [otherName, material] : from.Materials())
        if (needed.contains(material.get()) && material != wanted)
            materials.push_back({otherName, copy(material)});
    std::shared_ptr<Mtl> taken = copy(wanted);
    copies.Finish();
    for (auto& [mapName, texmap] : maps)
        scene.SetTexmap(FreeName(scene.Texmaps(), mapName), texmap);
    for (auto& [otherName, material] : materials)
        scene.SetMaterial(FreeName(scene.Materials(), otherName), material);
    scene.SetMaterial(name, taken);
    return taken;
}

}  // namespace

std::shared_ptr<Mtl> LoadMaterialFromLibrary(Scene& scene, const std::string& library,
                                             const std::string& material,
                                             const std::string& caption,
                                             const MaterialLibraryLoader& load,
                                             std::string* error) {
    auto fail = [&](std::string text) {
        ReportError(text, caption);
        *error = std::move(text);
        return nullptr;
    };
    std::string why;
    std::shared_ptr<Scene> from = load(library, &why);
    if (!from) {
        LogWarning(why);
        return fail(fmt::format("Error loading material library:\n\n{}", library));
    }
    auto found = from->Materials().find(material);
    if (found == from->Materials().end()) {
        if (from->Texmaps().contains(material))
            return fail(fmt::format("Error loading material from library:\n(M) {}\n(L) {}",
                                    material, library));
        return fail(
            fmt::format("Material not found in library:\n\n(L) {}\n(M) {}", library, material));
    }
    if (auto own = scene.Materials().find(material); own != scene.Materials().end())
        return own->second;
    std::shared_ptr<Mtl> taken = TakeOver(scene, *from, found->second, material);
    std::vector<std::string> problems;
    taken->Update(scene.GetTime(), &problems);
    for (const std::string& problem : problems) LogWarning(problem);
    return taken;
}

#include "Dravin/storage/description_losses.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "host/base/text.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"
#include "host/storage/scene_layout.h"
#include "host/storage/unknown_entity.h"

namespace {

class Losses {
public:
    // The names of what is lost for one reason: `"a", "b" and 3 more`.
    void Add(const std::vector<std::string>& names, const char* what) {
        constexpr size_t kMost = 3;
        if (names.empty()) return;
        Add(fmt::format("{}: {}", what, ListedNames(names, kMost)));
    }
    void Add(std::string text) {
        m_lines.push_back("a scene description cannot hold " + std::move(text));
    }
    std::vector<std::string> Take() { return std::move(m_lines); }

private:
    std::vector<std::string> m_lines;
};

template <class Test>
std::vector<std::string> NodesThat(const Scene& scene, const Test& test) {
    std::vector<std::string> names;
    for (INode* node : scene.Nodes())
        if (test(*node)) names.push_back(node->GetName());
    return names;
}

bool IsNamed(const Scene& scene, const Mtl* mtl) {
    for (const auto& [name, held] : scene.Materials())
        if (held.get() == mtl) return true;
    return false;
}

bool HasResults(const INode& node) {
    auto* object = dynamic_cast<TDravin*>(node.GetObjectRef());
    return object && std::any_of(object->StoredItems().begin(), object->StoredItems().end(),
                                 [](const TStoredItem& item) {
                                     return item.discarded || item.selected || item.width != 0;
                                 });
}

}  // namespace

std::vector<std::string> DescriptionLosses(const Scene& scene) {
    Losses losses;
    losses.Add(NodesThat(scene, [](INode& node) { return node.IsSelected(); }),
               "which nodes are selected");
    losses.Add(NodesThat(scene, [](INode& node) { return !node.selectable; }),
               "that nodes cannot be selected");
    losses.Add(
        NodesThat(scene,
                  [&](INode& node) { return node.GetMtl() && !IsNamed(scene, node.GetMtl()); }),
        "materials without a name in the scene, of the nodes");
    losses.Add(NodesThat(scene, [](INode& node) { return HasResults(node); }),
               "selection and last results of edited items of");
    losses.Add(NodesThat(scene,
                         [](INode& node) {
                             return dynamic_cast<UnknownEntity*>(node.GetObjectRef()) != nullptr;
                         }),
               "objects of classes that are not there, of the nodes");
    std::vector<std::string> images;
    for (const auto& [name, map] : scene.Texmaps())
        if (auto* bitmap = dynamic_cast<BitmapTex*>(map.get()); bitmap && bitmap->File().empty())
            images.push_back(name);
    losses.Add(images, "the images of maps that have no file");
    if (scene.timeRange != TimeRange())
        losses.Add(
            fmt::format("the time range {} to {}", scene.timeRange->start, scene.timeRange->end));
    if (scene.unknownParts) losses.Add("the parts of the file that this version does not know");
    return losses.Take();
}

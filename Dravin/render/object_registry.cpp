#include "Dravin/render/object_registry.h"

#include "Dravin/dravin.h"
#include "host/scene/host_context.h"
#include "host/scene/node.h"

std::shared_ptr<TObjectRegistry> TObjectRegistry::Current() {
    struct Holder {
        std::shared_ptr<TObjectRegistry> registry = std::make_shared<TObjectRegistry>();
    };
    HostContext* session = HostContext::Current();
    return session ? session->State<Holder>().registry : nullptr;
}

std::vector<std::shared_ptr<TDravin>> TObjectRegistry::Objects() const {
    std::vector<std::shared_ptr<TDravin>> shared;
    for (TDravin* object : m_objects)
        if (auto kept = object->weak_from_this().lock())
            shared.push_back(std::static_pointer_cast<TDravin>(std::move(kept)));
    return shared;
}

std::vector<std::shared_ptr<TDravin>> TObjectRegistry::ShownObjects() const {
    std::vector<std::shared_ptr<TDravin>> shown = Objects();
    const Scene* scene = HostContext::Current()->CurrentScene();
    std::erase_if(shown, [scene](const auto& object) {
        const INode* node = ShownBy(*object);
        return !node || (scene && node->GetScene() != scene);
    });
    return shown;
}

INode* ShownBy(const TDravin& object) {
    for (ReferenceMaker* maker : object.Dependents())
        if (auto* node = dynamic_cast<INode*>(maker); node && node->GetScene()) return node;
    return nullptr;
}

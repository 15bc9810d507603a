#include "host/scene/key_times.h"

#include <set>

#include "host/params/controller.h"
#include "host/scene/derived_object.h"
#include "host/scene/node.h"
#include "host/scene/transform_controller.h"

namespace {

class KeyCollector {
public:
    void Add(const INode& node) {
        if (const TransformController* place = node.GetTMController()) {
            Add(place->position.Content().track);
            Add(place->eulerDegrees.Content().track);
            Add(place->quaternion.Content().track);
            Add(place->scale.Content().track);
        }
        Add(node.hidden.Content().track);
        if (Object* object = node.GetObjectRef()) Add(*object);
    }
    std::vector<TimeValue> Times() const { return {m_times.begin(), m_times.end()}; }

private:
    template <class T>
    void Add(const KeyTrack<T>& track) {
        for (const auto& key : track.keys) m_times.insert(key.time);
    }
    void Add(IParamBlock2& block) {
        for (const ParamDef& def : block.GetDesc().params)
            for (int i = 0, n = def.animatable ? block.Count(def.id) : 0; i < n; ++i)
                for (const ParamKey& key : block.GetKeys(def.id, i)) m_times.insert(key.time);
    }
    // What belongs to the object: its blocks, controllers, modifiers and base object.
    void Add(ReferenceTarget& target) {
        if (!m_seen.insert(&target).second) return;
        if (auto* camera = dynamic_cast<CameraObject*>(&target))
            Add(camera->fovDegrees.Content().track);
        if (auto* light = dynamic_cast<LightObject*>(&target)) {
            Add(light->color.Content().track);
            Add(light->intensity.Content().track);
        }
        if (auto* block = dynamic_cast<IParamBlock2*>(&target)) return Add(*block);
        if (auto* keys = dynamic_cast<KeyController*>(&target)) Add(keys->Content().track);
        for (int slot = 0; slot < target.NumRefs(); ++slot) {
            std::shared_ptr<ReferenceTarget> held = target.GetReference(slot);
            bool isPart = dynamic_cast<IParamBlock2*>(held.get()) ||
                          dynamic_cast<Controller*>(held.get()) ||
                          dynamic_cast<Modifier*>(held.get()) ||
                          (dynamic_cast<DerivedObject*>(&target) && held);
            if (isPart) Add(*held);
        }
    }

    std::set<TimeValue> m_times;
    std::set<const ReferenceTarget*> m_seen;
};

}  // namespace

std::vector<TimeValue> KeyTimesOf(const INode& node) {
    KeyCollector keys;
    keys.Add(node);
    return keys.Times();
}

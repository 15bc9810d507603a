// Objects that refer to nodes: cameras, lights, particle systems.
#include "host/params/clone_map.h"
#include "host/scene/node.h"
#include "host/scene/shadow_type.h"

// Cameras and lights.

INode* CameraObject::GetTargetNode() const { return target.Get(); }

Interval CameraObject::ObjectValidity(TimeValue t) const {
    Interval valid = Interval::Forever();
    fovDegrees.At(t, &valid);
    return valid;
}

std::shared_ptr<ReferenceTarget> CameraObject::GetReference(int slot) const {
    return slot == 0 ? target.Share() : nullptr;
}

void CameraObject::SetReference(int slot, std::shared_ptr<ReferenceTarget> node) {
    if (slot == 0) target.Put(std::dynamic_pointer_cast<INode>(node));
}

std::shared_ptr<ReferenceTarget> CameraObject::Clone(CloneMap& map) const {
    auto copy = std::make_shared<CameraObject>();
    copy->fovDegrees.SetContent(fovDegrees.Content());
    copy->envNear = envNear;
    copy->envFar = envFar;
    map.Refer(target.Share(), [copy](auto node) { copy->target.Put(std::move(node)); });
    return copy;
}

INode* LightObject::GetTargetNode() const { return target.Get(); }

Interval LightObject::ObjectValidity(TimeValue t) const {
    Interval valid = Interval::Forever();
    color.At(t, &valid);
    intensity.At(t, &valid);
    return valid;
}

std::shared_ptr<ReferenceTarget> LightObject::GetReference(int slot) const {
    if (slot == 0) return target.Share();
    if (slot == 1) return shadowType.Share();
    return m_shadowNodes.Share(slot - 2);
}

void LightObject::SetReference(int slot, std::shared_ptr<ReferenceTarget> to) {
    if (slot == 0) target.Put(std::dynamic_pointer_cast<INode>(to));
    if (slot == 1) shadowType.Put(std::dynamic_pointer_cast<ShadowType>(to));
    m_shadowNodes.Put(slot - 2, std::dynamic_pointer_cast<INode>(to));
}

ReferenceTarget* LightObject::SubAnim(int i) const { return i == 2 ? shadowType.Get() : nullptr; }

std::string LightObject::SubAnimName(int i) const {
    constexpr const char* kNames[] = {"Color", "Intensity", "Shadow"};
    return i >= 0 && i < NumSubs() ? kNames[i] : "";
}

bool CastsShadowOf(const LightObject* light, const INode* node) {
    return (!node || node->castsShadows) && (!light || light->LetsCastShadows(node));
}

void LightObject::SetShadowNodes(std::vector<std::shared_ptr<INode>> nodes) {
    m_shadowNodes.Assign(std::move(nodes));
}

INode* LightObject::GetShadowNode(int i) const { return m_shadowNodes.Get(i); }

bool LightObject::LetsCastShadows(const INode* node) const {
    bool isListed = false;
    for (int i = 0; i < NumShadowNodes(); ++i) isListed |= node && GetShadowNode(i) == node;
    return isListed == includesShadowNodes;
}

std::shared_ptr<ReferenceTarget> LightObject::Clone(CloneMap& map) const {
    auto copy = std::make_shared<LightObject>();
    copy->kind = kind;
    copy->color.SetContent(color.Content());
    copy->intensity.SetContent(intensity.Content());
    copy->shadows = shadows;
    map.Refer(target.Share(), [copy](auto node) { copy->target.Put(std::move(node)); });
    copy->shadowType.Put(map.CopyPart(shadowType.Share()));
    copy->includesShadowNodes = includesShadowNodes;
    copy->m_shadowNodes.MakeSlots(NumShadowNodes());
    for (int i = 0; i < NumShadowNodes(); ++i)
        map.Refer(m_shadowNodes.Share(i),
                  [copy, i](auto node) { copy->m_shadowNodes.Put(i, std::move(node)); });
    return copy;
}

// Particles.

int ParticleObject::AddEvent(std::shared_ptr<INode> node) {
    for (int i = 0; i < NumEvents(); ++i)
        if (GetEvent(i) == node.get()) return i;
    m_events.Append(std::move(node));
    return NumEvents() - 1;
}

INode* ParticleObject::GetEvent(int i) const { return m_events.Get(i); }

std::shared_ptr<ReferenceTarget> ParticleObject::GetReference(int slot) const {
    return m_events.Share(slot);
}

void ParticleObject::SetReference(int slot, std::shared_ptr<ReferenceTarget> node) {
    m_events.Put(slot, std::dynamic_pointer_cast<INode>(node));
}

std::shared_ptr<ReferenceTarget> ParticleObject::Clone(CloneMap& map) const {
    auto copy = std::make_shared<ParticleObject>();
    copy->particles = particles;
    copy->m_events.MakeSlots(NumEvents());
    for (int i = 0; i < NumEvents(); ++i)
        map.Refer(m_events.Share(i),
                  [copy, i](auto node) { copy->m_events.Put(i, std::move(node)); });
    return copy;
}

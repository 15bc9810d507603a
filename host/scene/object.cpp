#include "host/scene/object.h"

#include <utility>

#include "host/params/clone_map.h"
#include "host/scene/node.h"
#include "host/scene/shadow_type.h"

std::shared_ptr<Object> Object::Evaluated(TimeValue t, Interval* valid) {
    if (valid) *valid &= ObjectValidity(t);
    return std::static_pointer_cast<Object>(shared_from_this());
}

bool Object::Passes(ClassTest test) const {
    switch (test) {
        case ClassTest::kAny:
            return true;
        case ClassTest::kGeometry:
            return IsGeomObject();
        case ClassTest::kShape:
            return IsShape();
        case ClassTest::kCamera:
            return IsCamera();
        case ClassTest::kLight:
            return IsLight();
        case ClassTest::kParticles:
            return IsParticleSystem();
    }
    return false;
}

void TriObject::SetMesh(std::shared_ptr<const Mesh> mesh) {
    RecordExchange(*this, [this, other = m_mesh, otherOrigin = origin,
                           otherAnimation = m_animation]() mutable {
        std::swap(m_mesh, other);
        std::swap(origin, otherOrigin);
        std::swap(m_animation, otherAnimation);
        NotifyDependents();
    });
    m_mesh = std::move(mesh);
    m_animation = nullptr;
    origin = {};
    NotifyDependents();
}

void TriObject::SetAnimation(std::shared_ptr<IMeshAnimation> animation) {
    RecordExchange(*this, [this, other = m_animation]() mutable {
        std::swap(m_animation, other);
        NotifyDependents();
    });
    m_animation = std::move(animation);
    NotifyDependents();
}

Interval TriObject::ObjectValidity(TimeValue t) const {
    Interval valid = Interval::Forever();
    if (m_animation) m_animation->MeshAt(t, &valid);
    return valid;
}

std::shared_ptr<ReferenceTarget> TriObject::Clone(CloneMap&) const {
    auto copy = std::make_shared<TriObject>(m_mesh, origin);
    copy->fileMaterial = fileMaterial;
    copy->m_animation = m_animation;
    return copy;
}

std::shared_ptr<ReferenceTarget> ShapeObject::Clone(CloneMap&) const {
    auto copy = std::make_shared<ShapeObject>();
    copy->shape = shape;
    return copy;
}

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
    if (slot == 0) target = std::dynamic_pointer_cast<INode>(node);
}

std::shared_ptr<ReferenceTarget> CameraObject::Clone(CloneMap& map) const {
    auto copy = std::make_shared<CameraObject>();
    copy->fovDegrees.SetContent(fovDegrees.Content());
    copy->envNear = envNear;
    copy->envFar = envFar;
    map.Refer(target.Share(), [copy](auto node) { copy->target = std::move(node); });
    return copy;
}

INode* LightObject::GetTargetNode() const { return target.Get(); }

Interval LightObject::ObjectValidity(TimeValue t) const {
    Interval valid = Interval::Forever();
    color.At(t, &valid);
    intensity.At(t, &valid);
    return valid;
}

void LightObject::SetShadowType(std::shared_ptr<ShadowType> type) {
    SetAndRecord(shadowType, std::move(type));
}

std::shared_ptr<ReferenceTarget> LightObject::GetReference(int slot) const {
    if (slot == 0) return target.Share();
    if (slot == 1) return shadowType.Share();
    bool isListed = slot >= 2 && slot < NumRefs();
    return isListed ? m_shadowNodes[size_t(slot - 2)]->Share() : nullptr;
}

void LightObject::SetReference(int slot, std::shared_ptr<ReferenceTarget> to) {
    if (slot == 0) target = std::dynamic_pointer_cast<INode>(to);
    if (slot == 1) shadowType = std::dynamic_pointer_cast<ShadowType>(to);
    if (slot >= 2 && slot < NumRefs())
        *m_shadowNodes[size_t(slot - 2)] = std::dynamic_pointer_cast<INode>(to);
}

bool CastsShadowOf(const LightObject* light, const INode* node) {
    return (!node || node->castsShadows) && (!light || light->LetsCastShadows(node));
}

void LightObject::SetNumShadowNodes(int count) {
    m_shadowNodes.resize(size_t(count));
    for (auto& node : m_shadowNodes)
        if (!node) node = std::make_unique<Reference<INode>>(this);
}

void LightObject::PutShadowNodes(const std::vector<std::shared_ptr<INode>>& nodes) {
    SetNumShadowNodes(int(nodes.size()));
    for (size_t i = 0; i < nodes.size(); ++i) *m_shadowNodes[i] = nodes[i];
    NotifyDependents();
}

void LightObject::SetShadowNodes(std::vector<std::shared_ptr<INode>> nodes) {
    RecordExchange(*this, [this, other = ShadowNodes()]() mutable {
        auto now = ShadowNodes();
        PutShadowNodes(std::exchange(other, std::move(now)));
    });
    PutShadowNodes(nodes);
}

std::vector<std::shared_ptr<INode>> LightObject::ShadowNodes() const {
    std::vector<std::shared_ptr<INode>> nodes;
    for (const auto& node : m_shadowNodes) nodes.push_back(node->Share());
    return nodes;
}

INode* LightObject::GetShadowNode(int i) const { return m_shadowNodes[size_t(i)]->Get(); }

bool LightObject::LetsCastShadows(const INode* node) const {
    bool isListed = false;
    for (const auto& listed : m_shadowNodes) isListed |= node && listed->Get() == node;
    return isListed == includesShadowNodes;
}

std::shared_ptr<ReferenceTarget> LightObject::Clone(CloneMap& map) const {
    auto copy = std::make_shared<LightObject>();
    copy->kind = kind;
    copy->color.SetContent(color.Content());
    copy->intensity.SetContent(intensity.Content());
    copy->shadows = shadows;
    map.Refer(target.Share(), [copy](auto node) { copy->target = std::move(node); });
    copy->shadowType = map.CopyPart(shadowType.Share());
    copy->includesShadowNodes = includesShadowNodes;
    copy->SetNumShadowNodes(NumShadowNodes());
    for (size_t i = 0; i < m_shadowNodes.size(); ++i)
        map.Refer(m_shadowNodes[i]->Share(),
                  [copy, i](auto node) { *copy->m_shadowNodes[i] = std::move(node); });
    return copy;
}

// Particles.

int ParticleObject::AddEvent(std::shared_ptr<INode> node) {
    for (size_t i = 0; i < m_events.size(); ++i)
        if (m_events[i]->Get() == node.get()) return int(i);
    m_events.push_back(std::make_unique<Reference<INode>>(this));
    *m_events.back() = std::move(node);
    return int(m_events.size()) - 1;
}

void ParticleObject::SetNumEvents(int count) {
    m_events.resize(size_t(count));
    for (auto& event : m_events)
        if (!event) event = std::make_unique<Reference<INode>>(this);
}

INode* ParticleObject::GetEvent(int i) const {
    return i < 0 ? nullptr : m_events[size_t(i)]->Get();
}

std::shared_ptr<ReferenceTarget> ParticleObject::GetReference(int slot) const {
    return slot >= 0 && slot < NumEvents() ? m_events[size_t(slot)]->Share() : nullptr;
}

void ParticleObject::SetReference(int slot, std::shared_ptr<ReferenceTarget> node) {
    if (slot >= 0 && slot < NumEvents())
        *m_events[size_t(slot)] = std::dynamic_pointer_cast<INode>(node);
}

std::shared_ptr<ReferenceTarget> ParticleObject::Clone(CloneMap& map) const {
    auto copy = std::make_shared<ParticleObject>();
    copy->particles = particles;
    for (const auto& event : m_events) {
        copy->m_events.push_back(std::make_unique<Reference<INode>>(copy.get()));
        map.Refer(event->Share(), [copy, slot = copy->m_events.back().get()](auto node) {
            *slot = std::move(node);
        });
    }
    return copy;
}

// Helpers.

std::shared_ptr<ReferenceTarget> DummyObject::Clone(CloneMap&) const {
    return std::make_shared<DummyObject>();
}

std::shared_ptr<ReferenceTarget> GroupObject::Clone(CloneMap&) const {
    return std::make_shared<GroupObject>();
}

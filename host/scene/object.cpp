#include "host/scene/object.h"

#include "host/scene/node.h"

void TriObject::SetMesh(std::shared_ptr<const Mesh> mesh) {
    m_mesh = std::move(mesh);
    origin = {};
    NotifyDependents();
}

INode* CameraObject::GetTargetNode() const { return target.Get(); }

INode* LightObject::GetTargetNode() const { return target.Get(); }

int ParticleObject::AddEvent(std::shared_ptr<INode> node) {
    for (size_t i = 0; i < m_events.size(); ++i)
        if (m_events[i]->Get() == node.get()) return int(i);
    m_events.push_back(std::make_unique<Reference<INode>>(this));
    *m_events.back() = std::move(node);
    return int(m_events.size()) - 1;
}

INode* ParticleObject::GetEvent(int i) const {
    return i < 0 ? nullptr : m_events[size_t(i)]->Get();
}

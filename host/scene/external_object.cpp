#include "host/scene/external_object.h"

#include "host/scene/scene.h"

ExternalObject::ExternalObject(ExternalOrigin origin, std::shared_ptr<Scene> scene, INode& node) {
    Show(std::move(origin), std::move(scene), node);
}

void ExternalObject::Show(ExternalOrigin origin, std::shared_ptr<Scene> scene, INode& node) {
    Put(std::move(origin), std::move(scene),
        std::static_pointer_cast<INode>(node.shared_from_this()), node.ShareObjectRef());
}

void ExternalObject::ShowSameAs(const ExternalObject& other) {
    Put(other.m_origin, other.m_scene, other.m_node.Share(), other.m_source.Share());
}

void ExternalObject::Put(ExternalOrigin origin, std::shared_ptr<Scene> scene,
                         std::shared_ptr<INode> node, std::shared_ptr<Object> source) {
    SubsWatch subs(*this);
    // What refers into the old scene goes before it.
    m_source = nullptr;
    m_node = nullptr;
    m_origin = std::move(origin);
    m_scene = std::move(scene);
    m_node = std::move(node);
    m_source = std::move(source);
    NotifyDependents();
    subs.Tell();
}

std::string ExternalObject::Refusal(const INode& node) {
    const Object* object = node.GetObjectRef();
    if (!object) return "shows nothing";
    if (!object->IsGeomObject() && !object->IsShape()) return "is neither geometry nor a spline";
    return {};
}

std::shared_ptr<Object> ExternalObject::Evaluated(TimeValue t, Interval* valid) {
    return m_source ? m_source->Evaluated(t, valid) : Object::Evaluated(t, valid);
}

Interval ExternalObject::ObjectValidity(TimeValue t) const {
    return m_source ? m_source->ObjectValidity(t) : Interval::Forever();
}

std::shared_ptr<const Mesh> ExternalObject::GetRenderMesh(TimeValue t) {
    return m_source ? m_source->GetRenderMesh(t) : nullptr;
}

std::shared_ptr<const HeightField> ExternalObject::GetHeightField(TimeValue t) {
    return m_source ? m_source->GetHeightField(t) : nullptr;
}

Mtl* ExternalObject::DefaultMtl() const {
    if (m_node && m_node->GetMtl()) return m_node->GetMtl();
    return m_source ? m_source->DefaultMtl() : nullptr;
}

std::shared_ptr<ReferenceTarget> ExternalObject::GetReference(int slot) const {
    if (slot == 0) return m_source.Share();
    return slot == 1 ? m_node.Share() : nullptr;
}

std::shared_ptr<ReferenceTarget> ExternalObject::Clone(CloneMap&) const {
    auto copy = std::make_shared<ExternalObject>();
    copy->ShowSameAs(*this);
    return copy;
}

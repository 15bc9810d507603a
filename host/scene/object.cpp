#include "host/scene/object.h"

#include <utility>

#include "host/params/clone_map.h"
#include "host/scene/material.h"

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

TriObject::TriObject() : m_mesh(std::make_shared<Mesh>()) {}

TriObject::TriObject(std::shared_ptr<const Mesh> mesh) : m_mesh(std::move(mesh)) {}

TriObject::TriObject(std::shared_ptr<const Mesh> mesh, const MeshOrigin& meshOrigin)
    : origin(this, meshOrigin), m_mesh(std::move(mesh)) {}

Mtl* TriObject::DefaultMtl() const { return fileMaterial.Get(); }

void TriObject::SetMesh(std::shared_ptr<const Mesh> mesh) {
    auto exchange = [this, other = m_mesh, otherAnimation = m_animation]() mutable {
        std::swap(m_mesh, other);
        std::swap(m_animation, otherAnimation);
        NotifyDependents();
    };
    RecordExchange(*this, std::move(exchange), m_mesh->BytesHeld(), &m_mesh);
    m_mesh = std::move(mesh);
    m_animation = nullptr;
    origin = MeshOrigin{};
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

std::shared_ptr<ReferenceTarget> TriObject::GetReference(int slot) const {
    return slot == 0 ? fileMaterial.Share() : nullptr;
}

void TriObject::SetReference(int slot, std::shared_ptr<ReferenceTarget> mtl) {
    if (slot == 0) fileMaterial.Put(std::dynamic_pointer_cast<Mtl>(mtl));
}

std::shared_ptr<ReferenceTarget> TriObject::Clone(CloneMap& map) const {
    auto copy = std::make_shared<TriObject>(m_mesh, origin);
    copy->m_animation = m_animation;
    map.Refer(fileMaterial.Share(), [copy](auto mtl) { copy->fileMaterial.Put(std::move(mtl)); });
    return copy;
}

std::shared_ptr<ReferenceTarget> ShapeObject::Clone(CloneMap&) const {
    auto copy = std::make_shared<ShapeObject>();
    copy->shape = shape;
    return copy;
}

// Helpers.

std::shared_ptr<ReferenceTarget> DummyObject::Clone(CloneMap&) const {
    return std::make_shared<DummyObject>();
}

std::shared_ptr<ReferenceTarget> GroupObject::Clone(CloneMap&) const {
    return std::make_shared<GroupObject>();
}

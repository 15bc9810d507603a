#include "host/scene/node.h"

#include "host/base/text.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

Matrix3 ObjectOffset::ToMatrix() const {
    return Matrix3::Scaling(scale) * EulerDegreesToMatrix(rotationDegrees) *
           Matrix3::Translation(position);
}

std::shared_ptr<INode> INode::Create(std::string name, std::shared_ptr<Object> object) {
    auto node = std::make_shared<INode>();
    node->m_name = std::move(name);
    node->m_object = std::move(object);
    return node;
}

void INode::SetName(const std::string& name) {
    if (name == m_name) return;
    std::string old = std::move(m_name);
    m_name = name;
    if (m_scene) m_scene->NodeRenamed(*this, old);
    NotifyDependents({RefMessage::kNodeNameChanged});
}

void INode::SetObjectRef(std::shared_ptr<Object> object) {
    m_object = std::move(object);
    NotifyDependents();
}

void INode::SetMtl(std::shared_ptr<Mtl> mtl) {
    m_mtl = std::move(mtl);
    NotifyDependents();
}

bool INode::IsBelow(const INode* node) const {
    for (const INode* n = this; n; n = n->m_parent)
        if (n == node) return true;
    return false;
}

int INode::Depth() const {
    int depth = 0;
    for (const INode* n = m_parent; n && n->m_parent; n = n->m_parent) ++depth;
    return depth;
}

bool INode::AttachChild(std::shared_ptr<INode> child, bool keepWorld) {
    // Nothing stands below a node without children, however deep it goes.
    bool isCycle = child.get() == this || (!child->m_children.empty() && IsBelow(child.get()));
    if (isCycle) return false;
    Matrix3 world = keepWorld ? child->GetNodeTM(0) : Matrix3{};
    if (child->m_parent) std::erase(child->m_parent->m_children, child);
    child->m_parent = this;
    m_children.push_back(child);
    if (keepWorld) child->m_local = world * Inverse(GetNodeTM(0));
    child->NotifyTransform();
    return true;
}

bool INode::IsGroupHead() const { return dynamic_cast<GroupObject*>(m_object.Get()) != nullptr; }

INode* INode::GetGroupHead() const {
    for (INode* n = m_parent; n; n = n->m_parent)
        if (n->IsGroupHead()) return n;
    return nullptr;
}

INode* INode::GetOutermostHead() {
    INode* head = nullptr;
    for (INode* n = this; n; n = n->m_parent)
        if (n->IsGroupHead()) head = n;
    return head;
}

void INode::SetLocalTM(const Matrix3& local) {
    m_local = local;
    NotifyTransform();
}

// The nodes whose turn towards their target is being found out, innermost first.
struct INode::Turning {
    const INode* node;
    const Turning* outer;

    bool Holds(const INode* sought) const {
        for (const Turning* t = this; t; t = t->outer)
            if (t->node == sought) return true;
        return false;
    }
};

Matrix3 INode::GetNodeTM(TimeValue t) const { return WorldTM(t, nullptr); }

Matrix3 INode::WorldTM(TimeValue t, const Turning* turning) const {
    Matrix3 world = m_parent ? m_local * m_parent->WorldTM(t, turning) : m_local;
    INode* target = m_object ? m_object->GetTargetNode() : nullptr;
    if (!target || target->IsBelow(this) || (turning && turning->Holds(this))) return world;
    // Only the place of the target counts here, so that two cameras may look at each other.
    Turning inner{this, turning};
    const INode* above = target->m_parent;
    Point3 to = target->m_local.GetTrans();
    if (above) to = to * above->WorldTM(t, &inner);
    Matrix3 turned = LookAtRotation(world.GetTrans(), to);
    turned.SetTrans(world.GetTrans());
    return turned;
}

void INode::SetNodeTM(TimeValue t, const Matrix3& world) {
    SetLocalTM(m_parent ? world * Inverse(m_parent->GetNodeTM(t)) : world);
}

void INode::SetObjectOffset(const ObjectOffset& offset) {
    m_offset = offset;
    NotifyDependents({RefMessage::kNodeTransformChanged});
}

void INode::SetLayer(const std::string& layer) {
    m_layer = layer;
    if (m_scene) m_scene->MakeLayer(layer);
    NotifyDependents();
}

void INode::SetHidden(bool hidden) {
    if (m_hidden == hidden) return;
    m_hidden = hidden;
    NotifyDependents();
}

bool INode::IsHidden() const {
    const Layer* layer = m_scene ? m_scene->FindLayer(m_layer) : nullptr;
    return m_hidden || (layer && layer->hidden);
}

bool INode::IsRenderable() const {
    const Layer* layer = m_scene ? m_scene->FindLayer(m_layer) : nullptr;
    return renderable && (!layer || layer->renderable);
}

const std::string* INode::GetUserProperty(const std::string& key) const {
    auto it = m_properties.find(key);
    return it == m_properties.end() ? nullptr : &it->second;
}

void INode::SetUserProperty(const std::string& key, const std::string& text) {
    m_properties[key] = text;
}

void INode::SetUserProperty(const std::string& key, float value) {
    m_properties[key] = FormatNumber(value);
}

RefResult INode::NotifyRefChanged(const RefChange& change, ReferenceTarget* from) {
    if (change.message == RefMessage::kTargetDeleted) NotifyDependents();
    return RefResult::kSucceed;
}

void INode::NotifyTransform() {
    VisitNodes(this, [](INode* n) { n->NotifyDependents({RefMessage::kNodeTransformChanged}); });
}

Matrix3 LookAtRotation(const Point3& from, const Point3& to) {
    Point3 z = Normalize(from - to);
    if (z == Point3{}) return {};
    // Straight up or down the local y axis stands in for the missing side.
    Point3 x = CrossProd({0, 0, 1}, z);
    x = Length(x) > 1e-6f ? Normalize(x) : Point3{1, 0, 0};
    return {{x, CrossProd(z, x), z, {}}};
}

INode* GetWorldNode(const Object& object) {
    for (ReferenceMaker* maker : object.Dependents())
        if (auto* node = dynamic_cast<INode*>(maker); node && node->GetObjectRef() == &object)
            return node;
    return nullptr;
}

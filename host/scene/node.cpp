#include "host/scene/node.h"

#include "host/scene/node_messages.h"

// What a node shows and where it stands; changes are in node_edits.cpp.

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

ObjectState INode::EvalWorldState(TimeValue t) const {
    ObjectState state;
    state.valid = Interval::Forever();
    state.tm = GetObjectTM(t, &state.valid);
    if (m_object) state.object = m_object->Evaluated(t, &state.valid);
    return state;
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

Matrix3 INode::GetNodeTM(TimeValue t, Interval* valid) const { return WorldTM(t, nullptr, valid); }

Matrix3 INode::WorldTM(TimeValue t, const Turning* turning, Interval* valid) const {
    Matrix3 world = GetLocalTM(t, valid);
    if (m_parent) world = world * m_parent->WorldTM(t, turning, valid);
    INode* target = m_object ? m_object->GetTargetNode() : nullptr;
    if (!target || target->IsBelow(this) || (turning && turning->Holds(this))) return world;
    // Only the place of the target counts here, so that two cameras may look at each other.
    Turning inner{this, turning};
    const INode* above = target->m_parent;
    Point3 to = target->GetLocalTM(t, valid).GetTrans();
    if (above) to = to * above->WorldTM(t, &inner, valid);
    Matrix3 turned = LookAtRotation(world.GetTrans(), to);
    turned.SetTrans(world.GetTrans());
    return turned;
}

bool INode::IsHidden(TimeValue t) const {
    return hidden.At(t) || (m_sceneLayer && m_sceneLayer->hidden);
}

bool INode::IsRenderable() const {
    return renderable && (!m_sceneLayer || m_sceneLayer->renderable);
}

bool INode::IsShownAsBox() const { return m_sceneLayer && m_sceneLayer->boxes; }

const std::string* INode::GetUserProperty(const std::string& key) const {
    auto it = m_properties.find(key);
    return it == m_properties.end() ? nullptr : &it->second;
}

bool INode::Passes(ClassTest test) const {
    return test == ClassTest::kAny || (m_object && m_object->Passes(test));
}

// References.

void TellGroup(INode& member, RefMessage message) {
    bool isNews = message == RefMessage::kChange || message == RefMessage::kNodeTransformChanged ||
                  message == RefMessage::kEverythingStale;
    INode* head = member.GetOutermostHead();
    if (isNews && head && head != &member) head->NotifyDependents({message});
}

std::shared_ptr<ReferenceTarget> INode::GetReference(int slot) const {
    if (slot == 0) return m_controller.Share();
    if (slot == 1) return m_object.Share();
    return slot == 2 ? std::shared_ptr<ReferenceTarget>(m_mtl.Share()) : nullptr;
}

void INode::SetReference(int slot, std::shared_ptr<ReferenceTarget> target) {
    if (slot == 0) m_controller = std::dynamic_pointer_cast<TransformController>(target);
    if (slot == 1) m_object = std::dynamic_pointer_cast<Object>(target);
    if (slot == 2) m_mtl = std::dynamic_pointer_cast<Mtl>(target);
}

std::string INode::SubAnimName(int i) const {
    constexpr const char* kNames[] = {"Transform", "Object", "Material"};
    return i >= 0 && i < NumSubs() ? kNames[i] : "";
}

RefResult INode::NotifyRefChanged(const RefChange& change, ReferenceTarget* from) {
    if (change.message == RefMessage::kTargetDeleted) NotifyDependents();
    bool isMove = from == m_controller.Get() && change.message == RefMessage::kChange;
    if (!isMove) {
        TellGroup(*this, change.message);
        return RefResult::kSucceed;
    }
    NotifyTransform();
    return RefResult::kStop;
}

void INode::NotifyTransform() {
    VisitNodes(this, [](INode* n) { n->NotifyDependents({RefMessage::kNodeTransformChanged}); });
    TellGroup(*this, RefMessage::kNodeTransformChanged);
}

std::shared_ptr<ReferenceTarget> INode::Clone(CloneMap& map) const {
    auto copy = Create(m_name, map.CopyPart(m_object.Share()));
    copy->renderable = renderable;
    copy->castsShadows = castsShadows;
    copy->wireColor = wireColor;
    copy->id = id;
    copy->selectable = selectable;
    copy->hidden.SetContent(hidden.Content());
    copy->m_controller = map.CopyPart(m_controller.Share());
    copy->m_local = m_local;
    copy->m_offset = m_offset;
    copy->m_layer = m_layer;
    copy->m_properties = m_properties;
    map.Refer(m_mtl.Share(), [copy](auto mtl) { copy->m_mtl = std::move(mtl); });
    return copy;
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

// Changes of nodes: each has a plain form that puts a value, and a public one that records it.
#include <algorithm>

#include "host/base/text.h"
#include "host/scene/node.h"
#include "host/scene/node_messages.h"

// --- name, layer, user properties

void INode::PutName(const std::string& name) {
    std::string old = std::exchange(m_name, name);
    if (m_home) m_home->NodeRenamed(*this, old);
    NotifyDependents({RefMessage::kNodeNameChanged});
}

void INode::SetName(const std::string& name) {
    if (name == m_name) return;
    RecordExchange(*this, [this, other = m_name]() mutable {
        std::string now = m_name;
        PutName(std::exchange(other, std::move(now)));
    });
    PutName(name);
}

void INode::PutLayer(const std::string& layer) {
    m_layer = layer;
    m_sceneLayer = m_home ? m_home->ShareLayer(layer) : nullptr;
    NotifyDependents();
}

void INode::SetLayer(const std::string& layer) {
    if (layer == m_layer) return;
    RecordExchange(*this, [this, other = m_layer]() mutable {
        std::string now = m_layer;
        PutLayer(std::exchange(other, std::move(now)));
    });
    PutLayer(layer);
}

void INode::PutProperty(const std::string& key, const std::optional<std::string>& text) {
    if (text)
        m_properties[key] = *text;
    else
        m_properties.erase(key);
    NotifyDependents();
}

void INode::SetUserProperty(const std::string& key, const std::string& text) {
    const std::string* now = GetUserProperty(key);
    if (now && *now == text) return;
    std::optional<std::string> before = now ? std::optional(*now) : std::nullopt;
    RecordExchange(*this, [this, key, other = before]() mutable {
        const std::string* present = GetUserProperty(key);
        std::optional<std::string> kept = present ? std::optional(*present) : std::nullopt;
        PutProperty(key, std::exchange(other, std::move(kept)));
    });
    PutProperty(key, text);
}

void INode::SetUserProperty(const std::string& key, float value) {
    SetUserProperty(key, FormatNumber(value));
}

void INode::RemoveUserProperty(const std::string& key) {
    const std::string* now = GetUserProperty(key);
    if (!now) return;
    RecordExchange(*this, [this, key, text = *now, isGone = true]() mutable {
        PutProperty(key, isGone ? std::optional(text) : std::nullopt);
        isGone = !isGone;
    });
    PutProperty(key, std::nullopt);
}

// --- object and material

void INode::PutObject(std::shared_ptr<Object> object) {
    SetAndTell(m_object, std::move(object));
    NotifyDependents({RefMessage::kObjectReplaced});
    TellGroup(*this, RefMessage::kChange);
}

void INode::SetObjectRef(std::shared_ptr<Object> object) {
    if (m_object.Share() == object) return;
    RecordExchange(*this, [this, other = m_object.Share()]() mutable {
        std::shared_ptr<Object> now = m_object.Share();
        PutObject(std::exchange(other, std::move(now)));
    });
    PutObject(std::move(object));
}

void INode::SetMtl(std::shared_ptr<Mtl> mtl) { SetAndRecord(m_mtl, std::move(mtl)); }

// --- place

void INode::PutPlace(const Matrix3& local, std::shared_ptr<TransformController> controller) {
    bool isOther = controller.get() != m_controller.Get();
    m_local = local;
    m_controller = std::move(controller);
    NotifyTransform();
    if (isOther) SubsChanged();
}

void INode::SetPlace(const Matrix3& local, std::shared_ptr<TransformController> controller) {
    if (local == m_local && controller == m_controller.Share()) return;
    RecordExchange(*this, [this, other = m_local, controls = m_controller.Share()]() mutable {
        Matrix3 now = m_local;
        std::shared_ptr<TransformController> controlsNow = m_controller.Share();
        PutPlace(std::exchange(other, now), std::exchange(controls, std::move(controlsNow)));
    });
    PutPlace(local, std::move(controller));
}

void INode::SetLocalTM(const Matrix3& local) { SetPlace(local, nullptr); }

void INode::SetTMController(std::shared_ptr<TransformController> controller) {
    SetPlace(m_local, std::move(controller));
}

void INode::SetNodeTM(TimeValue t, const Matrix3& world) {
    Matrix3 local = m_parent ? world * Inverse(m_parent->GetNodeTM(t)) : world;
    if (m_controller)
        m_controller->SetAt(t, local);
    else
        SetLocalTM(local);
}

void INode::SetObjectOffset(const ObjectOffset& offset) {
    if (offset == m_offset) return;
    RecordExchange(*this, [this, other = m_offset]() mutable {
        std::swap(m_offset, other);
        NotifyDependents({RefMessage::kNodeTransformChanged});
        TellGroup(*this, RefMessage::kNodeTransformChanged);
    });
    m_offset = offset;
    NotifyDependents({RefMessage::kNodeTransformChanged});
    TellGroup(*this, RefMessage::kNodeTransformChanged);
}

// --- hierarchy

size_t INode::PlaceInParent() const {
    const auto& siblings = m_parent->m_children;
    // From the end: nodes that come and go are mostly the last ones.
    auto isThis = [this](const std::shared_ptr<INode>& n) { return n.get() == this; };
    auto it = std::find_if(siblings.rbegin(), siblings.rend(), isThis);
    return size_t(siblings.rend() - it) - 1;
}

void INode::PutBelow(INode& parent, size_t place) {
    auto self = std::static_pointer_cast<INode>(shared_from_this());
    if (m_parent)
        m_parent->m_children.erase(m_parent->m_children.begin() + ptrdiff_t(PlaceInParent()));
    m_parent = &parent;
    auto& siblings = parent.m_children;
    siblings.insert(siblings.begin() + ptrdiff_t(std::min(place, siblings.size())), self);
}

bool INode::AttachChild(std::shared_ptr<INode> child, bool keepWorld) {
    // Nothing stands below a node without children, however deep it goes.
    bool isCycle = child.get() == this || (!child->m_children.empty() && IsBelow(child.get()));
    if (isCycle) return false;
    Matrix3 world = keepWorld ? child->GetNodeTM(0) : Matrix3{};
    if (child->m_parent && m_scene && child->m_scene == m_scene) {
        auto parent = std::static_pointer_cast<INode>(child->m_parent->shared_from_this());
        RecordExchange(
            *child, [node = child.get(), other = parent, place = child->PlaceInParent()]() mutable {
                auto now = std::static_pointer_cast<INode>(node->m_parent->shared_from_this());
                size_t nowAt = node->PlaceInParent();
                node->PutBelow(*other, place);
                other = now, place = nowAt;
                node->NotifyTransform();
            });
    }
    child->PutBelow(*this, m_children.size());
    if (keepWorld) child->SetNodeTM(0, world);
    child->NotifyTransform();
    return true;
}

#include "host/scene/scene.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/scene/host_context.h"
#include "host/scene/object.h"

namespace {

void Announce(HostNotify notice, INode* node) {
    if (HostContext* context = HostContext::Current())
        context->notifications.Broadcast(notice, node);
}

}  // namespace

// Adding and deleting are one record: what one direction undoes the other redoes. The references
// that a deletion empties put records of their own.
class NodeRestore : public RestoreObj {
public:
    NodeRestore(Scene& scene, std::shared_ptr<INode> node, INode* parent, bool added)
        : m_scene(scene),
          m_node(std::move(node)),
          m_parent(parent->shared_from_this()),
          m_added(added),
          m_local(m_node->GetLocalTM()),
          m_index(IndexInParent()) {
        m_scene.m_recorded = true;
        if (!added) m_children = m_node->m_children;  // what deletion will move up
    }

    void Restore(bool) override { m_added ? Take() : Bring(); }
    void Redo() override { m_added ? Bring() : Take(); }

private:
    INode* Parent() const { return static_cast<INode*>(m_parent.get()); }
    size_t IndexInParent() const {
        const auto& siblings = Parent()->m_children;
        return size_t(std::find(siblings.begin(), siblings.end(), m_node) - siblings.begin());
    }
    void Take() { m_scene.Detach(m_node); }
    void Bring() {
        auto& siblings = Parent()->m_children;
        m_node->m_parent = Parent();
        siblings.insert(siblings.begin() + ptrdiff_t(std::min(m_index, siblings.size())), m_node);
        m_node->m_local = m_local;
        m_scene.Enter(*m_node);
        for (const auto& child : m_children) m_node->AttachChild(child, true);
        Announce(HostNotify::kNodeAdded, m_node.get());
    }

    Scene& m_scene;
    std::shared_ptr<INode> m_node;
    std::shared_ptr<ReferenceTarget> m_parent;
    bool m_added;
    Matrix3 m_local;
    size_t m_index;
    std::vector<std::shared_ptr<INode>> m_children;
};

Scene::Scene() : m_root(INode::Create("Scene Root")) {
    m_root->m_scene = this;
    MakeLayer("0");
}

Scene::~Scene() {
    // Its records speak of this scene.
    if (Hold* hold = CurrentHold(); hold && m_recorded) hold->Clear();
    // References between nodes may form rings; emptying them lets everything go. Objects go first
    // and take most references with them.
    for (INode* node : m_nodes) node->m_object = nullptr;
    for (INode* node : std::vector<INode*>(m_nodes)) {
        node->NotifyDeleted();
        node->m_scene = nullptr;
    }
    for (INode* node : m_nodes) node->m_parent = nullptr;
}

std::optional<ViewState> Scene::ActiveView(TimeValue t) const {
    INode* node = viewCamera.Get();
    auto* camera = node ? dynamic_cast<CameraObject*>(node->GetObjectRef()) : nullptr;
    if (!camera) return view;
    return ViewState{node->GetNodeTM(t), camera->fovDegrees};
}

void Scene::SetTime(TimeValue t) {
    if (t == m_time) return;
    m_time = t;
    Announce(HostNotify::kTimeChanged, nullptr);
}

INode* Scene::FindNode(const std::string& name) const {
    auto it = m_byName.find(name);
    return it == m_byName.end() || it->second.empty() ? nullptr : it->second.front();
}

std::string Scene::UniqueNodeName(const std::string& name) const {
    if (!FindNode(name)) return name;
    for (int i = 1;; ++i)
        if (std::string numbered = fmt::format("{}{:03}", name, i); !FindNode(numbered))
            return numbered;
}

INode* Scene::AddNode(std::shared_ptr<INode> node, INode* parent) {
    if (!parent) parent = m_root.get();
    INode* added = node.get();
    parent->AttachChild(node, false);
    Hold* hold = CurrentHold();
    VisitNodes(added, [this, hold](INode* n) {
        Enter(*n);
        auto shared = std::static_pointer_cast<INode>(n->shared_from_this());
        if (hold && hold->Holding())
            hold->Put(std::make_unique<NodeRestore>(*this, shared, n->m_parent, true));
        Announce(HostNotify::kNodeAdded, n);
    });
    return added;
}

INode* Scene::AddNode(const std::string& name, std::shared_ptr<Object> object, INode* parent) {
    return AddNode(INode::Create(name, std::move(object)), parent);
}

void Scene::DeleteNode(INode& node) {
    if (&node == m_root.get() || node.m_scene != this) return;
    auto keep = std::static_pointer_cast<INode>(node.shared_from_this());
    Hold* hold = CurrentHold();
    if (hold && hold->Holding())
        hold->Put(std::make_unique<NodeRestore>(*this, keep, node.m_parent, false));
    Detach(keep);
}

void Scene::Detach(const std::shared_ptr<INode>& node) {
    Announce(HostNotify::kNodeDeleted, node.get());
    INode* parent = node->m_parent;
    for (const auto& child : std::vector<std::shared_ptr<INode>>(node->m_children))
        parent->AttachChild(child, true);
    std::erase(parent->m_children, node);
    node->m_parent = nullptr;
    Leave(*node);
    node->NotifyDeleted();
}

void Scene::Enter(INode& node) {
    node.m_scene = this;
    m_nodes.push_back(&node);
    m_byName[node.m_name].push_back(&node);
    MakeLayer(node.m_layer);
}

void Scene::Leave(INode& node) {
    node.m_scene = nullptr;
    std::erase(m_nodes, &node);
    std::erase(m_byName[node.m_name], &node);
}

void Scene::NodeRenamed(INode& node, const std::string& oldName) {
    std::erase(m_byName[oldName], &node);
    m_byName[node.m_name].push_back(&node);
    Announce(HostNotify::kNodeRenamed, &node);
}

Layer& Scene::MakeLayer(const std::string& name) {
    auto [it, made] = m_layers.try_emplace(name);
    if (made) it->second.name = name;
    return it->second;
}

Layer* Scene::FindLayer(const std::string& name) {
    auto it = m_layers.find(name);
    return it == m_layers.end() ? nullptr : &it->second;
}

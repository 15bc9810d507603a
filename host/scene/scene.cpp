#include "host/scene/scene.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/params/param_block.h"
#include "host/scene/derived_object.h"
#include "host/scene/host_context.h"
#include "host/scene/object.h"

namespace {

void Announce(HostNotify notice, INode* node = nullptr) {
    if (HostContext* context = HostContext::Current())
        context->notifications.Broadcast(notice, node);
}

bool HasLowerHandle(const INode* a, const INode* b) { return a->GetHandle() < b->GetHandle(); }

void InsertByHandle(std::vector<INode*>& nodes, INode* node) {
    nodes.insert(std::lower_bound(nodes.begin(), nodes.end(), node, HasLowerHandle), node);
}

void RemoveByHandle(std::vector<INode*>& nodes, INode* node) {
    auto it = std::lower_bound(nodes.begin(), nodes.end(), node, HasLowerHandle);
    if (it != nodes.end() && *it == node) nodes.erase(it);
}

// Puts the value under the key, or takes it out when it is null; gives back what was there.
template <class T>
std::shared_ptr<T> PutEntry(std::map<std::string, std::shared_ptr<T>>& map, const std::string& key,
                            std::shared_ptr<T> value) {
    auto it = map.find(key);
    std::shared_ptr<T> before = it == map.end() ? nullptr : it->second;
    if (value)
        map[key] = std::move(value);
    else if (it != map.end())
        map.erase(it);
    return before;
}

template <class T>
void SetEntry(Scene& scene, std::map<std::string, std::shared_ptr<T>>& map, const std::string& key,
              std::shared_ptr<T> value) {
    std::shared_ptr<T> before = PutEntry(map, key, std::move(value));
    RecordExchange(scene, [&map, key, other = std::move(before)]() mutable {
        other = PutEntry(map, key, std::move(other));
    });
}

// Results stand on parameters, whose lengths and times mean something else now; those of what an
// object is made of go first.
void TellStale(ReferenceTarget& target) {
    for (int slot = 0; slot < target.NumRefs(); ++slot) {
        std::shared_ptr<ReferenceTarget> part = target.GetReference(slot);
        bool isPart = dynamic_cast<IParamBlock2*>(part.get()) ||
                      dynamic_cast<Object*>(part.get()) || dynamic_cast<Modifier*>(part.get());
        if (isPart) TellStale(*part);
    }
    target.NotifyDependents({RefMessage::kEverythingStale});
}

}  // namespace

Scene::Scene() : m_root(INode::Create("Scene Root")) {
    m_root->StandIn(this, this);
    MakeLayer("0");
}

Scene::~Scene() {
    if (HostContext* context = HostContext::Current()) context->SceneGoes(*this);
    undo.Clear();
    // References between nodes may form rings; emptying them lets everything go. Objects go first
    // and take most references with them.
    HoldSuspender noUndo(CurrentHold());
    for (INode* node : m_nodes) node->m_object = nullptr;
    for (INode* node : std::vector<INode*>(m_nodes)) {
        node->NotifyDeleted();
        node->StandIn(nullptr, nullptr);
    }
    for (INode* node : m_nodes) node->m_parent = nullptr;
}

void Scene::UnitsChanged() {
    for (INode* node : m_nodes)
        if (Object* object = node->GetObjectRef()) TellStale(*object);
}

// --- view and time

void Scene::SetView(const std::optional<ViewState>& view) {
    if (view == m_view) return;
    m_view = view;
    Announce(HostNotify::kViewChanged);
}

void Scene::SetRenderCamera(std::shared_ptr<INode> camera) {
    SetAndRecord(m_renderCamera, std::move(camera));
}

void Scene::SetViewCamera(std::shared_ptr<INode> camera) {
    if (camera.get() == m_viewCamera.Get()) return;
    m_viewCamera = std::move(camera);
    Announce(HostNotify::kViewChanged);
}

std::optional<ViewState> Scene::ActiveView(TimeValue t) const {
    INode* node = m_viewCamera.Get();
    auto* camera = node ? dynamic_cast<CameraObject*>(node->GetObjectRef()) : nullptr;
    if (!camera) return m_view;
    ViewState through{node->GetNodeTM(t), camera->fovDegrees.At(t)};
    if (m_view) through.width = m_view->width, through.height = m_view->height;
    return through;
}

void Scene::SetTime(TimeValue t) {
    if (t == m_time) return;
    m_time = t;
    Announce(HostNotify::kTimeChanged);
}

// --- nodes

INode* Scene::FindNode(const std::string& name) const {
    auto it = m_byName.find(name);
    return it == m_byName.end() || it->second.empty() ? nullptr : it->second.front();
}

INode* Scene::FindHandle(NodeHandle handle) const {
    auto it = std::partition_point(m_nodes.begin(), m_nodes.end(),
                                   [handle](const INode* n) { return n->GetHandle() < handle; });
    return it != m_nodes.end() && (*it)->GetHandle() == handle ? *it : nullptr;
}

std::string Scene::UniqueNodeName(const std::string& name) const {
    int number = 1;
    return UniqueNodeName(name, &number);
}

std::string Scene::UniqueNodeName(const std::string& name, int* number) const {
    if (!FindNode(name)) return name;
    for (;; ++*number)
        if (std::string numbered = fmt::format("{}{:03}", name, *number); !FindNode(numbered))
            return numbered;
}

INode* Scene::AddNode(std::shared_ptr<INode> node, INode* parent) {
    if (!parent) parent = m_root.get();
    INode* added = node.get();
    {
        HoldSuspender partOfAdding(CurrentHold());
        parent->AttachChild(node, false);
    }
    VisitNodes(added, [this](INode* n) {
        n->m_handle = ++m_lastHandle;
        Enter(*n);
        RecordPresence(*n, true);
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
    Announce(HostNotify::kNodeDeleted, &node);
    for (const auto& child : std::vector<std::shared_ptr<INode>>(node.m_children))
        node.m_parent->AttachChild(child, true);
    node.NotifyDeleted();
    RecordPresence(node, false);
    TakeOut(node);
}

// Being there and not being there are one record: what one direction undoes the other redoes.
// isIn: whether the node is there now, after being added, or will not be, being deleted. What
// refers to a node that an undone addition takes out refers to it again when it is redone.
// An undone addition gives its handle back, so that files show no trace of it. Should a node that
// nobody records have taken that handle since, the one that comes back gets another.
void Scene::RecordPresence(INode& node, bool isIn) {
    auto parent = std::static_pointer_cast<INode>(node.m_parent->shared_from_this());
    auto exchange = [this, n = &node, parent, place = node.PlaceInParent(), isIn, isAddition = isIn,
                     lost = Hold::Records()]() mutable {
        if (isIn) {
            place = n->PlaceInParent();
            Announce(HostNotify::kNodeDeleted, n);
            lost = Hold::RecordApart([n] { n->NotifyDeleted(); });
            TakeOut(*n);
            if (isAddition && n->m_handle == m_lastHandle) --m_lastHandle;
        } else {
            if (FindHandle(n->m_handle)) n->m_handle = m_lastHandle + 1;
            ReserveHandles(n->m_handle);
            PutIn(*n, *parent, place);
            Hold::RestoreAll(lost);
            Announce(HostNotify::kNodeAdded, n);
        }
        isIn = !isIn;
    };
    const Object* object = node.GetObjectRef();
    RecordExchange(node, std::move(exchange), !isIn && object ? object->GeometryBytes() : 0);
}

void Scene::PutIn(INode& node, INode& parent, size_t place) {
    node.PutBelow(parent, place);
    Enter(node);
}

void Scene::TakeOut(INode& node) {
    auto keep = std::static_pointer_cast<INode>(node.shared_from_this());
    auto& siblings = node.m_parent->m_children;
    siblings.erase(siblings.begin() + ptrdiff_t(node.PlaceInParent()));
    node.m_parent = nullptr;
    Leave(node);
}

void Scene::Enter(INode& node) {
    node.StandIn(this, this);
    InsertByHandle(m_nodes, &node);
    InsertByHandle(m_byName[node.m_name], &node);
    node.m_sceneLayer = ShareLayer(node.m_layer);
}

void Scene::Leave(INode& node) {
    node.StandIn(nullptr, nullptr);
    node.m_sceneLayer = nullptr;
    RemoveByHandle(m_nodes, &node);
    RemoveByHandle(m_byName[node.m_name], &node);
}

void Scene::NodeRenamed(INode& node, const std::string& oldName) {
    RemoveByHandle(m_byName[oldName], &node);
    InsertByHandle(m_byName[node.m_name], &node);
    Announce(HostNotify::kNodeRenamed, &node);
}

std::vector<INode*> Scene::CloneNodes(std::span<INode* const> nodes) {
    CloneMap map;
    std::vector<std::shared_ptr<INode>> copies;
    {
        HoldSuspender loose(CurrentHold());
        for (INode* node : nodes) {
            auto copy = std::static_pointer_cast<INode>(node->Clone(map));
            map.Add(*node, copy);
            copies.push_back(std::move(copy));
        }
        map.Finish();
    }
    std::vector<INode*> added;
    // Where many are called alike, the numbers before the last one given are taken.
    std::unordered_map<std::string, int> numbers;
    for (const auto& copy : copies) {
        int& number = numbers.try_emplace(copy->m_name, 1).first->second;
        copy->m_name = UniqueNodeName(copy->m_name, &number);
        added.push_back(AddNode(copy));
    }
    // Parents may stand behind their children in the list, so that all are there first.
    for (size_t i = 0; i < added.size(); ++i) {
        INode* parent = nodes[i]->m_parent;
        std::shared_ptr<ReferenceTarget> copy = map.Find(*parent);
        if (copy) parent = static_cast<INode*>(copy.get());
        if (parent != m_root.get()) parent->AttachChild(copies[i], false);
    }
    return added;
}

void Scene::Reset() {
    Announce(HostNotify::kSystemPreReset);
    {
        HoldSuspender noUndo(CurrentHold());
        while (!m_nodes.empty()) DeleteNode(*m_nodes.back());
        m_texmaps.clear();
        m_materials.clear();
        m_layers.clear();
        MakeLayer("0");
        unitScale = 1.0;
        ticksPerFrame = 160;
        timeRange = TimeRange{};
        render = SceneRenderSettings{};
        SetView(std::nullopt);
        SetTime(0);
        path.clear();
    }
    undo.Clear();
    Announce(HostNotify::kSystemPostReset);
}

// --- selection

std::vector<INode*> Scene::Selection() const {
    std::vector<INode*> selected;
    for (INode* node : m_nodes)
        if (node->IsSelected()) selected.push_back(node);
    return selected;
}

void Scene::SetSelected(std::span<INode* const> nodes) {
    for (INode* node : m_nodes) node->m_selected = false;
    for (INode* node : nodes)
        if (node->m_scene == this) node->m_selected = true;
    Announce(HostNotify::kSelectionChanged);
}

void Scene::Select(std::span<INode* const> nodes) {
    std::vector<INode*> before = Selection();
    std::vector<INode*> wanted(nodes.begin(), nodes.end());
    std::sort(wanted.begin(), wanted.end(), HasLowerHandle);
    wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
    if (wanted == before) return;
    // By handle: the nodes may be gone and come back meanwhile.
    std::vector<NodeHandle> handles;
    for (const INode* node : before) handles.push_back(node->m_handle);
    RecordExchange(
        *this,
        [this, other = handles]() mutable {
            std::vector<NodeHandle> now;
            for (const INode* node : Selection()) now.push_back(node->m_handle);
            std::vector<INode*> again;
            for (NodeHandle handle : std::exchange(other, std::move(now)))
                if (INode* node = FindHandle(handle)) again.push_back(node);
            SetSelected(again);
        },
        HeapBytes(handles));
    SetSelected(wanted);
}

// --- maps, materials, layers

void Scene::SetTexmap(const std::string& name, std::shared_ptr<Texmap> texmap) {
    SetEntry(*this, m_texmaps, name, std::move(texmap));
}

void Scene::SetMaterial(const std::string& name, std::shared_ptr<Mtl> mtl) {
    SetEntry(*this, m_materials, name, std::move(mtl));
}

Layer& Scene::MakeLayer(const std::string& name) { return *ShareLayer(name); }

std::shared_ptr<Layer> Scene::ShareLayer(const std::string& name) {
    std::shared_ptr<Layer>& layer = m_layers[name];
    if (!layer) layer = std::make_shared<Layer>(name);
    return layer;
}

Layer* Scene::FindLayer(const std::string& name) const {
    auto it = m_layers.find(name);
    return it == m_layers.end() ? nullptr : it->second.get();
}

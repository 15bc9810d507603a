#include "Dravin/tools/instantiate.h"

#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/engine/transforms.h"
#include "Dravin/proxy/instance_nodes.h"
#include "Dravin/tools/tools_utility.h"
#include "host/params/undo_step.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

using namespace toolsParams;

namespace {

enum Hierarchy : int { kIndividual = 0, kGroup = 1, kLayer = 2 };

constexpr size_t kItemsPerUpdate = 1000;

IUserInterface& User() { return HostContext::Current()->UserInterface(); }

TTreeSpecList RowsOf(TDravin& object) {
    return TTreeSpecList(
        std::static_pointer_cast<IParamBlock2>(object.Block(kGeomParams).shared_from_this()));
}

// Rows of one kind that have an object get another kind.
int ChangeKind(TDravin& object, GeometryKind from, GeometryKind to) {
    TTreeSpecList rows = RowsOf(object);
    int changed = 0;
    for (int i = 0, n = rows.Count(); i < n; ++i) {
        TSpecEntry entry = rows.ReadRow(i, 0, SharedGenerator());
        if (entry.kind != from || !entry.customObject) continue;
        rows.Set(TTreeSpecList::kKind, i, 0, int32_t(to));
        ++changed;
    }
    return changed;
}

bool HasCustomObjects(TDravin& object) {
    TTreeSpecList rows = RowsOf(object);
    for (int i = 0, n = rows.Count(); i < n; ++i) {
        TSpecEntry entry = rows.ReadRow(i, 0, SharedGenerator());
        if (entry.kind == kGeomCustom && entry.customObject) return true;
    }
    return false;
}

// Progress of one run at the port; ends with it.
class Progress {
public:
    explicit Progress(const std::string& title) { User().ProgressStart(title); }
    ~Progress() { User().ProgressEnd(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    // False when the user wants to stop.
    bool Update(size_t done, size_t of) {
        return done % kItemsPerUpdate != 0 || User().ProgressUpdate(int(100 * done / of));
    }
};

// Makes the nodes of one run.
class NodeMaker {
public:
    NodeMaker(TDravin& object, INode& node, INode* parent)
        : m_object(object), m_node(node), m_scene(*node.GetScene()), m_parent(parent) {
        if (parent) m_fromParent = Inverse(parent->GetNodeTM(object.Build().Time()));
    }

    const std::vector<INode*>& Made() const { return m_made; }

    // Null for items that show no custom object.
    INode* Make(const TDravinItem& item) {
        const TSpecBuildNode* shown = m_object.Build().Specimens().NodeOf(item);
        if (!shown || shown->entry.kind != kGeomCustom || !shown->source) return nullptr;
        const INode& source = *shown->source;
        auto made = INode::Create(NextName(source), ObjectOf(*shown));
        made->SetMtl(shown->entry.material ? shown->entry.material : source.ShareMtl());
        made->wireColor = source.wireColor.Get();
        Place(*made, *shown, item);
        m_made.push_back(m_scene.AddNode(made, m_parent));
        return m_made.back();
    }

private:
    std::string NextName(const INode& source) {
        std::string name = source.GetName().empty() ? "noname" : source.GetName();
        return m_scene.UniqueNodeName(
            fmt::format("{}_{}_{}", m_node.GetName(), name, m_made.size() + 1));
    }
    // A scatter object belongs to one node: others show its items as a mesh, the same for all.
    std::shared_ptr<Object> ObjectOf(const TSpecBuildNode& shown) {
        std::shared_ptr<Object> object = shown.source->ShareObjectRef();
        if (!dynamic_cast<TDravin*>(object.get())) return object;
        std::shared_ptr<Object>& copy = m_copies[shown.source.get()];
        if (!copy) copy = std::make_shared<TriObject>(shown.sample->Source());
        return copy;
    }
    // The mesh at its real size, the unit size, the item, the world. The instance keeps the offset
    // of its source where it has no turn of its own in a group.
    void Place(INode& made, const TSpecBuildNode& shown, const TDravinItem& item) const {
        const TDravinBuild& build = m_object.Build();
        const TDravinMeshSize& size = shown.sample->Size();
        Matrix3 place = Matrix3::Scaling({1 / size.size.x, 1 / size.size.y, 1 / size.size.z}) *
                        ItemTransform(item, build.Input()->transforms.scaleOnSlope) *
                        build.ObjectTM();
        if (size.toReal == shown.source->GetObjectOffset().ToMatrix())
            made.SetObjectOffset(shown.source->GetObjectOffset());
        else
            place = size.toReal * place;
        made.SetLocalTM(m_parent ? place * m_fromParent : place);
    }

    TDravin& m_object;
    INode& m_node;
    Scene& m_scene;
    INode* m_parent;
    Matrix3 m_fromParent;
    std::map<const INode*, std::shared_ptr<Object>> m_copies;
    std::vector<INode*> m_made;
};

// The head of the group stands where the scatter object does, unturned.
INode* MakeGroup(const INode& node, TimeValue t) {
    Scene& scene = *node.GetScene();
    auto head = INode::Create(scene.UniqueNodeName(node.GetName() + "_instancegroup"),
                              std::make_shared<GroupObject>());
    head->SetLocalTM(Matrix3::Translation(node.GetNodeTM(t).GetTrans()));
    return scene.AddNode(head);
}

void MoveToLayer(Scene& scene, const TDtools& tools, const std::vector<INode*>& nodes) {
    std::string name = tools.Block().GetString(kLayername);
    Layer& layer = scene.MakeLayer(name);
    if (tools.Block().GetBool(kLayerfreeze)) layer.frozen = true;
    if (tools.Block().GetBool(kLayerboxes)) layer.boxes = true;
    for (INode* node : nodes) node->SetLayer(name);
}

TInstantiateResult Failed(TInstantiateStatus status, std::string text) {
    return {status, std::move(text), 0, 0};
}

// Builds the items and makes nodes of them, behind those that stay.
TInstantiateResult MakeNodes(TDravin& object, INode& node, const TDtools& tools) {
    Scene& scene = *node.GetScene();
    TBuildFlags flags;
    flags.render = flags.noMesh = true;
    object.Build().BuildMesh(scene.GetTime(), flags);
    if (object.Build().Status() != TBuildStatus::kSuccess) {
        TPanelMessage message = object.Build().Message();
        return Failed(TInstantiateStatus::kBuildFailed, message[0] + " " + message[1]);
    }
    std::vector<INode*> remembered = InstanceNodesOf(object, scene);
    bool isGroup = tools.Block().GetInt(kHierarchy) == kGroup;
    INode* head = isGroup ? MakeGroup(node, scene.GetTime()) : nullptr;
    NodeMaker maker(object, node, head);
    Progress progress(fmt::format("Instanciating {} ...", node.GetName()));
    const TDravinItemList& items = object.Build().Items();
    TDravinItem item;
    for (size_t i = 0, n = items.Count(); i < n; ++i) {
        if (!progress.Update(i, n)) return Failed(TInstantiateStatus::kCancelled, "cancelled");
        item.elementMask.Clear();
        items.ReadStored(i, &item);
        if (!item.discarded) maker.Make(item);
    }
    if (tools.Block().GetInt(kHierarchy) == kLayer) MoveToLayer(scene, tools, maker.Made());
    if (head) remembered.push_back(head);
    remembered.insert(remembered.end(), maker.Made().begin(), maker.Made().end());
    SetInstanceNodes(object, remembered);
    return {TInstantiateStatus::kDone, {}, maker.Made().size(), 0};
}

TInstantiateResult Run(TDravin& object, INode& node, const TDtools& tools,
                       const std::function<bool()>& agrees) {
    if (tools.Block().GetBool(kEngeom)) EnableGeometry(object);
    if (!HasCustomObjects(object))
        return Failed(TInstantiateStatus::kNoCustomObjects, kNoCustomObjectsText);
    size_t numDeleted = 0;
    if (tools.Block().GetBool(kDeleteold)) {
        if (!agrees()) return Failed(TInstantiateStatus::kRefused, "the old instances stay");
        numDeleted = DeleteInstances(object, node);
    }
    TInstantiateResult result = MakeNodes(object, node, tools);
    result.numDeleted = numDeleted;
    if (result.status == TInstantiateStatus::kDone && tools.Block().GetBool(kDisgeom))
        DisableGeometry(object);
    return result;
}

}  // namespace

TInstantiateResult Instantiate(TDravin& object, INode& node, const TDtools& tools,
                               const std::function<bool()>& agrees) {
    UndoStep step("Instantiate");
    TInstantiateResult result = Run(object, node, tools, agrees);
    if (result.status != TInstantiateStatus::kDone) step.Cancel();
    return result;
}

size_t DeleteInstances(TDravin& object, INode& node) {
    UndoStep step("Delete Instances");
    User().SetPrompt("Deleting old instances...");
    std::vector<INode*> nodes = InstanceNodesOf(object, *node.GetScene());
    // From the last one on: the members of a group go before its head.
    for (size_t i = nodes.size(); i-- > 0;) node.GetScene()->DeleteNode(*nodes[i]);
    SetInstanceNodes(object, {});
    return nodes.size();
}

int EnableGeometry(TDravin& object) { return ChangeKind(object, kGeomDisabled, kGeomCustom); }

int DisableGeometry(TDravin& object) { return ChangeKind(object, kGeomCustom, kGeomDisabled); }

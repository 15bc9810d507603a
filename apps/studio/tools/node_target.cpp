#include <algorithm>

#include <fmt/format.h>

#include "Dravin/build/edited_items.h"
#include "apps/studio/tools/edit_target.h"
#include "host/scene/scene.h"

namespace {

using Handles = std::vector<NodeHandle>;

// Whether a region takes a box: all of its corners, or what they span on the screen.
bool Takes(const ViewportPick& pick, const BoxCorners& corners) {
    float left = 1e30f, right = -1e30f, top = 1e30f, bottom = -1e30f;
    for (const Point3& corner : corners) {
        TScreenPoint at;
        if (!pick.camera.Project(corner, &at)) return false;
        if (!pick.takesTouched && !pick.region.Holds(at.x, at.y)) return false;
        left = std::min(left, at.x), right = std::max(right, at.x);
        top = std::min(top, at.y), bottom = std::max(bottom, at.y);
    }
    if (!pick.takesTouched) return true;
    const TPixelRect& r = pick.region.rectangle;
    return left < float(r.right) && right >= float(r.left) && top < float(r.bottom) &&
           bottom >= float(r.top);
}

// Whether a pixel of the region shows the node or one of its items, where that counts.
bool IsSeen(const ViewportPick& pick, const TViewNode& node) {
    if (!pick.seen) return true;
    auto first = std::lower_bound(pick.ids.begin(), pick.ids.end(), node.firstId);
    return first != pick.ids.end() && *first - node.firstId < node.numIds;
}

BoxCorners BoxOf(const TViewNode& node) {
    Box3 box = node.bounds;
    if (box.IsEmpty()) box += Point3{};
    return CornersOf(box, node.toWorld);
}

class NodeTarget : public EditTarget {
public:
    void Pick(Scene& scene, const ViewportPick& pick) override {
        // Each node once, nearest first: clicking again steps through them.
        Handles nodes;
        for (uint32_t id : pick.ids) {
            const TViewNode* node = pick.scene->Find(id).node;
            if (node && std::find(nodes.begin(), nodes.end(), node->handle) == nodes.end())
                nodes.push_back(node->handle);
        }
        if (!nodes.empty()) nodes = {nodes[pick.meant % nodes.size()]};
        Take(scene, nodes, pick.mode);
    }
    void PickRegion(Scene& scene, const ViewportPick& pick) override {
        Handles nodes;
        for (const TViewNode& node : pick.scene->Nodes())
            if (Takes(pick, BoxOf(node)) && IsSeen(pick, node)) nodes.push_back(node.handle);
        Take(scene, nodes, pick.mode);
    }
    void Select(Scene& scene, SelectWhat what) override {
        std::vector<INode*> nodes;
        if (what != SelectWhat::kNone)
            for (INode* node : scene.Nodes())
                if (Selectable(scene, *node) &&
                    !(what == SelectWhat::kInvert && node->IsSelected()))
                    nodes.push_back(node);
        scene.Select(nodes);
    }
    // In the middle of the pivots; along the axes of the last node.
    std::optional<GizmoPlace> Place(Scene& scene) override {
        std::vector<INode*> nodes = scene.Selection();
        if (nodes.empty()) return {};
        std::vector<Point3> pivots;
        for (INode* node : nodes) pivots.push_back(node->GetNodeTM(scene.GetTime()).GetTrans());
        const INode& last = *nodes.back();
        return GizmoPlace{*MiddleOf(pivots), last.GetNodeTM(scene.GetTime()),
                          ParentAxes(last, scene.GetTime())};
    }
    std::optional<TransformState> State(Scene& scene) override {
        std::optional<GizmoPlace> place = Place(scene);
        if (!place) return {};
        TransformState state{place->middle, {}, {}};
        if (scene.Selection().size() > 1) return state;
        AffineParts parts = Decompose(place->local);
        state.rotationDegrees = EulerDegreesOf(parts.rotation.ToMatrix());
        state.scale = parts.scale;
        return state;
    }
    void Change(Scene& scene, const ToolChange& change) override {
        TimeValue t = scene.GetTime();
        for (INode* node : Topmost(scene)) node->SetNodeTM(t, node->GetNodeTM(t) * change.change);
    }
    void Clone(Scene& scene, const ToolChange& change, const ToolCopies& copies) override {
        std::vector<INode*> all;
        for (int i = 0; i < copies.count; ++i) {
            std::vector<INode*> from = scene.Selection(), made = scene.CloneNodes(from);
            for (size_t k = 0; k < made.size() && copies.sharesObjects; ++k)
                made[k]->SetObjectRef(from[k]->ShareObjectRef());
            all.insert(all.end(), made.begin(), made.end());
            scene.Select(made);
            Change(scene, change);
        }
        scene.Select(all);
    }
    bool CanClone() const override { return true; }
    MoveTest Moved() const override {
        return [](const TViewNode& node, const TViewItem*) { return node.isSelected; };
    }
    void Delete(Scene& scene) override {
        for (INode* node : scene.Selection()) scene.DeleteNode(*node);
    }
    std::string Summary(Scene& scene) override {
        std::vector<INode*> nodes = scene.Selection();
        if (nodes.empty()) return "nothing selected";
        if (nodes.size() == 1) return nodes[0]->GetName();
        return fmt::format("{} nodes selected", nodes.size());
    }
    std::vector<BoxCorners> Boxes(const TViewportScene& shown) const override {
        std::vector<BoxCorners> boxes;
        for (const TViewNode& node : shown.Nodes())
            if (node.isSelected) boxes.push_back(BoxOf(node));
        return boxes;
    }

private:
    static bool Selectable(const Scene& scene, const INode& node) {
        return node.selectable && !node.IsHidden(scene.GetTime());
    }
    static void Take(Scene& scene, Handles picked, PickMode mode) {
        std::sort(picked.begin(), picked.end());
        Handles selected;
        for (const INode* node : scene.Selection()) selected.push_back(node->GetHandle());
        std::vector<INode*> nodes;
        for (NodeHandle handle : AfterPick(selected, picked, mode))
            if (INode* node = scene.FindHandle(handle); node && Selectable(scene, *node))
                nodes.push_back(node);
        scene.Select(nodes);
    }
    // What stands below a node that moves goes with it.
    static std::vector<INode*> Topmost(const Scene& scene) {
        std::vector<INode*> nodes;
        for (INode* node : scene.Selection()) {
            const INode* above = node->GetParentNode();
            while (above && !above->IsSelected()) above = above->GetParentNode();
            if (!above) nodes.push_back(node);
        }
        return nodes;
    }
};

}  // namespace

std::vector<uint32_t> ItemsOf(const ViewportPick& pick, NodeHandle object) {
    std::vector<uint32_t> items;
    for (uint32_t id : pick.ids) {
        TViewportScene::Found found = pick.scene->Find(id);
        if (found.node && found.node->handle == object && found.item != TViewportScene::kNoItem)
            items.push_back(found.item);
    }
    return items;
}

Matrix3 ParentAxes(const INode& node, TimeValue t) {
    return node.GetParentNode() ? node.GetParentNode()->GetNodeTM(t) : Matrix3();
}

std::optional<Point3> MiddleOf(const std::vector<Point3>& places) {
    if (places.empty()) return {};
    double sum[3] = {};
    for (const Point3& place : places)
        for (int i = 0; i < 3; ++i) sum[i] += double(place[i]) / double(places.size());
    return Point3{float(sum[0]), float(sum[1]), float(sum[2])};
}

BoxCorners CornersOf(const Box3& box, const Matrix3& toWorld) {
    BoxCorners corners;
    for (int i = 0; i < 8; ++i) corners[size_t(i)] = box[i] * toWorld;
    return corners;
}

std::unique_ptr<EditTarget> MakeNodeTarget() { return std::make_unique<NodeTarget>(); }

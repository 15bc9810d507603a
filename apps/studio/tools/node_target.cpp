#include <algorithm>

#include <fmt/format.h>

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
    // In the middle of the pivots; along the axes of a single node.
    std::optional<Matrix3> Frame(Scene& scene, GizmoAxes axes) override {
        std::vector<INode*> nodes = scene.Selection();
        if (nodes.empty()) return {};
        Point3 middle;
        for (INode* node : nodes)
            middle += node->GetNodeTM(scene.GetTime()).GetTrans() * (1.f / float(nodes.size()));
        Matrix3 frame;
        if (axes == GizmoAxes::kLocal) {
            frame = nodes.back()->GetNodeTM(scene.GetTime());
            for (int i = 0; i < 3; ++i) frame.row[i] = Normalize(frame.row[i]);
        }
        frame.SetTrans(middle);
        return frame;
    }
    void Change(Scene& scene, const ToolChange& change) override {
        TimeValue t = scene.GetTime();
        for (INode* node : Topmost(scene)) node->SetNodeTM(t, node->GetNodeTM(t) * change.change);
    }
    bool Clone(Scene& scene) override {
        scene.Select(scene.CloneNodes(scene.Selection()));
        return true;
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

BoxCorners CornersOf(const Box3& box, const Matrix3& toWorld) {
    BoxCorners corners;
    for (int i = 0; i < 8; ++i) corners[size_t(i)] = box[i] * toWorld;
    return corners;
}

std::unique_ptr<EditTarget> MakeNodeTarget() { return std::make_unique<NodeTarget>(); }

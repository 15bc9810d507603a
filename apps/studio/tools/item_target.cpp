// Hand-edited items of a scatter object.
#include <algorithm>

#include <fmt/format.h>

#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "apps/studio/tools/edit_target.h"
#include "host/scene/scene.h"

namespace {

constexpr float kSmallestScale = 1e-3f;

class ItemTarget : public EditTarget {
public:
    explicit ItemTarget(NodeHandle object) : m_handle(object) {}
    NodeHandle Object() const override { return m_handle; }

    void Pick(Scene& scene, const ViewportPick& pick) override {
        TItemNumbers items = ItemsOf(pick, m_handle);
        if (!items.empty()) items = {items[pick.meant % items.size()]};
        Take(scene, std::move(items), pick.mode);
    }
    void PickRegion(Scene& scene, const ViewportPick& pick) override {
        TItemNumbers items = ItemsOf(pick, m_handle);
        std::sort(items.begin(), items.end());
        Take(scene, std::move(items), pick.mode);
    }
    void Select(Scene& scene, SelectWhat what) override {
        WithItems(scene, [&](TItemCommands& items, INode&) {
            items.Select(what == SelectWhat::kAll    ? TGeneralSelection::kAll
                         : what == SelectWhat::kNone ? TGeneralSelection::kNone
                                                     : TGeneralSelection::kInvert);
        });
    }
    std::optional<GizmoPlace> Place(Scene& scene) override {
        std::optional<GizmoPlace> place;
        WithItems(scene, [&](TItemCommands& items, INode& node) {
            std::vector<Point3> centers;
            for (const auto& [number, center] : items.Centers(scene.GetTime()))
                centers.push_back(center);
            if (centers.empty()) return;
            place = GizmoPlace{*MiddleOf(centers), node.GetObjectTM(scene.GetTime()),
                               ParentAxes(node, scene.GetTime())};
        });
        return place;
    }
    // The factors of sizes are an item's scale; of its turns only the sum is kept.
    std::optional<TransformState> State(Scene& scene) override {
        std::optional<GizmoPlace> place = Place(scene);
        if (!place) return {};
        TransformState state{place->middle, {}, {}};
        WithItems(scene, [&](TItemCommands& items, INode& node) {
            TItemNumbers selected = items.Selected();
            auto& object = dynamic_cast<TDravin&>(*node.GetObjectRef());
            if (selected.size() == 1) state.scale = object.StoredItems()[selected[0]].sizeFactor;
        });
        return state;
    }
    void Change(Scene& scene, const ToolChange& change) override {
        WithItems(scene, [&](TItemCommands& items, INode& node) {
            Matrix3 toWorld = node.GetObjectTM(scene.GetTime());
            if (change.tool == GizmoTool::kMove) {
                items.Move(toWorld, Matrix3(), change.change.GetTrans());
            } else if (change.tool == GizmoTool::kRotate) {
                Matrix3 turn = change.change;
                turn.NoTrans();
                items.Rotate(toWorld, Matrix3::Translation(change.frame.GetTrans()),
                             Quat::FromMatrix(turn), true);
            } else {
                auto factor = [&](size_t i) { return std::max(change.values[i], kSmallestScale); };
                items.Scale({factor(0), factor(1), factor(2)});
            }
        });
    }
    void Clone(Scene& scene, const ToolChange& change, const ToolCopies& copies) override {
        WithItems(scene, [&](TItemCommands& items, INode& node) {
            auto& object = dynamic_cast<TDravin&>(*node.GetObjectRef());
            size_t first = object.StoredItems().size();
            for (int i = 0; i < copies.count; ++i) {
                items.Clone();
                Change(scene, change);
            }
            std::vector<int> made;
            for (size_t n = first; n < object.StoredItems().size(); ++n) made.push_back(int(n));
            items.Select(made, true);
        });
    }
    bool CanClone() const override { return true; }
    MoveTest Moved() const override {
        return [object = m_handle](const TViewNode& node, const TViewItem* item) {
            return node.handle == object && item && item->flags & TViewItem::kSelected;
        };
    }
    void Delete(Scene& scene) override {
        WithItems(scene, [](TItemCommands& items, INode&) { items.Delete(); });
    }
    std::string Summary(Scene& scene) override {
        std::string text;
        WithItems(scene, [&](TItemCommands& items, INode&) {
            text = items.SelectedText() + ", " + items.CountText();
        });
        return text;
    }
    std::vector<BoxCorners> Boxes(const TViewportScene& shown) const override {
        std::vector<BoxCorners> boxes;
        for (const TViewNode& node : shown.Nodes()) {
            if (node.handle != m_handle || !node.scatter) continue;
            for (const TViewItem& item : node.scatter->Items())
                if (item.flags & TViewItem::kSelected)
                    boxes.push_back(CornersOf(node.scatter->prototypes[item.prototype].bounds,
                                              item.toObject * node.toWorld));
        }
        return boxes;
    }

private:
    template <class Work>
    void WithItems(Scene& scene, Work work) {
        INode* node = scene.FindHandle(m_handle);
        auto* object = node ? dynamic_cast<TDravin*>(node->GetObjectRef()) : nullptr;
        if (!object) return;
        TItemCommands items(scene, *node, *object);
        if (items.IsEditing()) work(items, *node);
    }
    void Take(Scene& scene, TItemNumbers picked, PickMode mode) {
        WithItems(scene, [&](TItemCommands& items, INode& node) {
            auto& object = dynamic_cast<TDravin&>(*node.GetObjectRef());
            std::erase_if(picked, [&](uint32_t i) { return i >= object.StoredItems().size(); });
            TItemNumbers now = items.Selected(), after = AfterPick(now, picked, mode), flipped;
            std::set_symmetric_difference(now.begin(), now.end(), after.begin(), after.end(),
                                          std::back_inserter(flipped));
            if (!flipped.empty()) ToggleItems(object, std::move(flipped));
        });
    }

    NodeHandle m_handle;
};

}  // namespace

std::unique_ptr<EditTarget> MakeItemTarget(NodeHandle object) {
    return std::make_unique<ItemTarget>(object);
}

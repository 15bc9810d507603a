// Generated items of a scatter object: what is done to one is kept by its id, whatever else is
// scattered anew. Which of them are selected is the tool's alone.
#include <algorithm>

#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/build/edited_items.h"
#include "Dravin/dravin.h"
#include "apps/studio/tools/edit_target.h"
#include "host/scene/scene.h"

namespace {

constexpr float kSmallestScale = 1e-3f;

struct PinnedItem {
    TItemId id;
    uint32_t number = 0;  // in the list of the last build
    Point3 place;         // object space
};

class PinTarget : public EditTarget {
public:
    explicit PinTarget(NodeHandle object) : m_handle(object) {}
    NodeHandle Object() const override { return m_handle; }

    void Pick(Scene& scene, const ViewportPick& pick) override {
        std::vector<uint32_t> items = ItemsOf(pick, m_handle);
        if (!items.empty()) items = {items[pick.meant % items.size()]};
        Take(scene, pick, std::move(items));
    }
    void PickRegion(Scene& scene, const ViewportPick& pick) override {
        std::vector<uint32_t> items = ItemsOf(pick, m_handle);
        std::sort(items.begin(), items.end());
        Take(scene, pick, std::move(items));
    }
    void Select(Scene& scene, SelectWhat what) override {
        TDravin* object = ObjectIn(scene);
        if (!object || !object->Build().Input()) return;
        std::vector<uint32_t> all, numbers;
        if (what != SelectWhat::kNone)
            for (size_t i = 0; i < object->Build().Items().Count(); ++i) all.push_back(uint32_t(i));
        PickMode mode = what == SelectWhat::kInvert ? PickMode::kToggle : PickMode::kReplace;
        Pin(*object, AfterPick(Numbers(), all, mode));
    }
    std::optional<GizmoPlace> Place(Scene& scene) override {
        TDravin* object = ObjectIn(scene);
        if (!object) return {};
        FollowBuild(*object);
        if (m_pinned.empty()) return {};
        const INode& node = *scene.FindHandle(m_handle);
        Matrix3 toWorld = node.GetObjectTM(scene.GetTime());
        std::vector<Point3> places;
        for (const PinnedItem& item : m_pinned) places.push_back(item.place);
        return GizmoPlace{*MiddleOf(places) * toWorld, toWorld, ParentAxes(node, scene.GetTime())};
    }
    std::optional<TransformState> State(Scene& scene) override {
        std::optional<GizmoPlace> place = Place(scene);
        if (!place) return {};
        return TransformState{place->middle, {}, {}};
    }
    void Change(Scene& scene, const ToolChange& change) override {
        Matrix3 toWorld;
        if (INode* node = scene.FindHandle(m_handle)) toWorld = node->GetObjectTM(scene.GetTime());
        Matrix3 inObject = toWorld * change.change * Inverse(toWorld);
        Matrix3 turn = inObject;
        turn.NoTrans();
        ChangeDeltas(scene, [&](const PinnedItem& item, TItemDelta& delta) {
            if (change.tool == GizmoTool::kScale) {
                for (int i = 0; i < 3; ++i)
                    delta.scale[i] *= std::max(change.values[size_t(i)], kSmallestScale);
                return;
            }
            delta.move += item.place * inObject - item.place;
            if (change.tool == GizmoTool::kRotate)
                delta.rotateDegrees =
                    EulerDegreesOf(EulerDegreesToMatrix(delta.rotateDegrees) * turn);
        });
    }
    MoveTest Moved() const override {
        return
            [object = m_handle, numbers = Numbers()](const TViewNode& node, const TViewItem* item) {
                return node.handle == object && item &&
                       std::binary_search(numbers.begin(), numbers.end(), item->item);
            };
    }
    void Delete(Scene& scene) override {
        ChangeDeltas(scene, [](const PinnedItem& item, TItemDelta& delta) {
            delta = {};
            delta.id = item.id;
            delta.deleted = true;
        });
        m_pinned.clear();
    }
    std::string Summary(Scene& scene) override {
        TDravin* object = ObjectIn(scene);
        return fmt::format("{} generated items selected, {} changed by hand", m_pinned.size(),
                           object ? object->Deltas().size() : 0);
    }
    std::vector<BoxCorners> Boxes(const TViewportScene& shown) const override {
        std::vector<BoxCorners> boxes;
        std::vector<uint32_t> numbers = Numbers();
        for (const TViewNode& node : shown.Nodes()) {
            if (node.handle != m_handle || !node.scatter || numbers.empty()) continue;
            for (const TViewItem& item : node.scatter->Items())
                if (std::binary_search(numbers.begin(), numbers.end(), item.item))
                    boxes.push_back(CornersOf(node.scatter->prototypes[item.prototype].bounds,
                                              item.toObject * node.toWorld));
        }
        return boxes;
    }

private:
    TDravin* ObjectIn(Scene& scene) const {
        INode* node = scene.FindHandle(m_handle);
        return node ? dynamic_cast<TDravin*>(node->GetObjectRef()) : nullptr;
    }
    std::vector<uint32_t> Numbers() const {
        std::vector<uint32_t> numbers;
        for (const PinnedItem& item : m_pinned) numbers.push_back(item.number);
        std::sort(numbers.begin(), numbers.end());
        return numbers;
    }
    // Numbers mean something as long as the build stands that was shown.
    void Take(Scene& scene, const ViewportPick& pick, std::vector<uint32_t> picked) {
        TDravin* object = ObjectIn(scene);
        if (!object) return;
        for (const TViewNode& node : pick.scene->Nodes())
            if (node.handle == m_handle && node.scatter &&
                node.scatter->content->buildNumber != object->Build().BuildNumber())
                return;
        FollowBuild(*object);
        Pin(*object, AfterPick(Numbers(), std::move(picked), pick.mode));
    }
    void Pin(TDravin& object, const std::vector<uint32_t>& numbers) {
        m_pinned.clear();
        TDravinItem item;
        for (uint32_t number : numbers)
            if (Read(object, number, &item))
                m_pinned.push_back(
                    {IdOfItem(*object.Build().Input(), item), number, item.position});
        m_buildNumber = object.Build().BuildNumber();
    }
    static bool Read(TDravin& object, uint32_t number, TDravinItem* item) {
        if (!object.Build().Input() || number >= object.Build().Items().Count()) return false;
        object.Build().Items().ReadStored(number, item);
        return true;
    }
    // After another build items are found by their ids; those that are gone are selected no more.
    // A build that was broken off says nothing.
    void FollowBuild(TDravin& object) {
        TDravinBuild& build = object.Build();
        if (m_pinned.empty() || build.BuildNumber() == m_buildNumber ||
            build.Status() == TBuildStatus::kCancelled)
            return;
        m_buildNumber = build.BuildNumber();
        TDravinItem item;
        std::vector<PinnedItem> missing, found;
        for (PinnedItem& pinned : m_pinned) {
            if (Read(object, pinned.number, &item) && IdOfItem(*build.Input(), item) == pinned.id)
                found.push_back({pinned.id, pinned.number, item.position});
            else
                missing.push_back(pinned);
        }
        for (uint32_t i = 0; !missing.empty() && Read(object, i, &item); ++i) {
            TItemId id = IdOfItem(*build.Input(), item);
            auto at = std::find_if(missing.begin(), missing.end(),
                                   [&](const PinnedItem& p) { return p.id == id; });
            if (at == missing.end()) continue;
            found.push_back({id, i, item.position});
            missing.erase(at);
        }
        m_pinned = std::move(found);
    }
    template <class Work>
    void ChangeDeltas(Scene& scene, Work work) {
        TDravin* object = ObjectIn(scene);
        if (!object || m_pinned.empty()) return;
        TItemDeltaTable known(object->Deltas());
        std::vector<TItemDelta> deltas = object->Deltas();
        for (const PinnedItem& item : m_pinned) {
            const TItemDelta* old = known.Find(item.id);
            if (!old) deltas.emplace_back().id = item.id;
            work(item, old ? deltas[known.NumberOf(*old)] : deltas.back());
        }
        object->SetDeltas(std::move(deltas));
    }

    NodeHandle m_handle;
    std::vector<PinnedItem> m_pinned;
    uint64_t m_buildNumber = 0;
};

}  // namespace

std::unique_ptr<EditTarget> MakePinTarget(NodeHandle object) {
    return std::make_unique<PinTarget>(object);
}

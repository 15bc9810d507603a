// What the tools of views select and change: nodes, hand-edited items of a scatter object,
// generated items whose changes are kept by id, or points of a spline.
//
// Functions that take the scene are called while it is free; those that change it inside an undo
// step or a preview. Boxes reads the snapshot alone.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/studio/viewport/viewport_widget.h"
#include "host/scene/node.h"

class Scene;

enum class GizmoAxes { kWorld, kView, kLocal, kParent, kSurface };
enum class SelectWhat { kAll, kNone, kInvert };

// What a hand did to a gizmo.
struct ToolChange {
    GizmoTool tool = GizmoTool::kNone;
    Matrix3 change;  // world space: from the state at the beginning to the new one
    Matrix3 frame;   // the gizmo's, at the beginning
    std::array<float, 3> values{};
};

// What is left behind when something is moved with Shift.
struct ToolCopies {
    int count = 1;
    bool sharesObjects = false;  // of nodes: the copies show the very object
};

// Where a gizmo may stand, and along which axes, of any length.
struct GizmoPlace {
    Point3 middle;
    Matrix3 local, parent;
};

// What can be typed of what is selected; where several things are, or it has none, there is no
// turn or scale.
struct TransformState {
    Point3 place;
    std::optional<Point3> rotationDegrees, scale;
};

using BoxCorners = std::array<Point3, 8>;  // as Box3's operator[] counts them

// Points that can be picked, with the curves and handles that they shape; world space.
struct TargetMarks {
    struct Mark {
        Point3 place;
        bool isSelected = false, isHandle = false;
    };
    std::vector<Mark> points;
    std::vector<std::pair<Point3, Point3>> lines;
};

class EditTarget {
public:
    virtual ~EditTarget() = default;

    virtual void Pick(Scene& scene, const ViewportPick& pick) = 0;
    virtual void PickRegion(Scene& scene, const ViewportPick& pick) = 0;
    virtual void Select(Scene& scene, SelectWhat what) = 0;
    // Where the gizmo stands; none: nothing that it could change.
    virtual std::optional<GizmoPlace> Place(Scene& scene) = 0;
    // In the world; none as with Place.
    virtual std::optional<TransformState> State(Scene& scene) = 0;
    virtual void Change(Scene& scene, const ToolChange& change) = 0;
    // Copies of what is selected, each changed once more than the one before; they are selected
    // then. Nothing where it cannot be copied.
    virtual void Clone(Scene& scene, const ToolChange& change, const ToolCopies& copies) {}
    virtual bool CanClone() const { return false; }
    // Whether a node, or one of its items, moves with what is selected: nothing snaps to itself.
    using MoveTest = std::function<bool(const TViewNode& node, const TViewItem* item)>;
    virtual MoveTest Moved() const = 0;
    virtual void Delete(Scene& scene) = 0;
    // "3 of 120 items selected"
    virtual std::string Summary(Scene& scene) = 0;
    // Of what is selected, world space.
    virtual std::vector<BoxCorners> Boxes(const TViewportScene& shown) const = 0;
    // As the scene was at the last Summary.
    virtual TargetMarks Marks() const { return {}; }
    // The node that is edited; 0 for nodes themselves.
    virtual NodeHandle Object() const { return 0; }
    // A click between what can be picked adds something there; whether it did. For targets of
    // points.
    virtual bool AddAt(Scene& scene, const ViewportPick& pick) { return false; }
    // Numbers of what is selected, as commands count them.
    virtual std::vector<int> SelectedNumbers() const { return {}; }
};

std::unique_ptr<EditTarget> MakeNodeTarget();
// object: the node of the scatter object.
std::unique_ptr<EditTarget> MakeItemTarget(NodeHandle object);
std::unique_ptr<EditTarget> MakePinTarget(NodeHandle object);
// spline: the node of a spline.
std::unique_ptr<EditTarget> MakePointTarget(NodeHandle spline);

// --- for targets

// The selection after a pick; both rising, none twice.
template <class T>
std::vector<T> AfterPick(const std::vector<T>& selected, std::vector<T> picked, PickMode mode);

// Places in the item list of what a pick met of an object, in the pick's order.
std::vector<uint32_t> ItemsOf(const ViewportPick& pick, NodeHandle object);

// The axes of what an object is the child of, for gizmos.
Matrix3 ParentAxes(const INode& node, TimeValue t);
// The middle of places, summed exactly; none of none.
std::optional<Point3> MiddleOf(const std::vector<Point3>& places);

BoxCorners CornersOf(const Box3& box, const Matrix3& toWorld);

template <class T>
std::vector<T> AfterPick(const std::vector<T>& selected, std::vector<T> picked, PickMode mode) {
    if (mode == PickMode::kReplace) return picked;
    std::vector<T> after;
    auto out = std::back_inserter(after);
    if (mode == PickMode::kAdd)
        std::set_union(selected.begin(), selected.end(), picked.begin(), picked.end(), out);
    else if (mode == PickMode::kRemove)
        std::set_difference(selected.begin(), selected.end(), picked.begin(), picked.end(), out);
    else
        std::set_symmetric_difference(selected.begin(), selected.end(), picked.begin(),
                                      picked.end(), out);
    return after;
}

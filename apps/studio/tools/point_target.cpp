// Points of a spline: its knots, and the handles of those that are selected. Which of them are
// selected is the tool's alone.
#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "apps/studio/tools/edit_target.h"
#include "host/geom/spline_edit.h"
#include "host/scene/object.h"
#include "host/scene/scene.h"

namespace {

constexpr float kReach = 7;           // pixels around a click
constexpr int kPiecesOfSegment = 32;  // in which a click looks for its place on a curve

class PointTarget : public EditTarget {
public:
    explicit PointTarget(NodeHandle spline) : m_handle(spline) {}
    NodeHandle Object() const override { return m_handle; }

    void Pick(Scene& scene, const ViewportPick& pick) override {
        Read(scene);
        float x = float(pick.region.rectangle.left) + 0.5f;
        float y = float(pick.region.rectangle.top) + 0.5f, nearest = kReach;
        std::vector<SplinePoint> picked;
        for (const SplinePoint& point : Pickable()) {
            TScreenPoint at;
            if (!pick.camera.Project(WorldPlace(point), &at)) continue;
            float distance = std::hypot(at.x - x, at.y - y);
            if (distance < nearest) nearest = distance, picked = {point};
        }
        m_selected = AfterPick(m_selected, std::move(picked), pick.mode);
    }
    // Handles are picked by clicks alone: a region around a knot means the knot.
    void PickRegion(Scene& scene, const ViewportPick& pick) override {
        Read(scene);
        std::vector<SplinePoint> picked;
        for (size_t i = 0; i < NumKnots(m_shape); ++i) {
            TScreenPoint at;
            if (pick.camera.Project(WorldPlace({i}), &at) && pick.region.Holds(at.x, at.y) &&
                (!pick.seen || pick.seen->Shows(at)))
                picked.push_back({i});
        }
        m_selected = AfterPick(m_selected, std::move(picked), pick.mode);
    }
    void Select(Scene& scene, SelectWhat what) override {
        Read(scene);
        std::vector<SplinePoint> all;
        if (what != SelectWhat::kNone)
            for (size_t i = 0; i < NumKnots(m_shape); ++i) all.push_back({i});
        if (what == SelectWhat::kInvert)
            std::erase_if(m_selected,
                          [](const SplinePoint& p) { return p.part != SplinePart::kKnot; });
        PickMode mode = what == SelectWhat::kInvert ? PickMode::kToggle : PickMode::kReplace;
        m_selected = AfterPick(m_selected, all, mode);
    }
    std::optional<GizmoPlace> Place(Scene& scene) override {
        if (!Read(scene) || m_selected.empty()) return {};
        std::vector<Point3> places;
        for (const SplinePoint& point : m_selected) places.push_back(WorldPlace(point));
        return GizmoPlace{*MiddleOf(places), m_toWorld,
                          ParentAxes(*scene.FindHandle(m_handle), scene.GetTime())};
    }
    std::optional<TransformState> State(Scene& scene) override {
        std::optional<GizmoPlace> place = Place(scene);
        if (!place) return {};
        return TransformState{place->middle, {}, {}};
    }
    void Change(Scene& scene, const ToolChange& change) override {
        ShapeObject* spline = Read(scene);
        if (!spline) return;
        Matrix3 inObject = m_toWorld * change.change * Inverse(m_toWorld);
        BezierShape shape = spline->shape;
        const BezierShape before = shape;
        for (const SplinePoint& point : m_selected) MoveOne(before, shape, point, inObject);
        if (!(shape == before)) spline->shape = std::move(shape);
    }
    // Its other points are caught as marks are.
    MoveTest Moved() const override {
        return [spline = m_handle](const TViewNode& node, const TViewItem*) {
            return node.handle == spline;
        };
    }
    void Delete(Scene& scene) override {
        ShapeObject* spline = Read(scene);
        std::vector<size_t> knots;
        for (const SplinePoint& point : m_selected)
            if (point.part == SplinePart::kKnot) knots.push_back(point.knot);
        if (!spline || knots.empty()) return;
        BezierShape shape = spline->shape;
        DeleteKnots(shape, knots);
        m_selected.clear();
        spline->shape = std::move(shape);
    }
    // On the segment under the click; the curve keeps its form, and the new point is selected.
    bool AddAt(Scene& scene, const ViewportPick& pick) override {
        ShapeObject* spline = Read(scene);
        if (!spline) return false;
        float x = float(pick.region.rectangle.left) + 0.5f;
        float y = float(pick.region.rectangle.top) + 0.5f;
        Segment nearest = NearestSegment(pick.camera, x, y);
        if (nearest.distance > kReach) return false;
        BezierShape shape = spline->shape;
        std::optional<size_t> added = InsertKnot(shape, nearest.knot, nearest.t);
        if (!added) return false;
        m_selected = {SplinePoint{*added}};
        spline->shape = std::move(shape);
        return true;
    }
    std::vector<int> SelectedNumbers() const override {
        std::vector<int> numbers;
        for (const SplinePoint& point : m_selected)
            if (numbers.empty() || numbers.back() != int(point.knot))
                numbers.push_back(int(point.knot));
        return numbers;
    }
    std::string Summary(Scene& scene) override {
        Read(scene);
        return fmt::format("{} of {} points selected", m_selected.size(), NumKnots(m_shape));
    }
    std::vector<BoxCorners> Boxes(const TViewportScene&) const override { return {}; }
    TargetMarks Marks() const override {
        TargetMarks marks;
        PolyShape curves = MakePolyShape(m_shape);
        curves.Transform(m_toWorld);
        for (const PolyLine& line : curves.lines)
            for (size_t i = 0; i < line.NumSegments(); ++i)
                marks.lines.push_back({line.points[i], line.points[(i + 1) % line.points.size()]});
        for (const SplinePoint& point : Pickable()) {
            bool isHandle = point.part != SplinePart::kKnot;
            marks.points.push_back({WorldPlace(point), IsSelected(point), isHandle});
            if (isHandle) marks.lines.push_back({WorldPlace({point.knot}), WorldPlace(point)});
        }
        return marks;
    }

private:
    struct Segment {
        size_t knot = 0;  // that it begins at
        float t = 0.5f, distance = 1e30f;
    };

    // The shape as it is now; points that it has no more are selected no more. Null: it is gone.
    ShapeObject* Read(Scene& scene) {
        INode* node = scene.FindHandle(m_handle);
        auto* spline = node ? dynamic_cast<ShapeObject*>(node->GetObjectRef()) : nullptr;
        m_shape = spline ? spline->shape.Get() : BezierShape();
        if (node) m_toWorld = node->GetObjectTM(scene.GetTime());
        std::erase_if(m_selected, [this](const SplinePoint& p) { return !Exists(p); });
        return spline;
    }
    Point3 WorldPlace(const SplinePoint& point) const {
        return PlaceOf(m_shape, point) * m_toWorld;
    }
    bool Exists(const SplinePoint& point) const {
        if (point.knot >= NumKnots(m_shape)) return false;
        return point.part == SplinePart::kKnot ||
               !(PlaceOf(m_shape, point) == PlaceOf(m_shape, {point.knot}));
    }
    bool IsSelected(const SplinePoint& point) const {
        return std::binary_search(m_selected.begin(), m_selected.end(), point);
    }
    // Of a knot whose handles are shown something is selected.
    std::vector<SplinePoint> Pickable() const {
        std::vector<SplinePoint> points;
        for (size_t i = 0; i < NumKnots(m_shape); ++i) {
            points.push_back({i});
            bool isShown = IsSelected({i}) || IsSelected({i, SplinePart::kIn}) ||
                           IsSelected({i, SplinePart::kOut});
            for (SplinePart part : {SplinePart::kIn, SplinePart::kOut})
                if (isShown && Exists({i, part})) points.push_back({i, part});
        }
        return points;
    }
    // A knot takes its handles along, turned and scaled with it.
    void MoveOne(const BezierShape& before, BezierShape& shape, const SplinePoint& point,
                 const Matrix3& inObject) const {
        bool isHandle = point.part != SplinePart::kKnot;
        if (isHandle && IsSelected({point.knot})) return;  // it goes with its knot
        if (isHandle) return MovePoint(shape, point, PlaceOf(before, point) * inObject);
        std::optional<KnotPlace> place = FindKnot(shape, point.knot);
        BezierKnot& knot = shape.splines[place->spline].knots[place->knot];
        knot.p = knot.p * inObject;
        knot.in = inObject.VectorTransform(knot.in);
        knot.out = inObject.VectorTransform(knot.out);
    }
    Segment NearestSegment(const TViewportCamera& camera, float x, float y) const {
        Segment nearest;
        size_t number = 0;
        for (const BezierSpline& spline : m_shape.splines)
            for (size_t i = 0; i < spline.knots.size(); ++i, ++number) {
                if (i + 1 == spline.knots.size() && !spline.closed) continue;
                const BezierKnot &a = spline.knots[i],
                                 &b = spline.knots[(i + 1) % spline.knots.size()];
                for (int k = 0; k < kPiecesOfSegment; ++k) {
                    TScreenPoint from, to;
                    float t0 = float(k) / kPiecesOfSegment, t1 = float(k + 1) / kPiecesOfSegment;
                    if (!camera.Project(SegmentPoint(a, b, t0) * m_toWorld, &from) ||
                        !camera.Project(SegmentPoint(a, b, t1) * m_toWorld, &to))
                        continue;
                    float dx = to.x - from.x, dy = to.y - from.y;
                    float square = std::max(dx * dx + dy * dy, 1e-6f);
                    float u =
                        std::clamp(((x - from.x) * dx + (y - from.y) * dy) / square, 0.f, 1.f);
                    float distance = std::hypot(from.x + u * dx - x, from.y + u * dy - y);
                    if (distance < nearest.distance)
                        nearest = {number, t0 + u * (t1 - t0), distance};
                }
            }
        return nearest;
    }

    NodeHandle m_handle;
    BezierShape m_shape;
    Matrix3 m_toWorld;
    std::vector<SplinePoint> m_selected;  // rising
};

}  // namespace

std::unique_ptr<EditTarget> MakePointTarget(NodeHandle spline) {
    return std::make_unique<PointTarget>(spline);
}

#include "apps/studio/viewport/transform_gizmo.h"

#include <charconv>
#include <cmath>
#include <numbers>

#include <fmt/format.h>

namespace {

constexpr float kLength = 90, kPlaneAt = 28, kMiddle = 9, kReach = 7;  // a person's pixels
constexpr int kRingParts = 64;
constexpr float kFullTurn = 2 * std::numbers::pi_v<float>;
constexpr Color kColors[3] = {{0.9f, 0.25f, 0.25f}, {0.4f, 0.8f, 0.25f}, {0.3f, 0.5f, 1.0f}};
constexpr Color kLit{1.0f, 0.85f, 0.2f}, kMiddleColor{0.85f, 0.85f, 0.85f};

int AxisOf(GizmoHandle handle) { return handle == kAxisX ? 0 : handle == kAxisY ? 1 : 2; }
bool IsAxis(GizmoHandle h) { return h == kAxisX || h == kAxisY || h == kAxisZ; }
bool IsPlane(GizmoHandle h) { return !IsAxis(h) && h != kAllAxes && h != kNoHandle; }

float Snapped(float value, float step) {
    return step > 0 ? std::round(value / step) * step : value;
}

Matrix3 About(const Point3& axis, float radians, const Point3& center) {
    float half = radians / 2, s = std::sin(half);
    Matrix3 turn = Quat{axis.x * s, axis.y * s, axis.z * s, std::cos(half)}.ToMatrix();
    return Matrix3::Translation(center * -1.0f) * turn * Matrix3::Translation(center);
}

float DistanceTo(const GizmoLine& l, float x, float y) {
    float dx = l.x1 - l.x0, dy = l.y1 - l.y0, square = dx * dx + dy * dy;
    float t = square > 0 ? ((x - l.x0) * dx + (y - l.y0) * dy) / square : 0;
    t = std::clamp(t, 0.f, 1.f);
    return std::hypot(l.x0 + dx * t - x, l.y0 + dy * t - y);
}

// Gathers lines of world space as they stand on the screen.
class Drawer {
public:
    Drawer(const TViewportCamera& camera, GizmoHandle lit) : m_camera(camera), m_lit(lit) {}
    void Line(const Point3& a, const Point3& b, Color color, GizmoHandle handle) {
        TScreenPoint p, q;
        if (!m_camera.Project(a, &p) || !m_camera.Project(b, &q)) return;
        lines.push_back({p.x, p.y, q.x, q.y, handle == m_lit ? kLit : color, handle});
    }
    void Ring(const Point3& center, const Point3& u, const Point3& v, Color color,
              GizmoHandle handle) {
        auto at = [&](int i) {
            float a = kFullTurn * float(i) / kRingParts;
            return center + u * std::cos(a) + v * std::sin(a);
        };
        for (int i = 0; i < kRingParts; ++i) Line(at(i), at(i + 1), color, handle);
    }
    std::vector<GizmoLine> lines;

private:
    const TViewportCamera& m_camera;
    GizmoHandle m_lit;
};

}  // namespace

Matrix3 ChangeAlong(GizmoTool tool, const Matrix3& frame, const std::array<float, 3>& values) {
    if (tool == GizmoTool::kScale)
        return Inverse(frame) * Matrix3::Scaling({values[0], values[1], values[2]}) * frame;
    Matrix3 change;
    for (int a = 0; a < 3; ++a) {
        float value = values[size_t(a)];
        change = change * (tool == GizmoTool::kMove
                               ? Matrix3::Translation(frame.row[a] * value)
                               : About(frame.row[a], value * kFullTurn / 360, frame.row[3]));
    }
    return change;
}

Matrix3 TransformGizmo::FrameIn(const TViewportCamera& camera) const {
    if (!m_followsView || IsDragging()) return m_frame;
    Matrix3 view = Inverse(camera.Transform());
    for (int a = 0; a < 3; ++a) view.row[a] = Normalize(view.row[a]);
    view.SetTrans(m_frame.GetTrans());
    return view;
}

float TransformGizmo::Reach(const TViewportCamera& camera, float pixelScale) const {
    float depth = std::max(-camera.ToView(m_frame.row[3]).z, camera.Nearest());
    return pixelScale / camera.PixelsAt(depth);
}

std::vector<GizmoLine> TransformGizmo::Lines(const TViewportCamera& camera,
                                             float pixelScale) const {
    if (tool == GizmoTool::kNone) return {};
    Drawer out(camera, IsDragging() ? m_handle : hovered);
    float unit = Reach(camera, pixelScale);
    Matrix3 view = Inverse(camera.Transform()), frame = FrameIn(camera);
    const Point3& o = frame.row[3];
    Point3 right = Normalize(view.row[0]), up = Normalize(view.row[1]);
    if (tool == GizmoTool::kRotate) {
        for (int a = 0; a < 3; ++a)
            out.Ring(o, frame.row[(a + 1) % 3] * (kLength * unit),
                     frame.row[(a + 2) % 3] * (kLength * unit), kColors[a], 1u << a);
        float outer = kLength * 1.15f * unit;
        out.Ring(o, right * outer, up * outer, kMiddleColor, kAllAxes);
        return std::move(out.lines);
    }
    for (int a = 0; a < 3; ++a) {
        Point3 tip = o + frame.row[a] * (kLength * unit);
        out.Line(o, tip, kColors[a], 1u << a);
        // An arrow head, or a small box.
        Point3 back = frame.row[a] * (10 * unit);
        for (Point3 side : {right, up, right * -1.0f, up * -1.0f}) {
            side = side * (4 * unit);
            if (tool == GizmoTool::kMove)
                out.Line(tip, tip - back + side, kColors[a], 1u << a);
            else
                out.Line(tip + side, tip + CrossProd(Normalize(view.row[2]), side), kColors[a],
                         1u << a);
        }
        Point3 p = frame.row[(a + 1) % 3] * (kPlaneAt * unit);
        Point3 q = frame.row[(a + 2) % 3] * (kPlaneAt * unit);
        GizmoHandle plane = kAllAxes & ~(1u << a);
        out.Line(o + p, o + p + q, kColors[a], plane);
        out.Line(o + q, o + p + q, kColors[a], plane);
    }
    Point3 x = right * (kMiddle * unit), y = up * (kMiddle * unit);
    out.Line(o - x - y, o + x - y, kMiddleColor, kAllAxes);
    out.Line(o + x - y, o + x + y, kMiddleColor, kAllAxes);
    out.Line(o + x + y, o - x + y, kMiddleColor, kAllAxes);
    out.Line(o - x + y, o - x - y, kMiddleColor, kAllAxes);
    return std::move(out.lines);
}

GizmoHandle TransformGizmo::HandleAt(const TViewportCamera& camera, float x, float y,
                                     float pixelScale) const {
    GizmoHandle best = kNoHandle;
    float least = kReach * pixelScale;
    TScreenPoint middle;
    bool hasMiddle = tool == GizmoTool::kMove || tool == GizmoTool::kScale;
    // The middle is a face, not only its border.
    if (hasMiddle && camera.Project(m_frame.row[3], &middle) &&
        std::max(std::abs(middle.x - x), std::abs(middle.y - y)) <= kMiddle * pixelScale)
        return kAllAxes;
    for (const GizmoLine& line : Lines(camera, pixelScale))
        if (float distance = DistanceTo(line, x, y); distance < least)
            least = distance, best = line.handle;
    return best;
}

// --- the gesture

void TransformGizmo::Begin(GizmoHandle handle, const TViewportCamera& camera, float x, float y) {
    m_frame = FrameIn(camera);
    m_handle = handle;
    m_caught.reset();
    m_view = Inverse(camera.Transform());
    m_values.fill(tool == GizmoTool::kScale ? 1.f : 0.f);
    m_typed.clear();
    m_hasTyped = false, m_typedAxis = 0;
    while (m_typedAxis < 2 && !(handle >> m_typedAxis & 1)) ++m_typedAxis;
    m_startX = m_nowX = x, m_startY = m_nowY = y;
    m_from = m_to = PointOn(camera, x, y);
    m_fromAngle = AngleAt(camera, x, y), m_turned = 0;
    if (onBegin) onBegin();
}

// Where the line of sight meets the handle's axis or plane.
Point3 TransformGizmo::PointOn(const TViewportCamera& camera, float x, float y) const {
    ViewRay ray = RayThrough(camera, x, y);
    const Point3& o = m_frame.row[3];
    Point3 normal = Normalize(m_view.row[2]);
    if (IsPlane(m_handle)) normal = m_frame.row[AxisOf(kAllAxes & ~m_handle)];
    if (IsAxis(m_handle)) {
        // The plane through the axis that faces the eye most.
        const Point3& axis = m_frame.row[AxisOf(m_handle)];
        Point3 sight = camera.IsParallel() ? ray.direction : o - m_view.row[3];
        normal = CrossProd(axis, CrossProd(sight, axis));
    }
    float slope = DotProd(ray.direction, normal);
    if (std::abs(slope) < 1e-6f) return m_to;
    Point3 hit = ray.origin + ray.direction * (DotProd(o - ray.origin, normal) / slope);
    if (!IsAxis(m_handle)) return hit;
    const Point3& axis = m_frame.row[AxisOf(m_handle)];
    return o + axis * DotProd(hit - o, axis);
}

Point3 TransformGizmo::TurnAxis() const {
    return IsAxis(m_handle) ? m_frame.row[AxisOf(m_handle)] : Normalize(m_view.row[2]);
}

// Around the middle on the screen, counter-clockwise for who sees the axis' tip.
float TransformGizmo::AngleAt(const TViewportCamera& camera, float x, float y) const {
    TScreenPoint middle;
    if (!camera.Project(m_frame.row[3], &middle)) return 0;
    float angle = std::atan2(middle.y - y, x - middle.x);
    return DotProd(TurnAxis(), m_view.row[2]) < 0 ? -angle : angle;
}

void TransformGizmo::Drag(const TViewportCamera& camera, float x, float y, bool invertsSnapping) {
    if (!IsDragging() || m_hasTyped) return;
    m_nowX = x, m_nowY = y;
    m_to = PointOn(camera, x, y);
    m_turned += std::remainder(AngleAt(camera, x, y) - (m_fromAngle + m_turned), kFullTurn);
    bool snaps = snapping.isOn != invertsSnapping;
    m_caught.reset();
    if (snaps && tool == GizmoTool::kMove && snapping.placeAt)
        m_caught = snapping.placeAt(camera, x, y);
    Follow(snaps);
    Preview();
}

// To what was caught, else onto the grid: that of the world where the axis is one of the world's,
// and else steps from where the move began.
float TransformGizmo::MovedAlong(int axis, bool snaps) const {
    const Point3 &along = m_frame.row[axis], &from = m_frame.row[3];
    if (snaps && m_caught) return DotProd(*m_caught - from, along);
    float value = DotProd(m_to - m_from, along);
    if (!snaps || !snapping.toGrid) return value;
    float start = along == Matrix3().row[axis] ? from[axis] : 0;
    return Snapped(start + value, snapping.step) - start;
}

void TransformGizmo::Follow(bool snaps) {
    constexpr float kPixelsADouble = 100;
    for (int a = 0; a < 3; ++a) {
        bool isMeant = m_handle >> a & 1;
        const Point3& axis = m_frame.row[a];
        if (tool == GizmoTool::kMove) {
            m_values[size_t(a)] = isMeant ? MovedAlong(a, snaps) : 0;
        } else if (tool == GizmoTool::kRotate) {
            float value = isMeant ? m_turned * 360 / kFullTurn : 0;
            m_values[size_t(a)] = snaps ? Snapped(value, snapping.degrees) : value;
        } else {
            float factor = 1 + (m_nowX - m_startX - (m_nowY - m_startY)) / kPixelsADouble;
            float start = DotProd(m_from - m_frame.row[3], axis);
            if (IsAxis(m_handle) && std::abs(start) > 1e-6f)
                factor = DotProd(m_to - m_frame.row[3], axis) / start;
            if (snaps) factor = Snapped(factor, snapping.percent / 100);
            m_values[size_t(a)] = isMeant ? factor : 1;
        }
    }
}

Matrix3 TransformGizmo::Change() const {
    if (tool != GizmoTool::kRotate) return ChangeAlong(tool, m_frame, m_values);
    size_t a = IsAxis(m_handle) ? size_t(AxisOf(m_handle)) : 0;
    return About(TurnAxis(), m_values[a] * kFullTurn / 360, m_frame.row[3]);
}

void TransformGizmo::Preview() {
    if (onPreview) onPreview(Change());
}

void TransformGizmo::Commit() {
    if (!IsDragging()) return;
    Matrix3 change = Change();
    m_handle = kNoHandle;
    if (onCommit) onCommit(change);
}

void TransformGizmo::Cancel() {
    if (!IsDragging()) return;
    m_handle = kNoHandle;
    if (onCancel) onCancel();
}

void TransformGizmo::Constrain(GizmoHandle axis) {
    if (!IsDragging() || tool == GizmoTool::kRotate) return;
    m_handle = axis;
    m_typedAxis = AxisOf(axis);
    m_typed.clear();
    m_hasTyped = false;
    Follow(snapping.isOn);
    Preview();
}

bool TransformGizmo::Type(char key) {
    constexpr char kEscape = 27;
    constexpr size_t kMostKeys = 20;
    if (!IsDragging()) return false;
    if (key == kEscape) return Cancel(), true;
    if (key == '\r') return Commit(), true;
    if (key == '\t') {
        for (int i = 1; i <= 3; ++i)
            if (int next = (m_typedAxis + i) % 3; m_handle >> next & 1) {
                m_typedAxis = next;
                break;
            }
        m_typed.clear();
        return true;
    }
    if (key == '\b') {
        if (!m_typed.empty()) m_typed.pop_back();
    } else if ((key >= '0' && key <= '9') || key == '.' || key == '-') {
        if (m_typed.size() < kMostKeys) m_typed += key;
    } else {
        return false;
    }
    float value = 0;
    auto [end, error] = std::from_chars(m_typed.data(), m_typed.data() + m_typed.size(), value);
    if (error != std::errc() || end != m_typed.data() + m_typed.size()) return true;
    if (!m_hasTyped) m_values.fill(tool == GizmoTool::kScale ? 1.f : 0.f);
    m_hasTyped = true;
    bool isUniform = m_handle == kAllAxes && tool == GizmoTool::kScale;
    if (isUniform || tool == GizmoTool::kRotate)
        m_values.fill(value);
    else
        m_values[size_t(m_typedAxis)] = value;
    Preview();
    return true;
}

std::string TransformGizmo::Text() const {
    if (tool == GizmoTool::kRotate)
        return fmt::format("{:.4g}\u00B0",
                           m_values[IsAxis(m_handle) ? size_t(AxisOf(m_handle)) : 0]);
    if (tool == GizmoTool::kScale && m_handle == kAllAxes)
        return fmt::format("{:.4g} %", m_values[0] * 100);
    std::string text;
    for (size_t a = 0; a < 3; ++a) {
        if (!(m_handle >> a & 1)) continue;
        if (!text.empty()) text += "  ";
        text += "XYZ"[a];
        text += tool == GizmoTool::kScale ? fmt::format(" {:.4g} %", m_values[a] * 100)
                                          : fmt::format(" {:.4g}", m_values[a]);
    }
    return text;
}

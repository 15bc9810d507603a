// Handles that move, turn or scale something: what a hand does to them becomes a matrix.
//
// Handles keep their size on the screen. A drag is a gesture: it begins on a handle, previews while
// the pointer moves, and ends by a commit or a cancel, exactly one of them. Digits typed meanwhile
// set the value exactly; Tab goes to the next axis, Escape gives all back. What is moved is the
// owner's matter: it hears the matrix, in world space, that leads from the state at the beginning
// to the present one.
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "apps/studio/viewport/view_navigation.h"
#include "host/math/color.h"

enum class GizmoTool { kNone, kMove, kRotate, kScale };

// Bits 0 to 2: x, y, z; two of them are a plane (of a turn: never), all three the middle handle:
// in the plane of the screen, about the line of sight, uniformly.
using GizmoHandle = unsigned;
inline constexpr GizmoHandle kNoHandle = 0, kAxisX = 1, kAxisY = 2, kAxisZ = 4, kAllAxes = 7;

struct GizmoSnapping {
    bool isOn = false;
    bool toGrid = true;  // moves
    float step = 1;      // of the grid, scene units, above 0
    float degrees = 5, percent = 10;
    // A place of the world that the pointer catches, before the grid; none: nothing is there.
    std::function<std::optional<Point3>(const TViewportCamera&, float x, float y)> placeAt;
};

// In world space, what values along the axes of a frame do about its place: moves, turns of so many
// degrees about one axis after the other, factors.
Matrix3 ChangeAlong(GizmoTool tool, const Matrix3& frame, const std::array<float, 3>& values);

// A line of a handle on the screen.
struct GizmoLine {
    float x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    Color color;
    GizmoHandle handle = kNoHandle;
};

class TransformGizmo {
public:
    // Any may be empty.
    std::function<void()> onBegin;
    std::function<void(const Matrix3&)> onPreview, onCommit;
    std::function<void()> onCancel;

    GizmoTool tool = GizmoTool::kNone;
    GizmoSnapping snapping;
    // Where it stands: unit axes and the place, world space.
    void SetFrame(const Matrix3& frame) { m_frame = frame; }
    // Its axes are those of whoever looks: right, up, and towards the eye.
    void FollowView(bool follows) { m_followsView = follows; }
    // As it stands in a view; while it is dragged, as it did when that began.
    Matrix3 FrameIn(const TViewportCamera& camera) const;
    const Matrix3& Frame() const { return m_frame; }
    // What the pointer has caught while something is dragged.
    const std::optional<Point3>& Caught() const { return m_caught; }
    // pixelScale: how many of the camera's pixels are one of the person's.
    std::vector<GizmoLine> Lines(const TViewportCamera& camera, float pixelScale) const;
    // The handle within a few pixels of a place, the nearest; kNoHandle without.
    GizmoHandle HandleAt(const TViewportCamera& camera, float x, float y, float pixelScale) const;
    // The one that is lit.
    GizmoHandle hovered = kNoHandle;

    bool IsDragging() const { return m_handle != kNoHandle; }
    GizmoHandle Dragged() const { return m_handle; }
    void Begin(GizmoHandle handle, const TViewportCamera& camera, float x, float y);
    // invertsSnapping: the key that does so is down.
    void Drag(const TViewportCamera& camera, float x, float y, bool invertsSnapping);
    void Commit();
    void Cancel();
    // '0' to '9', '.', '-', '\b' (takes back), '\t' (the next axis), '\r' (commits), 27 (cancels).
    // Whether the gesture took it.
    bool Type(char key);
    // X, Y or Z: from now on along that axis alone.
    void Constrain(GizmoHandle axis);

    // Moves in scene units, degrees or factors, along the frame's axes.
    std::array<float, 3> Values() const { return m_values; }
    // "X 3.2", "45°", "120 %": beside the pointer.
    std::string Text() const;

private:
    Matrix3 Change() const;
    float Reach(const TViewportCamera& camera, float pixelScale) const;
    Point3 PointOn(const TViewportCamera& camera, float x, float y) const;
    float AngleAt(const TViewportCamera& camera, float x, float y) const;
    Point3 TurnAxis() const;
    void Follow(bool snaps);
    float MovedAlong(int axis, bool snaps) const;
    void Preview();

    Matrix3 m_frame, m_view;
    GizmoHandle m_handle = kNoHandle;
    std::array<float, 3> m_values{};
    std::string m_typed;
    int m_typedAxis = 0;
    bool m_hasTyped = false, m_followsView = false;
    std::optional<Point3> m_caught;
    // Of the drag.
    Point3 m_from, m_to;
    float m_fromAngle = 0, m_turned = 0;
    float m_startX = 0, m_startY = 0, m_nowX = 0, m_nowY = 0;
};

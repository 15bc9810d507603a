// Moves, turns and scales by numbers: where things stand in the world, or how far they go along the
// axes of the gizmo.
#pragma once

#include <array>
#include <functional>
#include <optional>

#include <QDialog>

#include "apps/studio/tools/edit_target.h"

class NumberField;
class QGroupBox;

class TypedTransform : public QDialog {
public:
    // Numbers are scene units, degrees or factors; axis: 0 to 2.
    struct Hooks {
        std::function<void(int axis, double value)> setTo;
        std::function<void(int axis, double value)> changeBy;
    };
    TypedTransform(Hooks hooks, QWidget* parent);

    // What is typed from now on. State: none where nothing is selected.
    void Show(GizmoTool tool, const std::optional<TransformState>& state);

private:
    NumberField* AddField(int axis, bool isAbsolute);

    Hooks m_hooks;
    GizmoTool m_tool = GizmoTool::kMove;
    QGroupBox *m_absolute, *m_offset;
    std::array<NumberField*, 3> m_to{}, m_by{};
};

// What brings things from a state to where one number of it is another one. Scales keep a factor
// above nothing, as what has no extent cannot be scaled back. frame: their own axes and place.
ToolChange ChangeTo(GizmoTool tool, const TransformState& state, const Matrix3& frame, int axis,
                    double value);
// The same by a difference, or a factor, along the axes of a frame.
ToolChange ChangeBy(GizmoTool tool, const Matrix3& frame, int axis, double value);

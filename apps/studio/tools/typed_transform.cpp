#include "apps/studio/tools/typed_transform.h"

#include <cmath>
#include <memory>

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>

#include "Dravin/panels/number_entry.h"
#include "apps/studio/panels/free_number.h"
#include "apps/studio/panels/number_field.h"

namespace {

constexpr double kPercent = 100;
constexpr float kLeastFactor = 1e-4f;

float WithExtent(float factor) {
    return std::abs(factor) < kLeastFactor ? std::copysign(kLeastFactor, factor) : factor;
}

// In the units that fields show: factors as percent.
double Shown(GizmoTool tool, double value) {
    return tool == GizmoTool::kScale ? value * kPercent : value;
}

std::optional<Point3> NumbersOf(GizmoTool tool, const TransformState& state) {
    if (tool == GizmoTool::kRotate) return state.rotationDegrees;
    if (tool == GizmoTool::kScale) return state.scale;
    return state.place;
}

}  // namespace

TypedTransform::TypedTransform(Hooks hooks, QWidget* parent)
    : QDialog(parent), m_hooks(std::move(hooks)) {
    setObjectName("typed_transform");
    auto* row = new QHBoxLayout(this);
    auto group = [row](const char* title) {
        auto* box = new QGroupBox(title);
        row->addWidget(box);
        return box;
    };
    m_absolute = group("Absolute");
    m_offset = group("Offset");
    for (bool isAbsolute : {true, false}) {
        auto* form = new QFormLayout(isAbsolute ? m_absolute : m_offset);
        for (int axis = 0; axis < 3; ++axis) {
            NumberField* field = AddField(axis, isAbsolute);
            auto* label = new QLabel(QString(QChar("XYZ"[axis])));
            field->AttachLabel(label);
            form->addRow(label, field);
        }
    }
}

// A drag of an offset shows how far it goes, and is done at its end.
NumberField* TypedTransform::AddField(int axis, bool isAbsolute) {
    static constexpr const char* kNames[2][3] = {{"offset_x", "offset_y", "offset_z"},
                                                 {"absolute_x", "absolute_y", "absolute_z"}};
    static constexpr const char* kHelp[2] = {"By how much, along the gizmo's axes", "In the world"};
    auto field = std::make_shared<NumberField*>();
    FreeNumber number;
    number.name = kNames[isAbsolute][axis], number.help = kHelp[isAbsolute];
    number.step = [](double v) { return StepFor(v, false); };
    number.set = [this, axis, isAbsolute, field](double shown) {
        double value = m_tool == GizmoTool::kScale ? shown / kPercent : shown;
        (isAbsolute ? m_hooks.setTo : m_hooks.changeBy)(axis, value);
        double none = Shown(m_tool, m_tool == GizmoTool::kScale ? 1 : 0);
        if (!isAbsolute) (*field)->Show(none, false, false, true);
    };
    *field = MakeFreeNumber(std::move(number));
    return (isAbsolute ? m_to : m_by)[size_t(axis)] = *field;
}

void TypedTransform::Show(GizmoTool tool, const std::optional<TransformState>& state) {
    m_tool = tool == GizmoTool::kNone ? GizmoTool::kMove : tool;
    setWindowTitle(m_tool == GizmoTool::kMove     ? "Move by Numbers"
                   : m_tool == GizmoTool::kRotate ? "Rotate by Degrees"
                                                  : "Scale by Percent");
    std::optional<Point3> now;
    if (state) now = NumbersOf(m_tool, *state);
    m_absolute->setEnabled(now.has_value());
    m_offset->setEnabled(state.has_value());
    double none = Shown(m_tool, m_tool == GizmoTool::kScale ? 1 : 0);
    for (int axis = 0; axis < 3; ++axis) {
        m_to[size_t(axis)]->Show(now ? Shown(m_tool, double((*now)[axis])) : 0, !now, false, false);
        m_by[size_t(axis)]->Show(none, false, false, true);
    }
}

ToolChange ChangeTo(GizmoTool tool, const TransformState& state, const Matrix3& frame, int axis,
                    double value) {
    if (tool == GizmoTool::kMove) {
        Matrix3 world = Matrix3::Translation(state.place);
        return ChangeBy(tool, world, axis, value - double(state.place[axis]));
    }
    if (tool == GizmoTool::kScale) {
        Point3 scale = state.scale.value_or(Point3{1, 1, 1});
        double factor = double(WithExtent(float(value)) / WithExtent(scale[axis]));
        return ChangeBy(tool, frame, axis, factor);
    }
    Point3 before = state.rotationDegrees.value_or(Point3{}), after = before;
    after[axis] = float(value);
    Matrix3 turn = Inverse(EulerDegreesToMatrix(before)) * EulerDegreesToMatrix(after);
    Matrix3 change =
        Matrix3::Translation(state.place * -1.0f) * turn * Matrix3::Translation(state.place);
    return {tool, change, frame, {}};
}

ToolChange ChangeBy(GizmoTool tool, const Matrix3& frame, int axis, double value) {
    std::array<float, 3> values{};
    if (tool == GizmoTool::kScale) values.fill(1);
    values[size_t(axis)] = tool == GizmoTool::kScale ? WithExtent(float(value)) : float(value);
    return {tool, ChangeAlong(tool, frame, values), frame, values};
}

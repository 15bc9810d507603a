#include "apps/studio/windows/curve_editor.h"

#include <cmath>

#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QVBoxLayout>

#include "Dravin/commands/curve_use.h"
#include "Dravin/panels/curve_shape.h"
#include "Dravin/panels/number_entry.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/windows/curve_view.h"
#include "host/scene/scene.h"

namespace {

QString Text(const std::string& text) { return QString::fromStdString(text); }

}  // namespace

// A tool window: undo and redo of the main window work in it.
CurveEditor::CurveEditor(StudioSession& session, QWidget* parent)
    : QWidget(parent, Qt::Tool), m_session(session) {
    setObjectName("curve_editor");
    m_hint = new QLabel(
        "Double click adds a point, right click on one shapes it. Shift: one axis, Ctrl: grid, "
        "Alt: breaks a handle.");
    m_hint->setWordWrap(true);
    m_presets = new QComboBox;
    m_presets->setAccessibleName("Presets");
    m_presets->addItem("Presets");
    for (const TCurvePreset& preset : CurvePresets()) m_presets->addItem(Text(preset.name));
    m_x = MakeField(false);
    m_y = MakeField(true);
    m_view = new CurveView({[this](const auto& points) { Preview(points); },
                            [this](const auto& points) { Store(points); }, [this] { PutBack(); },
                            [this] { ShowSelected(); }});
    connect(m_presets, &QComboBox::activated, this, [this](int entry) {
        m_presets->setCurrentIndex(0);
        if (entry > 0)
            m_view->Change(ScaledCurve(CurvePresets()[size_t(entry) - 1].points, m_yMax));
    });
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(m_presets);
    row->addStretch(1);
    for (auto [name, field] : {std::pair("X", m_x), std::pair("Y", m_y)}) {
        auto* label = new QLabel(name);
        field->AttachLabel(label);
        row->addWidget(label);
        row->addWidget(field);
    }
    m_useHint = new QLabel;
    m_useHint->setObjectName("use");
    m_useHint->setWordWrap(true);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 8);
    column->setSpacing(8);
    column->addLayout(row);
    column->addWidget(m_view, 1);
    column->addWidget(m_useHint);
    column->addWidget(m_hint);
    m_built = session.viewReady.Connect([this] {
        if (isVisible())
            m_session.Look([self = QPointer(this)](Scene&) {
                if (self) self->ShowUse();
            });
    });
    resize(560, 400);
}

void CurveEditor::Show(const INode& node, const TCurvePlace& place) {
    bool isOther = m_object.lock() != place.object || m_name != place.name;
    m_object = place.object;
    m_name = place.name;
    m_yMax = CurveMaximum(place);
    setWindowTitle(Text(place.title + " \u2014 " + node.GetName()));
    ShowUse();
    if (m_view->IsInGesture() || m_isPreviewed) return;
    m_stored = CurvePointsOf(place);
    m_view->Show(m_stored, m_yMax);
    if (isOther) m_view->Frame(), m_view->Select({});
}

// Of the last build, which the scene has.
void CurveEditor::ShowUse() {
    constexpr size_t kPieces = 40;
    auto place = Place();
    TCurveUse use = place ? CurveUse(*place, kPieces) : TCurveUse();
    m_useHint->setText(use.counts.empty()
                           ? "No items are shown behind the curve: " + Text(use.reason) + "."
                           : QString("Bars: where the items of the last build stand on it."));
    m_view->ShowUse(std::move(use.counts));
}

// --- changes

std::optional<TCurvePlace> CurveEditor::Place() const {
    std::shared_ptr<TDravin> object = m_object.lock();
    return object ? FindCurve(*object, m_name, nullptr) : std::nullopt;
}

// The newest wish alone is shown.
void CurveEditor::Preview(const std::vector<CurvePoint>& points) {
    m_wish = points;
    m_isPreviewed = true;
    if (std::exchange(m_previewWaits, true)) return;
    m_session.Do([this](Scene&) {
        m_previewWaits = false;
        auto place = Place();
        if (m_isPreviewed && place) PreviewCurvePoints(*place, m_wish);
    });
}

void CurveEditor::PutBack() {
    if (!m_isPreviewed) return;
    m_session.Do([this](Scene&) {
        if (auto place = Place()) PreviewCurvePoints(*place, m_stored);
        m_isPreviewed = false;
    });
}

void CurveEditor::Store(const std::vector<CurvePoint>& points) {
    m_session.Do([this, points](Scene&) {
        auto place = Place();
        if (std::exchange(m_isPreviewed, false) && place) PreviewCurvePoints(*place, m_stored);
        if (place) SetCurvePoints(*place, points);
    });
}

// --- typed numbers

NumberField* CurveEditor::MakeField(bool isY) {
    NumberField::Hooks hooks;
    auto field = [this, isY] { return isY ? m_y : m_x; };
    struct Steps {
        double from = 0, offset = 0;
    };
    auto steps = std::make_shared<Steps>();
    hooks.enter = [this, isY](const std::string& text) { return Enter(isY, text); };
    hooks.begin = [=] { *steps = {field()->Value(), 0}; };
    hooks.offset = [=](double offset) {
        steps->offset = offset;
        field()->Show(steps->from + offset, false, false, false);
    };
    hooks.end = [=, this](bool keep) {
        field()->Show(steps->from, false, false, false);
        if (keep && steps->offset != 0) Enter(isY, FullNumber(steps->from + steps->offset));
    };
    hooks.reset = [] {};
    hooks.menu = [](const QPoint&) {};
    hooks.step = [this, isY](double) { return isY ? m_yMax / 100.0 : 0.01; };
    auto* made = new NumberField(std::move(hooks));
    made->setObjectName(isY ? "y" : "x");
    made->setAccessibleName(isY ? "Value of the point" : "Place of the point");
    return made;
}

// All selected points move alike; of several the first one's number counts.
std::string CurveEditor::Enter(bool isY, const std::string& text) {
    std::vector<size_t> selected = m_view->Selected();
    if (selected.empty()) return "select a point";
    TNumberEntry entry;
    std::string error;
    double number = 0;
    std::vector<CurvePoint> points = m_view->Points();
    const CurvePoint& first = points[selected[0]];
    double present = isY ? first.py : first.px;
    if (!entry.Parse(text, {}, &error) || !entry.Apply(present, &number, &error)) return error;
    float by = float(number - present);
    MoveCurvePoints(points, selected, isY ? 0 : by, isY ? by : 0, m_yMax);
    if (points != m_view->Points()) m_view->Change(std::move(points));
    ShowSelected();
    return {};
}

void CurveEditor::ShowSelected() {
    std::vector<size_t> selected = m_view->Selected();
    bool isAny = !selected.empty() && selected[0] < m_view->Points().size();
    for (NumberField* field : {m_x, m_y}) field->setEnabled(isAny);
    if (!isAny) return;
    const CurvePoint& p = m_view->Points()[selected[0]];
    m_x->Show(p.px, false, false, false);
    m_y->Show(p.py, false, false, false);
}

void CurveEditor::closeEvent(QCloseEvent* event) {
    event->accept();
    if (onClose) onClose();
}

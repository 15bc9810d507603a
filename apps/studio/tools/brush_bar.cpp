#include "apps/studio/tools/brush_bar.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>

#include "Dravin/panels/number_entry.h"
#include "apps/studio/panels/number_field.h"

namespace {

constexpr double kPercent = 100;

}  // namespace

BrushBar::BrushBar(BrushSettings& brush) : m_brush(brush) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 0, 8, 0);
    row->setSpacing(4);
    m_size = AddField(
        *row, "Brush", "Across, scene units; [ and ] in the view", [this] { return m_brush.size; },
        [this](double v) { m_brush.SetSize(v); });
    m_strength = AddField(
        *row, "Strength %", "How far Shift smooths; Shift-[ and Shift-] in the view",
        [this] { return m_brush.strength * kPercent; },
        [this](double v) { m_brush.SetStrength(v / kPercent); });
    m_pen = new QComboBox;
    m_pen->addItems({"Pen: nothing", "Pen: size", "Pen: strength"});
    m_pen->setAccessibleName("What a pen's pressure changes");
    m_pen->setToolTip("What a pen's pressure changes");
    m_pen->setFocusPolicy(Qt::StrongFocus);
    connect(m_pen, &QComboBox::activated, this, [this](int index) {
        m_brush.pen = PenPressure(index);
        Changed();
    });
    row->addWidget(m_pen);
    Show();
}

NumberField* BrushBar::AddField(QHBoxLayout& row, const char* name, const char* help,
                                std::function<double()> get, std::function<void(double)> set) {
    NumberField::Hooks hooks;
    hooks.enter = [this, get, set](const std::string& text) {
        TNumberEntry entry;
        std::string error;
        double value = 0;
        if (entry.Parse(text, {}, &error) && entry.Apply(get(), &value, &error)) {
            set(value);
            Changed();
        }
        return error;
    };
    hooks.begin = [this, get] { m_from = get(); };
    hooks.offset = [this, set](double offset) {
        set(m_from + offset);
        Show();
    };
    hooks.end = [this, set](bool keep) {
        if (!keep) set(m_from);
        Changed();
    };
    hooks.reset = [] {};
    hooks.menu = [](const QPoint&) {};
    hooks.step = [](double value) { return StepFor(value, false); };
    auto* label = new QLabel(name);
    auto* field = new NumberField(std::move(hooks));
    field->AttachLabel(label);
    field->setAccessibleName(name);
    field->setToolTip(help);
    field->setFixedWidth(96);
    row.addWidget(label);
    row.addWidget(field);
    return field;
}

void BrushBar::Changed() {
    Show();
    if (onChanged) onChanged();
}

void BrushBar::Show() {
    m_size->Show(m_brush.size, false, false, false);
    m_strength->Show(m_brush.strength * kPercent, false, false, false);
    m_pen->setCurrentIndex(int(m_brush.pen));
}

#include "apps/studio/tools/snap_window.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>

#include "Dravin/panels/number_entry.h"
#include "apps/studio/panels/free_number.h"
#include "apps/studio/panels/number_field.h"

SnapWindow::SnapWindow(SnapSettings& settings, std::function<void()> onChanged, QWidget* parent)
    : QDialog(parent), m_settings(settings), m_onChanged(std::move(onChanged)) {
    setObjectName("snap_settings");
    setWindowTitle("Snapping");
    auto* form = new QFormLayout(this);
    const SnapSettings usual;
    AddTick(*form, "snap_points", "Points: pivots, points of splines, items", settings.toPoints);
    AddTick(*form, "snap_surface", "Surfaces under the pointer", settings.toSurface);
    AddTick(*form, "snap_grid", "Grid", settings.toGrid);
    AddStep(*form, "snap_step", "Step of the grid", settings.step, usual.step);
    AddStep(*form, "snap_degrees", "Step of turns, degrees", settings.degrees, usual.degrees);
    AddStep(*form, "snap_percent", "Step of scales, percent", settings.percent, usual.percent);
}

void SnapWindow::AddTick(QFormLayout& form, const char* name, const char* text, bool& value) {
    auto* box = new QCheckBox(text);
    box->setObjectName(name);
    box->setChecked(value);
    connect(box, &QCheckBox::toggled, this, [this, &value](bool isOn) {
        value = isOn;
        Changed();
    });
    form.addRow(box);
}

void SnapWindow::AddStep(QFormLayout& form, const char* name, const char* text, double& value,
                         double usual) {
    auto field = std::make_shared<NumberField*>();
    FreeNumber number;
    number.name = name, number.help = text;
    number.bounded = SnapSettings::BoundedStep;
    number.step = [](double now) { return StepFor(now, false); };
    number.set = [this, &value, field](double wanted) {
        value = wanted;
        (*field)->Show(value, false, false, false);
        Changed();
    };
    number.reset = [set = number.set, usual] { set(usual); };
    *field = MakeFreeNumber(std::move(number));
    (*field)->Show(value, false, false, false);
    auto* label = new QLabel(text);
    (*field)->AttachLabel(label);
    form.addRow(label, *field);
}

void SnapWindow::Changed() {
    m_settings.Save();
    m_onChanged();
}

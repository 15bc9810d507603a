#include "apps/studio/windows/options_page.h"

#include <algorithm>
#include <cmath>

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QPointer>
#include <QScrollArea>
#include <QVBoxLayout>

#include "Dravin/build/evaluation.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/panels/number_entry.h"
#include "apps/studio/panels/free_number.h"
#include "apps/studio/panels/labelled_control.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/studio_session.h"
#include "host/base/log.h"

namespace {

constexpr int kLabelChars = 22;  // so that the groups stand in line

std::string HelpOfOption(const TOptionEntry& entry) {
    int standard = TOptions().*entry.value;
    std::string text = std::string(entry.meaning) + "\nDefault: ";
    if (entry.kind == TOptionKind::kChoice)
        text += entry.choices[size_t(standard)];
    else if (entry.kind == TOptionKind::kSwitch)
        text += standard ? "on" : "off";
    else
        text += std::to_string(standard) + ", from " + std::to_string(entry.min) + " to " +
                std::to_string(entry.max);
    return text + "\nIn dravinpack.ini: " + entry.key;
}

}  // namespace

OptionsPage::OptionsPage(StudioSession& session, QWidget* parent)
    : QWidget(parent), m_session(session) {
    auto* content = new QWidget;
    auto* groups = new QVBoxLayout(content);
    AddShared(AddGroup(content, "All objects"));
    for (const TOptionGroup& group : OptionGroups()) {
        QFormLayout* form = AddGroup(content, group.title);
        for (const TOptionEntry& entry : group.entries) Add(form, OptionValue(entry));
    }
    groups->addStretch(1);
    auto* scroll = new QScrollArea;
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(scroll);
    m_connections.push_back(m_session.changed.Connect([this](Scene&) { Show(); }));
    m_session.Look([self = QPointer<OptionsPage>(this)](Scene&) {
        if (self) self->Show();
    });
}

QFormLayout* OptionsPage::AddGroup(QWidget* parent, const char* title) {
    auto* label = new QLabel(title);
    label->setObjectName("group");
    parent->layout()->addWidget(label);
    auto* form = new QFormLayout;
    static_cast<QVBoxLayout*>(parent->layout())->addLayout(form);
    return form;
}

OptionsPage::Value OptionsPage::OptionValue(const TOptionEntry& entry) {
    auto read = [&entry] { return ShownOption(entry, DravinGlobals().options.*entry.value); };
    auto set = [&session = m_session, &entry](int value) {
        TOptions& options = DravinGlobals().options;
        int before = std::exchange(options.*entry.value, value);
        std::string error;
        if (SaveOptions(options, OptionsFile(), &error)) return;
        options.*entry.value = before;
        session.told.Send(MessageLevel::kError, "The option is not saved: " + error);
    };
    return {entry.key, entry.label, HelpOfOption(entry),     entry.kind, entry.choices,
            entry.min, entry.max,   TOptions().*entry.value, read,       set};
}

void OptionsPage::AddShared(QFormLayout* form) {
    constexpr int kUsualDensity = TDisplaySettings().cloudDensityPercent;
    Add(form, {"log_level",
               "Log level",
               "How much is written to the log; stored with scenes.",
               TOptionKind::kChoice,
               {"None", "Normal", "Debug"},
               0,
               2,
               0,
               [] { return std::clamp(GetLogLevel(), 0, 2); },
               [](int level) { SetLogLevel(level); }});
    Add(form, {"freeze_all",
               "Freeze all objects",
               "Views keep what was built last.\nIn scripts: update.freeze",
               TOptionKind::kSwitch,
               {},
               0,
               1,
               0,
               [] { return int(AreAllObjectsFrozen()); },
               [](int isFrozen) { FreezeAllObjects(isFrozen != 0); }});
    Add(form, {"cloud_density",
               "Points-cloud density",
               "Of all objects' point clouds, percent; stored with scenes.\nFrom 0 to 100",
               TOptionKind::kNumber,
               {},
               0,
               100,
               kUsualDensity,
               [] { return DravinGlobals().display.cloudDensityPercent; },
               [](int percent) { DravinGlobals().display.cloudDensityPercent = percent; }});
}

void OptionsPage::Add(QFormLayout* form, Value value) {
    auto set = value.set;
    value.set = [this, set](int wanted) {
        if (!m_isShowing) m_session.Do([set, wanted](Scene&) { set(wanted); });
    };
    std::function<void(int)> show;
    QWidget* control = MakeControl(value, &show);
    control->setObjectName(value.name);
    control->setAccessibleName(value.label);
    control->setToolTip(QString::fromStdString(value.help));
    if (value.kind == TOptionKind::kSwitch) {
        form->addRow(control);
    } else {
        auto* label = new QLabel(value.label);
        label->setBuddy(control);
        label->setMinimumWidth(label->fontMetrics().averageCharWidth() * kLabelChars);
        form->addRow(label, control);
        if (auto* field = dynamic_cast<NumberField*>(control)) field->AttachLabel(label);
    }
    m_shows.push_back([read = value.read, show] { show(read()); });
}

QWidget* OptionsPage::MakeControl(const Value& value, std::function<void(int)>* show) {
    if (value.kind == TOptionKind::kNumber) return MakeNumber(value, show);
    if (value.kind == TOptionKind::kSwitch) {
        auto* box = new QCheckBox(value.label);
        connect(box, &QCheckBox::toggled, this, value.set);
        *show = [box](int isOn) { box->setChecked(isOn != 0); };
        return box;
    }
    auto* box = new QComboBox;
    for (const char* choice : value.choices) box->addItem(choice);
    box->setFocusPolicy(Qt::StrongFocus);
    box->installEventFilter(new WheelGuard(box));
    connect(box, &QComboBox::activated, this, value.set);
    *show = [box](int choice) { box->setCurrentIndex(choice); };
    return box;
}

QWidget* OptionsPage::MakeNumber(const Value& value, std::function<void(int)>* show) {
    FreeNumber number;
    number.form.isInteger = true;
    number.bounded = [min = value.min, max = value.max](double wanted) {
        return double(std::clamp(int(std::lround(std::clamp(wanted, -1e6, 1e6))), min, max));
    };
    number.set = [set = value.set](double wanted) { set(int(wanted)); };
    number.reset = [set = value.set, standard = value.standard] { set(standard); };
    NumberField* field = MakeFreeNumber(std::move(number));
    *show = [field, standard = value.standard](int shown) {
        field->Show(shown, false, false, shown == standard);
    };
    return field;
}

QWidget* OptionsPage::ControlOf(const std::string& key) const {
    return findChild<QWidget*>(QString::fromStdString(key));
}

void OptionsPage::Show() {
    m_isShowing = true;
    for (const auto& show : m_shows) show();
    m_isShowing = false;
}

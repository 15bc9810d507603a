#include "apps/studio/windows/effect_parameter_panel.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "Dravin/dravin.h"
#include "Dravin/effects/effect_kinds.h"
#include "Dravin/effects/effect_list.h"
#include "Dravin/panels/number_entry.h"
#include "apps/studio/panels/free_number.h"
#include "apps/studio/panels/labelled_control.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/windows/command_calls.h"
#include "host/scene/scene.h"

namespace {

const char* KindWord(const TEffectVariable& v) {
    return v.kind < 0 ? "unknown" : kEffectKinds[v.kind].word;
}

QString HelpText(const TEffectVariable& v) {
    QString text = Text(v.name) + " (" + KindWord(v) + ")";
    if (!v.description.empty()) text += "\n" + Text(v.description);
    if (v.isLimited)
        text +=
            QString("\nRange: %1 to %2").arg(Text(ShownNumber(v.min)), Text(ShownNumber(v.max)));
    return text;
}

// What makes other fields necessary.
bool IsSameShape(const TEffectVariable& a, const TEffectVariable& b) {
    return a.id == b.id && a.name == b.name && a.kind == b.kind && a.description == b.description &&
           a.isPoint == b.isPoint;
}

}  // namespace

EffectParameterPanel::EffectParameterPanel(StudioSession& session) : m_session(session) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 8);
    auto* title = new QLabel("Parameters");
    title->setObjectName("group");
    column->addWidget(title);
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* inside = new QWidget;
    m_place = new QVBoxLayout(inside);
    m_place->setContentsMargins(0, 0, 0, 0);
    m_place->addStretch(1);
    scroll->setWidget(inside);
    column->addWidget(scroll, 1);
    auto* add = new QPushButton("Add Parameter...");
    add->setObjectName("effect.parameter.add");
    connect(add, &QPushButton::clicked, this, [this] {
        RunNowWithForm(m_session, "effect.parameter.add", m_node,
                       {{"effect", ParamInput(m_effectId)}}, window());
    });
    column->addWidget(add);
}

void EffectParameterPanel::Call(const char* command, const std::string& parameter,
                                TArguments arguments) {
    arguments["effect"] = ParamInput(m_effectId);
    arguments["parameter"] = ParamInput(parameter);
    RunNow(m_session, command, m_node, std::move(arguments));
}

void EffectParameterPanel::Show(Scene& scene, NodeHandle node, const std::string& effectId,
                                const std::vector<TEffectVariable>& variables) {
    bool isSame = node == m_node && effectId == m_effectId && m_rowsWidget &&
                  std::equal(variables.begin(), variables.end(), m_rows.begin(), m_rows.end(),
                             [](const TEffectVariable& v, const Row& row) {
                                 return IsSameShape(v, row.variable);
                             });
    m_node = node;
    m_effectId = effectId;
    if (!isSame) Make(variables);
    for (size_t i = 0; i < m_rows.size(); ++i) {
        m_rows[i].variable = variables[i];
        Fill(scene, m_rows[i]);
    }
}

// Fields may be at work while they are replaced: they go when the event is over.
void EffectParameterPanel::Make(const std::vector<TEffectVariable>& variables) {
    if (m_rowsWidget) m_rowsWidget->hide(), m_rowsWidget->deleteLater();
    m_rows.clear();
    m_rowsWidget = new QWidget;
    auto* form = new QFormLayout(m_rowsWidget);
    form->setContentsMargins(0, 0, 0, 0);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    for (const TEffectVariable& v : variables) {
        auto* label = new QLabel(Text(v.name));
        QWidget* field = MakeField(v);
        field->setObjectName(Text(v.name));
        field->setAccessibleName(Text(v.name));
        for (QWidget* widget : {static_cast<QWidget*>(label), field})
            widget->setToolTip(HelpText(v));
        label->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(label, &QWidget::customContextMenuRequested, this,
                [this, v, label](const QPoint& at) { ShowMenu(v, label->mapToGlobal(at)); });
        if (auto* number = dynamic_cast<NumberField*>(field)) number->AttachLabel(label);
        auto* more = new QPushButton(QString(u'\u22ef'));
        more->setAccessibleName("More on " + Text(v.name));
        more->setToolTip("Rename, describe, limit, delete");
        connect(more, &QPushButton::clicked, this,
                [this, v, more] { ShowMenu(v, more->mapToGlobal(QPoint(0, more->height()))); });
        auto* row = new QHBoxLayout;
        row->setSpacing(4);
        row->addWidget(field, 1);
        row->addWidget(more);
        form->addRow(label, row);
        m_rows.push_back({v, field});
    }
    if (variables.empty()) form->addRow(new QLabel("The effect has no parameters."));
    m_place->insertWidget(0, m_rowsWidget);
}

QWidget* EffectParameterPanel::MakeField(const TEffectVariable& v) {
    if (v.kind < 0) return new QLabel("of no known kind");
    if (kEffectKinds[v.kind].IsNumber()) return MakeNumber(v);
    int type = kEffectKinds[v.kind].type;
    if (type == kEffNode || type == kEffTexmap) return MakeTarget(v);
    if (type == kEffCurve) {
        auto* button = new QPushButton("Edit Curve...");
        connect(button, &QPushButton::clicked, this, [this, id = v.id] {
            RunNow(m_session, "curve.edit", m_node, {{"curve", ParamInput(id)}});
        });
        return button;
    }
    auto* edit = new QLineEdit;
    connect(edit, &QLineEdit::editingFinished, this, [this, edit, id = v.id] {
        if (!edit->isModified()) return;
        edit->setModified(false);
        ParamInput::Array numbers;
        for (const QString& part : edit->text().remove('[').remove(']').split(',')) {
            bool isNumber = false;
            numbers.emplace_back(part.toDouble(&isNumber));
            if (!isNumber)
                return m_session.told.Send(MessageLevel::kError,
                                           "a controller takes a number or a point x, y, z");
        }
        Call("effect.parameter.set", id,
             {{"value", numbers.size() == 1 ? numbers[0] : ParamInput(numbers)}});
    });
    return edit;
}

// A drag shows its number in the field and sets the parameter at its end.
QWidget* EffectParameterPanel::MakeNumber(const TEffectVariable& v) {
    bool isInteger = kEffectKinds[v.kind].numType == kEffInteger;
    FreeNumber number;
    number.form.isInteger = isInteger;
    number.set = [this, id = v.id, isInteger](double value) {
        Call("effect.parameter.set", id,
             {{"value", isInteger ? ParamInput(int64_t(std::llround(value))) : ParamInput(value)}});
    };
    number.reset = [this, id = v.id] { Call("effect.parameter.reset", id); };
    number.menu = [this, v](const QPoint& global) { ShowMenu(v, global); };
    number.step = [isInteger](double value) { return StepFor(value, isInteger); };
    return MakeFreeNumber(std::move(number));
}

QWidget* EffectParameterPanel::MakeTarget(const TEffectVariable& v) {
    auto* box = new QComboBox;
    box->setFocusPolicy(Qt::StrongFocus);
    box->installEventFilter(new WheelGuard(box));
    connect(box, &QComboBox::activated, this, [this, box, id = v.id](int entry) {
        Call("effect.parameter.set", id,
             {{"value", entry == 0 ? ParamInput() : ParamInput(box->currentText().toStdString())}});
    });
    return box;
}

void EffectParameterPanel::Fill(Scene& scene, Row& row) {
    const TEffectVariable& v = row.variable;
    if (auto* number = dynamic_cast<NumberField*>(row.field))
        number->Show(v.number, false, false, false);
    if (auto* edit = qobject_cast<QLineEdit*>(row.field);
        edit && !dynamic_cast<NumberField*>(edit) && !edit->isModified())
        edit->setText(Text(v.value.text()));
    if (auto* box = qobject_cast<QComboBox*>(row.field)) {
        QStringList names{"None"};
        if (kEffectKinds[v.kind].type == kEffTexmap)
            for (const auto& [name, map] : scene.Texmaps()) names += Text(name);
        else
            for (INode* node : scene.Nodes()) names += Text(node->GetName());
        QSignalBlocker quiet(box);
        box->clear();
        box->addItems(names);
        box->setCurrentIndex(v.target.empty() ? 0 : int(names.indexOf(Text(v.target))));
    }
}

QWidget* EffectParameterPanel::FieldOf(const std::string& name) const {
    for (const Row& row : m_rows)
        if (row.variable.name == name) return row.field;
    return nullptr;
}

void EffectParameterPanel::ShowMenu(const TEffectVariable& v, const QPoint& global) {
    QMenu menu;
    auto add = [&](const char* text, const char* command, bool hasForm) {
        menu.addAction(text, this, [=, this] {
            if (!hasForm) return Call(command, v.id);
            RunNowWithForm(m_session, command, m_node,
                           {{"effect", ParamInput(m_effectId)}, {"parameter", ParamInput(v.id)}},
                           window());
        });
    };
    bool isNumber = v.kind >= 0 && kEffectKinds[v.kind].IsNumber();
    if (isNumber) {
        add("Reset", "effect.parameter.reset", false);
        add("Limits...", "effect.parameter.limit", true);
        add("Default...", "effect.parameter.default", true);
    }
    if (v.kind >= 0 && kEffectKinds[v.kind].type == kEffTexmap)
        add("Clear", "effect.parameter.clear", false);
    add("Rename...", "effect.parameter.rename", true);
    add("Description...", "effect.parameter.describe", true);
    add("Kind...", "effect.parameter.kind", true);
    menu.addSeparator();
    for (const char* to : {"up", "down"})
        menu.addAction(QString("Move ") + to, this, [=, this] {
            Call("effect.parameter.move", v.id, {{"to", ParamInput(std::string(to))}});
        });
    add("Help", "effect.parameter.help", false);
    add("Delete", "effect.parameter.delete", false);
    menu.exec(global);
}

// What the controls of parameters are made of: a row with a label, and changes of the selected
// objects.
#pragma once

#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QLabel>

#include "apps/studio/panels/controls.h"
#include "apps/studio/studio_session.h"

inline QString Text(const std::string& text) { return QString::fromStdString(text); }

// Changes what the controls show; what went wrong is told.
template <class Edit>
void Change(const PanelScope& scope, Edit change) {
    scope.session.Do([scope, change = std::move(change)](Scene& scene) {
        TPanel panel = scope.panel(scene);
        TPanelResult result = change(panel);
        if (!result) scope.session.told.Send(MessageLevel::kError, result.error);
        for (const std::string& warning : result.warnings)
            scope.session.told.Send(MessageLevel::kWarning, warning);
    });
}

// The wheel scrolls the panel unless the control has the focus.
class WheelGuard : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* widget = qobject_cast<QWidget*>(watched);
        if (event->type() != QEvent::Wheel || !widget || widget->hasFocus()) return false;
        event->ignore();
        return true;
    }
};

class LabelledControl : public ParamControl {
public:
    QWidget* Editor() override { return m_editor; }

protected:
    LabelledControl(const PanelScope& scope, TParamKey key) : ParamControl(key), m_scope(scope) {
        m_row = new QHBoxLayout(this);
        m_row->setContentsMargins(0, 0, 0, 0);
        m_row->setSpacing(8);
    }
    QLabel* AddLabel() {
        auto* label = new QLabel(Text(CaptionOf(m_key.Def())));
        label->setWordWrap(true);
        m_row->addWidget(label, 1);
        return label;
    }
    void SetEditor(QWidget* editor, int stretch = 0) {
        m_editor = editor;
        const ParamDef& def = m_key.Def();
        editor->setObjectName(Text(def.name));
        editor->setAccessibleName(Text(def.label.empty() ? def.name : def.label));
        setToolTip(Text(HelpOf(def)));
        m_row->addWidget(editor, stretch);
    }
    void contextMenuEvent(QContextMenuEvent* event) override {
        ShowParamMenu(m_scope, m_key, event->globalPos());
    }

    PanelScope m_scope;
    QHBoxLayout* m_row;
    QWidget* m_editor = nullptr;
};

// Of numbers (number_controls.cpp).
ParamControl* MakeNumberControl(const PanelScope& scope, TParamKey key);
ParamControl* MakeSliderControl(const PanelScope& scope, TParamKey key);
// Of nodes (node_controls.cpp).
ParamControl* MakeNodeControl(const PanelScope& scope, TParamKey key);
ParamControl* MakeNodeListControl(const PanelScope& scope, TParamKey key);
// Of maps and materials (look_control.cpp).
ParamControl* MakeLookControl(const PanelScope& scope, TParamKey key);

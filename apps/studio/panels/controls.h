// Widgets of the controls that parameters have: each shows a TControlValue and hands on what the
// user wants.
#pragma once

#include <functional>
#include <string>

#include <QWidget>

#include "Dravin/commands/command_table.h"
#include "Dravin/panels/panel_values.h"

class Scene;
class StudioSession;

// Whose values controls show and change.
struct PanelScope {
    StudioSession& session;
    std::function<TPanel(Scene&)> panel;
    // Arguments that name the thing to commands of buttons; none: they work on the selection.
    std::function<TArguments(Scene&)> named = {};
};

// One parameter's row in a rollout: label and control.
class ParamControl : public QWidget {
public:
    virtual void Show(const TPanel& panel) = 0;
    TParamKey Key() const { return m_key; }
    // The widget that takes the focus.
    virtual QWidget* Editor() = 0;

protected:
    explicit ParamControl(TParamKey key) : m_key(key) {}
    TParamKey m_key;
};

// The control that the parameter's table wants.
ParamControl* MakeParamControl(const PanelScope& scope, TParamKey key);

// Reset, Copy, Paste, Copy path, Key, Range and help.
void ShowParamMenu(const PanelScope& scope, TParamKey key, const QPoint& global);

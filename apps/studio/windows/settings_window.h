// Settings: the options of the user, and the keys of all actions.
#pragma once

#include "apps/studio/windows/tool_window.h"

class ActionKeys;
class StudioSession;

class SettingsWindow : public ToolWindow {
public:
    SettingsWindow(StudioSession& session, ActionKeys& keys, QWidget* parent = nullptr);
};

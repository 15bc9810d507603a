// The tools: on the selected scatter objects, each by its command.
#pragma once

#include "apps/studio/windows/tool_window.h"

class StudioSession;

class ToolsWindow : public ToolWindow {
public:
    explicit ToolsWindow(StudioSession& session, QWidget* parent = nullptr);
};

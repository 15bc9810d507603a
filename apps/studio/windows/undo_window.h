// The undo list: a line a step, oldest first. The scene stands behind the marked line; a click on
// another one takes the scene there.
#pragma once

#include <vector>

#include "apps/studio/windows/tool_window.h"
#include "host/base/signal.h"

class QListView;
class StudioSession;
class UndoModel;

class UndoWindow : public ToolWindow {
public:
    explicit UndoWindow(StudioSession& session, QWidget* parent = nullptr);

private:
    void ShowSteps();

    StudioSession& m_session;
    std::vector<Connection> m_connections;
    UndoModel* m_model;
    QListView* m_list;
};

// The toolbar "Dravin Pack": its buttons run the product's toolbar actions, as scripts do.
//
// It stands where the machine's settings allow it, and once. Its place is kept with the window's
// layout. Actions for menus, keys and the palette are its own ("pack.create").
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Dravin/tools/toolbar.h"
#include "host/base/signal.h"

class QMainWindow;
class QAction;
class QToolBar;
class StudioSession;

class PackToolbar {
public:
    struct Hooks {
        std::function<void(const std::string& command)> create;  // a command of the table
        std::function<void()> openTools;
    };
    PackToolbar(StudioSession& session, QMainWindow& window, Hooks hooks);

    // A button for each of them; a second call, and a machine that wants no toolbars, adds none.
    bool Show(const std::vector<QAction*>& actions);
    // One of TDToolbar's actions, by the script that it stands for.
    void Execute(TDToolbar::Action action);

private:
    void RegisterScripts();

    StudioSession& m_session;
    QMainWindow& m_window;
    Hooks m_hooks;
    std::shared_ptr<TDToolbar> m_toolbar;
    std::vector<Connection> m_connections;
};

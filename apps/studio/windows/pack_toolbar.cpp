#include "apps/studio/windows/pack_toolbar.h"

#include <QAction>
#include <QMainWindow>
#include <QTimer>
#include <QToolBar>

#include "apps/studio/studio_session.h"
#include "host/scene/host_context.h"
#include "host/script/script_system.h"

PackToolbar::PackToolbar(StudioSession& session, QMainWindow& window, Hooks hooks)
    : m_session(session),
      m_window(window),
      m_hooks(std::move(hooks)),
      m_toolbar(std::make_shared<TDToolbar>()) {
    m_connections.push_back(m_session.sceneReplaced.Connect([this](Scene&) { RegisterScripts(); }));
    m_session.Look([this](Scene&) { RegisterScripts(); });
}

// What the buttons' scripts call; windows open once the script has ended.
void PackToolbar::RegisterScripts() {
    ScriptSystem& scripts = HostContext::Current()->State<ScriptSystem>();
    auto later = [&window = m_window](std::function<void()> run) {
        QTimer::singleShot(0, &window, std::move(run));
        return ScriptResult();
    };
    scripts.Register("startObjectCreation %s", [=, this](const ScriptArguments& arguments) {
        std::string name = arguments.Text(0);
        if (name != "Dravin_Pro" && name != "DravinLOD")
            return ScriptError("there is no class \"" + name + "\" to create");
        return later([create = m_hooks.create, name] {
            create(name == "Dravin_Pro" ? "object.create" : "lod.create");
        });
    });
    scripts.Register("UtilityPanel.OpenUtility Dravin_Tools",
                     [=, this](const ScriptArguments&) { return later(m_hooks.openTools); });
}

bool PackToolbar::Show(const std::vector<QAction*>& actions) {
    if (!m_toolbar->Create()) return false;
    auto* bar = new QToolBar(TDToolbar::kTitle, &m_window);
    bar->setObjectName("dravinpack_toolbar");
    bar->setIconSize({20, 20});
    for (QAction* action : actions) bar->addAction(action);
    m_window.addToolBar(bar);
    return true;
}

void PackToolbar::Execute(TDToolbar::Action action) {
    m_session.Look([toolbar = m_toolbar, &session = m_session, action](Scene&) {
        if (!toolbar->Execute(action))
            session.told.Send(MessageLevel::kError,
                              std::string(TDToolbar::Actions()[size_t(action)].tooltip) +
                                  ": the script has failed");
    });
}

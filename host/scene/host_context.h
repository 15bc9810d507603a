// A session: the scene that is being worked on, its undo list, notifications, the user-interface
// port, the classes that can be made, and whatever other modules keep for the session.
//
// One session is current in a thread at a time: the newest that was made there and lives, or the
// one that a ContextScope names. Programs make one at their start, tests one each; dropping it
// brings the one before back. Several may live side by side, each with a scene of its own.
// Everything works without any (nothing is recorded for undo, nobody is notified, questions answer
// no).
//
// Threads: one thread at a time works in a session. Another may take over (a language binding that
// lets a build run beside its own thread, a worker of a desktop program) by making a ContextScope,
// while the first one stays out; the pool's workers have no session and need none.
#pragma once

#include <functional>
#include <memory>
#include <typeindex>
#include <unordered_map>

#include "host/base/signal.h"
#include "host/params/class_registry.h"
#include "host/params/edit_context.h"
#include "host/params/hold.h"
#include "host/scene/notifications.h"
#include "host/scene/user_interface.h"

class HostContext {
public:
    HostContext();
    ~HostContext();
    HostContext(const HostContext&) = delete;
    HostContext& operator=(const HostContext&) = delete;

    static HostContext* Current();  // this thread's; null when there is none

    NotificationHub notifications;
    ClassRegistry classes;  // the host's own stand there already
    bool quiet = false;     // no boxes, no questions: a batch run
    // Objects that a view shows are built as soon as they have changed. Off: who draws the views
    // asks for the builds, beside the thread that makes changes, say.
    bool buildsAtOnce = true;

    // The scene that is being worked on; null for none. It must outlive its place here, or be
    // dropped in a thread where this session is current.
    Scene* CurrentScene() const { return m_scene; }
    void SetCurrentScene(Scene* scene);
    // The undo list of the current scene; without one a list of the session itself.
    Hold& Undo();

    // Changing an animatable value sets a key at its time.
    bool IsAnimating() const { return m_edits.animating; }
    void SetAnimating(bool animating);

    // Views are to be drawn again: sent once for all requests until TakeRedraw.
    Signal<> redrawRequested;
    void RequestRedraw();
    // Whether views are to be drawn; they count as drawn from now on.
    bool TakeRedraw() { return std::exchange(m_needsRedraw, false); }

    // The one that was set; in quiet mode one in front of it that shows and asks nothing.
    IUserInterface& UserInterface() { return quiet ? *m_quietInterface : *m_userInterface; }
    void SetUserInterface(std::unique_ptr<IUserInterface> userInterface);

    // The one object of type T that a module keeps for the process; made at the first call, dropped
    // with the context in reverse order.
    template <class T>
    T& State() {
        auto it = m_stateIndex.find(typeid(T));
        if (it == m_stateIndex.end()) {
            m_states.push_back(std::make_shared<T>());
            it = m_stateIndex.emplace(typeid(T), m_states.size() - 1).first;
        }
        return *static_cast<T*>(m_states[it->second].get());
    }

private:
    friend class ContextScope;
    void SceneGoes(const Scene& scene);
    // What edits of this thread go through, and who hears of them.
    void Install();

    HostContext* m_previous;
    EditContext m_previousEdits, m_edits;
    Connection m_sceneGoes;
    Scene* m_scene = nullptr;
    Hold m_ownHold;
    bool m_needsRedraw = false;
    std::unique_ptr<IUserInterface> m_userInterface = std::make_unique<ConsoleUserInterface>();
    std::unique_ptr<IUserInterface> m_quietInterface =
        std::make_unique<QuietUserInterface>(*m_userInterface);
    std::unordered_map<std::type_index, size_t> m_stateIndex;
    std::vector<std::shared_ptr<void>> m_states;
};

// Makes a session current in this thread while it lives.
class ContextScope {
public:
    explicit ContextScope(HostContext& context);
    ~ContextScope();
    ContextScope(const ContextScope&) = delete;
    ContextScope& operator=(const ContextScope&) = delete;

private:
    HostContext* m_previous;
    EditContext m_previousEdits;
};

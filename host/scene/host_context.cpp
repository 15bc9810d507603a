#include "host/scene/host_context.h"

#include "host/scene/host_classes.h"
#include "host/scene/scene.h"

namespace {

// Which session is current in this thread.
thread_local HostContext* t_current = nullptr;

void GoBackTo(HostContext* previous, const EditContext& edits) {
    t_current = previous;
    CurrentEdits() = edits;
    CurrentNotifications() = previous ? &previous->notifications : nullptr;
}

}  // namespace

HostContext::HostContext() : m_previous(t_current), m_previousEdits(CurrentEdits()) {
    t_current = this;
    Install();
    RegisterHostClasses(classes);
    m_sceneGoes = notifications.sceneGoes.Connect([this](const Scene& scene) { SceneGoes(scene); });
}

HostContext::~HostContext() {
    notifications.Broadcast(HostNotify::kShutdown);
    Undo().Clear();
    m_ownHold.Clear();
    while (!m_states.empty()) m_states.pop_back();
    GoBackTo(m_previous, m_previousEdits);
}

HostContext* HostContext::Current() { return t_current; }

void HostContext::Install() {
    m_edits.hold = &Undo();
    if (t_current != this) return;
    CurrentEdits() = m_edits;
    CurrentNotifications() = &notifications;
}

void HostContext::SetCurrentScene(Scene* scene) {
    m_scene = scene;
    Install();
}

void HostContext::SceneGoes(const Scene& scene) {
    // What the session's own list says may be about it.
    m_ownHold.Clear();
    if (m_scene == &scene) SetCurrentScene(nullptr);
}

Hold& HostContext::Undo() { return m_scene ? m_scene->undo : m_ownHold; }

void HostContext::SetAnimating(bool animating) {
    m_edits.animating = animating;
    Install();
}

void HostContext::SetUserInterface(std::unique_ptr<IUserInterface> userInterface) {
    m_quietInterface = std::make_unique<QuietUserInterface>(*userInterface);
    m_userInterface = std::move(userInterface);
}

void HostContext::RequestRedraw() {
    if (std::exchange(m_needsRedraw, true)) return;
    redrawRequested.Send();
}

ContextScope::ContextScope(HostContext& context)
    : m_previous(t_current), m_previousEdits(CurrentEdits()) {
    t_current = &context;
    context.Install();
}

ContextScope::~ContextScope() { GoBackTo(m_previous, m_previousEdits); }

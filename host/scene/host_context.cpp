#include "host/scene/host_context.h"

#include <algorithm>

#include "host/scene/host_classes.h"
#include "host/scene/scene.h"

namespace {

// Which session is current in this thread.
thread_local HostContext* t_current = nullptr;

}  // namespace

int NotificationHub::Register(HostNotify notice, Callback callback) {
    m_entries[m_next] = {notice, std::move(callback)};
    return m_next++;
}

void NotificationHub::Unregister(int registration) { m_entries.erase(registration); }

void NotificationHub::Broadcast(HostNotify notice, INode* node) {
    // In the order of registration; one that another callback has removed meanwhile is left out.
    std::vector<int> order;
    for (const auto& [number, entry] : m_entries)
        if (entry.notice == notice) order.push_back(number);
    std::sort(order.begin(), order.end());
    for (int number : order) {
        auto it = m_entries.find(number);
        if (it == m_entries.end()) continue;
        Callback callback = it->second.callback;
        callback(notice, node);
    }
}

HostContext::HostContext() : m_previous(t_current), m_previousEdits(CurrentEdits()) {
    t_current = this;
    InstallEdits();
    RegisterHostClasses(classes);
}

HostContext::~HostContext() {
    notifications.Broadcast(HostNotify::kShutdown);
    Undo().Clear();
    m_ownHold.Clear();
    while (!m_states.empty()) m_states.pop_back();
    t_current = m_previous;
    CurrentEdits() = m_previousEdits;
}

HostContext* HostContext::Current() { return t_current; }

void HostContext::InstallEdits() {
    m_edits.hold = &Undo();
    if (t_current == this) CurrentEdits() = m_edits;
}

void HostContext::SetCurrentScene(Scene* scene) {
    m_scene = scene;
    InstallEdits();
}

void HostContext::SceneGoes(const Scene& scene) {
    // What the session's own list says may be about it.
    m_ownHold.Clear();
    if (m_scene == &scene) SetCurrentScene(nullptr);
}

Hold& HostContext::Undo() { return m_scene ? m_scene->undo : m_ownHold; }

void HostContext::SetAnimating(bool animating) {
    m_edits.animating = animating;
    InstallEdits();
}

void HostContext::SetUserInterface(std::unique_ptr<IUserInterface> userInterface) {
    m_quietInterface = std::make_unique<QuietUserInterface>(*userInterface);
    m_userInterface = std::move(userInterface);
}

void HostContext::RequestRedraw() {
    if (std::exchange(m_needsRedraw, true)) return;
    redrawRequested.Send();
}

NoticePair::NoticePair(HostNotify before, HostNotify after) : m_after(after) {
    if (t_current) t_current->notifications.Broadcast(before);
}

NoticePair::~NoticePair() {
    if (t_current) t_current->notifications.Broadcast(m_after);
}

ContextScope::ContextScope(HostContext& context)
    : m_previous(t_current), m_previousEdits(CurrentEdits()) {
    t_current = &context;
    context.InstallEdits();
}

ContextScope::~ContextScope() {
    t_current = m_previous;
    CurrentEdits() = m_previousEdits;
}

#include "host/scene/host_context.h"

#include <algorithm>

namespace {

// The only mutable global: which context is current.
HostContext* g_current = nullptr;

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

HostContext::HostContext() : m_previous(g_current) { g_current = this; }

HostContext::~HostContext() {
    notifications.Broadcast(HostNotify::kShutdown);
    hold.Clear();
    while (!m_states.empty()) m_states.pop_back();
    g_current = m_previous;
}

HostContext* HostContext::Current() { return g_current; }

Hold* CurrentHold() { return g_current ? &g_current->hold : nullptr; }

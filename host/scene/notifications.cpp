#include "host/scene/notifications.h"

#include <algorithm>
#include <vector>

NotificationHub*& CurrentNotifications() {
    thread_local NotificationHub* t_current = nullptr;
    return t_current;
}

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

NoticePair::NoticePair(HostNotify before, HostNotify after) : m_after(after) {
    if (NotificationHub* hub = CurrentNotifications()) hub->Broadcast(before);
}

NoticePair::~NoticePair() {
    if (NotificationHub* hub = CurrentNotifications()) hub->Broadcast(m_after);
}

// State of the process: undo, notifications, user-interface port, quiet mode, and whatever other
// modules keep for the whole process.
//
// One HostContext is current at a time: the newest that lives. Programs make one at their start,
// tests one each; dropping it brings the one before back. Everything works without any (nothing is
// recorded for undo, nobody is notified, questions answer no). One thread.
#pragma once

#include <functional>
#include <memory>
#include <typeindex>
#include <unordered_map>

#include "host/scene/hold.h"
#include "host/scene/user_interface.h"

class INode;

enum class HostNotify {
    kSystemPreNew,
    kSystemPostNew,
    kSystemPreReset,
    kSystemPostReset,
    kFilePreOpen,
    kFilePostOpen,
    kFilePreMerge,
    kFilePostMerge,
    kFilePreSave,
    kFilePostSave,
    kPreRender,
    kPostRender,
    kNodeAdded,
    kNodeDeleted,  // sent while the node still stands
    kNodeRenamed,
    kTimeChanged,
    kSelectionChanged,
    kViewChanged,
    kShutdown,
};

class NotificationHub {
public:
    // node: of the node notices, else null.
    using Callback = std::function<void(HostNotify, INode* node)>;

    // The number to unregister with. A callback may register and unregister others.
    int Register(HostNotify notice, Callback callback);
    void Unregister(int registration);
    void Broadcast(HostNotify notice, INode* node = nullptr);

private:
    struct Entry {
        HostNotify notice;
        Callback callback;
    };
    std::unordered_map<int, Entry> m_entries;
    int m_next = 1;
};

class HostContext {
public:
    HostContext();
    ~HostContext();
    HostContext(const HostContext&) = delete;
    HostContext& operator=(const HostContext&) = delete;

    static HostContext* Current();  // null when none lives

    Hold hold;
    NotificationHub notifications;
    bool quiet = false;      // no boxes, no questions: a batch run
    bool animating = false;  // changing an animatable value sets a key at its time

    IUserInterface& UserInterface() { return *m_userInterface; }
    void SetUserInterface(std::unique_ptr<IUserInterface> userInterface) {
        m_userInterface = std::move(userInterface);
    }

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
    HostContext* m_previous;
    std::unique_ptr<IUserInterface> m_userInterface = std::make_unique<ConsoleUserInterface>();
    std::unordered_map<std::type_index, size_t> m_stateIndex;
    std::vector<std::shared_ptr<void>> m_states;
};

// The current undo holder, or null when there is no context.
Hold* CurrentHold();

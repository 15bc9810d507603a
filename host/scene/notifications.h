// What a session tells those who asked: files, renders, nodes, time, selection, view.
#pragma once

#include <functional>
#include <unordered_map>

#include "host/base/signal.h"

class INode;
class Scene;

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
    kRenderPreEvalFrameInfo,  // before what a picture shows is evaluated at its time
    kPreRenderFrame,          // what it shows stands; it is about to be drawn
    kPostRenderFrame,
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

    // A scene is about to go, the current one or another.
    Signal<const Scene&> sceneGoes;

private:
    struct Entry {
        HostNotify notice;
        Callback callback;
    };
    std::unordered_map<int, Entry> m_entries;
    int m_next = 1;
};

// The notifications of this thread's session, null where it has none: HostContext installs them.
NotificationHub*& CurrentNotifications();

// Tells the current session, if there is one, what begins when this is made and ends when it goes:
// kPreRender and kPostRender, kFilePreSave and kFilePostSave, kFilePreMerge and kFilePostMerge.
class NoticePair {
public:
    NoticePair(HostNotify before, HostNotify after);
    ~NoticePair();
    NoticePair(const NoticePair&) = delete;
    NoticePair& operator=(const NoticePair&) = delete;

private:
    HostNotify m_after;
};

// Listeners: several callbacks that hear of one event.
#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

template <class... Args>
class Signal;

// A connection to a signal; ends when it is dropped or either side is gone.
class Connection {
public:
    Connection() = default;
    explicit Connection(std::shared_ptr<void> listener) : m_listener(std::move(listener)) {}
    void Disconnect() { m_listener.reset(); }
    explicit operator bool() const { return m_listener != nullptr; }

private:
    std::shared_ptr<void> m_listener;
};

// Calls its listeners in the order in which they came. One that leaves while the signal is being
// sent is not called any more; one that comes then hears the next. One thread.
template <class... Args>
class Signal {
public:
    using Callback = std::function<void(Args...)>;

    // The callback lives as long as the connection.
    [[nodiscard]] Connection Connect(Callback callback) {
        auto listener = std::make_shared<Listener>(std::make_shared<Callback>(std::move(callback)));
        m_listeners.push_back(listener);
        return Connection(std::move(listener));
    }
    void Send(Args... args) const {
        std::erase_if(m_listeners, [](const auto& listener) { return listener.expired(); });
        for (const auto& listener : std::vector(m_listeners))
            if (const auto callback = CallbackOf(listener)) (*callback)(args...);
    }
    bool HasListeners() const {
        for (const auto& listener : m_listeners)
            if (!listener.expired()) return true;
        return false;
    }

private:
    // The connection alone holds the listener, and a call only the callback in it: one that leaves
    // while it is called is gone at once, and its callback outlives the call.
    using Listener = std::shared_ptr<Callback>;

    static std::shared_ptr<Callback> CallbackOf(const std::weak_ptr<Listener>& listener) {
        const auto held = listener.lock();
        return held ? *held : nullptr;
    }

    mutable std::vector<std::weak_ptr<Listener>> m_listeners;
};

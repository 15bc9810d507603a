// Fields of scene entities whose changes are told and can be undone.
//
// A Property reads like the value that it holds. Assigning another value records the old one, if
// changes are being recorded, and tells the owner (ValueChanged), which tells its dependents;
// assigning the same value does nothing. An AnimatedProperty may hold keys beside its value. One
// thread changes an entity; any number may read it while nobody does.
#pragma once

#include <concepts>
#include <type_traits>
#include <utility>
#include <vector>

#include "host/params/key_track.h"
#include "host/params/restore.h"

// Memory behind a value, for the bound of the undo list.
template <class T>
size_t HeapBytes(const T&) {
    return 0;
}
inline size_t HeapBytes(const std::string& text) { return text.capacity(); }
template <class T>
size_t HeapBytes(const std::vector<T>& list) {
    return list.capacity() * sizeof(T);
}

// What an animated property holds: a value, and keys that stand in its place where there are any.
template <class T>
struct Animated {
    T value{};
    KeyTrack<T> track;

    T At(TimeValue t, Interval* valid = nullptr) const {
        return track.IsEmpty() ? value : track.Eval(t, valid);
    }
    friend bool operator==(const Animated&, const Animated&) = default;
};
template <class T>
size_t HeapBytes(const Animated<T>& content) {
    return HeapBytes(content.track.keys);
}

// Whether a value follows keys.
template <class T>
bool FollowsKeys(const T&) {
    return false;
}
template <class T>
bool FollowsKeys(const Animated<T>& content) {
    return !content.track.IsEmpty();
}

// A reference that is a property: assigning another target tells the owner and can be undone. Put
// sets it plainly, for copies and for who reads whole scenes.
template <class T>
class RefProperty : public Reference<T> {
public:
    using Reference<T>::Reference;

    RefProperty& operator=(std::shared_ptr<T> target) {
        SetAndRecord(*this, std::move(target));
        return *this;
    }
};

template <class T>
class Property {
public:
    // The owner outlives it: declare properties as members of the owner.
    explicit Property(ReferenceMaker* owner, T value = {})
        : m_owner(owner), m_value(std::move(value)) {}
    Property(const Property&) = delete;

    const T& Get() const { return m_value; }
    operator const T&() const { return m_value; }
    const T* operator->() const { return &m_value; }

    void Set(T value) {
        if constexpr (std::equality_comparable<T>)
            if (value == m_value) return;
        if (IsRecording()) Record();
        Exchange(value);
    }
    // Changes parts of the value, as one change: change(T&).
    template <class Change>
    void Edit(const Change& change) {
        T value = m_value;
        change(value);
        Set(std::move(value));
    }
    Property& operator=(T value) { return Set(std::move(value)), *this; }
    Property& operator=(const Property& other) { return Set(other.m_value), *this; }

    template <class U>
    requires(!std::is_same_v<U, Property> && std::is_convertible_v<const U&, T>) friend bool
    operator==(const Property& a, const U& b) {
        return a.m_value == static_cast<T>(b);
    }
    friend bool operator==(const Property& a, const Property& b) { return a.m_value == b.m_value; }

private:
    void Record() {
        RecordExchange(
            *m_owner, [this, other = m_value]() mutable { Exchange(other); }, HeapBytes(m_value));
    }
    void Exchange(T& other) {
        bool changesSubs = FollowsKeys(m_value) != FollowsKeys(other);
        std::swap(m_value, other);
        m_owner->ValueChanged();
        if (changesSubs) m_owner->SubsChanged();
    }

    ReferenceMaker* m_owner;
    T m_value;
};

template <class T>
class AnimatedProperty {
public:
    explicit AnimatedProperty(ReferenceMaker* owner, T value = {})
        : m_content(owner, {std::move(value), {}}) {}

    // The value at time t; `valid`, where given, is narrowed to how long it stays the same.
    T At(TimeValue t, Interval* valid = nullptr) const { return m_content->At(t, valid); }
    bool IsAnimated() const { return FollowsKeys(m_content.Get()); }
    const Animated<T>& Content() const { return m_content; }

    // A constant: keys go.
    AnimatedProperty& operator=(T value) {
        m_content = Animated<T>{std::move(value), {}};
        return *this;
    }
    void SetContent(Animated<T> content) { m_content = std::move(content); }
    void SetTrack(KeyTrack<T> track) {
        m_content = Animated<T>{m_content->value, std::move(track)};
    }
    // The value at time t: while the thread's edits set keys a key there, else a constant.
    void SetAt(TimeValue t, const T& value) {
        if (!CurrentEdits().animating) return void(*this = value);
        Animated<T> content = m_content;
        if (content.track.IsEmpty() && t != 0) content.track.SetKey(0, content.value);
        content.track.SetKey(t, value);
        m_content = std::move(content);
    }

    friend bool operator==(const AnimatedProperty& a, const AnimatedProperty& b) {
        return a.m_content == b.m_content;
    }

private:
    Property<Animated<T>> m_content;
};

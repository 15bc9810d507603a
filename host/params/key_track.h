// Keys: values at times, and what is between and beyond them.
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "host/math/interval.h"
#include "host/params/key_math.h"

enum class KeyInterpolation : uint8_t { kLinear, kStep, kBezier };
// What holds before the first and after the last key: its value, or the whole run again and again.
enum class KeysBeyond : uint8_t { kHold, kCycle };

template <class T>
struct TrackKey {
    TimeValue time = 0;
    T value{};
    // Bezier handles, relative to the value: where the curve stands a third of the time before and
    // after the key, were it straight there. Zero elsewhere.
    T in{}, out{};

    TrackKey() = default;
    TrackKey(TimeValue t, T v, T inHandle = {}, T outHandle = {})
        : time(t), value(std::move(v)), in(std::move(inHandle)), out(std::move(outHandle)) {}
    friend bool operator==(const TrackKey&, const TrackKey&) = default;
};

// A run of keys by rising time. T: what KeyMath knows.
template <class T>
struct KeyTrack {
    std::vector<TrackKey<T>> keys;
    KeyInterpolation interpolation = KeyInterpolation::kLinear;
    KeysBeyond before = KeysBeyond::kHold, after = KeysBeyond::kHold;

    bool IsEmpty() const { return keys.empty(); }
    // The value at time t; there must be a key. `valid`, where given, is narrowed to how long the
    // value stays the same.
    T Eval(TimeValue t, Interval* valid) const;
    // Sets the value of the key at time t, which is made where there is none.
    void SetKey(TimeValue t, const T& value);
    friend bool operator==(const KeyTrack&, const KeyTrack&) = default;

private:
    TimeValue Cycled(TimeValue t) const;
    T Between(const TrackKey<T>& a, const TrackKey<T>& b, double u) const;
};

template <class T>
TimeValue KeyTrack<T>::Cycled(TimeValue t) const {
    int64_t first = keys.front().time, period = int64_t(keys.back().time) - first;
    int64_t into = (int64_t(t) - first) % period;
    return TimeValue(first + (into < 0 ? into + period : into));
}

template <class T>
T KeyTrack<T>::Between(const TrackKey<T>& a, const TrackKey<T>& b, double u) const {
    if (interpolation == KeyInterpolation::kBezier)
        return KeyMath<T>::Bezier(a.value, a.out, b.in, b.value, key_math::BezierWeights(u));
    return KeyMath<T>::Linear(a.value, b.value, u);
}

template <class T>
T KeyTrack<T>::Eval(TimeValue t, Interval* valid) const {
    const TrackKey<T>&first = keys.front(), &last = keys.back();
    bool cycles = first.time < last.time && ((t < first.time && before == KeysBeyond::kCycle) ||
                                             (t >= last.time && after == KeysBeyond::kCycle));
    if (cycles) {
        if (valid) *valid &= Interval::Instant(t);
        return Eval(Cycled(t), nullptr);
    }
    Interval held = Interval::Forever();
    auto next = std::upper_bound(keys.begin(), keys.end(), t,
                                 [](TimeValue time, const auto& key) { return time < key.time; });
    T result;
    if (next == keys.begin()) {
        result = first.value;
        held.end = first.time;
    } else if (next == keys.end()) {
        result = last.value;
        held.start = last.time;
    } else {
        const TrackKey<T>& a = next[-1];
        bool steps = interpolation == KeyInterpolation::kStep;
        bool flat = a.value == next->value && (interpolation != KeyInterpolation::kBezier ||
                                               (a.out == T{} && next->in == T{}));
        result =
            steps ? a.value
                  : Between(a, *next,
                            (double(t) - double(a.time)) / (double(next->time) - double(a.time)));
        // At the end of a run that starts again the first value stands.
        bool excludesEnd = steps || (&*next == &last && after == KeysBeyond::kCycle);
        held = steps || flat ? Interval{a.time, next->time - (excludesEnd ? 1 : 0)}
                             : Interval::Instant(t);
    }
    if (valid) *valid &= held;
    return result;
}

template <class T>
void KeyTrack<T>::SetKey(TimeValue t, const T& value) {
    auto it = std::lower_bound(keys.begin(), keys.end(), t,
                               [](const auto& key, TimeValue time) { return key.time < time; });
    if (it != keys.end() && it->time == t)
        it->value = value;
    else
        keys.insert(it, {t, value});
}

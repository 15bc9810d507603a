// Validity ranges of host time. Times are ticks, 4800 a second.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

using TimeValue = int32_t;

inline constexpr TimeValue kTicksPerSecond = 4800;
inline constexpr TimeValue kTimeNegInfinity = std::numeric_limits<int32_t>::min();
inline constexpr TimeValue kTimePosInfinity = std::numeric_limits<int32_t>::max();

// Closed range [start, end]; empty when start > end. A fresh interval is empty ("never").
struct Interval {
    TimeValue start = kTimePosInfinity;
    TimeValue end = kTimeNegInfinity;

    static Interval Forever() { return {kTimeNegInfinity, kTimePosInfinity}; }
    static Interval Never() { return {}; }
    static Interval Instant(TimeValue t) { return {t, t}; }

    bool IsEmpty() const { return start > end; }
    bool Contains(TimeValue t) const { return start <= t && t <= end; }
    Interval& operator&=(const Interval& b) {
        start = std::max(start, b.start);
        end = std::min(end, b.end);
        if (IsEmpty()) *this = Never();
        return *this;
    }
    friend bool operator==(const Interval&, const Interval&) = default;
};

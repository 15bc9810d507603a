// Values of parameters: their types, and what they are over time.
#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "host/math/color.h"
#include "host/math/point.h"
#include "host/params/key_track.h"
#include "host/params/reference.h"

using ParamID = int;

enum class ParamType {
    kFloat,
    kInt,
    kBool,      // stored as int, 0 or 1
    kWorld,     // float length in scene units
    kString,    // UTF-8
    kFilename,  // string that names a file
    kTexmap,
    kMaterial,
    kNode,
    kPoint3,
    kColor,
    kTime,       // int, ticks
    kReference,  // any reference target
};

// Lower-case name of a type as listings show it ("float", "world", ...).
const char* ParamTypeName(ParamType type);

// One value. Which alternative a type uses: float and world the first, int, bool and time the
// second, string and filename the third; the four kinds of reference the last (null for none).
using ParamValue =
    std::variant<float, int32_t, std::string, Point3, Color, std::shared_ptr<ReferenceTarget>>;

bool IsReferenceType(ParamType type);
bool IsNumberType(ParamType type);  // float, int, bool, world, time
// Zero, empty text or no reference, in the alternative that `type` uses.
ParamValue ZeroValue(ParamType type);

// `value` in the alternative that `type` uses: ints and floats stand for each other (a float is
// truncated), truth values become 0 or 1, a reference must be one to what the type says. False when
// it has no such form.
bool ConvertValue(ParamValue& value, ParamType type);
// a + (to - from), where that means something; else `to`.
ParamValue ShiftedValue(const ParamValue& a, const ParamValue& from, const ParamValue& to);

template <>
struct KeyMath<ParamValue> {
    static ParamValue Linear(const ParamValue& a, const ParamValue& b, double u);
    static ParamValue Bezier(const ParamValue& a, const ParamValue& out, const ParamValue& in,
                             const ParamValue& b, const key_math::BezierWeights& w);
};

using ParamKey = TrackKey<ParamValue>;
using ParamTrack = KeyTrack<ParamValue>;

// A parameter's whole content, apart from references held by the owner.
struct ParamElement {
    ParamValue value;
    ParamTrack track;  // in its place, where it has keys

    ParamValue At(TimeValue t, Interval* valid = nullptr) const {
        return track.IsEmpty() ? value : track.Eval(t, valid);
    }
    friend bool operator==(const ParamElement&, const ParamElement&) = default;
};

// Memory behind a value, for the bound of the undo list.
inline size_t HeapBytes(const ParamElement& element) {
    return element.track.keys.capacity() * sizeof(ParamKey);
}

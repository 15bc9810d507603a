// Animated values in scene descriptions.
//
//   {"keys": [[ticks, value], …], "interpolation": "linear"|"step"|"bezier",
//    "before": "hold"|"cycle", "after": "hold"|"cycle"}
//
// stands where a value stands; Bezier keys are [ticks, value, in, out], their handles relative to
// the value. Times rise.
#pragma once

#include <nlohmann/json.hpp>

#include "host/io/scene_description.h"
#include "host/params/property.h"

// Whether this is the animated form of a value: an object with "keys".
bool IsAnimatedForm(const DescriptionValue& value);

// The keys of an animated form, read one by one: read(value) gives a T, or fails through the value.
// isHandle tells it that a handle is meant, which is a difference of two values and has no range.
template <class T, class Read>
KeyTrack<T> ReadTrack(const DescriptionValue& value, const Read& read);

// The animated form, or the value where there are no keys. write(T) gives a value.
template <class T, class Write>
nlohmann::ordered_json WriteTrack(const KeyTrack<T>& track, const Write& write);

// A value or its animated form.
template <class T, class Read>
Animated<T> ReadAnimated(const DescriptionValue& value, const Read& read) {
    if (!IsAnimatedForm(value)) return {read(value, false), {}};
    KeyTrack<T> track = ReadTrack<T>(value, read);
    T first = track.IsEmpty() ? T{} : track.keys.front().value;
    return {first, std::move(track)};
}
template <class T, class Write>
nlohmann::ordered_json WriteAnimated(const Animated<T>& content, const Write& write) {
    return content.track.IsEmpty() ? nlohmann::ordered_json(write(content.value))
                                   : WriteTrack(content.track, write);
}

// The values that nodes, cameras and lights animate.
Animated<float> ReadAnimatedFloat(const DescriptionValue& value);
Animated<Point3> ReadAnimatedPoint(const DescriptionValue& value);
Animated<Color> ReadAnimatedColor(const DescriptionValue& value);
Animated<bool> ReadAnimatedBool(const DescriptionValue& value);
// Four numbers a key: x, y, z, w, made of unit length.
Animated<Quat> ReadAnimatedQuat(const DescriptionValue& value);
nlohmann::ordered_json WriteAnimatedFloat(const Animated<float>& content);
nlohmann::ordered_json WriteAnimatedPoint(const Animated<Point3>& content);
nlohmann::ordered_json WriteAnimatedColor(const Animated<Color>& content);
nlohmann::ordered_json WriteAnimatedBool(const Animated<bool>& content);
nlohmann::ordered_json WriteAnimatedQuat(const Animated<Quat>& content);

// --- implementation of the templates

namespace scene_keys {

// What stands around the keys.
struct Form {
    std::vector<DescriptionValue> keys;  // none after a failure
    KeyInterpolation interpolation = KeyInterpolation::kLinear;
    KeysBeyond before = KeysBeyond::kHold, after = KeysBeyond::kHold;
};
Form ReadForm(const DescriptionValue& value);
nlohmann::ordered_json WriteForm(KeyInterpolation interpolation, KeysBeyond before,
                                 KeysBeyond after, nlohmann::ordered_json keys);

}  // namespace scene_keys

template <class T, class Read>
KeyTrack<T> ReadTrack(const DescriptionValue& value, const Read& read) {
    scene_keys::Form form = scene_keys::ReadForm(value);
    KeyTrack<T> track;
    track.interpolation = form.interpolation;
    track.before = form.before, track.after = form.after;
    for (const DescriptionValue& one : form.keys) {
        std::vector<DescriptionValue> parts = one.AsArray();
        bool isBezier = form.interpolation == KeyInterpolation::kBezier;
        if (parts.size() != 2 && !(isBezier && parts.size() == 4)) {
            one.Fail(isBezier ? "expected [ticks, value, in, out]" : "expected [ticks, value]");
            return {};
        }
        TrackKey<T> key;
        key.time = parts[0].AsInt();
        key.value = read(parts[1], false);
        if (parts.size() == 4) key.in = read(parts[2], true), key.out = read(parts[3], true);
        if (value.Document().Failed()) return {};
        if (!track.IsEmpty() && track.keys.back().time >= key.time)
            parts[0].Fail("key times must rise");
        track.keys.push_back(std::move(key));
    }
    return track;
}

template <class T, class Write>
nlohmann::ordered_json WriteTrack(const KeyTrack<T>& track, const Write& write) {
    nlohmann::ordered_json keys = nlohmann::ordered_json::array();
    for (const TrackKey<T>& key : track.keys) {
        nlohmann::ordered_json one = {key.time, write(key.value)};
        if (track.interpolation == KeyInterpolation::kBezier) {
            one.push_back(write(key.in));
            one.push_back(write(key.out));
        }
        keys.push_back(std::move(one));
    }
    return scene_keys::WriteForm(track.interpolation, track.before, track.after, std::move(keys));
}

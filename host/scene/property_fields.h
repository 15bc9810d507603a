// Fields of property tables, made from members of classes (host/params/value_table.h).
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/params/property.h"
#include "host/params/value_table.h"

namespace property_fields {

using Elements = std::vector<ParamElement>;

// The content of a single value, and another element of a list.
Elements One(ParamValue value);
void Add(Elements& elements, ParamValue value);

// --- descriptions

inline ParamDef Described(ParamDef def, const char* label, const char* meaning) {
    return def.Label(label).Meaning(meaning);
}
inline ParamDef Number(const char* name, const char* label, double low, double high,
                       const char* meaning) {
    return Described(
        ParamDef(0, name, ParamType::kFloat).Range(low, high).Control(ControlKind::kSpinner), label,
        meaning);
}
// A length of the scene, 0 or more.
inline ParamDef Length(const char* name, const char* label, const char* meaning) {
    return Described(
        ParamDef(0, name, ParamType::kWorld).Range(0, 2147483648.0).Control(ControlKind::kSpinner),
        label, meaning);
}
inline ParamDef Whole(const char* name, const char* label, double low, double high,
                      const char* meaning) {
    return Described(
        ParamDef(0, name, ParamType::kInt).Range(low, high).Control(ControlKind::kSpinner), label,
        meaning);
}
inline ParamDef Switch(const char* name, const char* label, const char* meaning) {
    return Described(ParamDef(0, name, ParamType::kBool).Control(ControlKind::kCheckBox), label,
                     meaning);
}
inline ParamDef Swatch(const char* name, const char* label, const char* meaning) {
    return Described(ParamDef(0, name, ParamType::kColor).Control(ControlKind::kColorSwatch), label,
                     meaning);
}
inline ParamDef Choice(const char* name, const char* label, std::vector<std::string> entries,
                       const char* meaning) {
    double last = double(entries.size()) - 1;
    return Described(ParamDef(0, name, ParamType::kInt)
                         .Range(0, last)
                         .Entries(ControlKind::kDropDown, std::move(entries)),
                     label, meaning);
}
// Of a map or a material.
inline ParamDef MapSlot(const char* name, ParamType type, const char* label, const char* meaning) {
    return Described(ParamDef(0, name, type).Control(ControlKind::kMapButton), label, meaning);
}
inline ParamDef Pick(const char* name, const char* label, const char* meaning) {
    return Described(ParamDef(0, name, ParamType::kNode).Control(ControlKind::kPickButton), label,
                     meaning);
}
inline ParamDef List(ParamDef def, const char* meaning) { return def.List().Meaning(meaning); }
// Nobody sets it.
inline ParamDef Shown(ParamDef def, const char* label, const char* meaning) {
    if (def.control == ControlKind::kNone && IsNumberType(def.type))
        def.Control(ControlKind::kSpinner);
    return Described(def.ReadOnly(), label, meaning);
}

// --- values

template <class T>
ParamValue ToValue(const T& value) {
    if constexpr (std::is_enum_v<T> || std::is_integral_v<T>)
        return int32_t(value);
    else
        return ParamValue(value);
}
template <class T>
T FromValue(const ParamValue& value) {
    if constexpr (std::is_same_v<T, bool>)
        return std::get<int32_t>(value) != 0;
    else if constexpr (std::is_enum_v<T> || std::is_integral_v<T>)
        return T(std::get<int32_t>(value));
    else
        return std::get<T>(value);
}
// The target of a reference; null for none, and for one of another kind.
template <class T>
std::shared_ptr<T> TargetOf(const ParamValue& value) {
    return std::dynamic_pointer_cast<T>(std::get<std::shared_ptr<ReferenceTarget>>(value));
}

// Of what can be animated: numbers, truth values, points, colours.
template <class T>
ParamTrack ToTrack(const KeyTrack<T>& track) {
    ParamTrack out;
    out.interpolation = track.interpolation;
    out.before = track.before, out.after = track.after;
    out.keys.resize(track.keys.size());
    for (size_t i = 0; i < out.keys.size(); ++i) {
        const TrackKey<T>& key = track.keys[i];
        out.keys[i].time = key.time;
        out.keys[i].value = ToValue(key.value);
        out.keys[i].in = ToValue(key.in);
        out.keys[i].out = ToValue(key.out);
    }
    return out;
}
template <class T>
KeyTrack<T> FromTrack(const ParamTrack& track) {
    KeyTrack<T> out;
    out.interpolation = track.interpolation;
    out.before = track.before, out.after = track.after;
    // A key that was set in a panel has no handles: whatever stands there then means none.
    auto handle = [](const ParamValue& value, const ParamValue& like) {
        return value.index() == like.index() ? FromValue<T>(value) : T{};
    };
    for (const ParamKey& key : track.keys)
        out.keys.push_back({key.time, FromValue<T>(key.value), handle(key.in, key.value),
                            handle(key.out, key.value)});
    return out;
}

// --- fields

// get(const T&) -> Elements; put(T&, Elements), none where nobody sets it.
template <class T>
PropertyField Custom(ParamDef def, std::function<Elements(const T&)> get,
                     std::function<void(T&, Elements)> put = {}) {
    PropertyField field{std::move(def),
                        [get = std::move(get)](const ReferenceTarget& target) {
                            return get(static_cast<const T&>(target));
                        },
                        {}};
    if (put)
        field.put = [put = std::move(put)](ReferenceTarget& target, Elements elements) {
            put(static_cast<T&>(target), std::move(elements));
        };
    return field;
}

template <class T, class V>
PropertyField Of(Property<V> T::*member, ParamDef def) {
    return Custom<T>(
        std::move(def), [member](const T& target) { return One(ToValue((target.*member).Get())); },
        [member](T& target, Elements elements) {
            (target.*member).Set(FromValue<V>(elements.at(0).value));
        });
}

template <class T, class V>
PropertyField Of(AnimatedProperty<V> T::*member, ParamDef def) {
    PropertyField field = Custom<T>(
        std::move(def.Animatable()),
        [member](const T& target) {
            const Animated<V>& content = (target.*member).Content();
            Elements elements = One(ToValue(content.value));
            elements[0].track = ToTrack(content.track);
            return elements;
        },
        [member](T& target, Elements elements) {
            const ParamElement& element = elements.at(0);
            (target.*member).SetContent({FromValue<V>(element.value), FromTrack<V>(element.track)});
        });
    field.setAt = [member](ReferenceTarget& target, TimeValue t, const ParamValue& value) {
        (static_cast<T&>(target).*member).SetAt(t, FromValue<V>(value));
    };
    return field;
}

template <class T, class V>
PropertyField Of(RefProperty<V> T::*member, ParamDef def) {
    return Custom<T>(
        std::move(def),
        [member](const T& target) {
            return One(std::shared_ptr<ReferenceTarget>((target.*member).Share()));
        },
        [member](T& target, Elements elements) {
            target.*member = TargetOf<V>(elements.at(0).value);
        });
}

// Text that nobody sets. read(const T&) -> std::string
template <class T, class Read>
PropertyField Text(const char* name, const char* label, const char* meaning, const Read& read) {
    return Custom<T>(Shown(ParamDef(0, name, ParamType::kString), label, meaning),
                     [read](const T& target) { return One(std::string(read(target))); });
}
// The size of a container. read(const T&) -> the container
template <class T, class Read>
PropertyField Count(const char* name, const char* label, const Read& read) {
    return Custom<T>(Shown(ParamDef(0, name, ParamType::kInt), label, "How many there are."),
                     [read](const T& target) { return One(int32_t(read(target).size())); });
}

// A table whose defaults are what a fresh object has.
inline PropertyTable Table(const char* title, const ReferenceTarget& fresh,
                           std::vector<PropertyField> fields) {
    for (PropertyField& field : fields)
        if (!field.def.list) field.def.defaultValue = std::move(field.get(fresh).at(0).value);
    return {title, std::move(fields)};
}

}  // namespace property_fields

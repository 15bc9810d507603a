#include "host/io/scene_keys.h"

using Json = nlohmann::ordered_json;

namespace {

const std::vector<std::string> kInterpolations = {"linear", "step", "bezier"};
const std::vector<std::string> kBeyond = {"hold", "cycle"};

float ReadFloat(const DescriptionValue& value, bool) { return value.AsFloat(); }
Point3 ReadPoint(const DescriptionValue& value, bool) { return value.AsPoint3(); }
bool ReadBool(const DescriptionValue& value, bool) { return value.AsBool(); }

// A colour's handles may be negative, the colours themselves as anywhere else.
Color ReadColor(const DescriptionValue& value, bool isHandle) {
    if (!isHandle) return value.AsColor();
    Point3 p = value.AsPoint3();
    return {p.x, p.y, p.z};
}

Quat ReadQuat(const DescriptionValue& value, bool isHandle) {
    std::vector<DescriptionValue> parts = value.AsArray(4);
    if (parts.size() != 4) return {};
    Quat q{parts[0].AsFloat(), parts[1].AsFloat(), parts[2].AsFloat(), parts[3].AsFloat()};
    if (!isHandle && q == Quat{0, 0, 0, 0}) value.Fail("a rotation needs a length above 0");
    return isHandle ? q : q.Normalized();
}

Json WriteQuat(const Quat& q) {
    return {DescriptionWriter::Number(q.x), DescriptionWriter::Number(q.y),
            DescriptionWriter::Number(q.z), DescriptionWriter::Number(q.w)};
}

}  // namespace

scene_keys::Form scene_keys::ReadForm(const DescriptionValue& value) {
    DescriptionObject object(value);
    Form form;
    form.keys = object.Array("keys");
    form.interpolation = KeyInterpolation(object.Choice("interpolation", kInterpolations, 0));
    form.before = KeysBeyond(object.Choice("before", kBeyond, 0));
    form.after = KeysBeyond(object.Choice("after", kBeyond, 0));
    object.Finish();
    if (form.keys.empty()) value.Fail("expected {\"keys\": [[ticks, value], ...]} or a value");
    if (value.Document().Failed()) form.keys.clear();
    return form;
}

Json scene_keys::WriteForm(KeyInterpolation interpolation, KeysBeyond before, KeysBeyond after,
                           Json keys) {
    Json form = {{"keys", std::move(keys)}};
    if (interpolation != KeyInterpolation::kLinear)
        form["interpolation"] = kInterpolations[size_t(interpolation)];
    if (before != KeysBeyond::kHold) form["before"] = kBeyond[size_t(before)];
    if (after != KeysBeyond::kHold) form["after"] = kBeyond[size_t(after)];
    return form;
}

bool IsAnimatedForm(const DescriptionValue& value) { return value.IsObject(); }

Animated<float> ReadAnimatedFloat(const DescriptionValue& value) {
    return ReadAnimated<float>(value, ReadFloat);
}
Animated<Point3> ReadAnimatedPoint(const DescriptionValue& value) {
    return ReadAnimated<Point3>(value, ReadPoint);
}
Animated<Color> ReadAnimatedColor(const DescriptionValue& value) {
    return ReadAnimated<Color>(value, ReadColor);
}
Animated<bool> ReadAnimatedBool(const DescriptionValue& value) {
    return ReadAnimated<bool>(value, ReadBool);
}
Animated<Quat> ReadAnimatedQuat(const DescriptionValue& value) {
    return ReadAnimated<Quat>(value, ReadQuat);
}

Json WriteAnimatedFloat(const Animated<float>& content) {
    return WriteAnimated(content, [](float f) -> Json { return DescriptionWriter::Number(f); });
}
Json WriteAnimatedPoint(const Animated<Point3>& content) {
    return WriteAnimated(content,
                         [](const Point3& p) -> Json { return DescriptionWriter::Triple(p); });
}
Json WriteAnimatedColor(const Animated<Color>& content) {
    return WriteAnimated(content,
                         [](const Color& c) -> Json { return DescriptionWriter::Triple(c); });
}
Json WriteAnimatedBool(const Animated<bool>& content) {
    return WriteAnimated(content, [](bool b) -> Json { return b; });
}
Json WriteAnimatedQuat(const Animated<Quat>& content) { return WriteAnimated(content, WriteQuat); }

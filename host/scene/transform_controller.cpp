#include "host/scene/transform_controller.h"

namespace {

constexpr float kRadiansToDegrees = 57.29577951f;

// Angles about X, then Y, then Z of a rotation, degrees.
Point3 EulerDegreesOf(const Quat& q) {
    Matrix3 m = q.ToMatrix();
    float y = std::asin(std::fmin(std::fmax(-m.row[0].z, -1.0f), 1.0f));
    // Straight up or down only the sum of the other two counts.
    bool isPole = std::fabs(m.row[0].z) > 0.999999f;
    float x = isPole ? std::atan2(-m.row[2].y, m.row[1].y) : std::atan2(m.row[1].z, m.row[2].z);
    float z = isPole ? 0.0f : std::atan2(m.row[0].y, m.row[0].x);
    return Point3{x, y, z} * kRadiansToDegrees;
}

// A new constant, a key, or all keys moved so that the value stands at t.
template <class T>
void Put(AnimatedProperty<T>& property, TimeValue t, const T& value) {
    if (!property.IsAnimated() || CurrentEdits().animating) return property.SetAt(t, value);
    Animated<T> content = property.Content();
    T difference = value - content.At(t);
    for (TrackKey<T>& key : content.track.keys) key.value = key.value + difference;
    property.SetContent(std::move(content));
}

}  // namespace

Matrix3 TransformController::Eval(TimeValue t, Interval* valid) const {
    Matrix3 rotation = rotationForm == RotationForm::kEuler
                           ? EulerDegreesToMatrix(eulerDegrees.At(t, valid))
                           : quaternion.At(t, valid).ToMatrix();
    return Matrix3::Scaling(scale.At(t, valid)) * rotation *
           Matrix3::Translation(position.At(t, valid));
}

void TransformController::SetAt(TimeValue t, const Matrix3& transform) {
    AffineParts parts = Decompose(transform);
    Put(position, t, parts.translation);
    Put(scale, t, parts.scale);
    if (rotationForm == RotationForm::kEuler) {
        Put(eulerDegrees, t, EulerDegreesOf(parts.rotation));
    } else if (!quaternion.IsAnimated() || CurrentEdits().animating) {
        quaternion.SetAt(t, parts.rotation);
    } else {
        Animated<Quat> content = quaternion.Content();
        Matrix3 turn = Inverse(content.At(t).ToMatrix()) * parts.rotation.ToMatrix();
        for (TrackKey<Quat>& key : content.track.keys)
            key.value = Quat::FromMatrix(key.value.ToMatrix() * turn);
        quaternion.SetContent(std::move(content));
    }
}

bool TransformController::IsAnimated() const {
    bool turns =
        rotationForm == RotationForm::kEuler ? eulerDegrees.IsAnimated() : quaternion.IsAnimated();
    return turns || position.IsAnimated() || scale.IsAnimated();
}

std::string TransformController::SubAnimName(int i) const {
    constexpr const char* kNames[] = {"Position", "Rotation", "Scale"};
    return i >= 0 && i < NumSubs() ? kNames[i] : "";
}

std::shared_ptr<ReferenceTarget> TransformController::Clone(CloneMap&) const {
    auto copy = std::make_shared<TransformController>();
    copy->position.SetContent(position.Content());
    copy->rotationForm = rotationForm;
    copy->eulerDegrees.SetContent(eulerDegrees.Content());
    copy->quaternion.SetContent(quaternion.Content());
    copy->scale.SetContent(scale.Content());
    return copy;
}

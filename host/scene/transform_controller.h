// The animated place of a node: position, rotation and scale with keys.
#pragma once

#include "host/math/matrix3.h"
#include "host/params/clone_map.h"
#include "host/params/property.h"

// How a transform's rotation is kept: as angles about X, then Y, then Z, which may turn round and
// round between two keys, or as quaternions, which take the shorter way.
enum class RotationForm : uint8_t { kEuler, kQuaternion };

class TransformController : public ReferenceTarget {
public:
    AnimatedProperty<Point3> position{this};
    Property<RotationForm> rotationForm{this, RotationForm::kEuler};
    AnimatedProperty<Point3> eulerDegrees{this};
    AnimatedProperty<Quat> quaternion{this};
    AnimatedProperty<Point3> scale{this, {1, 1, 1}};

    // Scale, then rotation, then translation. `valid`, where given, is narrowed to how long the
    // transform stays the same.
    Matrix3 Eval(TimeValue t, Interval* valid = nullptr) const;
    // The transform at time t: a key at t for each animated part while the thread's edits set keys;
    // else constants, the keys of a part shifted by the difference. Shear is dropped.
    void SetAt(TimeValue t, const Matrix3& transform);
    bool IsAnimated() const;

    static constexpr ClassInfo kClass{{0x3d1c0003, 0x52a7}, SuperClass::kController, "Transform"};
    ClassInfo Class() const override { return kClass; }
    int NumSubs() const override { return 3; }
    std::string SubAnimName(int i) const override;
    std::shared_ptr<ReferenceTarget> Clone(CloneMap&) const override;
};

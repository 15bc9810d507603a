// Transforms of instances as exchange formats want them: translation, rotation, scale. Such formats
// hold no shear, and readers draw nothing sensible under a negative scale: mirroring instances show
// a mirrored mesh instead.
#pragma once

#include <string>
#include <vector>

#include "host/scene/instance_source.h"

// The x scale is negative when the transform mirrors; shear is left out. Axes of length zero get
// any direction that makes the rotation proper. The rotation is a unit quaternion.
struct InstancePlacement {
    Point3 translation;
    Quat rotation;
    Point3 scale;

    Matrix3 ToMatrix() const;
};
InstancePlacement PlaceWithoutShear(const Matrix3& m);

// Whether two axes are not at right angles, to about 1e-4 radians.
bool HasShear(const Matrix3& m);

// What is before the transform of an instance that shows a mirrored mesh.
inline const Matrix3 kMirror = Matrix3::Scaling({-1, 1, 1});
bool IsMirrored(const InstanceRecord& record);
// Instances that show one mesh form a group: those of prototype p that do not mirror group 2 p,
// those that do group 2 p + 1.
size_t GroupOf(const InstanceRecord& record);
// Of the mirrored mesh where the instance mirrors: no scale is negative.
InstancePlacement PlaceUnmirrored(const InstanceRecord& record);

// Whether it has a prototype of `numPrototypes` and a transform of finite numbers.
bool IsPlaced(const InstanceRecord& record, size_t numPrototypes);

// What such formats leave out of a source.
struct LeftOutInstances {
    uint64_t numSheared = 0, numUnplaced = 0;

    void Count(const InstanceRecord& record, size_t numPrototypes);
    // A sentence for each that is not 0.
    void Tell(const std::string& sourceName, std::vector<std::string>* warnings) const;
};

// The colour that multiplies what an instance shows: white mixed with the tint by its blend.
Color TintMultiplier(const InstanceRecord& record);

// A mesh that is written beside the instances, once and where it stands.
struct PlacedMesh {
    std::string name;
    const Mesh* mesh = nullptr;
    const Mtl* material = nullptr;  // null: the host's default grey
    Matrix3 transform;              // may shear
};

// A terrain from a height image, kept as the image.
//
// What can do with heights takes GetHeightField. A mesh is made when somebody asks for one, and
// lives as long as someone holds it; terrains beyond kMaxMeshedFaces give none and say why
// (MeshRefusal): their triangles would take many times the memory of all else.
#pragma once

#include <array>
#include <optional>

#include "host/scene/object.h"

// Where a terrain came from, kept so that a scene can be written as it was read.
struct HeightfieldOrigin {
    // What pixel values mean.
    enum class Heights {
        kDefault,  // lengths where the file states lengths, else kScaled
        kScaled,   // integers from 0 to `height` over their whole range, floats times `height`
        kRange,    // the file's lowest and highest pixel become `low` and `high`
        kFile,     // lengths in metres
    };

    std::string file;                // as the scene names it
    std::optional<Point2> size;      // scene units; none: the file's
    int samplesX = 0, samplesY = 0;  // 0: the file's
    // Columns [0] to [2] and rows [1] to [3] of the file's samples, counted from the lowest x and
    // y, without the last ones.
    std::optional<std::array<int, 4>> crop;
    Heights heights = Heights::kDefault;
    float height = 10;
    float low = 0, high = 0;

    friend bool operator==(const HeightfieldOrigin&, const HeightfieldOrigin&) = default;
};

class HeightFieldObject : public Object {
public:
    // About 2.9 GB of triangles.
    static constexpr size_t kMaxMeshedFaces = 64'000'000;

    HeightFieldObject();  // a flat square whose sides are 1
    HeightFieldObject(std::shared_ptr<const HeightField> field, HeightfieldOrigin fieldOrigin)
        : origin(this, std::move(fieldOrigin)), m_field(std::move(field)) {}

    Property<HeightfieldOrigin> origin{this};

    // Another field, never null; tells, and can be undone.
    void SetField(std::shared_ptr<const HeightField> field);
    std::shared_ptr<const HeightField> GetHeightField(TimeValue t) override { return m_field; }
    std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) override;
    std::string MeshRefusal() const override;
    bool IsGeomObject() const override { return true; }
    static constexpr ClassInfo kClass{
        {0x3d1c0017, 0x52a7}, SuperClass::kGeomObject, "Height field"};
    ClassInfo Class() const override { return kClass; }
    // The copy shares the field, which nobody changes.
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    void PutField(std::shared_ptr<const HeightField> field);

    std::shared_ptr<const HeightField> m_field;  // never null
    std::weak_ptr<const Mesh> m_mesh;
};

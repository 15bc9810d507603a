// A hit of the tracer as materials see it.
#pragma once

#include "host/render/render_heights.h"
#include "host/render/render_mesh.h"

// One placed prototype, in one cache line.
struct alignas(64) PackedInstance {
    float toPrototype[9];  // rows of the inverse 3x3 part
    Point3 position;
    uint32_t prototype;
    uint8_t tint[4];  // display colour and blend, 0..255
    uint32_t number;  // in its source

    Point3 ToPrototype(const Point3& v) const {
        const float* m = toPrototype;
        return {v.x * m[0] + v.y * m[3] + v.z * m[6], v.x * m[1] + v.y * m[4] + v.z * m[7],
                v.x * m[2] + v.y * m[5] + v.z * m[8]};
    }
    // Normals turn with the inverse transpose.
    Point3 NormalToWorld(const Point3& n) const {
        const float* m = toPrototype;
        return {n.x * m[0] + n.y * m[1] + n.z * m[2], n.x * m[3] + n.y * m[4] + n.z * m[5],
                n.x * m[6] + n.y * m[7] + n.z * m[8]};
    }
    // Row lengths of the inverse tell the scale along the world's axes; their mean serves for
    // widths.
    float InverseScale() const;
    Matrix3 ToWorld() const;
};

// A place on a surface: of a mesh, a mesh in an instance, or a height field.
struct HitPlace {
    const RenderMesh* mesh = nullptr;        // null on a height field
    const RenderHeights* heights = nullptr;  // null on a mesh
    uint32_t face = 0;                       // of a height field: a packed triangle
    float u = 0, v = 0;
    const PackedInstance* instance = nullptr;  // null on a node's mesh
    const IInstanceSource* source = nullptr;   // of the instance

    const RenderMaterial& Material() const {
        return heights ? heights->Material() : mesh->Material(face);
    }
    // Factor from world lengths to lengths in the space of the mesh, which is the world for a
    // node's mesh and a height field.
    float MeshScale() const { return instance ? instance->InverseScale() : 1; }
    // World space, unit length, interpolated.
    Point3 Normal() const;
    // Of the face, in the space of the mesh.
    std::array<Point3, 3> Corners() const;
};

class HitContext final : public ShadeContext {
public:
    // width: of the ray, in the world. The place must outlive the context.
    HitContext(const HitPlace& place, const RenderMaterial& material, float width, RayKind kind)
        : m_place(place), m_material(material), m_width(width), m_kind(kind) {}

    // What the material of the place says.
    float Opacity() const { return m_material.mtl->Opacity(*this); }
    void Shade(SurfaceLook* look) const { m_material.mtl->Shade(*this, look); }

    TimeValue Time() const override { return m_material.time; }
    RayKind Kind() const override { return m_kind; }
    const INode* Node() const override;
    const IInstanceSource* Source() const override { return m_place.source; }
    uint32_t Instance() const override { return m_place.instance ? m_place.instance->number : 0; }
    uint32_t FaceIndex() const override;
    Point2 Weights() const override { return {m_place.u, m_place.v}; }
    int MaterialId() const override;
    Point3 ObjectPosition() const override;
    Point3 WorldPosition() const override;
    Point3 FaceNormal() const override;
    Point3 Normal() const override { return m_place.Normal(); }
    bool Tangents(int channel, Point3* alongU, Point3* alongV) const override;
    Point3 Uvw(int channel) const override;
    Color VertexColor() const override;
    Color LinearColor(const Texmap& map) const override;
    Color Data(const Texmap& map) const override;
    float Mask(const Texmap& map, float cutoff) const override;
    // How wide the ray is there, in lengths of a channel's mapping; 0 without one.
    float UvWidth(int channel) const;

private:
    // Corners of the hit face: of its source mesh or field, and there its mapping (false: none).
    std::array<Point3, 3> SourceCorners() const;
    bool SourceMapping(int channel, std::array<Point3, 3>* corners) const;
    Point2 Uv(int channel) const;  // of an image

    const HitPlace& m_place;
    const RenderMaterial& m_material;
    float m_width;
    RayKind m_kind;
};

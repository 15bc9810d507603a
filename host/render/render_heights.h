// A height field in the ray tracer: nothing but its place in the world and its material.
//
// Rays are moved into the field's own space and walk its pyramid of bounds (height_trace.h);
// normals and mapping are worked out at the hit, as a RenderMesh of the field's triangles has them
// at its corners. The field is borrowed. Immutable after construction; threads share it.
#pragma once

#include "host/geom/height_trace.h"
#include "host/render/render_mesh.h"

class RenderHeights {
public:
    // transform: into the world; must have an inverse (CanBeShown).
    RenderHeights(const HeightField& field, Mtl* mtl, const Matrix3& transform,
                  RenderMaterials& materials, const INode* node = nullptr);
    static bool CanBeShown(const Matrix3& transform);

    // In world space.
    Box3 Bounds() const { return m_transform.BoxTransform(m_field.Bounds()); }
    size_t NumFaces() const { return m_field.NumFaces(); }

    // The nearest hit that accept(hit) takes, on a ray in world space; distances are those of the
    // world's ray.
    template <class Accept>
    bool Trace(const Point3& origin, const Point3& direction, float near, float far,
               const Accept& accept) const {
        return TraceHeights(m_field, MoveRay(origin, direction, near, far), accept);
    }

    // A triangle as one number, and back: holes are counted here.
    uint32_t Pack(const HeightTriangle& t) const {
        return 2 * (t.row * m_cellsX + t.column) + t.upper;
    }
    HeightTriangle Unpack(uint32_t packed) const {
        uint32_t cell = packed / 2;
        return {cell % m_cellsX, cell / m_cellsX, packed % 2 != 0};
    }

    const HeightField& Field() const { return m_field; }
    const Matrix3& ToWorld() const { return m_transform; }
    // The node that shows it; null without a scene.
    const INode* Node() const { return m_node; }
    const RenderMaterial& Material() const { return m_materials[m_material]; }

    // Of a triangle, in world space; u and v weigh the second and third corner. Unit normals, of
    // the plane and interpolated.
    std::array<Point3, 3> Corners(const HeightTriangle& t) const;
    Point3 FaceNormal(const HeightTriangle& t) const;
    Point3 Normal(const HeightTriangle& t, float u, float v) const;

private:
    HeightRay MoveRay(const Point3& origin, const Point3& direction, float near, float far) const;
    Point3 NormalToWorld(const Point3& n) const;

    const HeightField& m_field;
    const INode* m_node;
    const RenderMaterials& m_materials;
    uint32_t m_material, m_cellsX;
    Matrix3 m_transform, m_inverse;
};

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
    RenderHeights(const HeightField& field, const Mtl* mtl, const Matrix3& transform,
                  RenderMaterials& materials);
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

    // Of a triangle, in world space; u and v weigh the second and third corner. Unit normals, of
    // the plane and interpolated.
    Point3 FaceNormal(const HeightTriangle& t) const;
    Point3 Normal(const HeightTriangle& t, float u, float v) const;
    Point3 Position(const HeightTriangle& t, float u, float v) const;
    Point2 Uv(const HeightTriangle& t, float u, float v) const;
    // Lengths of mapping space per length of the world.
    float UvDensity(const HeightTriangle& t) const;
    const RenderMaterial& Material() const { return m_materials[m_material]; }
    // Opacity there for a ray `width` wide.
    float Opacity(const HeightTriangle& t, float u, float v, float width) const;

private:
    HeightRay MoveRay(const Point3& origin, const Point3& direction, float near, float far) const;
    Point3 NormalToWorld(const Point3& n) const;
    bool IsMapped() const { return Material().Channel() == 1; }

    const HeightField& m_field;
    const RenderMaterials& m_materials;
    uint32_t m_material, m_cellsX;
    Matrix3 m_transform, m_inverse;
};

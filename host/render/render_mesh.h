// Meshes in the ray tracer's own compact form.
//
// A render mesh keeps positions shared by vertices (Embree reads them in place) and normals and
// mapping by corner. Faces that a mask can cut come last, so that only they pay for the test.
// Immutable after construction; threads share it.
#pragma once

#include <vector>

#include "host/geom/mesh.h"
#include "host/render/render_material.h"
#include "host/scene/instance_source.h"

class RenderMesh {
public:
    // Converts a mesh, which must outlive this: what few materials ask for is read there.
    // `transform` moves it into the world (or is the identity for a prototype). Faces with vertices
    // out of range or not finite are left out.
    RenderMesh(const Mesh& mesh, Mtl* mtl, const Matrix3& transform, RenderMaterials& materials,
               const INode* node = nullptr);
    // Of a prototype, in its own space; the source must outlive this too.
    RenderMesh(const IInstanceSource& source, size_t prototype, RenderMaterials& materials);

    size_t NumFaces() const { return m_faces.size(); }
    size_t NumOpaque() const { return m_numOpaque; }
    size_t NumVertices() const { return m_positions.size() - 1; }
    const Point3* Positions() const { return m_positions.data(); }
    const Triple* Faces() const { return m_faces.data(); }
    const Box3& Bounds() const { return m_bounds; }
    // Box around the mesh moved by m, often tighter than the moved box: plants are round.
    Box3 MovedBounds(const Matrix3& m) const;
    size_t Bytes() const;

    // The node that shows it; null for a prototype, or without a scene.
    const INode* Node() const { return m_node; }
    // The mesh that it was made from, and a face's number there.
    const Mesh& Source() const { return *m_source; }
    uint32_t SourceFace(size_t face) const { return m_sourceFace[face]; }
    const RenderMaterial& Material(size_t face) const { return (*m_materials)[m_material[face]]; }

    // u and v weigh the second and third corner.
    Point3 Normal(size_t face, float u, float v) const;  // unit, object space
    // Mapping in the channel of the face's material.
    Point2 Uv(size_t face, float u, float v) const {
        if (m_uvs.empty()) return {};
        const auto& t = m_uvs[face];
        return t[0] * (1 - u - v) + t[1] * u + t[2] * v;
    }
    // Lengths of that mapping per length of object space.
    float UvDensity(size_t face) const { return m_uvs.empty() ? 0 : m_uvDensity[face]; }
    // What the vertices' colours multiply the diffuse by: linear light, white without any.
    Color VertexColor(size_t face, float u, float v) const;

private:
    // A slice of the mesh between two heights, and the largest distance from the z axis in it.
    struct Slice {
        float low, high, radius;
    };

    // mtlOf(face): the material of a face of the mesh.
    template <class MtlOf>
    void Convert(const Matrix3& transform, RenderMaterials& materials, const MtlOf& mtlOf);
    void AddUvs(size_t sourceFace);
    bool IsOpaque(size_t face) const;
    void SortByOpacity();
    void MeasureSlices();

    const RenderMaterials* m_materials;
    const Mesh* m_source;
    const INode* m_node = nullptr;
    const IInstanceSource* m_owner = nullptr;  // that shows it as a whole, in one instance
    std::vector<Point3> m_positions;  // one more than there are vertices: Embree reads 16 bytes
    std::vector<Triple> m_faces;
    std::vector<std::array<uint32_t, 3>> m_normals;  // packed, by corner
    std::vector<std::array<Point2, 3>> m_uvs;        // by corner; empty without mapping
    std::vector<float> m_uvDensity;
    std::vector<std::array<Color, 3>> m_colors;  // linear, by corner; empty when none is shown
    std::vector<uint32_t> m_material, m_sourceFace;
    size_t m_numOpaque = 0;
    Box3 m_bounds;
    std::vector<Slice> m_slices;  // together they hold all faces
};

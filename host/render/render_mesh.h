// Meshes and materials in the ray tracer's own compact form.
//
// A render mesh keeps positions shared by vertices (Embree reads them in place) and normals and
// mapping by corner. Faces that a mask can cut come last, so that only they pay for the test.
// Immutable after construction; threads share it.
#pragma once

#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "host/geom/mesh.h"
#include "host/render/render_texture.h"
#include "host/scene/material.h"

struct RenderMaterial {
    Color diffuse{0.5f, 0.5f, 0.5f};  // display colour; a map replaces it
    Color mapFactor{1, 1, 1};         // linear; multiplies the map
    float opacity = 1;                // what is left of it beside a map with a cutoff
    bool vertexColors = false;
    float translucency = 0, reflectivity = 0, ripple = 0;
    const RenderTexture* diffuseMap = nullptr;
    const RenderTexture* opacityMap = nullptr;

    bool CanCut() const { return opacity < 1 || opacityMap; }
    int Channel() const {
        return diffuseMap ? diffuseMap->Channel() : opacityMap ? opacityMap->Channel() : 1;
    }
};

// All materials and textures of one render, each converted once.
class RenderMaterials {
public:
    RenderMaterials();
    // Index of the material that `mtl` shows on faces of an id; 0 is the default grey.
    uint32_t Add(const Mtl* mtl, int matID);
    const RenderMaterial& operator[](size_t i) const { return *m_materials[i]; }

private:
    const RenderTexture* AddTexture(const Texmap* map, RenderTexture::Use use, float cutoff = 0);
    void SetOpacity(const StandardMtl& source, RenderMaterial& material);

    std::vector<std::unique_ptr<RenderMaterial>> m_materials;
    std::map<const StandardMtl*, uint32_t> m_indices;
    using TextureKey = std::tuple<const Texmap*, RenderTexture::Use, float>;  // with the cutoff
    std::map<TextureKey, std::unique_ptr<RenderTexture>> m_textures;
};

class RenderMesh {
public:
    // Converts a mesh; `transform` moves it into the world (or is the identity for a prototype).
    // Faces with vertices out of range or not finite are left out.
    RenderMesh(const Mesh& mesh, const Mtl* mtl, const Matrix3& transform,
               RenderMaterials& materials);

    size_t NumFaces() const { return m_faces.size(); }
    size_t NumOpaque() const { return m_numOpaque; }
    size_t NumVertices() const { return m_positions.size() - 1; }
    const Point3* Positions() const { return m_positions.data(); }
    const Triple* Faces() const { return m_faces.data(); }
    const Box3& Bounds() const { return m_bounds; }
    // Box around the mesh moved by m, often tighter than the moved box: plants are round.
    Box3 MovedBounds(const Matrix3& m) const;
    size_t Bytes() const;

    // u and v weigh the second and third corner.
    Point3 Normal(size_t face, float u, float v) const;  // unit, object space
    Point3 Position(size_t face, float u, float v) const;
    Point2 Uv(size_t face, float u, float v) const;
    // Lengths of mapping space per length of object space.
    float UvDensity(size_t face) const { return m_uvs.empty() ? 0 : m_uvDensity[face]; }
    const RenderMaterial& Material(size_t face) const { return (*m_materials)[m_material[face]]; }
    // Opacity there for a ray `width` wide in object space.
    float Opacity(size_t face, float u, float v, float width) const;
    // What the vertices' colours multiply the diffuse by: linear light, white without any.
    Color VertexColor(size_t face, float u, float v) const;

private:
    // A slice of the mesh between two heights, and the largest distance from the z axis in it.
    struct Slice {
        float low, high, radius;
    };

    bool IsOpaque(size_t face) const;
    void SortByOpacity();
    void MeasureSlices();

    const RenderMaterials* m_materials;
    std::vector<Point3> m_positions;  // one more than there are vertices: Embree reads 16 bytes
    std::vector<Triple> m_faces;
    std::vector<std::array<uint32_t, 3>> m_normals;  // packed, by corner
    std::vector<std::array<Point2, 3>> m_uvs;        // by corner; empty without mapping
    std::vector<float> m_uvDensity;
    std::vector<std::array<Color, 3>> m_colors;  // linear, by corner; empty when none is shown
    std::vector<uint32_t> m_material;
    size_t m_numOpaque = 0;
    Box3 m_bounds;
    std::vector<Slice> m_slices;  // together they hold all faces
};

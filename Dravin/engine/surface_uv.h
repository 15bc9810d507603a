// A surface in its texture space: where in space are the coordinates (u, v)?
//
// Made from one mapping channel of a mesh; faces without area there are left out. Islands may
// overlap: a coordinate is then found once for each face that contains it. Immutable and shared,
// like the array for vertical hits, whose cell grid it uses with (u, v) for (x, y).
#pragma once

#include "Dravin/engine/surface_array.h"

struct TUvHit {
    int32_t face = -1;
    Point3 barycentric;
    Point3 point, normal;  // surface space; the normal is the face's, unit length
    Point3 dPdu, dPdv;     // how the point moves with the coordinates
};

class TSurfUVArray {
public:
    // Null when the mesh has no mapping in the channel.
    static std::shared_ptr<const TSurfUVArray> Make(std::shared_ptr<const Mesh> mesh, int channel,
                                                    int threads = 1);

    // Calls visit(TUvHit) for every face whose texture triangle holds (u, v), in face order.
    template <class Visit>
    void ForEachHit(float u, float v, const Visit& visit) const {
        m_texture.ForEachHit(u, v, [&](const TSurfHit& hit) { visit(Complete(hit)); });
    }

    // Texture coordinates of all usable faces: x is u, y is v.
    const Box2& TextureBounds() const { return m_texture.GridBounds(); }
    const Mesh& GetMesh() const { return *m_mesh; }
    // Units of the target space in one texture unit: the square root of surface area over texture
    // area, over the faces that have a texture area. 0 when none has.
    double UnitsPerTextureUnit(const Matrix3& toTarget) const;

private:
    TSurfUVArray(std::shared_ptr<const Mesh> mesh, std::shared_ptr<const Mesh> texture, int threads)
        : m_mesh(std::move(mesh)), m_texture(std::move(texture), threads) {}
    TUvHit Complete(const TSurfHit& hit) const;

    std::shared_ptr<const Mesh> m_mesh;
    TSurfXYArray m_texture;  // the faces with their texture coordinates as vertices
};

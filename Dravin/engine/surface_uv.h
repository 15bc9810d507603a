// A surface in its texture space: where in space are the coordinates (u, v)?
//
// Made from one mapping channel of a mesh; faces without area there are left out. Islands may
// overlap: a coordinate is then found once for each face that contains it. The faces stand under
// the cell grid of vertical hits, with (u, v) for (x, y). On a height field, whose one channel is
// its plane, the coordinates tell the cell. Immutable and shared.
#pragma once

#include <array>
#include <optional>

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
    static std::shared_ptr<const TSurfUVArray> Make(std::shared_ptr<const HeightField> field,
                                                    int channel);

    // Calls visit(TUvHit) for every face whose texture triangle holds (u, v), in face order.
    template <class Visit>
    void ForEachHit(float u, float v, const Visit& visit) const {
        if (m_texture)
            return m_texture->ForEachHit(u, v, [&](const TSurfHit& h) { visit(Complete(h)); });
        HeightTriangle t;
        TSurfHit hit;
        if (!m_heights->MappingHit(u, v, &t, &hit)) return;
        const HeightField& field = m_heights->Field();
        visit(Complete(hit, field.Corners(t), field.MappingCorners(t)));
    }

    // Texture coordinates of all usable faces: x is u, y is v.
    const Box2& TextureBounds() const {
        return m_texture ? m_texture->GridBounds() : m_heights->Field().MappingBounds();
    }
    // Coordinates of any mapping channel of the surface at a hit; zero where it has none.
    Point3 Uvw(int channel, const TUvHit& hit) const;
    // Units of the target space in one texture unit: the square root of surface area over texture
    // area, over the faces that have a texture area. 0 when none has.
    double UnitsPerTextureUnit(const Matrix3& toTarget) const;

private:
    using Corners = std::array<Point3, 3>;

    TSurfUVArray() = default;
    TUvHit Complete(const TSurfHit& hit) const;
    static TUvHit Complete(const TSurfHit& hit, const Corners& corners, const Corners& texture);
    // Calls visit(corners, texture corners) in face order.
    template <class Visit>
    void ForEachFace(const Visit& visit) const;

    // Of a mesh: its faces with their texture coordinates as vertices.
    std::shared_ptr<const Mesh> m_mesh;
    std::optional<TTriangleSurface> m_texture;
    // Or a height field.
    std::optional<THeightSurface> m_heights;
};

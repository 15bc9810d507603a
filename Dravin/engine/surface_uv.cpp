#include "Dravin/engine/surface_uv.h"

#include <cmath>

namespace {

// Twice the signed area of a face in texture space.
double TextureArea(const Mesh& texture, size_t face) {
    const Triple& t = texture.faces[face].v;
    const Point3 &a = texture.verts[t[0]], &b = texture.verts[t[1]], &c = texture.verts[t[2]];
    return (double(b.x) - a.x) * (double(c.y) - a.y) - (double(b.y) - a.y) * (double(c.x) - a.x);
}

}  // namespace

std::shared_ptr<const TSurfUVArray> TSurfUVArray::Make(std::shared_ptr<const Mesh> mesh,
                                                       int channel, int threads) {
    const MapChannel* map = mesh->Map(channel);
    if (!map) return nullptr;
    auto texture = std::make_shared<Mesh>();
    for (const Point3& uvw : map->verts) texture->verts.push_back({uvw.x, uvw.y, 0});
    texture->faces.resize(map->faces.size());
    for (size_t f = 0; f < map->faces.size(); ++f) texture->faces[f].v = map->faces[f];
    return std::shared_ptr<const TSurfUVArray>(
        new TSurfUVArray(std::move(mesh), std::move(texture), threads));
}

TUvHit TSurfUVArray::Complete(const TSurfHit& hit) const {
    TUvHit result;
    result.face = hit.face;
    result.barycentric = hit.Barycentric();
    const Triple& v = m_mesh->faces[size_t(hit.face)].v;
    const Triple& t = m_texture.GetMesh().faces[size_t(hit.face)].v;
    const std::vector<Point3>& uv = m_texture.GetMesh().verts;
    const Point3& origin = m_mesh->verts[v[0]];
    Point3 e1 = m_mesh->verts[v[1]] - origin, e2 = m_mesh->verts[v[2]] - origin;
    result.point = origin + e1 * hit.bary1 + e2 * hit.bary2;
    result.normal = Normalize(CrossProd(e1, e2));
    // Two equations, e = dPdu du + dPdv dv along both edges.
    Point3 d1 = uv[t[1]] - uv[t[0]], d2 = uv[t[2]] - uv[t[0]];
    double det = TextureArea(m_texture.GetMesh(), size_t(hit.face));
    result.dPdu = e1 * float(d2.y / det) - e2 * float(d1.y / det);
    result.dPdv = e2 * float(d1.x / det) - e1 * float(d2.x / det);
    return result;
}

double TSurfUVArray::UnitsPerTextureUnit(const Matrix3& toTarget) const {
    double surface = 0, texture = 0;
    for (size_t f = 0; f < m_mesh->NumFaces(); ++f) {
        double area = std::abs(TextureArea(m_texture.GetMesh(), f));
        if (!(area > 0)) continue;
        const Triple& v = m_mesh->faces[f].v;
        Point3 a = m_mesh->verts[v[0]] * toTarget, b = m_mesh->verts[v[1]] * toTarget,
               c = m_mesh->verts[v[2]] * toTarget;
        double own = Length(CrossProd(b - a, c - a));
        if (!std::isfinite(own)) continue;
        surface += own;
        texture += area;
    }
    return texture > 0 ? std::sqrt(surface / texture) : 0;
}

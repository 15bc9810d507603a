#include "Dravin/engine/surface_uv.h"

#include <cmath>

namespace {

// Twice the signed area of a face in texture space.
double TextureArea(const std::array<Point3, 3>& t) {
    const Point3 &a = t[0], &b = t[1], &c = t[2];
    return (double(b.x) - a.x) * (double(c.y) - a.y) - (double(b.y) - a.y) * (double(c.x) - a.x);
}

std::array<Point3, 3> CornersOf(const Mesh& mesh, size_t face) {
    const Triple& v = mesh.faces[face].v;
    return {mesh.verts[v[0]], mesh.verts[v[1]], mesh.verts[v[2]]};
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
    std::shared_ptr<TSurfUVArray> array(new TSurfUVArray);
    array->m_mesh = std::move(mesh);
    array->m_texture.emplace(std::move(texture), threads);
    return array;
}

std::shared_ptr<const TSurfUVArray> TSurfUVArray::Make(std::shared_ptr<const HeightField> field,
                                                       int channel) {
    if (channel != 1 || field->NumFaces() == 0) return nullptr;
    std::shared_ptr<TSurfUVArray> array(new TSurfUVArray);
    array->m_heights.emplace(std::move(field));
    return array;
}

TUvHit TSurfUVArray::Complete(const TSurfHit& hit) const {
    size_t face = size_t(hit.face);
    return Complete(hit, CornersOf(*m_mesh, face), CornersOf(m_texture->GetMesh(), face));
}

TUvHit TSurfUVArray::Complete(const TSurfHit& hit, const Corners& corners, const Corners& uv) {
    TUvHit result;
    result.face = hit.face;
    result.barycentric = hit.Barycentric();
    const Point3& origin = corners[0];
    Point3 e1 = corners[1] - origin, e2 = corners[2] - origin;
    result.point = origin + e1 * hit.bary1 + e2 * hit.bary2;
    result.normal = Normalize(CrossProd(e1, e2));
    // Two equations, e = dPdu du + dPdv dv along both edges.
    Point3 d1 = uv[1] - uv[0], d2 = uv[2] - uv[0];
    double det = TextureArea(uv);
    result.dPdu = e1 * float(d2.y / det) - e2 * float(d1.y / det);
    result.dPdv = e2 * float(d1.x / det) - e1 * float(d2.x / det);
    return result;
}

Point3 TSurfUVArray::Uvw(int channel, const TUvHit& hit) const {
    const Point3& b = hit.barycentric;
    if (m_heights) return m_heights->Uvw(channel, hit.face, b);
    const MapChannel* map = m_mesh->Map(channel);
    if (!map) return {};
    const Triple& t = map->faces[size_t(hit.face)];
    return map->verts[t[0]] * b.x + map->verts[t[1]] * b.y + map->verts[t[2]] * b.z;
}

template <class Visit>
void TSurfUVArray::ForEachFace(const Visit& visit) const {
    if (m_mesh) {
        for (size_t f = 0; f < m_mesh->NumFaces(); ++f)
            visit(CornersOf(*m_mesh, f), CornersOf(m_texture->GetMesh(), f));
        return;
    }
    const HeightField& field = m_heights->Field();
    for (uint32_t j = 0; j + 1 < field.NumRows(); ++j)
        for (uint32_t i = 0; i + 1 < field.NumColumns(); ++i)
            for (bool upper : {false, true})
                if (HeightTriangle t{i, j, upper}; field.Exists(t))
                    visit(field.Corners(t), field.MappingCorners(t));
}

double TSurfUVArray::UnitsPerTextureUnit(const Matrix3& toTarget) const {
    double surface = 0, texture = 0;
    ForEachFace([&](const Corners& corners, const Corners& uv) {
        double area = std::abs(TextureArea(uv));
        if (!(area > 0)) return;
        Point3 a = corners[0] * toTarget, b = corners[1] * toTarget, c = corners[2] * toTarget;
        double own = Length(CrossProd(b - a, c - a));
        if (!std::isfinite(own)) return;
        surface += own;
        texture += area;
    });
    return texture > 0 ? std::sqrt(surface / texture) : 0;
}

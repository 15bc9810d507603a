#include "host/render/hit_context.h"

#include <algorithm>
#include <cmath>

#include "host/math/display_color.h"
#include "host/scene/instance_source.h"

namespace {

template <class T>
T Mean(const std::array<T, 3>& corners, float u, float v) {
    return corners[0] * (1 - u - v) + corners[1] * u + corners[2] * v;
}

// Lengths of mapping space per length of the space of the corners.
float Density(const std::array<Point3, 3>& corners, const std::array<Point3, 3>& uvw) {
    float area = Length(CrossProd(corners[1] - corners[0], corners[2] - corners[0]));
    Point3 a = uvw[1] - uvw[0], b = uvw[2] - uvw[0];
    return area > 0 ? std::sqrt(std::fabs(a.x * b.y - a.y * b.x) / area) : 0;
}

}  // namespace

float PackedInstance::InverseScale() const {
    float squares = 0;
    for (float f : toPrototype) squares += f * f;
    return std::sqrt(squares / 3);
}

Matrix3 PackedInstance::ToWorld() const {
    const float* m = toPrototype;
    Matrix3 inverse{{{m[0], m[1], m[2]}, {m[3], m[4], m[5]}, {m[6], m[7], m[8]}, {0, 0, 0}}};
    Matrix3 world = Inverse(inverse);
    world.SetTrans(position);
    return world;
}

Point3 HitPlace::Normal() const {
    if (heights) return heights->Normal(heights->Unpack(face), u, v);
    Point3 n = mesh->Normal(face, u, v);
    return instance ? Normalize(instance->NormalToWorld(n)) : n;
}

std::array<Point3, 3> HitPlace::Corners() const {
    if (heights) return heights->Corners(heights->Unpack(face));
    const Triple& t = mesh->Faces()[face];
    const Point3* p = mesh->Positions();
    return {p[t[0]], p[t[1]], p[t[2]]};
}

const INode* HitContext::Node() const {
    if (m_place.source) return m_place.source->SourceNode();
    return m_place.heights ? m_place.heights->Node() : m_place.mesh->Node();
}

uint32_t HitContext::FaceIndex() const {
    const RenderHeights* heights = m_place.heights;
    return heights ? uint32_t(heights->Field().FaceNumber(heights->Unpack(m_place.face)))
                   : m_place.mesh->SourceFace(m_place.face);
}

int HitContext::MaterialId() const {
    return m_place.heights ? 0 : m_place.mesh->Source().faces[FaceIndex()].matID;
}

std::array<Point3, 3> HitContext::SourceCorners() const {
    if (m_place.heights)
        return m_place.heights->Field().Corners(m_place.heights->Unpack(m_place.face));
    const Mesh& mesh = m_place.mesh->Source();
    const Triple& t = mesh.faces[FaceIndex()].v;
    return {mesh.verts[t[0]], mesh.verts[t[1]], mesh.verts[t[2]]};
}

bool HitContext::SourceMapping(int channel, std::array<Point3, 3>* corners) const {
    if (m_place.heights) {
        if (channel != 1) return false;
        *corners = m_place.heights->Field().MappingCorners(m_place.heights->Unpack(m_place.face));
        return true;
    }
    const MapChannel* map = m_place.mesh->Source().Map(channel);
    if (!map) return false;
    const Triple& t = map->faces[FaceIndex()];
    *corners = {map->verts[t[0]], map->verts[t[1]], map->verts[t[2]]};
    return true;
}

Point3 HitContext::ObjectPosition() const { return Mean(SourceCorners(), m_place.u, m_place.v); }

Point3 HitContext::WorldPosition() const {
    Point3 p = Mean(m_place.Corners(), m_place.u, m_place.v);
    return m_place.instance ? p * m_place.instance->ToWorld() : p;
}

Point3 HitContext::FaceNormal() const {
    auto [a, b, c] = m_place.Corners();
    Point3 n = CrossProd(b - a, c - a);
    return Normalize(m_place.instance ? m_place.instance->NormalToWorld(n) : n);
}

// Solves edge = du * alongU + dv * alongV for the two edges of the face.
bool HitContext::Tangents(int channel, Point3* alongU, Point3* alongV) const {
    std::array<Point3, 3> uvw;
    if (!SourceMapping(channel, &uvw)) return false;
    auto [a, b, c] = m_place.Corners();
    Point3 e1 = b - a, e2 = c - a, d1 = uvw[1] - uvw[0], d2 = uvw[2] - uvw[0];
    float det = d1.x * d2.y - d1.y * d2.x;
    if (!(std::fabs(det) > 1e-20f)) return false;
    *alongU = (e1 * d2.y - e2 * d1.y) / det;
    *alongV = (e2 * d1.x - e1 * d2.x) / det;
    if (!m_place.instance) return true;
    Matrix3 toWorld = m_place.instance->ToWorld();
    *alongU = toWorld.VectorTransform(*alongU);
    *alongV = toWorld.VectorTransform(*alongV);
    return true;
}

Point3 HitContext::Uvw(int channel) const {
    std::array<Point3, 3> uvw;
    return SourceMapping(channel, &uvw) ? Mean(uvw, m_place.u, m_place.v) : Point3{};
}

Color HitContext::VertexColor() const {
    if (!m_place.mesh) return {1, 1, 1};
    return m_place.mesh->VertexColor(m_place.face, m_place.u, m_place.v);
}

// The mapping that most maps want is at hand.
Point2 HitContext::Uv(int channel) const {
    if (m_place.mesh && channel == m_material.channel)
        return m_place.mesh->Uv(m_place.face, m_place.u, m_place.v);
    Point3 uvw = Uvw(channel);
    return {uvw.x, uvw.y};
}

float HitContext::UvWidth(int channel) const {
    if (m_width == 0) return 0;
    float width = m_width * m_place.MeshScale();
    if (m_place.mesh && channel == m_material.channel)
        return width * m_place.mesh->UvDensity(m_place.face);
    std::array<Point3, 3> uvw;
    return SourceMapping(channel, &uvw) ? width * Density(m_place.Corners(), uvw) : 0;
}

Color HitContext::LinearColor(const Texmap& map) const {
    const RenderTexture* image = m_material.Find(map, MapUse::kColor);
    if (!image || !image->HasImage()) return DisplayToLinear(map.Eval(*this).Rgb());
    return image->LookUp(Uv(image->Channel()), UvWidth(image->Channel()));
}

Color HitContext::Data(const Texmap& map) const {
    const RenderTexture* image = m_material.Find(map, MapUse::kData);
    if (!image || !image->HasImage()) return map.Eval(*this).Rgb();
    return image->LookUp(Uv(image->Channel()), UvWidth(image->Channel()));
}

float HitContext::Mask(const Texmap& map, float cutoff) const {
    const RenderTexture* image = m_material.Find(map, MapUse::kMask, cutoff);
    if (image && image->HasImage())
        return image->LookUpMask(Uv(image->Channel()), UvWidth(image->Channel()));
    AColor c = map.Eval(*this);
    float value = std::clamp(Luminance(c.Rgb()) * c.a, 0.f, 1.f);
    return cutoff > 0 ? float(value >= cutoff) : value;
}

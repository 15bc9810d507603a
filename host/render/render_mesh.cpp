#include "host/render/render_mesh.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <numeric>

#include "host/geom/mesh_tools.h"
#include "host/math/display_color.h"
#include "host/render/hit_context.h"

namespace {

// Unit vectors in 32 bits: the octahedron unfolded to a square (Meyer et al. 2010).
uint32_t PackNormal(const Point3& n) {
    float sum = std::fabs(n.x) + std::fabs(n.y) + std::fabs(n.z);
    if (!(sum > 0)) return PackNormal({0, 0, 1});
    float x = n.x / sum, y = n.y / sum;
    if (n.z < 0) {
        float ox = x;
        x = (1 - std::fabs(y)) * (x < 0 ? -1.f : 1.f);
        y = (1 - std::fabs(ox)) * (y < 0 ? -1.f : 1.f);
    }
    auto quantize = [](float f) { return uint32_t(std::lround((f * 0.5f + 0.5f) * 65535)); };
    return quantize(x) | quantize(y) << 16;
}

Point3 UnpackNormal(uint32_t packed) {
    float x = float(packed & 0xffff) / 65535 * 2 - 1, y = float(packed >> 16) / 65535 * 2 - 1;
    Point3 n{x, y, 1 - std::fabs(x) - std::fabs(y)};
    if (n.z < 0) {
        n.x = (1 - std::fabs(y)) * (x < 0 ? -1.f : 1.f);
        n.y = (1 - std::fabs(x)) * (y < 0 ? -1.f : 1.f);
    }
    return Normalize(n);
}

// Normals turn with the inverse transpose.
Point3 TransformNormal(const Point3& n, const Matrix3& inverse) {
    return Normalize(
        {DotProd(inverse.row[0], n), DotProd(inverse.row[1], n), DotProd(inverse.row[2], n)});
}

template <class T>
void Reorder(std::vector<T>& values, const std::vector<uint32_t>& order) {
    if (values.empty()) return;
    std::vector<T> sorted;
    sorted.reserve(order.size());
    for (uint32_t i : order) sorted.push_back(values[i]);
    values = std::move(sorted);
}

std::vector<Color> LinearColors(const MapChannel& channel) {
    std::vector<Color> colors;
    colors.reserve(channel.verts.size());
    for (const Point3& p : channel.verts) {
        auto unit = [](float f) { return std::clamp(f, 0.f, 1.f); };
        Color c{unit(p.x), unit(p.y), unit(p.z)};
        colors.push_back(IsFinite(p) ? DisplayToLinear(c) : Color{});
    }
    return colors;
}

bool IsUsable(const Mesh& mesh, const Face& face) {
    return std::all_of(face.v.begin(), face.v.end(), [&](uint32_t v) {
        return v < mesh.verts.size() && IsFinite(mesh.verts[v]);
    });
}

}  // namespace

RenderMesh::RenderMesh(const Mesh& mesh, Mtl* mtl, const Matrix3& transform,
                       RenderMaterials& materials, const INode* node)
    : m_materials(&materials), m_source(&mesh), m_node(node) {
    Convert(transform, materials, [mtl](size_t) { return mtl; });
}

RenderMesh::RenderMesh(const IInstanceSource& source, size_t prototype, RenderMaterials& materials)
    : m_materials(&materials) {
    static const Mesh kEmpty;
    const Mesh* mesh = source.PrototypeMesh(prototype);
    m_source = mesh ? mesh : &kEmpty;
    if (source.ChangeableMesh()) m_owner = &source;
    Convert({}, materials, [&](size_t f) { return source.FaceMtl(prototype, f); });
}

template <class MtlOf>
void RenderMesh::Convert(const Matrix3& transform, RenderMaterials& materials, const MtlOf& mtlOf) {
    const Mesh& mesh = *m_source;
    m_positions.reserve(mesh.verts.size() + 1);
    for (const Point3& p : mesh.verts) m_positions.push_back(p * transform);
    m_positions.push_back({});
    if (!Validate(mesh).empty()) return;

    Matrix3 inverse = Inverse(transform);
    std::vector<Point3> smooth = VertexNormals(mesh);
    bool hasUvs = false;
    for (const MapChannel& channel : mesh.maps) hasUvs |= !channel.IsEmpty();
    const MapChannel* colorChannel = mesh.Map(0);
    std::vector<Color> colors;  // of the vertices, from the first face on that shows them
    std::map<std::pair<Mtl*, uint16_t>, uint32_t> indexOf;
    for (size_t f = 0; f < mesh.faces.size(); ++f) {
        const Face& face = mesh.faces[f];
        if (face.flags & Face::kHidden || !IsUsable(mesh, face)) continue;
        Mtl* mtl = mtlOf(f);
        auto [index, isNew] = indexOf.try_emplace({mtl, face.matID}, 0);
        if (isNew) index->second = materials.Add(mtl, face.matID);
        m_faces.push_back(face.v);
        m_material.push_back(index->second);
        m_sourceFace.push_back(uint32_t(f));
        auto& normals = m_normals.emplace_back();
        for (size_t c = 0; c < 3; ++c) {
            normals[c] = PackNormal(TransformNormal(smooth[3 * f + c], inverse));
            m_bounds += m_positions[face.v[c]];
        }
        bool showsColors = colorChannel && materials[index->second].vertexColors;
        if (showsColors && colors.empty()) colors = LinearColors(*colorChannel);
        if (!colors.empty()) {
            constexpr Color kWhite{1, 1, 1};
            m_colors.resize(m_faces.size(), {kWhite, kWhite, kWhite});
            for (size_t c = 0; showsColors && c < 3; ++c)
                m_colors.back()[c] = colors[colorChannel->faces[f][c]];
        }
        if (hasUvs) AddUvs(f);
    }
    SortByOpacity();
    MeasureSlices();
}

// Mapping of the last face, and how dense it is.
void RenderMesh::AddUvs(size_t sourceFace) {
    auto& uvs = m_uvs.emplace_back();
    if (const MapChannel* map = m_source->Map((*m_materials)[m_material.back()].channel))
        for (size_t c = 0; c < 3; ++c) {
            const Point3& uvw = map->verts[map->faces[sourceFace][c]];
            uvs[c] = {uvw.x, uvw.y};
        }
    Point2 a = uvs[1] - uvs[0], b = uvs[2] - uvs[0];
    float uvArea = std::fabs(a.x * b.y - a.y * b.x);
    const Triple& t = m_faces.back();
    float area = Length(
        CrossProd(m_positions[t[1]] - m_positions[t[0]], m_positions[t[2]] - m_positions[t[0]]));
    m_uvDensity.push_back(area > 0 ? std::sqrt(uvArea / area) : 0);
}

void RenderMesh::MeasureSlices() {
    constexpr int kSlices = 6;
    float low = m_bounds.min.z, step = (m_bounds.max.z - low) / kSlices;
    for (int i = 0; i < kSlices; ++i) m_slices.push_back({FLT_MAX, -FLT_MAX, 0});
    // A face belongs to the slice of its middle, which grows to hold it.
    for (const Triple& t : m_faces) {
        float middle = 0;
        for (uint32_t v : t) middle += m_positions[v].z / 3;
        int i = step > 0 ? std::clamp(int((middle - low) / step), 0, kSlices - 1) : 0;
        Slice& slice = m_slices[size_t(i)];
        for (uint32_t v : t) {
            const Point3& p = m_positions[v];
            slice.low = std::min(slice.low, p.z);
            slice.high = std::max(slice.high, p.z);
            slice.radius = std::max(slice.radius, std::hypot(p.x, p.y));
        }
    }
    std::erase_if(m_slices, [](const Slice& s) { return s.low > s.high; });
}

Box3 RenderMesh::MovedBounds(const Matrix3& m) const {
    // A disc of radius r across the z axis reaches r * |(row 0, row 1)| along each world axis.
    Box3 round, box = m.BoxTransform(m_bounds);
    for (const Slice& slice : m_slices) {
        Point3 a = m.row[2] * slice.low + m.row[3], b = m.row[2] * slice.high + m.row[3], reach;
        for (int i = 0; i < 3; ++i) reach[i] = slice.radius * std::hypot(m.row[0][i], m.row[1][i]);
        for (const Point3& p : {a, b}) round += p - reach, round += p + reach;
    }
    for (int i = 0; i < 3; ++i) {
        box.min[i] = std::max(box.min[i], round.min[i]);
        box.max[i] = std::min(box.max[i], round.max[i]);
    }
    return box;
}

void RenderMesh::SortByOpacity() {
    std::vector<uint32_t> order(m_faces.size());
    std::iota(order.begin(), order.end(), 0u);
    auto cut =
        std::stable_partition(order.begin(), order.end(), [&](uint32_t f) { return IsOpaque(f); });
    m_numOpaque = size_t(cut - order.begin());
    if (m_numOpaque == m_faces.size() || m_numOpaque == 0) return;
    Reorder(m_faces, order);
    Reorder(m_normals, order);
    Reorder(m_uvs, order);
    Reorder(m_uvDensity, order);
    Reorder(m_colors, order);
    Reorder(m_material, order);
    Reorder(m_sourceFace, order);
}

// A face under a mask is opaque when all of it lies on white: bark beside leaves on one sheet.
bool RenderMesh::IsOpaque(size_t face) const {
    const RenderMaterial& material = Material(face);
    if (!material.canCut) return true;
    if (m_uvs.empty()) return false;
    HitPlace place{this, nullptr, uint32_t(face)};
    place.source = m_owner;
    constexpr int kSteps = 6;
    for (int i = 0; i <= kSteps; ++i)
        for (int j = 0; i + j <= kSteps; ++j) {
            place.u = float(i) / kSteps, place.v = float(j) / kSteps;
            for (RayKind kind : {RayKind::kCamera, RayKind::kShadow})
                if (HitContext(place, material, 0, kind).Opacity() < 0.999f) return false;
        }
    return true;
}

size_t RenderMesh::Bytes() const {
    return m_positions.size() * sizeof(Point3) +
           m_faces.size() * (sizeof(Triple) + sizeof(m_normals[0]) + 2 * sizeof(uint32_t)) +
           m_uvs.size() * (sizeof(m_uvs[0]) + sizeof(float)) +
           m_colors.size() * sizeof(m_colors[0]);
}

Point3 RenderMesh::Normal(size_t face, float u, float v) const {
    const auto& n = m_normals[face];
    return Normalize(UnpackNormal(n[0]) * (1 - u - v) + UnpackNormal(n[1]) * u +
                     UnpackNormal(n[2]) * v);
}

Color RenderMesh::VertexColor(size_t face, float u, float v) const {
    if (m_colors.empty()) return {1, 1, 1};
    const auto& c = m_colors[face];
    return c[0] * (1 - u - v) + c[1] * u + c[2] * v;
}

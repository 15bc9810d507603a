#include "Dravin/mesh/mesh_items.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "Dravin/engine/transforms.h"
#include "Dravin/mesh/shadow_planes.h"

namespace {

// Turning a face round exchanges its first two corners; its second and third side change places.
uint8_t TurnedFlags(uint8_t flags) {
    constexpr uint8_t kSecond = Face::kEdge1, kThird = Face::kEdge2;
    uint8_t sides = uint8_t((flags & kSecond ? kThird : 0) | (flags & kThird ? kSecond : 0));
    return uint8_t((flags & ~(kSecond | kThird)) | sides);
}

constexpr size_t kCorners = 3;  // the first words of a face

// Copies records of some words each, and adds `shift` to the first kShifted words of every one.
template <class Record, size_t kShifted>
class ShiftedCopy {
public:
    explicit ShiftedCopy(uint32_t shift) {
        for (size_t i = 0; i < kNumWords; ++i) m_shifts[i] = i % kWords < kShifted ? shift : 0;
    }
    // Four records at a time are whole vectors, whatever they are made of.
    void Copy(const Record* from, size_t n, Record* to) const {
        for (; n >= kAtOnce; n -= kAtOnce, from += kAtOnce, to += kAtOnce)
            CopyBytes(from, kAtOnce * sizeof(Record), to);
        if (n > 0) CopyBytes(from, n * sizeof(Record), to);
    }

private:
    static constexpr size_t kAtOnce = 4, kWords = sizeof(Record) / sizeof(uint32_t);
    static constexpr size_t kNumWords = kAtOnce * kWords;
    static_assert(sizeof(Record) % sizeof(uint32_t) == 0);
    static_assert(std::is_trivially_copyable_v<Record>);

    void CopyBytes(const Record* from, size_t bytes, Record* to) const {
        uint32_t words[kNumWords]{};
        std::memcpy(words, from, bytes);
        for (size_t i = 0; i < kNumWords; ++i) words[i] += m_shifts[i];
        std::memcpy(to, words, bytes);
    }

    uint32_t m_shifts[kNumWords];
};

class ItemAdder {
public:
    ItemAdder(const TDravinItem& item, size_t index, const TMeshTarget& target)
        : m_item(item),
          m_index(int32_t(index)),
          m_target(target),
          m_range(target.ranges[index]),
          m_shape(target.shapes[m_range.shape]),
          m_source(*m_shape.mesh),
          m_vert(m_range.firstVert),
          m_face(m_range.firstFace),
          m_normal(m_range.firstNormal) {}

    void Add() {
        Matrix3 toObject = ItemTransform(m_item, m_target.settings.scaleOnSlope);
        Point3* verts = &m_target.mesh.verts[0] + m_vert;
        for (size_t k = 0; k < m_source.verts.size(); ++k) verts[k] = m_source.verts[k] * toObject;
        AddFaces();
        for (size_t c = 0; c < m_target.mesh.maps.size(); ++c) AddMapFaces(c);
        if (m_shape.normals) AddNormals(toObject);
        std::fill_n(m_target.owners.begin() + m_face, m_source.faces.size(), m_index);
        if (m_item.partial && m_target.showsSources) HideElements();
        m_vert += uint32_t(m_source.verts.size());
        m_face += uint32_t(m_source.faces.size());
        if (m_item.verticalShadow) AddPlane(VerticalShadowPlane(m_item, m_target.settings));
        if (m_item.horizontalShadow) AddPlane(HorizontalShadowPlane(m_item, m_target.settings));
    }

private:
    // A proxy shape shows the colour of the item's row.
    uint16_t ProxyMaterialId() const {
        return m_target
            .proxyMaterialIds[SpecimenRow(m_item.specimenIndex, m_target.proxyMaterialIds.size())];
    }
    void AddFaces() {
        Face* faces = m_target.mesh.faces.data() + m_face;
        ShiftedCopy<Face, kCorners>(m_vert).Copy(m_source.faces.data(), m_source.faces.size(),
                                                 faces);
        if (m_item.mirrored)
            for (size_t k = 0; k < m_source.faces.size(); ++k) {
                std::swap(faces[k].v[0], faces[k].v[1]);
                faces[k].flags = TurnedFlags(faces[k].flags);
            }
        if (!m_target.showsSources && m_target.settings.consolidates)
            for (size_t k = 0; k < m_source.faces.size(); ++k) faces[k].matID = ProxyMaterialId();
        else if (!m_shape.materialIds.empty())
            for (size_t k = 0; k < m_source.faces.size(); ++k)
                faces[k].matID = m_shape.materialIds[faces[k].matID];
    }
    void AddMapFaces(size_t c) {
        MapChannel& channel = m_target.mesh.maps[c];
        if (channel.faces.empty()) return;
        Triple* faces = channel.faces.data() + m_face;
        const MapChannel* map = m_source.Map(int(c));
        if (!map) return void(std::fill_n(faces, m_source.faces.size(), Triple{}));
        uint32_t offset = c == 0 ? m_shape.colorOffset : m_shape.mapOffset[c];
        ShiftedCopy<Triple, kCorners>(offset).Copy(map->faces.data(), m_source.faces.size(), faces);
        if (m_item.mirrored)
            for (size_t k = 0; k < m_source.faces.size(); ++k) std::swap(faces[k][0], faces[k][1]);
    }
    void AddNormals(const Matrix3& toObject) {
        MapChannel& normals = m_target.mesh.normals;
        Matrix3 forNormals = NormalTransform(toObject);
        Point3* verts = normals.verts.data() + m_normal;
        for (const Point3& n : m_shape.normals->verts)
            *verts++ = Normalize(forNormals.VectorTransform(n));
        Triple* faces = normals.faces.data() + m_face;
        for (const Triple& source : m_shape.normals->faces) {
            *faces = {source[0] + m_normal, source[1] + m_normal, source[2] + m_normal};
            if (m_item.mirrored) std::swap((*faces)[0], (*faces)[1]);
            ++faces;
        }
        m_normal += uint32_t(m_shape.normals->verts.size());
    }
    void AddPlaneNormal() {
        Mesh& mesh = m_target.mesh;
        Point3 across = mesh.FaceNormalUnscaled(m_face);  // none where the plane has no size
        mesh.normals.verts[m_normal] = Length(across) > 0 ? Normalize(across) : Point3{0, 0, 1};
        std::fill_n(mesh.normals.faces.begin() + m_face, kPlaneFaces,
                    Triple{m_normal, m_normal, m_normal});
        ++m_normal;
    }
    // The parts of an item that stand beyond the border of its area.
    void HideElements() {
        const std::vector<uint32_t>& elements = m_shape.sample->Elements().elementOfFace;
        for (size_t k = 0; k < m_source.faces.size(); ++k)
            if (!m_item.IsElementVisible(int32_t(elements[k])))
                m_target.mesh.faces[m_face + k].flags |= Face::kHidden;
    }
    void AddPlane(const TShadowPlane& plane) {
        Mesh& mesh = m_target.mesh;
        std::copy(std::begin(plane.verts), std::end(plane.verts), mesh.verts.begin() + m_vert);
        uint8_t flags = Face::kEdge0 | Face::kEdge1;
        if (m_target.settings.hidesShadowPlanes) flags |= Face::kHidden;
        for (size_t k = 0; k < kPlaneFaces; ++k) {
            const Triple& v = kPlaneCorners[k];
            mesh.faces[m_face + k] = {
                {v[0] + m_vert, v[1] + m_vert, v[2] + m_vert}, 0, m_shape.planeMaterialId, flags};
            m_target.owners[m_face + k] = m_index;
            for (size_t c = 0; c < mesh.maps.size(); ++c)
                if (!mesh.maps[c].faces.empty())
                    mesh.maps[c].faces[m_face + k] = c == 0 ? Triple{} : plane.mapFaces[k];
        }
        if (m_shape.normals) AddPlaneNormal();
        m_vert += uint32_t(kPlaneVerts);
        m_face += uint32_t(kPlaneFaces);
    }

    const TDravinItem& m_item;
    int32_t m_index;
    const TMeshTarget& m_target;
    const TItemRange& m_range;
    const TMeshShape& m_shape;
    const Mesh& m_source;
    uint32_t m_vert, m_face, m_normal;  // where what comes next will stand
};

}  // namespace

void AddItems(const TDravinItemList& items, size_t first, size_t last, const TMeshTarget& target) {
    TDravinItem item;
    for (size_t i = first; i < last; ++i) {
        if (!target.ranges[i].IsMeshed()) continue;
        items.ReadStored(i, &item, kGroupCenter);
        if (target.selectedOnly && !item.selected) continue;
        ItemAdder(item, i, target).Add();
    }
}

#include "host/scene/height_field_object.h"

#include <fmt/format.h>

#include "host/base/log.h"
#include "host/base/text.h"

HeightFieldObject::HeightFieldObject() {
    const float heights[4] = {};
    m_field = std::make_shared<HeightField>(2, 2, Point2{1, 1}, heights);
}

std::string HeightFieldObject::MeshRefusal() const {
    if (m_field->NumFaces() <= kMaxMeshedFaces) return {};
    return fmt::format(
        "{}: the {} triangles of {} x {} samples would take {:.1f} GB, at most {} are made: give "
        "the height field a \"crop\" or fewer \"samples\"",
        origin->file, FormatGrouped(int64_t(m_field->NumFaces())), m_field->NumColumns(),
        m_field->NumRows(), double(m_field->BytesOfMesh()) / 1e9,
        FormatGrouped(int64_t(kMaxMeshedFaces)));
}

void HeightFieldObject::SetField(std::shared_ptr<const HeightField> field) {
    RecordExchange(
        *this,
        [this, other = m_field]() mutable {
            PutField(std::exchange(other, std::shared_ptr<const HeightField>(m_field)));
        },
        GeometryBytes());
    PutField(std::move(field));
}

void HeightFieldObject::PutField(std::shared_ptr<const HeightField> field) {
    m_field = std::move(field);
    m_mesh.reset();
    NotifyDependents();
}

std::shared_ptr<const Mesh> HeightFieldObject::GetRenderMesh(TimeValue) {
    if (std::string refusal = MeshRefusal(); !refusal.empty()) {
        LogWarning(refusal);
        return nullptr;
    }
    std::shared_ptr<const Mesh> mesh = m_mesh.lock();
    if (!mesh) m_mesh = mesh = std::make_shared<const Mesh>(m_field->MakeMesh());
    return mesh;
}

std::shared_ptr<ReferenceTarget> HeightFieldObject::Clone(CloneMap&) const {
    return std::make_shared<HeightFieldObject>(m_field, origin);
}

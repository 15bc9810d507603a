#include "host/storage/field_writer.h"

#include "host/base/near_path.h"

namespace {

constexpr int kFoldersAbove = 2;  // of the scene's folder: a project holds both

}  // namespace

uint32_t MeshesToStore::IndexOf(const std::shared_ptr<const Mesh>& mesh) {
    auto [it, isNew] = m_index.try_emplace(mesh.get(), uint32_t(m_meshes.size()));
    if (isNew) m_meshes.push_back(mesh);
    return it->second;
}

void FieldWriter::Path(uint32_t id, const std::string& path) {
    (*this)(id, NearPath(path, m_folder, kFoldersAbove));
}

uint32_t FieldWriter::AddRef(const std::shared_ptr<ReferenceTarget>& target) {
    if (!target) return kNoStored;
    m_refs.push_back(target);
    return uint32_t(m_refs.size() - 1);
}

void FieldWriter::Put(const ParamValue& value) {
    Put(uint8_t(value.index()));
    std::visit(
        [this](const auto& v) {
            if constexpr (std::is_same_v<std::decay_t<decltype(v)>,
                                         std::shared_ptr<ReferenceTarget>>)
                Put(AddRef(v));
            else
                Put(v);
        },
        value);
}

void FieldWriter::Put(const BezierShape& shape) {
    Put(int32_t(shape.steps));
    Put(uint32_t(shape.splines.size()));
    for (const BezierSpline& spline : shape.splines) Put(spline.closed), Put(spline.knots);
}

void FieldWriter::Put(const PolyShape& shape) {
    Put(uint32_t(shape.lines.size()));
    for (const PolyLine& line : shape.lines) Put(line.closed), Put(line.points);
}

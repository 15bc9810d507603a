#include "Dravin/build/cut_mesh.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/geom/mesh_tools.h"

namespace {

// What a face takes, with its share of vertices, normals and maps at the most.
uint64_t BytesOfFace(const Mesh& mesh) {
    uint64_t channels = mesh.maps.size() + !mesh.normals.faces.empty();
    return sizeof(Face) + 3 * sizeof(Point3) + channels * (sizeof(Triple) + 3 * sizeof(Point3));
}

}  // namespace

THiddenElements HiddenElementsOf(const TBitArray& mask) {
    THiddenElements hidden(size_t(mask.NumBits()));
    for (size_t e = 0; e < hidden.size(); ++e) hidden[e] = mask.Test(int32_t(e));
    return hidden;
}

TCutMesh TCutMeshes::Make(const Mesh& whole, const TDravinMeshSample& sample,
                          const THiddenElements& hidden) {
    TCutMesh cut;
    const std::vector<uint32_t>& elementOfFace = sample.Elements().elementOfFace;
    std::vector<uint8_t> keep(elementOfFace.size());
    for (size_t f = 0; f < keep.size(); ++f) {
        keep[f] = !hidden[elementOfFace[f]];
        if (keep[f]) cut.sampleFaces.push_back(uint32_t(f));
    }
    m_bytes += cut.sampleFaces.size() * BytesOfFace(whole);
    if (m_bytes > m_mostBytes) return {};
    cut.mesh = std::make_shared<Mesh>(MeshOfFaces(whole, keep));
    return cut;
}

std::string TCutMeshes::Refusal(const std::string& name) const {
    if (m_bytes <= m_mostBytes) return {};
    return fmt::format(
        "{}: the cut meshes of items across borders would take more than the {:.2f} GB that are "
        "free; give areas another \"boundary_check\", or --no-limit",
        name, double(m_mostBytes) / 1e9);
}

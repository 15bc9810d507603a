#include "Dravin/mesh/mesh_materials.h"

#include <algorithm>

#include "Dravin/mesh/mesh_measure.h"

TMeshMaterials::TMeshMaterials(const TObjectMesh& mesh, const TDravinItemList& items,
                               const TSpecBuildList& specimens, const Mtl* objectMtl)
    : m_mesh(mesh) {
    if (mesh.GetMesh().faces.empty()) return;
    for (const Face& face : mesh.GetMesh().faces)
        m_numIds = std::max(m_numIds, size_t{face.matID} + 1);
    std::vector<uint32_t> firstNode;  // by row
    for (size_t row = 0; row < specimens.NumRows(); ++row) {
        firstNode.push_back(uint32_t(m_table.size() / m_numIds));
        for (const TSpecBuildNode& node : specimens.Row(row).nodes) {
            const Mtl* shown = MtlOnMesh<const Mtl>(mesh, node.Material(), objectMtl);
            for (size_t id = 0; id < m_numIds; ++id)
                m_table.push_back(NumberOf(StandardMtlOfFace(shown, int(id))));
        }
    }
    if (m_list.size() == 1 && !m_list[0]) m_list.clear();
    if (m_list.empty()) return;
    m_nodeOfItem.resize(items.Count());
    ForEachItem(items, [&](size_t i, const TItemColumns& columns, size_t k) {
        size_t row = SpecimenRow(columns.specimenIndex[k], specimens.NumRows());
        size_t nodes = std::max<size_t>(specimens.Row(row).nodes.size(), 1);
        auto element = uint32_t(uint16_t(columns.marks[k].elementIndex) % nodes);
        m_nodeOfItem[i] = firstNode[row] + element;
    });
}

uint32_t TMeshMaterials::NumberOf(const StandardMtl* material) {
    auto found = std::find(m_list.begin(), m_list.end(), material);
    if (found == m_list.end()) found = m_list.insert(found, material);
    return uint32_t(found - m_list.begin());
}

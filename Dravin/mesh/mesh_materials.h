// What the faces of an object mesh show.
#pragma once

#include <vector>

#include "Dravin/mesh/object_mesh.h"
#include "host/scene/material.h"

// What the faces of an item show, by their ids: the material of the object's node, without one what
// the item's source shows. An item whose source has none (`own`) shows none, unless it stands there
// as a proxy shape.
template <class AnyMtl>
AnyMtl* MtlOnMesh(const TObjectMesh& mesh, AnyMtl* own, AnyMtl* objectMtl) {
    bool isProxy = mesh.Statistics().mode == TMeshMode::kProxy;
    if (!own && mesh.IsConsolidated() && !isProxy) return nullptr;
    return objectMtl ? objectMtl : own;
}

class TMeshMaterials {
public:
    // objectMtl: of the object's node; null for none. All outlive it.
    TMeshMaterials(const TObjectMesh& mesh, const TDravinItemList& items,
                   const TSpecBuildList& specimens, const Mtl* objectMtl);

    // The different ones; null is the host's default grey. Empty where no row has any.
    const std::vector<const StandardMtl*>& List() const { return m_list; }
    // Place in the list; thread safe. The list must not be empty.
    uint32_t OfFace(size_t face) const {
        size_t node = m_nodeOfItem[size_t(m_mesh.FaceOwners()[face])];
        return m_table[node * m_numIds + m_mesh.GetMesh().faces[face].matID];
    }

private:
    uint32_t NumberOf(const StandardMtl* material);

    const TObjectMesh& m_mesh;
    std::vector<const StandardMtl*> m_list;
    std::vector<uint32_t> m_nodeOfItem;  // nodes counted over all rows
    std::vector<uint32_t> m_table;       // by node and material id
    size_t m_numIds = 1;                 // above the highest id of a face
};

// The object mesh of a finished build as a renderer takes it: one prototype, one instance.
//
// Faces show the object's material by their ids (MtlOnMesh), and find their items by the owners of
// faces. The mesh may be changed for a while by shadow types (IInstanceSource::ChangeableMesh).
#pragma once

#include <string>
#include <vector>

#include "Dravin/build/dravin_build.h"
#include "Dravin/build/item_shading.h"
#include "Dravin/materials/shaded_items.h"
#include "host/scene/instance_source.h"

class TDravinMeshSource : public IInstanceSource, public IShadedItems {
public:
    // The build must have an object mesh, and outlive this unchanged.
    TDravinMeshSource(const TDravin& object, TDravinBuild& build);

    std::string SourceName() const override { return m_node ? m_node->GetName() : ""; }
    const INode* SourceNode() const override { return m_node; }
    size_t NumPrototypes() const override { return 1; }
    std::string PrototypeName(size_t) const override { return SourceName(); }
    const Mesh* PrototypeMesh(size_t) const override { return &ObjectMesh().GetMesh(); }
    Mtl* PrototypeMtl(size_t) const override { return nullptr; }
    Mtl* FaceMtl(size_t, size_t face) const override { return m_mtls[Owner(face)]; }
    bool FaceTint(uint32_t, size_t face, Color* tint, float* blend) const override;
    Mesh* ChangeableMesh() const override { return &m_build.ObjectMesh().ChangeableMesh(); }
    size_t NumInstances() const override { return ObjectMesh().GetMesh().faces.empty() ? 0 : 1; }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override;
    void PrepareShading() const override;
    const void* GetInterface(uint32_t number) const override {
        return number == IShadedItems::kInterface ? static_cast<const IShadedItems*>(this)
                                                  : nullptr;
    }

    TShadedItem ItemOf(uint32_t instance, uint32_t face) const override;
    TElementRandoms ElementOf(uint32_t instance, uint32_t face) const override;
    uint32_t ItemIndexOf(uint32_t, uint32_t face) const override { return uint32_t(Owner(face)); }
    uint32_t SampleFaceOf(uint32_t, uint32_t face) const override {
        return face - ObjectMesh().Ranges()[Owner(face)].firstFace;
    }
    // Planes count where the object uses fake shadows.
    Plane PlaneOf(uint32_t instance, uint32_t face) const override;
    const TTintSettings& ObjectTint() const override { return m_tint.settings; }
    int ObjectBlend() const override { return m_tint.blend; }

private:
    const TObjectMesh& ObjectMesh() const { return m_build.ObjectMesh(); }
    size_t Owner(size_t face) const { return size_t(ObjectMesh().FaceOwners()[face]); }

    TDravinBuild& m_build;
    INode* m_node;
    TObjectTint m_tint;
    bool m_hasPlanes;
    std::vector<Mtl*> m_mtls;                   // by item
    mutable std::vector<TShadedItem> m_shaded;  // by item, after PrepareShading
};

#include "Dravin/build/mesh_source.h"

#include <numeric>

#include "Dravin/dravin.h"
#include "Dravin/mesh/mesh_materials.h"
#include "Dravin/mesh/mesh_measure.h"
#include "Dravin/mesh/shadow_planes.h"

TDravinMeshSource::TDravinMeshSource(const TDravin& object, TDravinBuild& build)
    : m_build(build),
      m_node(GetWorldNode(object)),
      m_tint(ReadObjectTint(object, build.Time())),
      m_hasPlanes(
          object.Block(kShadowParams).GetBool(shadowParams::kUsefakeshadows, build.Time())) {
    const TSpecBuildList& specimens = build.Specimens();
    m_mtls.resize(build.Items().Count());
    ForEachItem(build.Items(), [&](size_t i, const TItemColumns& columns, size_t k) {
        size_t row = SpecimenRow(columns.specimenIndex[k], specimens.NumRows());
        const TSpecBuildNode* node =
            specimens.Row(row).Node(uint16_t(columns.marks[k].elementIndex));
        m_mtls[i] = MtlOnMesh(ObjectMesh(), node ? node->Material() : nullptr,
                              m_node ? m_node->GetMtl() : nullptr);
    });
}

bool TDravinMeshSource::FaceTint(uint32_t, size_t face, Color* tint, float* blend) const {
    TDravinItem item;
    m_build.Items().ReadStored(Owner(face), &item, 0);
    *tint = item.tintColor;
    *blend = item.tintBlend;
    return true;
}

void TDravinMeshSource::GetInstances(size_t, std::span<InstanceRecord> out) const {
    for (InstanceRecord& record : out) record = {m_build.ObjectTM(), 0, 0, {}, 0};
}

void TDravinMeshSource::PrepareShading() const {
    if (!m_shaded.empty()) return;
    std::vector<uint32_t> all(m_build.Items().Count());
    std::iota(all.begin(), all.end(), 0u);
    m_shaded = ReadShadedItems(m_build, all);
}

TShadedItem TDravinMeshSource::ItemOf(uint32_t, uint32_t face) const {
    size_t item = Owner(face);
    return m_shaded.empty() ? ReadShadedItem(m_build, uint32_t(item)) : m_shaded[item];
}

TElementRandoms TDravinMeshSource::ElementOf(uint32_t, uint32_t face) const {
    const TItemRange& range = ObjectMesh().Ranges()[Owner(face)];
    const TMeshShape& shape = ObjectMesh().Shapes()[range.shape];
    size_t own = face - range.firstFace;
    if (!shape.sample || own >= shape.mesh->faces.size()) return {};
    auto [first, second] = shape.sample->Elements().RandomsOfFace(own);
    return {first, second};
}

// Behind an item's own faces come those of its vertical plane, then of its horizontal one.
IShadedItems::Plane TDravinMeshSource::PlaneOf(uint32_t, uint32_t face) const {
    if (!m_hasPlanes) return Plane::kNone;
    size_t owner = Owner(face);
    const TItemRange& range = ObjectMesh().Ranges()[owner];
    size_t own = ObjectMesh().Shapes()[range.shape].mesh->faces.size();
    size_t place = face - range.firstFace;
    if (place < own) return Plane::kNone;
    TDravinItem item;
    m_build.Items().ReadStored(owner, &item, 0);
    bool isVertical = item.verticalShadow && place < own + kPlaneFaces;
    return isVertical ? Plane::kVertical : Plane::kHorizontal;
}

#include "Dravin/render/trees_interface.h"

#include <bit>

#include "Dravin/build/edited_items.h"
#include "Dravin/build/object_log.h"
#include "Dravin/dravin.h"
#include "Dravin/materials/shaded_items.h"
#include "Dravin/render/record_maker.h"
#include "Dravin/render/render_state.h"

namespace {

struct ItemFace {
    int64_t item = -1;  // in the list
    int32_t face = -1;  // of the mesh that the item shows
};

ItemFace FaceOfHit(const TDravin& object, const IDravinHit& hit) {
    if (hit.ContextClass() == IDravinHit::kShadingAdapter) {
        const ShadeContext* sc = hit.Shading();
        const IShadedItems* items = sc ? IShadedItems::At(*sc) : nullptr;
        if (!items) return {};
        return {items->ItemIndexOf(sc->Instance(), sc->FaceIndex()),
                int32_t(items->SampleFaceOf(sc->Instance(), sc->FaceIndex()))};
    }
    const TObjectMesh& mesh = object.Build().ObjectMesh();
    int32_t face = hit.FaceNumber();
    if (!mesh.IsBuilt() || face < 0 || size_t(face) >= mesh.FaceOwners().size()) return {};
    auto item = int64_t(mesh.FaceOwners()[size_t(face)]);
    return {item, face - int32_t(mesh.Ranges()[size_t(item)].firstFace)};
}

int32_t Bits(float value) { return std::bit_cast<int32_t>(value); }

}  // namespace

bool TTreesInterface::getRenderID(const IDravinHit* hit, int32_t* item, int32_t* element) {
    if (!hit || !item || !element) return false;
    ItemFace found = FaceOfHit(m_object, *hit);
    const TDravinItemList& items = m_object.Build().Items();
    if (found.item < 0 || size_t(found.item) >= items.Count()) return false;
    TDravinItem shown = items.Item(size_t(found.item));
    *item = Bits(shown.random3);
    *element = int32_t(RenderDataOf(m_object.Build(), shown, found.face).combined);
    return true;
}

INode* TTreesInterface::getRenderNode(int32_t n) {
    TDravinBuild& build = m_object.Build();
    if (build.Items().Count() == 0) build.BuildMesh(HostTimeOf(m_object), {});
    if (n < 0 || size_t(n) >= build.Items().Count()) return nullptr;
    TDravinItem item;
    build.Items().ReadStored(size_t(n), &item, 0);
    const TSpecBuildNode* node = item.discarded ? nullptr : build.Specimens().NodeOf(item);
    return node && node->entry.kind == kGeomCustom ? node->source.get() : nullptr;
}

void* TTreesInterface::getRenderNodes(int32_t* count) {
    int32_t ignored;
    if (!count) count = &ignored;
    *count = 0;
    TDravinBaseNodeGenerator* generator = m_object.Render().Generator();
    return generator ? generator->Generate(m_object, count) : nullptr;
}

void TTreesInterface::clearRenderNodes() {
    TDravinBaseNodeGenerator* generator = m_object.Render().Generator();
    if (!generator) return;
    ObjectLog(m_object, LogKind::kNormal, "IDravinClearRenderNodes");
    generator->Clear();
}

void TTreesInterface::IDravinRenderBegin(TimeValue t) { m_object.Render().Begin(t); }
void TTreesInterface::IDravinRenderEnd(TimeValue t) { m_object.Render().End(t); }

int64_t TTreesInterface::ItemOfRecord(size_t record) const {
    TDravinBaseNodeGenerator* generator = m_object.Render().Generator();
    return generator ? generator->GetNode(record) : -1;
}

bool TTreesInterface::getRenderData(TDravinRenderData* data, int32_t record, int32_t face) {
    if (!data || record < 0) return false;
    int64_t item = ItemOfRecord(size_t(record));
    if (item < 0) return false;
    const TDravinBuild& build = m_object.Build();
    *data = RenderDataOf(build, build.Items().Item(size_t(item)), face);
    return true;
}

std::vector<int32_t> TTreesInterface::getSelected() {
    return TEditedItems(m_object, HostTimeOf(m_object)).Selected();
}

ITreesInterface* TreesOf(ReferenceTarget& target) {
    return static_cast<ITreesInterface*>(InterfaceOf(target, ITreesInterface::kId));
}

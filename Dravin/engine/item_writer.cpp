#include "Dravin/engine/item_writer.h"

namespace {

// Calls write(record, lane) for each kept lane where the list stores the group.
template <class Group, class Write>
void Fill(Group* out, std::span<const uint32_t> kept, const Write& write) {
    if (!out) return;
    for (uint32_t k : kept) write(*out++, k);
}

}  // namespace

ItemPlace PlaceOf(const TItemLanes& lanes, const TCells& cells, size_t k) {
    ItemPlace place;
    place.position = lanes.position[k];
    place.storedPosition = lanes.storedPosition[k];
    place.normal = lanes.normal[k];
    place.transform = {{lanes.axisX[k], lanes.axisY[k], lanes.axisZ[k], {}}};
    place.scale = lanes.scale[k];
    place.width = lanes.width[k];
    place.depth = lanes.depth[k];
    place.height = lanes.height[k];
    place.zOffset = lanes.zOffset[k];
    place.specimenIndex = lanes.row[k];
    place.seed = lanes.seed[k];
    place.sourceIndex = cells.sourceIndex[lanes.cell[k]];
    place.centerPercent = lanes.source[k]->centerPercent;
    place.elementIndex = lanes.element[k];
    place.stateFlags = lanes.stateFlags[k];
    place.discarded = !lanes.IsAlive(k);
    place.mirrored = lanes.mirrored[k];
    place.selected = lanes.selected[k];
    place.marked = lanes.IsAlive(k);
    place.partial = lanes.partial[k];
    place.horizontalShadow = lanes.horizontalShadow[k];
    place.verticalShadow = lanes.verticalShadow[k];
    return place;
}

void AppendLanes(const TItemLanes& lanes, const TCells& cells, std::span<const uint32_t> kept,
                 TDravinItemList& items, TDravinItemList::Appender& appender) {
    if (kept.empty()) return;
    TItemColumns to = items.Extend(kept.size(), appender);
    Fill(to.place, kept, [&](ItemPlace& p, size_t k) { p = PlaceOf(lanes, cells, k); });
    Fill(to.extents, kept, [&](ItemExtents& e, size_t k) {
        e = {lanes.collisionRadius[k], lanes.outerRadius[k], lanes.boundaryRadius[k],
             lanes.collisionHeight[k]};
    });
    Fill(to.colors, kept, [&](ItemColors& c, size_t k) {
        c = {{lanes.tint.x[k], lanes.tint.y[k], lanes.tint.z[k]},
             lanes.tintBlend[k],
             lanes.mapColor[k]};
    });
    Fill(to.cell, kept, [&](ItemCell& c, size_t k) {
        size_t cell = lanes.cell[k];
        for (int i = 0; i < 4; ++i) c.hash[i] = cells.hash[i][cell];
        c.mapCoordinates = lanes.mapCoordinates[k];
    });
    Fill(to.surface, kept, [&](ItemSurface& s, size_t k) {
        float b1 = lanes.weight1[k], b2 = lanes.weight2[k];
        bool hit = lanes.face[k] >= 0;
        s.surfaceNormal = lanes.faceNormal[k];
        s.barycentric = hit ? Point3{1 - b1 - b2, b1, b2} : Point3{};
        s.surfaceFace = lanes.face[k];
        s.surfaceIndex = lanes.surface[k];
    });
    Fill(to.factors, kept, [&](ItemFactors& f, size_t k) {
        f = {lanes.sizeFactor[k], lanes.externalScale[k], lanes.falloffScale[k]};
    });
    Fill(to.borders, kept, [&](ItemBorders& b, size_t k) { b = lanes.borders[k]; });
    Fill(to.looks, kept, [&](ItemLooks& l, size_t k) {
        l = {lanes.animation[k], lanes.lookAt[k], lanes.shadowDirection[k]};
    });
    Fill(to.source, kept, [&](ItemSource& s, size_t k) { s = lanes.from[k]; });
    Fill(to.kept, kept, [&](ItemKept& r, size_t k) {
        r = {lanes.rotation[k], lanes.randomScale[k]};
    });
    for (size_t j = 0; j < kept.size(); ++j)
        if (lanes.partial[kept[j]] && !lanes.masks[kept[j]].IsEmpty())
            to.SetMask(j, lanes.masks[kept[j]]);
}

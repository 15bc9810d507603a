#include "Dravin/engine/item_deltas.h"

#include <bit>

#include "Dravin/engine/item_steps.h"

namespace {

// Turns the rows of a lane's frame about the object's axes.
void Turn(const Point3& degrees, TItemLanes& lanes, size_t k) {
    if (degrees == Point3{}) return;
    Matrix3 turn = EulerDegreesToMatrix(degrees);
    for (TPointLane* axis : {&lanes.axisX, &lanes.axisY, &lanes.axisZ})
        axis->Set(k, turn.VectorTransform((*axis)[k]));
}

}  // namespace

TItemDeltaTable::TItemDeltaTable(std::vector<TItemDelta> deltas) : m_deltas(std::move(deltas)) {
    // At most half full, so that chains stay short.
    m_slots.resize(std::bit_ceil(m_deltas.size() * 2 + 2));
    m_mask = m_slots.size() - 1;
    for (size_t i = 0; i < m_deltas.size(); ++i) {
        uint64_t slot = HashOf(m_deltas[i].id) & m_mask;
        while (m_slots[slot] != 0 && m_deltas[m_slots[slot] - 1].id != m_deltas[i].id)
            slot = (slot + 1) & m_mask;
        if (m_slots[slot] == 0) m_slots[slot] = uint32_t(i + 1);
    }
}

const TItemDelta* TItemDeltaTable::Find(const TItemId& id) const {
    for (uint64_t slot = HashOf(id) & m_mask; m_slots[slot] != 0; slot = (slot + 1) & m_mask)
        if (m_deltas[m_slots[slot] - 1].id == id) return &m_deltas[m_slots[slot] - 1];
    return nullptr;
}

TItemId IdOfCell(const TBuildInput& input, const TCellRules& rules, const TCells& cells,
                 size_t cell, uint32_t seed, int element) {
    TItemId id;
    id.seed = seed;
    if (rules.hashed) {
        id.origin = rules.spreads ? TItemId::kSurfaceMap : TItemId::kMap;
        id.part = uint16_t(rules.surfaceNumber);
        for (size_t i = 0; i < 4; ++i) id.cell[i] = cells.hash[i][cell];
        return id;
    }
    id.origin = input.customEdit ? TItemId::kEdited : TItemId::kPoint;
    id.part = input.customEdit ? uint16_t(0) : uint16_t(element);
    id.cell[0] = uint32_t(cells.sourceIndex[cell]);
    return id;
}

TItemId IdOfItem(const TBuildInput& input, const TDravinItem& item) {
    TItemId id;
    id.seed = item.seed;
    if (input.customEdit || input.distributionMode != kDistImage) {
        id.origin = input.customEdit ? TItemId::kEdited : TItemId::kPoint;
        id.cell[0] = uint32_t(item.sourceIndex);
        size_t row = SpecimenRow(item.specimenIndex, input.specimens.size());
        if (!input.customEdit && !input.specimens[row].lod) id.part = uint16_t(item.elementIndex);
        return id;
    }
    for (size_t i = 0; i < 4; ++i) id.cell[i] = item.hash[i];
    if (input.surfaceMode != kSurfaceUV) return id;
    id.origin = TItemId::kSurfaceMap;
    if (size_t(item.surfaceIndex) < input.surfaces.size())
        id.part = uint16_t(input.surfaces[size_t(item.surfaceIndex)].listIndex);
    return id;
}

void ApplyDeltas(const TBuildInput& input, TItemLanes& lanes, TDeltaCounts& counts) {
    ForEachAlive(lanes, [&](size_t k) {
        const TItemDelta* delta = lanes.delta[k];
        if (!delta) return;
        counts.found.push_back(uint32_t(input.deltas->NumberOf(*delta)));
        if (delta->deleted) return lanes.Drop(k, TLaneFate::kDeleted);
        lanes.position.Set(k, lanes.position[k] + delta->move);
        Turn(delta->rotateDegrees, lanes, k);
        if (delta->scale == Point3{1, 1, 1}) return;
        lanes.scale.Set(k, lanes.scale[k] * delta->scale);
        auto one = uint32_t(k);
        ResizeItems(input.transforms, lanes, {&one, 1});
    });
}

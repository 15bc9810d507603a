#include "Dravin/engine/item_writer.h"

namespace {

// Entry j of a column from lane kept[j]. Columns that the list does not store are null.
class TColumnWriter {
public:
    TColumnWriter(const TItemLanes& lanes, std::span<const uint32_t> kept)
        : m_kept(kept), m_all(kept.size() == lanes.count) {}

    template <class T, class Entry>
    void Fill(T* out, const Entry& entryOf) const {
        if (!out) return;
        if (m_all)
            for (size_t k = 0; k < m_kept.size(); ++k) out[k] = entryOf(k);
        else
            for (size_t j = 0; j < m_kept.size(); ++j) out[j] = entryOf(m_kept[j]);
    }
    template <class T>
    void Copy(T* out, const TLane<T>& lane) const {
        Fill(out, [in = lane.Data()](size_t k) { return in[k]; });
    }
    void Copy(Point3* out, const TPointLane& lane) const {
        Fill(out, [x = lane.x.Data(), y = lane.y.Data(), z = lane.z.Data()](size_t k) {
            return Point3{x[k], y[k], z[k]};
        });
    }

private:
    std::span<const uint32_t> m_kept;
    bool m_all;  // every lane is kept, so that they are their own numbers
};

ItemMarks MarksOf(const TItemLanes& lanes, size_t k) {
    ItemMarks marks{lanes.element[k], lanes.stateFlags[k], 0};
    bool alive = lanes.IsAlive(k);
    auto bit = [](bool on, ItemMarks::Bit of) { return on ? int(of) : 0; };
    marks.bits = uint8_t(bit(!alive, ItemMarks::kDiscarded) | bit(alive, ItemMarks::kMarked) |
                         bit(lanes.mirrored[k], ItemMarks::kMirrored) |
                         bit(lanes.selected[k], ItemMarks::kSelected) |
                         bit(lanes.partial[k], ItemMarks::kPartial) |
                         bit(lanes.horizontalShadow[k], ItemMarks::kHorizontalShadow) |
                         bit(lanes.verticalShadow[k], ItemMarks::kVerticalShadow));
    return marks;
}

// What every list stores.
void WriteAlways(const TItemLanes& lanes, const TCells& cells, const TColumnWriter& writer,
                 const TItemColumns& to) {
    writer.Copy(to.position, lanes.position);
    writer.Fill(to.frame, [&](size_t k) {
        return ItemFrame{lanes.axisX[k], lanes.axisY[k], lanes.axisZ[k]};
    });
    writer.Copy(to.scale, lanes.scale);
    writer.Copy(to.width, lanes.width);
    writer.Copy(to.depth, lanes.depth);
    writer.Copy(to.height, lanes.height);
    writer.Copy(to.zOffset, lanes.zOffset);
    writer.Copy(to.specimenIndex, lanes.row);
    writer.Copy(to.seed, lanes.seed);
    writer.Fill(to.sourceIndex, [&](size_t k) { return cells.sourceIndex[lanes.cell[k]]; });
    writer.Fill(to.marks, [&](size_t k) { return MarksOf(lanes, k); });
    writer.Fill(to.extents, [&](size_t k) {
        return ItemExtents{lanes.collisionRadius[k], lanes.outerRadius[k], lanes.boundaryRadius[k],
                           lanes.collisionHeight[k]};
    });
    writer.Fill(to.tint, [&](size_t k) {
        return ItemTint{{lanes.tint.x[k], lanes.tint.y[k], lanes.tint.z[k]}, lanes.tintBlend[k]};
    });
}

// What only some lists store.
void WriteSome(const TItemLanes& lanes, const TCells& cells, const TColumnWriter& writer,
               const TItemColumns& to) {
    writer.Fill(to.birth, [&](size_t k) { return ItemBirth{lanes.storedPosition[k]}; });
    writer.Fill(to.normal, [&](size_t k) { return ItemNormal{lanes.normal[k]}; });
    writer.Fill(to.mapColor, [&](size_t k) { return ItemMapColor{lanes.mapColor[k]}; });
    writer.Fill(to.centerPercent, [&](size_t k) { return lanes.source[k]->centerPercent; });
    writer.Fill(to.cell, [&](size_t k) {
        size_t cell = lanes.cell[k];
        return ItemCell{
            {cells.hash[0][cell], cells.hash[1][cell], cells.hash[2][cell], cells.hash[3][cell]},
            lanes.mapCoordinates[k]};
    });
    writer.Fill(to.surface, [&](size_t k) {
        bool hit = lanes.face[k] >= 0;
        return ItemSurface{lanes.faceNormal[k],
                           hit ? Point2{lanes.weight1[k], lanes.weight2[k]} : Point2{},
                           lanes.face[k], lanes.surface[k]};
    });
    writer.Fill(to.factors, [&](size_t k) {
        return ItemFactors{lanes.sizeFactor[k], lanes.externalScale[k], lanes.falloffScale[k]};
    });
    writer.Copy(to.borders, lanes.borders);
    writer.Fill(to.looks, [&](size_t k) {
        return ItemLooks{lanes.animation[k], lanes.lookAt[k], lanes.shadowDirection[k]};
    });
    writer.Copy(to.source, lanes.from);
    writer.Fill(to.kept, [&](size_t k) {
        return ItemKept{lanes.rotation[k], lanes.randomScale[k]};
    });
}

}  // namespace

void AppendLanes(const TItemLanes& lanes, const TCells& cells, std::span<const uint32_t> kept,
                 TDravinItemList& items, TDravinItemList::Appender& appender) {
    if (kept.empty()) return;
    TItemColumns to = items.Extend(kept.size(), appender);
    TColumnWriter writer(lanes, kept);
    WriteAlways(lanes, cells, writer, to);
    WriteSome(lanes, cells, writer, to);
    for (size_t j = 0; j < kept.size(); ++j)
        if (lanes.partial[kept[j]] && !lanes.masks[kept[j]].IsEmpty())
            to.SetMask(j, lanes.masks[kept[j]]);
}

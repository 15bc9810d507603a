#include "Dravin/engine/source_stored.h"

#include <algorithm>

#include "Dravin/engine/item_steps.h"

namespace {

// Specimens of several parts (members of a group, levels of detail) mark their items so.
constexpr uint8_t kOneOfSeveral = 8;
constexpr size_t kItemsInPiece = 1 << 13;

class TStoredReader : public ICellReader {
public:
    TStoredReader(const TBuildInput& input, int32_t decimation, size_t first, size_t end)
        : m_input(input),
          m_decimation(input.editingItems ? 1 : size_t(decimation)),
          m_next(first),
          m_end(end) {}

    bool Next(TCells& cells, TRejections&) override {
        for (cells.count = 0; m_next < m_end && cells.count < kCellsInBatch; ++m_next)
            Read(m_next, cells, cells.count++);
        if (m_input.progress) m_input.progress->Add(int64_t(cells.count));
        return cells.count > 0;
    }

    // Items that are being edited keep one level of detail, wherever the camera goes.
    int ElementOf(const TCells& cells, size_t i, const TSpecimen& specimen, float random4,
                  std::optional<TLodSpan>* onScreen) const override {
        int last = int(specimen.elements.size()) - 1;
        int element = std::clamp(Stored(cells, i).elementIndex, -32768, 32767);
        if (specimen.lod) {
            bool fixed = m_input.editingItems && !m_input.render;
            element = fixed ? (specimen.lod->byScreenSize ? last : 0)
                            : ChooseLodLevel(
                                  *specimen.lod, m_input.camera, m_input.lodView, m_input.render,
                                  m_input.transforms.globalScale * Stored(cells, i).sizeFactor.x,
                                  Stored(cells, i).storedPosition, random4, onScreen);
        }
        return std::clamp(element, 0, last);
    }

    void Place(const TCells& cells, std::span<const TLaneOrigin>, TItemLanes& lanes) override {
        for (size_t k = 0; k < lanes.count; ++k) {
            size_t cell = lanes.cell[k];
            const TStoredItem& stored = Stored(cells, cell);
            lanes.position.Set(k, stored.storedPosition);
            lanes.storedPosition.Set(k, stored.storedPosition);
            lanes.normal.Set(k, stored.sourceTransform.row[2]);
            lanes.reference.Set(k, stored.sourceTransform.row[0]);
            lanes.sizeFactor.Set(k, stored.sizeFactor);
            lanes.selected[k] = stored.selected;
            bool several = lanes.specimen[k]->elements.size() > 1 || lanes.specimen[k]->lod;
            lanes.stateFlags[k] = several ? kOneOfSeveral : 0;
            ClearSurface(lanes, k);
            bool shown = size_t(cells.sourceIndex[cell]) % m_decimation == 0 &&
                         IsFinite(stored.storedPosition);
            // Those of an earlier build take their place.
            if (m_input.unselected && !stored.selected) shown = false;
            lanes.zOffset[k] = 0;
            if (!shown) lanes.Drop(k, TLaneFate::kDisabled);
        }
    }

    // Linked items drop onto the surface again, from height 0 so that the drop does not depend on
    // where they were; the others only take its coordinates.
    void Land(const TCells&, TItemLanes& lanes) override {
        if (m_input.surfaces.empty() || m_input.surfaceMode != kSurfaceXY) return;
        ForEachAlive(lanes, [&](size_t k) {
            if (m_input.linkToSurface) lanes.position.z[k] = 0;
            std::optional<TItemHit> hit = SurfaceHit(m_input, lanes.position[k]);
            if (!hit) return;
            TakeHit(m_input, *hit, lanes, k);
            if (!m_input.linkToSurface) return;
            lanes.position.Set(k, hit->point);
            lanes.normal.Set(k, NormalOver(m_input, lanes, k));
        });
    }

private:
    const TStoredItem& Stored(const TCells& cells, size_t i) const {
        return m_input.storedItems[size_t(cells.sourceIndex[i])];
    }

    void Read(size_t index, TCells& cells, size_t c) const {
        const TStoredItem& stored = m_input.storedItems[index];
        cells.point[c] = cells.levelPlace[c] = stored.storedPosition;
        cells.seed[c] = stored.seed;
        cells.sourceIndex[c] = int32_t(index);
        cells.keptRow[c] = stored.specimenIndex;
        cells.row[c] = int32_t(SpecimenRow(stored.specimenIndex, m_input.specimens.size()));
        cells.mapColor[c] = {0, 0, 0, 0};
        cells.from[c] = {};
        cells.from[c].sourceTransform = stored.sourceTransform;
        cells.from[c].userId = stored.userId;
    }

    const TBuildInput& m_input;
    size_t m_decimation;
    size_t m_next, m_end;
};

}  // namespace

TStoredSource::TStoredSource(const TBuildInput& input, int32_t decimation)
    : m_input(input), m_decimation(decimation) {
    m_rules.keepsDropped = true;
    m_rules.ownElements = true;
    m_rules.hasSources = true;
    m_rules.limited = false;
}

size_t TStoredSource::NumPieces() const {
    return (m_input.storedItems.size() + kItemsInPiece - 1) / kItemsInPiece;
}

std::unique_ptr<ICellReader> TStoredSource::Read(size_t piece) const {
    size_t first = piece * kItemsInPiece;
    return std::make_unique<TStoredReader>(
        m_input, m_decimation, first, std::min(first + kItemsInPiece, m_input.storedItems.size()));
}

int32_t StoredDecimation(const TBuildInput& input) {
    auto count = int64_t(input.storedItems.size());
    int64_t limit = std::max<int64_t>(1, input.displayLimit);
    if (input.render || count <= limit) return 1;
    return int32_t(std::min<int64_t>((count + limit - 1) / limit, INT32_MAX));
}

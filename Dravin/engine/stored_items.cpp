#include "Dravin/engine/stored_items.h"

#include <algorithm>
#include <cmath>

#include "Dravin/engine/build_items.h"
#include "Dravin/engine/item_pipeline.h"
#include "host/base/thread_pool.h"

namespace {

// Specimens of several parts (members of a group, levels of detail) mark their items so.
constexpr uint8_t kOneOfSeveral = 8;

class StoredItemTask {
public:
    StoredItemTask(const TBuildInput& input, const TGeometryChoice& geometry, int64_t decimation,
                   TDravinItemList& items)
        : m_input(input),
          m_decimation(input.editingItems ? 1 : decimation),
          m_pipeline(input, geometry, items),
          m_items(items) {
        m_factors.hasSurfaces = !input.surfaces.empty();
    }

    void Process(size_t index) {
        m_meter.Count();
        TDravinItem& item = m_pipeline.WorkingItem();
        if (m_input.unselected && !m_input.storedItems[index].selected) return Keep(index);
        Restore(m_input.storedItems[index], int32_t(index));
        if (int64_t(index) % m_decimation == 0 && IsFinite(item.position))
            PlaceWithEffects(m_input.storedItems[index], int32_t(index));
        else
            item.discarded = 1;
        item.keptRotation = item.rotation;
        item.keptRandomScale = item.randomScale;
        item.marked = !item.discarded;
        m_numDiscarded += item.discarded != 0;
        m_items.Append(item, m_appender);
    }

    int32_t NumDiscarded() const { return m_numDiscarded; }
    const TTaskCounts& Counts() { return m_pipeline.Counts(); }

private:
    void Keep(size_t index) {
        TDravinItem kept;
        m_input.unselected->ReadStored(index, &kept);
        m_numDiscarded += kept.discarded != 0;
        m_items.Append(kept, m_appender);
    }

    void Restore(const TStoredItem& stored, int32_t index) {
        TDravinItem& item = m_pipeline.WorkingItem();
        item.Reset();
        item.position = item.storedPosition = stored.storedPosition;
        item.seed = stored.seed;
        item.specimenIndex = stored.specimenIndex;
        item.sizeFactor = stored.sizeFactor;
        item.sourceTransform = stored.sourceTransform;
        item.normal = stored.sourceTransform.row[2];
        item.elementIndex = int16_t(std::clamp(stored.elementIndex, -32768, 32767));
        item.userId = stored.userId;
        item.selected = stored.selected;
        item.sourceIndex = index;
        m_pipeline.ClearHit();
    }

    // The element of the specimen that shows, and the item's state that goes with it.
    const TSpecimenElement& ChooseElement(const TSpecimen& specimen) {
        TDravinItem& item = m_pipeline.WorkingItem();
        int last = int(specimen.elements.size()) - 1;
        int element = item.elementIndex;
        if (specimen.lod) {
            // Items that are being edited keep one level, wherever the camera goes.
            bool fixed = m_input.editingItems && !m_input.render;
            element = fixed ? (specimen.lod->byScreenSize ? last : 0)
                            : ElementsOf(m_input, specimen, item.position, item.random4,
                                         item.sizeFactor.x)
                                  .first;
        }
        item.elementIndex = int16_t(std::clamp(element, 0, last));
        item.stateFlags = last > 0 || specimen.lod ? kOneOfSeveral : 0;
        return specimen.elements[size_t(item.elementIndex)];
    }

    void Place() {
        TDravinItem& item = m_pipeline.WorkingItem();
        // The seed is stored, so the element has no say in the draws that choose a level.
        DrawItemRandoms(m_input.transforms, m_pipeline.Ranges(), m_pipeline.Generator(), item,
                        false, 0);
        const TSpecimen& specimen =
            m_input.specimens[SpecimenRow(item.specimenIndex, m_input.specimens.size())];
        const TSpecimenElement& element = ChooseElement(specimen);
        TEffectStage& effects = m_pipeline.Effects();
        TSpecimenSize size =
            ApplySpecimenAndTranslation(m_input.transforms, item, element, {}, effects.Overrides());
        if (m_factors.hasSurfaces && m_input.surfaceMode == kSurfaceXY) StandOnSurfaces();

        if (!ObeysCameraView(m_input.camera, item, &m_factors.cameraScale, m_pipeline.Rejected())) {
            item.discarded = 1;
            return;
        }
        FinishItem(m_input.transforms, m_pipeline.Ranges(), item, specimen, size, {}, m_factors,
                   effects.Overrides());
        effects.RunNow(item, specimen, size);
    }

    // A program may want another geometry or placement, for this build only: the stored row stays.
    void PlaceWithEffects(const TStoredItem& stored, int32_t index) {
        TEffectStage& effects = m_pipeline.Effects();
        TDravinItem& item = m_pipeline.WorkingItem();
        effects.StartCell();
        Place();
        auto row = effects.AsksForGeometry();
        if (row || effects.AsksForPlacement()) {
            Restore(stored, index);
            if (row) item.specimenIndex = *row;
            Place();
        }
        effects.FinishCell();
        item.specimenIndex = stored.specimenIndex;
    }

    // Linked items drop onto the surface again, from height 0 so that the drop does not depend on
    // where they were; the others only take its coordinates.
    void StandOnSurfaces() {
        TDravinItem& item = m_pipeline.WorkingItem();
        if (m_input.linkToSurface) item.position.z = 0;
        std::optional<TItemHit> hit = SurfaceHit(m_input, item.position);
        if (!hit) return;
        m_pipeline.TakeHit(*hit);
        item.surfaceSlope = SlopeOf(hit->faceNormal);
        if (!m_input.linkToSurface) return;
        item.position = hit->point;
        item.normal = m_pipeline.NormalOver(hit->faceNormal);
    }

    const TBuildInput& m_input;
    int64_t m_decimation;
    TItemPipeline m_pipeline;
    TFinishFactors m_factors;
    TProgressMeter m_meter{m_input.progress};
    TDravinItemList& m_items;
    TDravinItemList::Appender m_appender = nullptr;
    int32_t m_numDiscarded = 0;
};

// Every N-th item is shown so that a display stays below its limit.
int32_t StoredDecimation(const TBuildInput& input) {
    auto count = int64_t(input.storedItems.size());
    int64_t limit = std::max<int64_t>(1, input.displayLimit);
    if (input.render || count <= limit) return 1;
    return int32_t(std::min<int64_t>((count + limit - 1) / limit, INT32_MAX));
}

}  // namespace

void ProcessStoredItems(const TBuildInput& input, const TGeometryChoice& geometry,
                        TDravinItemList& items, TBuildStatistics& statistics) {
    input.StartProgress(1);
    input.NextStage(int64_t(input.storedItems.size()));
    statistics.decimation = StoredDecimation(input);
    std::vector<TRowSlice> slices = SplitRows(int64_t(input.storedItems.size()), input.threads);
    std::vector<TDravinItemList> parts;
    for (size_t p = 0; p < slices.size(); ++p) parts.emplace_back(items.Groups());
    items.ShareSpare(parts);
    std::vector<int32_t> discarded(slices.size(), 0);
    std::vector<TTaskCounts> counts(slices.size());
    ParallelFor(slices.size(), input.threads, [&](size_t p) {
        StoredItemTask task(input, geometry, statistics.decimation, parts[p]);
        int64_t end = slices[p].first + slices[p].count;
        for (int64_t i = slices[p].first; i < end; ++i) task.Process(size_t(i));
        discarded[p] = task.NumDiscarded();
        counts[p] = task.Counts();
    });
    for (size_t p = 0; p < slices.size(); ++p) {
        items.Splice(std::move(parts[p]));
        statistics.discardedItems += discarded[p];
        statistics.Add(counts[p]);
    }
}

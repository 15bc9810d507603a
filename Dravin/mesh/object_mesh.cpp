#include "Dravin/mesh/object_mesh.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

#include <fmt/format.h>

#include "Dravin/mesh/mesh_items.h"
#include "Dravin/mesh/mesh_layout.h"
#include "Dravin/mesh/mesh_measure.h"
#include "host/base/thread_pool.h"

namespace {

constexpr size_t kLeastItemsPerWorker = 10;
constexpr uint64_t kMaxNumbered = std::numeric_limits<int32_t>::max();

void LogStep(const TObjectMeshSettings& settings, const std::string& step) {
    if (settings.debugLog) settings.debugLog("BuildItemArray->BuildMeshDravin->" + step);
}

// Items of one row then stand together, which keeps the mesh in the order of the models.
void SortByRow(TDravinItemList& items, const TObjectMeshSettings& settings) {
    std::vector<int32_t> rows;
    rows.reserve(items.Count());
    ForEachItem(items, [&](size_t, const TItemColumns& columns, size_t k) {
        rows.push_back(columns.specimenIndex[k]);
    });
    if (std::is_sorted(rows.begin(), rows.end())) return;
    LogStep(settings, fmt::format("Sorting items ({})", items.Count()));
    std::vector<uint32_t> order(rows.size());
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(),
                     [&](uint32_t a, uint32_t b) { return rows[a] < rows[b]; });
    items.Reorder(order);
}

}  // namespace

TMeshOutcome TObjectMesh::Build(TDravinItemList& items, const TSpecBuildList& specimens,
                                TDravinMeshCache& meshes, const TObjectMeshSettings& settings,
                                std::span<const Point3> extraPoints) {
    m_isBuilt = false;
    bool wasConsolidated = std::exchange(m_isConsolidated, settings.consolidates);
    m_bounds = {};
    m_selection.SetSize(0);
    bool isCloud = settings.mode == TMeshMode::kPointCloud && settings.renderMode != kRenderMeshes;
    if (!settings.render && !isCloud && settings.distributes) SortByRow(items, settings);
    LogStep(settings, "Measuring");
    TMeshMeasure measure = MeasureItems(items, specimens, meshes, settings);
    m_statistics = measure.statistics;
    m_statistics.bytesWanted = BytesOfLayout(measure);
    auto giveUp = [&](TMeshOutcome outcome) {
        m_mesh = std::make_shared<Mesh>(), m_owners = {}, m_ranges = {}, m_shapes = {};
        return outcome;
    };
    if (measure.numFaces > settings.maxFaces) {
        m_statistics.facesBeyond = measure.numFaces;
        return giveUp(TMeshOutcome::kTooManyFaces);
    }
    if (std::max({measure.numVerts, measure.numFaces, measure.numNormals}) > kMaxNumbered ||
        m_statistics.bytesWanted > settings.maxBytes)
        return giveUp(TMeshOutcome::kTooMuchMemory);
    if (!isCloud && (measure.numVerts == 0 || measure.numFaces == 0))
        return giveUp(TMeshOutcome::kDone);
    std::vector<uint16_t> proxyIds;
    for (size_t row = 0; row < specimens.NumRows(); ++row)
        proxyIds.push_back(uint16_t(std::min(specimens.Row(row).proxyMaterialId, 0xFFFF)));
    if (isCloud) {
        (void)giveUp(TMeshOutcome::kDone);
    } else {
        bool keeps = settings.selectedOnly && proxyIds == m_proxyIds && HasLayout(measure) &&
                     wasConsolidated == settings.consolidates;
        if (!keeps) {
            if (m_mesh.use_count() > 1) m_mesh = std::make_shared<Mesh>();
            LayOutMesh(measure, settings.threads, *m_mesh, m_owners);
            m_ranges = std::move(measure.ranges);
            m_shapes = std::move(measure.shapes);
            m_proxyIds = std::move(proxyIds);
        }
        Fill(items, settings, keeps);
        Select(items);
    }
    Bound(items, extraPoints, settings.threads);
    m_isBuilt = !isCloud || m_statistics.points > 0;
    return TMeshOutcome::kDone;
}

// Whether the mesh that is there has its arrays as this wants them.
bool TObjectMesh::HasLayout(const TMeshMeasure& measure) const {
    auto same = [](const TMeshShape& a, const TMeshShape& b) {
        return a.mesh == b.mesh && a.sample == b.sample && !a.own && !b.own &&
               a.materialIds == b.materialIds && a.planeMaterialId == b.planeMaterialId &&
               bool(a.normals) == bool(b.normals);
    };
    return m_mesh.use_count() == 1 && m_mesh->verts.size() == measure.numVerts &&
           m_ranges == measure.ranges &&
           std::equal(m_shapes.begin(), m_shapes.end(), measure.shapes.begin(),
                      measure.shapes.end(), same);
}

void TObjectMesh::Fill(const TDravinItemList& items, const TObjectMeshSettings& settings,
                       bool selectedOnly) {
    size_t count = items.Count(), workers = size_t(std::max(settings.threads, 1));
    if (count / workers < kLeastItemsPerWorker || selectedOnly) workers = 1;
    LogStep(settings, settings.threads < 1 || selectedOnly
                          ? fmt::format("Creating mesh ({} items, single thread)", count)
                          : fmt::format("Creating mesh ({} items, {} threads)", count, workers));
    TMeshTarget target{*m_mesh,
                       m_owners,
                       m_ranges,
                       m_shapes,
                       settings,
                       m_proxyIds,
                       m_statistics.mode != TMeshMode::kProxy,
                       selectedOnly};
    size_t share = count / workers;
    ParallelFor(workers, int(workers), [&](size_t w) {
        AddItems(items, w * share, w + 1 == workers ? count : (w + 1) * share, target);
    });
}

void TObjectMesh::Select(const TDravinItemList& items) {
    m_selection.SetSize(m_mesh->NumFaces());
    std::vector<bool> selected(items.Count());
    bool any = false;
    ForEachItem(items, [&](size_t i, const TItemColumns& columns, size_t k) {
        any |= selected[i] = columns.marks[k].Is(ItemMarks::kSelected);
    });
    for (size_t f = 0; any && f < m_owners.size(); ++f)
        if (selected[size_t(m_owners[f])]) m_selection.Set(f);
}

void TObjectMesh::Bound(const TDravinItemList& items, std::span<const Point3> extraPoints,
                        int threads) {
    constexpr size_t kVertsPerPiece = 1 << 16;
    std::vector<Box3> boxes(m_mesh->verts.size() / kVertsPerPiece + 1);
    ParallelFor(boxes.size(), threads, [&](size_t piece) {
        size_t end = std::min((piece + 1) * kVertsPerPiece, m_mesh->verts.size());
        for (size_t i = piece * kVertsPerPiece; i < end; ++i) boxes[piece] += m_mesh->verts[i];
    });
    for (const Box3& box : boxes) m_bounds += box;
    if (m_mesh->verts.empty())
        ForEachItem(items, [&](size_t, const TItemColumns& columns, size_t k) {
            if (columns.marks[k].Is(ItemMarks::kDiscarded)) return;
            m_bounds += columns.position[k];
            ++m_statistics.points;
        });
    for (const Point3& p : extraPoints) m_bounds += p;
}

size_t TObjectMesh::BytesHeld() const {
    return m_mesh->BytesHeld() + m_owners.capacity() * sizeof(int32_t) +
           m_ranges.capacity() * sizeof(TItemRange);
}

#include "Dravin/engine/distribute_points.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "Dravin/engine/item_budget.h"
#include "Dravin/engine/item_pipeline.h"
#include "host/base/thread_pool.h"

namespace {

constexpr size_t kPointsOfOneThread = 1000;
constexpr size_t kPointsOfPiece = 256;  // after which a task tells what it has made
constexpr float kSmallestStep = 1e-6f;

void DebugLog(const TBuildInput& input, const std::string& text) {
    if (input.debugLog) input.debugLog(text);
}

// One source point on its way to an item.
struct Point {
    int32_t specimen = -1;  // -1: by probability
    Point3 point;
    Matrix3 sourceTransform;
    Point3 externalScale{1, 1, 1};
    uint32_t ordinal = 0;
    int32_t sourceIndex = 0;
    int32_t userId = 0;
};

// The per-point routine of one task.
class PointTask {
public:
    PointTask(const TBuildInput& input, const TGeometryChoice& geometry, TDravinItemList& items)
        : m_input(input),
          m_geometry(geometry),
          m_pipeline(input, geometry, items),
          m_effects(m_pipeline.Effects()) {
        m_factors.hasSurfaces = !input.surfaces.empty();
    }

    size_t NumProduced() const { return m_pipeline.NumProduced(); }
    TDravinItem& Item() { return m_pipeline.WorkingItem(); }

    // A point that is no place makes nothing.
    void Process(const Point& p) {
        m_meter.Count();
        if (!IsFinite(p.point)) return;
        TDravinItem& item = Item();
        item.elementIndex = 0;
        item.sourceIndex = p.sourceIndex;
        item.sourceTransform = p.sourceTransform;
        item.externalScale = p.externalScale;
        item.userId = p.userId;
        m_effects.StartCell();
        Draw(p.ordinal);
        item.specimenIndex =
            p.specimen >= 0 ? p.specimen : m_geometry.ByProbability(item.randomB.x);
        ProcessElements(p, false);
        if (auto row = m_effects.AsksForGeometry()) {
            item.specimenIndex = *row;
            ProcessElements(p, true);
        }
        m_effects.FinishCell();
    }

    // To be called behind the last point; what the task counted.
    const TTaskCounts& Finish() {
        m_effects.Flush();
        return m_pipeline.Counts();
    }

private:
    // drawAgain: the random values in the item are not those of its first element.
    void ProcessElements(const Point& p, bool drawAgain) {
        TDravinItem& item = Item();
        const TSpecimen& specimen = m_input.specimens[size_t(item.specimenIndex)];
        TElementRange elements = ElementsOf(m_input, specimen, p.point, item.random4);
        for (int e = elements.first; e < elements.end; ++e) {
            const TSpecimenElement& source = specimen.elements[size_t(e)];
            item.elementIndex = int16_t(e);
            if (e > elements.first || drawAgain) Draw(0);
            if (ProcessElement(p, specimen, source)) continue;
            if (m_effects.AsksForPlacement()) {
                Draw(0);
                ProcessElement(p, specimen, source);
            }
            if (m_effects.WantsGeometry()) return;
        }
    }

    void Draw(uint32_t ordinal) {
        DrawItemRandoms(m_input.transforms, m_pipeline.Ranges(), m_pipeline.Generator(), Item(),
                        false, ordinal);
    }

    bool ProcessElement(const Point& p, const TSpecimen& specimen, const TSpecimenElement& source) {
        TDravinItem& item = Item();
        item.partial = 0;
        item.position = item.storedPosition = p.point + source.offset;
        item.normal = p.sourceTransform.row[2];

        if (CameraThinsOut(m_input.camera, item.position, item.randomA.y))
            return ++m_pipeline.Rejected().falloff, false;
        TSpecimenSize size = ApplySpecimenAndTranslation(m_input.transforms, item, source, {},
                                                         m_effects.Overrides());
        if (item.discarded) return false;
        m_pipeline.ClearHit();
        item.surfaceNormal = p.sourceTransform.row[2];
        m_factors.falloffScale = {1, 1, 1};
        if (m_factors.hasSurfaces && !StandOnSurfaces(p)) return false;

        if (!ObeysCameraView(m_input.camera, item, &m_factors.cameraScale, m_pipeline.Rejected()))
            return false;
        FinishItem(m_input.transforms, m_pipeline.Ranges(), item, specimen, size, {}, m_factors,
                   m_effects.Overrides());
        return !item.discarded && m_effects.Take(item, specimen, size, {});
    }

    // Linked items move to the surface below them and obey its rules; the others only take its
    // coordinates.
    bool StandOnSurfaces(const Point& p) {
        TDravinItem& item = Item();
        if (m_input.surfaceMode != kSurfaceXY) return true;
        std::optional<TItemHit> hit = SurfaceHit(m_input, item.position);
        if (hit) m_pipeline.TakeHit(*hit);
        if (!m_input.linkToSurface) {
            item.surfaceNormal = p.sourceTransform.row[2];
            return true;
        }
        if (!hit) return ++m_pipeline.Rejected().surface, false;
        item.position = hit->point;
        item.normal = m_pipeline.NormalOver(hit->faceNormal);
        item.surfaceSlope = SlopeOf(hit->faceNormal);
        return ObeysSurfaceRules(m_input, hit->point.z, item.surfaceSlope, item.randomA.y,
                                 &m_factors.falloffScale, m_pipeline.Rejected());
    }

    const TBuildInput& m_input;
    const TGeometryChoice& m_geometry;
    TItemPipeline m_pipeline;
    TFinishFactors m_factors;
    TEffectStage& m_effects;
    TProgressMeter m_meter{m_input.progress};
};

// Points that a progress counts: one stage for all of them, thinned as the build is.
void StartProgress(const TBuildInput& input, double points, int32_t decimation) {
    input.StartProgress(1);
    input.NextStage(int64_t(std::min(points / decimation, 1e15)));
}

int32_t PointDecimation(const TBuildInput& input, size_t count) {
    if (input.render) return int32_t{1} << std::clamp(input.renderSkip, 0, 30);
    if (input.camera.limitActive) count /= 2;
    return CountDecimation(int64_t(count), input.displayLimit);
}

// Runs make(task, i) for every used point of [0, count) on the threads that such lists have, and
// joins the items in the order of the points. Statistics: the decimation is read, counts are added.
template <class Make>
TBuildResult DistributeList(const TBuildInput& input, const TGeometryChoice& geometry, size_t count,
                            TDravinItemList& items, TBuildStatistics& statistics,
                            const Make& make) {
    auto decimation = size_t(statistics.decimation);
    int threads = count <= kPointsOfOneThread ? 1 : std::max(1, input.points.reference.threads);
    DebugLog(input, fmt::format("BuildItemArray->DistributeRef->Starting {} threads", threads));
    std::vector<TDravinItemList> parts;
    for (int t = 0; t < threads; ++t) parts.emplace_back(items.Groups());
    items.ShareSpare(parts);
    std::vector<TTaskCounts> counts(parts.size());
    TItemBudget budget(input, items);
    ParallelFor(parts.size(), threads, [&](size_t t) {
        PointTask task(input, geometry, parts[t]);
        TItemShare share(budget);
        size_t first = count * t / parts.size(), last = count * (t + 1) / parts.size();
        for (size_t i = first; i < last; ++i) {
            if (i % decimation == 0) make(task, i);
            if (i % kPointsOfPiece == 0 && !share.Tell(task.NumProduced())) break;
        }
        counts[t] = task.Finish();
        share.Tell(task.NumProduced());
    });
    for (const TTaskCounts& c : counts) statistics.Add(c);
    for (TDravinItemList& part : parts) items.Splice(std::move(part));
    return budget.Result();
}

// --- reference objects and faces
// ------------------------------------------------------------------

TBuildResult DistributeReferences(const TBuildInput& input, const TGeometryChoice& geometry,
                                  TDravinItemList& items, TBuildStatistics& statistics) {
    const TReferenceSettings& reference = input.points.reference;
    // No object at all counts as too many items; panels and scripts know it so.
    if (reference.objects.empty()) return TBuildResult::kTooManyItems;
    size_t count = reference.objects.size();
    statistics.decimation = PointDecimation(input, count);
    StartProgress(input, double(count), statistics.decimation);
    return DistributeList(input, geometry, count, items, statistics,
                          [&](PointTask& task, size_t i) {
                              const TReferenceObject& r = reference.objects[i];
                              task.Process({-1, r.point, r.sourceTransform, r.externalScale,
                                            uint32_t(i), int32_t(i), r.userId});
                          });
}

// Frame of a face: its normal, and the direction to the corner farthest from its centre.
Matrix3 FaceFrame(const std::array<Point3, 3>& corners, const Point3& center,
                  const Matrix3& toObject) {
    size_t farthest = 0;
    float best = LengthSquared(corners[0] - center);
    for (size_t i = 1; i < 3; ++i)
        if (float d = LengthSquared(corners[i] - center); d > best) best = d, farthest = i;
    Point3 normal = Normalize(CrossProd(corners[1] - corners[0], corners[2] - corners[0]));
    return MakeFrame(toObject.VectorTransform(Normalize(corners[farthest] - center)),
                     Normalize(NormalTransform(toObject).VectorTransform(normal)));
}

TBuildResult DistributeFaces(const TBuildInput& input, const TGeometryChoice& geometry,
                             TDravinItemList& items, TBuildStatistics& statistics) {
    const TReferenceSettings& reference = input.points.reference;
    if (reference.meshes.empty())
        return reference.hasNodes ? TBuildResult::kOk : TBuildResult::kTooManyItems;
    size_t total = 0;
    for (const TReferenceMesh& m : reference.meshes) total += m.NumFaces();
    statistics.decimation = PointDecimation(input, total);
    StartProgress(input, double(total), statistics.decimation);
    size_t offset = 0;
    for (const TReferenceMesh& m : reference.meshes) {
        TBuildResult result = DistributeList(
            input, geometry, m.NumFaces(), items, statistics, [&](PointTask& task, size_t i) {
                auto corners = m.Corners(i);
                if (!corners) return;
                const auto& [a, b, c] = *corners;
                Point3 center = (a + b + c) / 3;
                Point p;
                p.point = center * m.toObject;
                if (reference.getRotation)
                    p.sourceTransform = FaceFrame(*corners, center, m.toObject);
                p.ordinal = uint32_t(i + offset);
                p.sourceIndex = int32_t(i);
                task.Process(p);
            });
        if (result != TBuildResult::kOk) return result;
        offset += m.NumFaces();
    }
    return TBuildResult::kOk;
}

// --- paths
// ----------------------------------------------------------------------------------------

class PathWalker {
public:
    PathWalker(const TBuildInput& input, const TGeometryChoice& geometry, TDravinItemList& items,
               TBuildStatistics& statistics)
        : m_input(input),
          m_statistics(statistics),
          m_path(input.points.path),
          m_task(input, geometry, items),
          m_limit(input.displayLimit) {}

    TBuildResult Walk() {
        StartProgress(m_input, ExpectedPoints(), 1);
        for (const TPathNode& node : m_path.nodes)
            for (const PolyLinePlus& line : node.lines) {
                bool full = m_path.onVertices ? WalkVertices(node, line) : WalkSpacing(node, line);
                if (full && m_input.render) return TBuildResult::kTooManyItems;
            }
        m_statistics.Add(m_task.Finish());
        return TBuildResult::kOk;
    }

private:
    // About how many items the lines give.
    double ExpectedPoints() const {
        double points = 0;
        for (const TPathNode& node : m_path.nodes)
            for (const PolyLinePlus& line : node.lines)
                points += m_path.onVertices    ? line.NumPoints()
                          : m_path.spacing > 0 ? std::ceil(double(line.Length()) / m_path.spacing)
                                               : 1;
        return std::min(points, double(m_limit));
    }

    bool Follows() const { return m_path.followX || m_path.followZ; }

    // True when the limit stops the line: every line still gives its first item before that.
    bool WalkVertices(const TPathNode& node, const PolyLinePlus& line) {
        int n = line.NumPoints(), segments = line.NumSegments();
        for (int i = 0; i < n; ++i) {
            bool starts = i < segments;  // the last vertex of an open line starts no segment
            Point3 tangent = starts ? line.Tangent(i, 0) : line.Tangent(segments - 1, 1);
            if (Add(node, line.PointAt(i), line.FractionAtEnd(i), tangent, i)) return true;
        }
        return false;
    }

    bool WalkSpacing(const TPathNode& node, const PolyLinePlus& line) {
        if (line.NumPoints() == 0) return false;
        float step = m_path.spacing / line.Length();
        if (!(step > kSmallestStep)) step = line.Length() + 1;  // one item, at the start
        int k = 0;
        for (float t = 0; t < 1; t += step, ++k)
            if (Add(node, line.PositionAt(t).position, t, line.TangentAt(t), k)) return true;
        return false;
    }

    bool Add(const TPathNode& node, const Point3& position, float fraction, const Point3& tangent,
             int index) {
        TDravinItem& item = m_task.Item();
        item.pathPosition = fraction;
        item.pathTangent = tangent;
        Point p;
        if (m_path.inSequence) p.specimen = int32_t(m_count % m_input.specimens.size());
        p.point = position * node.toObject;
        bool directed = LengthSquared(tangent) > 0;  // one point alone has no direction to follow
        if (Follows() && directed)
            p.sourceTransform = Frame(node.toObject.VectorTransform(tangent));
        p.ordinal = uint32_t(m_count);
        p.sourceIndex = p.userId = index;
        m_task.Process(p);
        return int64_t(++m_count) > m_limit;
    }

    Matrix3 Frame(const Point3& tangent) const {
        Point3 d = Normalize(tangent), up{0, 0, 1};
        if (m_path.followZ) up = CrossProd(d, Normalize(Point3{-d.y, d.x, 0}));
        // A vertical path lies in every vertical plane; it leans as if it came along the x axis.
        if (up == Point3{}) up = {-d.z, 0, 0};
        return MakeFrame(m_path.followX ? d : Point3{1, 0, 0}, up);
    }

    const TBuildInput& m_input;
    TBuildStatistics& m_statistics;
    const TPathSettings& m_path;
    PointTask m_task;
    int64_t m_limit;
    size_t m_count = 0;  // over all lines and nodes
};

// --- particles
// ------------------------------------------------------------------------------------

Matrix3 ParticleFrame(const Point3& rotation) {
    Matrix3 m;
    if (std::abs(rotation.x) >= kSmallestStep) m = m * Matrix3::RotationX(rotation.x);
    if (std::abs(rotation.y) >= kSmallestStep) m = m * Matrix3::RotationY(rotation.y);
    if (std::abs(rotation.z) >= kSmallestStep) m = m * Matrix3::RotationZ(rotation.z);
    return m;
}

TBuildResult DistributeParticles(const TBuildInput& input, const TGeometryChoice& geometry,
                                 TDravinItemList& items, TBuildStatistics& statistics) {
    const TParticleSettings& settings = input.points.particles;
    if (settings.hasBadSource) return TBuildResult::kNoReference;
    size_t total = 0;
    for (const auto& system : settings.systems) total += system.size();
    if (input.render && int64_t(total) > input.renderLimit) return TBuildResult::kTooManyItems;
    statistics.decimation = PointDecimation(input, total);
    StartProgress(input, double(total), statistics.decimation);
    PointTask task(input, geometry, items);
    for (size_t s = 0; s < settings.systems.size(); ++s) {
        DebugLog(input, "BuildItemArray->DistributePFlow->Starting");
        for (size_t j = 0; j < settings.systems[s].size(); ++j) {
            const TParticle& particle = settings.systems[s][j];
            // The offset is the system's index, not a running count: saved scenes rely on it.
            if ((j + s) % size_t(statistics.decimation) != 0) continue;
            if (particle.age == -1 || !particle.hasPosition || !particle.isWanted) continue;
            TDravinItem& item = task.Item();
            item.particleAge = particle.age;
            item.particleRotation = particle.rotation;
            item.particleScale = particle.scale;
            item.particleSpeed = particle.speed;
            item.particleEventId = particle.eventId;
            Point p;
            p.point = particle.point;
            if (settings.getRotation) p.sourceTransform = ParticleFrame(particle.rotation);
            if (settings.getScale) p.externalScale = particle.scale;
            p.ordinal = uint32_t(j + s);
            p.sourceIndex = int32_t(j);
            task.Process(p);
        }
    }
    statistics.Add(task.Finish());
    return TBuildResult::kOk;
}

}  // namespace

std::optional<std::array<Point3, 3>> TReferenceMesh::Corners(size_t face) const {
    if (heights) return heights->Corners(heights->TriangleOf(face));
    std::array<Point3, 3> corners;
    for (size_t k = 0; k < 3; ++k) {
        uint32_t vertex = mesh->faces[face].v[k];
        if (vertex >= mesh->verts.size()) return std::nullopt;
        corners[k] = mesh->verts[vertex];
    }
    return corners;
}

int32_t EventNumber(const std::string& nodeName) {
    size_t arrow = nodeName.find("->");
    if (arrow == std::string::npos) return 0;
    int64_t number = 0;
    bool any = false;
    for (size_t i = arrow + 2; i < nodeName.size(); ++i) {
        char c = nodeName[i];
        if (c == ' ' && any) break;
        if (c < '0' || c > '9') continue;
        number = std::min<int64_t>(number * 10 + (c - '0'), INT32_MAX);
        any = true;
    }
    return int32_t(number);
}

TBuildResult DistributePoints(const TBuildInput& input, const TGeometryChoice& geometry,
                              TDravinItemList& items, TBuildStatistics& statistics) {
    TBuildResult result = TBuildResult::kOk;
    switch (input.distributionMode) {
        case kDistPath:
            result = PathWalker(input, geometry, items, statistics).Walk();
            break;
        case kDistReference:
            result = input.points.reference.onFaces
                         ? DistributeFaces(input, geometry, items, statistics)
                         : DistributeReferences(input, geometry, items, statistics);
            break;
        case kDistParticles:
            result = DistributeParticles(input, geometry, items, statistics);
            break;
        default:
            break;
    }
    if (input.render && int64_t(items.Count()) > input.renderLimit)
        result = TBuildResult::kTooManyItems;
    return result;
}

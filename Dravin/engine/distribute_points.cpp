#include "Dravin/engine/distribute_points.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "Dravin/engine/source_points.h"

namespace {

constexpr size_t kPointsOfOneThread = 1000;
constexpr float kSmallestStep = 1e-6f;

void DebugLog(const TBuildInput& input, const std::string& text) {
    if (input.debugLog) input.debugLog(text);
}

int32_t PointDecimation(const TBuildInput& input, size_t count) {
    if (input.render) return int32_t{1} << std::clamp(input.renderSkip, 0, 30);
    if (input.camera.limitActive) count /= 2;
    return CountDecimation(int64_t(count), input.displayLimit);
}

void LogThreads(const TBuildInput& input, size_t count) {
    int threads = count <= kPointsOfOneThread ? 1 : std::max(1, input.points.reference.threads);
    DebugLog(input, fmt::format("BuildItemArray->DistributeRef->Starting {} threads", threads));
}

void AddList(const TBuildInput& input, std::unique_ptr<IPointList> points, TItemSources& sources) {
    sources.push_back(std::make_unique<TPointSource>(input, std::move(points)));
}

// --- reference objects and faces
// ------------------------------------------------------------------

struct TReferencePoints : IPointList {
    const TReferenceSettings& reference;
    size_t decimation;

    TReferencePoints(const TReferenceSettings& r, int32_t d)
        : reference(r), decimation(size_t(d)) {}
    size_t Count() const override { return reference.objects.size(); }
    bool Get(size_t i, TCells& cells, size_t c) const override {
        if (i % decimation != 0) return false;
        const TReferenceObject& r = reference.objects[i];
        cells.point[c] = r.point;
        cells.from[c].sourceTransform = r.sourceTransform;
        cells.from[c].userId = r.userId;
        cells.scale[c] = r.externalScale;
        cells.ordinal[c] = uint32_t(i);
        cells.sourceIndex[c] = int32_t(i);
        return true;
    }
};

TBuildStatus LayReferences(const TBuildInput& input, TItemSources& sources,
                           TBuildStatistics& statistics) {
    const TReferenceSettings& reference = input.points.reference;
    // No object at all counts as too many items; panels and scripts know it so.
    if (reference.objects.empty()) return TBuildStatus::kTooManyItems;
    statistics.decimation = PointDecimation(input, reference.objects.size());
    LogThreads(input, reference.objects.size());
    AddList(input, std::make_unique<TReferencePoints>(reference, statistics.decimation), sources);
    return TBuildStatus::kSuccess;
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

struct TFacePoints : IPointList {
    const TReferenceMesh& mesh;
    bool rotates;
    size_t decimation, offset;  // faces of the meshes before

    TFacePoints(const TReferenceMesh& m, bool r, int32_t d, size_t o)
        : mesh(m), rotates(r), decimation(size_t(d)), offset(o) {}
    size_t Count() const override { return mesh.NumFaces(); }
    bool Get(size_t i, TCells& cells, size_t c) const override {
        if (i % decimation != 0) return false;
        auto corners = mesh.Corners(i);
        if (!corners) return false;
        Point3 center = ((*corners)[0] + (*corners)[1] + (*corners)[2]) / 3;
        cells.point[c] = center * mesh.toObject;
        if (rotates) cells.from[c].sourceTransform = FaceFrame(*corners, center, mesh.toObject);
        cells.ordinal[c] = uint32_t(i + offset);
        cells.sourceIndex[c] = int32_t(i);
        return true;
    }
};

TBuildStatus LayFaces(const TBuildInput& input, TItemSources& sources,
                      TBuildStatistics& statistics) {
    const TReferenceSettings& reference = input.points.reference;
    if (reference.meshes.empty())
        return reference.hasNodes ? TBuildStatus::kSuccess : TBuildStatus::kTooManyItems;
    size_t total = 0;
    for (const TReferenceMesh& m : reference.meshes) total += m.NumFaces();
    statistics.decimation = PointDecimation(input, total);
    size_t offset = 0;
    for (const TReferenceMesh& m : reference.meshes) {
        LogThreads(input, m.NumFaces());
        AddList(
            input,
            std::make_unique<TFacePoints>(m, reference.getRotation, statistics.decimation, offset),
            sources);
        offset += m.NumFaces();
    }
    return TBuildStatus::kSuccess;
}

// --- paths
// ----------------------------------------------------------------------------------------

// The places of all items on all lines; what stands there is worked out when they are read.
class TPathPoints : public IPointList {
public:
    explicit TPathPoints(const TBuildInput& input)
        : m_input(input), m_path(input.points.path), m_limit(input.displayLimit) {
        for (const TPathNode& node : m_path.nodes)
            for (const PolyLinePlus& line : node.lines) {
                bool full = m_path.onVertices ? WalkVertices(node, line) : WalkSpacing(node, line);
                m_isFull |= full;
                if (full && input.render) return;
            }
    }

    // Whether the limit stopped a line: every line still gives its first item before that.
    bool IsFull() const { return m_isFull; }
    size_t Count() const override { return m_places.size(); }
    bool Get(size_t i, TCells& cells, size_t c) const override {
        const Place& place = m_places[i];
        ItemSource& from = cells.from[c];
        Point3 position = PointOf(place, from);
        cells.point[c] = position * place.node->toObject;
        bool directed = LengthSquared(from.pathTangent) > 0;  // one point alone has no direction
        if ((m_path.followX || m_path.followZ) && directed)
            from.sourceTransform = Frame(place.node->toObject.VectorTransform(from.pathTangent));
        if (m_path.inSequence) cells.row[c] = int32_t(i % m_input.specimens.size());
        cells.ordinal[c] = uint32_t(i);
        cells.sourceIndex[c] = from.userId = place.index;
        return true;
    }

private:
    struct Place {
        const TPathNode* node;
        const PolyLinePlus* line;
        float fraction;  // of the line, where items are spaced
        int32_t index;   // on the line
    };

    bool WalkVertices(const TPathNode& node, const PolyLinePlus& line) {
        for (int i = 0; i < line.NumPoints(); ++i)
            if (Add({&node, &line, 0, i})) return true;
        return false;
    }

    bool WalkSpacing(const TPathNode& node, const PolyLinePlus& line) {
        if (line.NumPoints() == 0) return false;
        float step = m_path.spacing / line.Length();
        if (!(step > kSmallestStep)) step = line.Length() + 1;  // one item, at the start
        int k = 0;
        for (float t = 0; t < 1; t += step, ++k)
            if (Add({&node, &line, t, k})) return true;
        return false;
    }

    bool Add(const Place& place) {
        m_places.push_back(place);
        return int64_t(m_places.size()) > m_limit;
    }

    Point3 PointOf(const Place& place, ItemSource& from) const {
        const PolyLinePlus& line = *place.line;
        if (!m_path.onVertices) {
            from.pathPosition = place.fraction;
            from.pathTangent = line.TangentAt(place.fraction);
            return line.PositionAt(place.fraction).position;
        }
        int i = place.index, segments = line.NumSegments();
        // The last vertex of an open line starts no segment.
        from.pathTangent = i < segments ? line.Tangent(i, 0) : line.Tangent(segments - 1, 1);
        from.pathPosition = line.FractionAtEnd(i);
        return line.PointAt(i);
    }

    Matrix3 Frame(const Point3& tangent) const {
        Point3 d = Normalize(tangent), up{0, 0, 1};
        if (m_path.followZ) up = CrossProd(d, Normalize(Point3{-d.y, d.x, 0}));
        // A vertical path lies in every vertical plane; it leans as if it came along the x axis.
        if (up == Point3{}) up = {-d.z, 0, 0};
        return MakeFrame(m_path.followX ? d : Point3{1, 0, 0}, up);
    }

    const TBuildInput& m_input;
    const TPathSettings& m_path;
    int64_t m_limit;
    bool m_isFull = false;
    std::vector<Place> m_places;
};

TBuildStatus LayPaths(const TBuildInput& input, TItemSources& sources) {
    auto points = std::make_unique<TPathPoints>(input);
    if (points->IsFull() && input.render) return TBuildStatus::kTooManyItems;
    AddList(input, std::move(points), sources);
    return TBuildStatus::kSuccess;
}

// --- particles
// ------------------------------------------------------------------------------------

Matrix3 ParticleFrame(const Point3& rotation) {
    Matrix3 m;
    if (std::abs(rotation.x) >= kSmallestStep) m = m * Matrix3::RotationX(rotation.x);
    if (std::abs(rotation.y) >= kSmallestStep) m = m * Matrix3::RotationY(rotation.y);
    if (std::abs(rotation.z) >= kSmallestStep) m = m * Matrix3::RotationZ(rotation.z);
    return m;
}

struct TParticlePoints : IPointList {
    const TParticleSettings& settings;
    const std::vector<TParticle>& system;
    size_t number, decimation;

    TParticlePoints(const TParticleSettings& p, size_t s, int32_t d)
        : settings(p), system(p.systems[s]), number(s), decimation(size_t(d)) {}
    size_t Count() const override { return system.size(); }
    bool Get(size_t i, TCells& cells, size_t c) const override {
        const TParticle& particle = system[i];
        // The offset is the system's index, not a running count: saved scenes rely on it.
        if ((i + number) % decimation != 0) return false;
        if (particle.age == -1 || !particle.hasPosition || !particle.isWanted) return false;
        ItemSource& from = cells.from[c];
        from.particleAge = particle.age;
        from.particleRotation = particle.rotation;
        from.particleScale = particle.scale;
        from.particleSpeed = particle.speed;
        from.particleEventId = particle.eventId;
        cells.point[c] = particle.point;
        if (settings.getRotation) from.sourceTransform = ParticleFrame(particle.rotation);
        if (settings.getScale) cells.scale[c] = particle.scale;
        cells.ordinal[c] = uint32_t(i + number);
        cells.sourceIndex[c] = int32_t(i);
        return true;
    }
};

TBuildStatus LayParticles(const TBuildInput& input, TItemSources& sources,
                          TBuildStatistics& statistics) {
    const TParticleSettings& settings = input.points.particles;
    if (settings.hasBadSource) return TBuildStatus::kNoReferenceObject;
    size_t total = 0;
    for (const auto& system : settings.systems) total += system.size();
    if (input.render && int64_t(total) > input.renderLimit) return TBuildStatus::kTooManyItems;
    statistics.decimation = PointDecimation(input, total);
    for (size_t s = 0; s < settings.systems.size(); ++s) {
        DebugLog(input, "BuildItemArray->DistributePFlow->Starting");
        AddList(input, std::make_unique<TParticlePoints>(settings, s, statistics.decimation),
                sources);
    }
    return TBuildStatus::kSuccess;
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

TBuildStatus LayPoints(const TBuildInput& input, TItemSources& sources,
                       TBuildStatistics& statistics) {
    switch (input.distributionMode) {
        case kDistPath:
            return LayPaths(input, sources);
        case kDistReference:
            return input.points.reference.onFaces ? LayFaces(input, sources, statistics)
                                                  : LayReferences(input, sources, statistics);
        case kDistParticles:
            return LayParticles(input, sources, statistics);
        default:
            return TBuildStatus::kSuccess;
    }
}

#include "host/render/trace_scene.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/base/log.h"
#include "host/render/trace_callbacks.h"

namespace {

constexpr size_t kBlock = 16384;  // instances read from a source at a time

// Fills `packed`; false for a record that cannot be shown.
bool Pack(const InstanceRecord& record, PackedInstance* packed) {
    for (const Point3& row : record.transform.row)
        if (!IsFinite(row)) return false;
    float volume = std::fabs(record.transform.Determinant());
    if (!(volume > 1e-30f) || !std::isfinite(volume)) return false;
    Matrix3 linear = record.transform;
    linear.NoTrans();
    Matrix3 inverse = Inverse(linear);
    for (int i = 0; i < 9; ++i) packed->toPrototype[i] = inverse.row[i / 3][i % 3];
    packed->position = record.transform.GetTrans();
    packed->prototype = record.prototype;
    const float tint[4] = {record.tint.r, record.tint.g, record.tint.b, record.tintBlend};
    for (int i = 0; i < 4; ++i)
        packed->tint[i] = uint8_t(std::lround(std::clamp(tint[i], 0.f, 1.f) * 255));
    return true;
}

// Puts a zero between each two of the low 32 bits (Morton order).
uint64_t SpreadBits(uint64_t x) {
    x = (x | x << 16) & 0x0000ffff0000ffffull;
    x = (x | x << 8) & 0x00ff00ff00ff00ffull;
    x = (x | x << 4) & 0x0f0f0f0f0f0f0f0full;
    x = (x | x << 2) & 0x3333333333333333ull;
    return (x | x << 1) & 0x5555555555555555ull;
}

// Adds faces [first, first + count) of a mesh to a scene under the given number.
void AttachTriangles(RTCDevice device, RTCScene scene, const RenderMesh& mesh, size_t first,
                     size_t count, bool isMasked, uint32_t geometryId) {
    if (count == 0) return;
    RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                               mesh.Positions(), 0, sizeof(Point3), mesh.NumVertices());
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                               mesh.Faces() + first, 0, sizeof(Triple), count);
    if (isMasked) {
        rtcSetGeometryUserData(geometry, const_cast<RenderMesh*>(&mesh));
        rtcSetGeometryIntersectFilterFunction(geometry, MaskFilter);
        rtcSetGeometryOccludedFilterFunction(geometry, MaskFilter);
    }
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(scene, geometry, geometryId);
    rtcReleaseGeometry(geometry);
}

// Geometry 0 holds the opaque faces, geometry 1 those under a mask.
void AttachMesh(RTCDevice device, RTCScene scene, const RenderMesh& mesh, uint32_t firstId) {
    size_t opaque = mesh.NumOpaque();
    AttachTriangles(device, scene, mesh, 0, opaque, false, firstId);
    AttachTriangles(device, scene, mesh, opaque, mesh.NumFaces() - opaque, true, firstId + 1);
}

}  // namespace

struct TraceScene::Impl {
    RTCDevice device = nullptr;
    RTCScene top = nullptr;
    RenderMaterials materials;
    // Numbers of geometries: mesh i of the nodes has 2i and 2i + 1, then come the height fields,
    // then the sources.
    std::vector<std::unique_ptr<RenderMesh>> nodes;
    std::vector<std::unique_ptr<RenderHeights>> heights;
    std::vector<std::unique_ptr<SourceGeometry>> sources;
    TraceStatistics statistics;

    explicit Impl(TimeValue time) : materials(time) {}
    ~Impl() {
        if (top) rtcReleaseScene(top);
        for (auto& source : sources)
            for (Prototype& prototype : source->prototypes)
                if (prototype.scene) rtcReleaseScene(prototype.scene);
        if (device) rtcReleaseDevice(device);
    }
    uint32_t FirstHeightsId() const { return uint32_t(nodes.size() * 2); }
    uint32_t FirstSourceId() const { return FirstHeightsId() + uint32_t(heights.size()); }

    void AddHeights(const RenderNode& node) {
        if (!node.heights || node.heights->NumFaces() == 0) return;
        if (!RenderHeights::CanBeShown(node.transform)) {
            LogWarning("a terrain is left out of the picture: its transform flattens it");
            return;
        }
        heights.push_back(std::make_unique<RenderHeights>(*node.heights, node.mtl, node.transform,
                                                          materials, node.node));
        RTCGeometry user = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_USER);
        rtcSetGeometryUserPrimitiveCount(user, 1);
        rtcSetGeometryUserData(user, heights.back().get());
        rtcSetGeometryBoundsFunction(user, HeightBounds, nullptr);
        rtcSetGeometryIntersectFunction(user, IntersectHeights);
        rtcSetGeometryOccludedFunction(user, OccludeHeights);
        rtcCommitGeometry(user);
        rtcAttachGeometryByID(top, user, FirstHeightsId() + uint32_t(heights.size() - 1));
        rtcReleaseGeometry(user);
        statistics.numNodeFaces += heights.back()->NumFaces();
    }

    void AddMesh(const RenderNode& node) {
        if (!node.mesh || node.heights) return;
        nodes.push_back(std::make_unique<RenderMesh>(*node.mesh, node.mtl, node.transform,
                                                     materials, node.node));
        const RenderMesh& mesh = *nodes.back();
        statistics.numNodeFaces += mesh.NumFaces();
        AttachMesh(device, top, mesh, uint32_t(nodes.size() - 1) * 2);
    }

    void ReadPrototypes(const IInstanceSource& source, SourceGeometry* geometry) {
        for (size_t i = 0; i < source.NumPrototypes(); ++i) {
            Prototype& prototype = geometry->prototypes.emplace_back();
            static const Mesh kEmpty;
            const Mesh* mesh = source.PrototypeMesh(i);
            prototype.mesh = std::make_unique<RenderMesh>(
                mesh ? *mesh : kEmpty, source.PrototypeMtl(i), Matrix3{}, materials);
            prototype.scene = rtcNewScene(device);
            rtcSetSceneBuildQuality(prototype.scene, RTC_BUILD_QUALITY_HIGH);
            AttachMesh(device, prototype.scene, *prototype.mesh, 0);
            rtcCommitScene(prototype.scene);
            statistics.numPrototypeFaces += prototype.mesh->NumFaces();
        }
    }

    void ReadInstances(const IInstanceSource& source, SourceGeometry* geometry) {
        size_t count = source.NumInstances();
        geometry->instances.reserve(count);
        std::vector<InstanceRecord> block;
        for (size_t first = 0; first < count; first += kBlock) {
            block.resize(std::min(kBlock, count - first));
            source.GetInstances(first, block);
            for (size_t i = 0; i < block.size(); ++i) {
                const InstanceRecord& record = block[i];
                PackedInstance packed;
                packed.number = uint32_t(first + i);
                if (record.prototype < geometry->prototypes.size() &&
                    geometry->prototypes[record.prototype].mesh->NumFaces() > 0 &&
                    Pack(record, &packed))
                    geometry->instances.push_back(packed);
            }
        }
    }

    // Neighbours in space become neighbours in memory: rays pass many instances close together.
    static void SortBySpace(std::vector<PackedInstance>* instances) {
        Box3 bounds;
        for (const PackedInstance& instance : *instances) bounds += instance.position;
        Point3 width = bounds.Width();
        float side = std::max({width.x, width.y, 1e-6f});
        std::vector<std::pair<uint64_t, uint32_t>> order(instances->size());
        for (size_t i = 0; i < order.size(); ++i) {
            Point3 p = ((*instances)[i].position - bounds.min) / side;
            order[i] = {SpreadBits(uint32_t(p.x * 65535)) | SpreadBits(uint32_t(p.y * 65535)) << 1,
                        uint32_t(i)};
        }
        std::sort(order.begin(), order.end());
        std::vector<PackedInstance> sorted;
        sorted.reserve(instances->size());
        for (auto& [key, index] : order) sorted.push_back((*instances)[index]);
        *instances = std::move(sorted);
    }

    // Whether some material colours each instance by itself.
    static bool TintsInstances(const SourceGeometry& geometry) {
        for (const Prototype& prototype : geometry.prototypes)
            for (size_t f = 0; f < prototype.mesh->NumFaces(); ++f)
                if (prototype.mesh->Material(f).tintsInstances) return true;
        return false;
    }

    void AddSource(const IInstanceSource& source) {
        auto geometry = std::make_unique<SourceGeometry>();
        geometry->source = &source;
        ReadPrototypes(source, geometry.get());
        ReadInstances(source, geometry.get());
        if (TintsInstances(*geometry)) source.PrepareShading();
        SortBySpace(&geometry->instances);
        RTCGeometry user = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_USER);
        rtcSetGeometryUserPrimitiveCount(user, uint32_t(geometry->instances.size()));
        rtcSetGeometryUserData(user, geometry.get());
        rtcSetGeometryBoundsFunction(user, InstanceBounds, nullptr);
        rtcSetGeometryIntersectFunction(user, IntersectInstance);
        rtcSetGeometryOccludedFunction(user, OccludeInstance);
        rtcCommitGeometry(user);
        rtcAttachGeometryByID(top, user, FirstSourceId() + uint32_t(sources.size()));
        rtcReleaseGeometry(user);
        statistics.numInstances += geometry->instances.size();
        statistics.instanceBytes += geometry->instances.size() * sizeof(PackedInstance);
        sources.push_back(std::move(geometry));
    }
};

TraceScene::TraceScene(const RenderScene& scene) : m_impl(std::make_unique<Impl>(scene.time)) {
    Impl& impl = *m_impl;
    impl.device = rtcNewDevice("threads=1");
    rtcSetDeviceErrorFunction(
        impl.device,
        [](void*, RTCError, const char* text) { LogError(std::string("ray tracer: ") + text); },
        nullptr);
    impl.top = rtcNewScene(impl.device);
    for (const RenderNode& node : scene.nodes) impl.AddMesh(node);
    for (const RenderNode& node : scene.nodes) impl.AddHeights(node);
    for (const IInstanceSource* source : scene.sources)
        if (source) impl.AddSource(*source);
    rtcCommitScene(impl.top);
}

TraceScene::~TraceScene() = default;

const TraceStatistics& TraceScene::Statistics() const { return m_impl->statistics; }

const std::vector<std::string>& TraceScene::Problems() const {
    return m_impl->materials.Problems();
}

namespace {

TraceContext MakeContext(const TraceRay& ray) {
    TraceContext context;
    rtcInitIntersectContext(&context);
    context.width = ray.width;
    context.spread = ray.spread;
    context.seed = ray.seed;
    LeavePrototype(&context);
    return context;
}

RTCRay MakeRay(const TraceRay& ray) {
    RTCRay r{};
    r.org_x = ray.origin.x, r.org_y = ray.origin.y, r.org_z = ray.origin.z;
    r.dir_x = ray.direction.x, r.dir_y = ray.direction.y, r.dir_z = ray.direction.z;
    r.tnear = ray.near, r.tfar = ray.far;
    r.mask = ~0u;
    return r;
}

}  // namespace

bool TraceScene::Intersect(const TraceRay& ray, TraceHit* hit) const {
    TraceContext context = MakeContext(ray);
    RTCRayHit query;
    query.ray = MakeRay(ray);
    query.hit.geomID = query.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(m_impl->top, &context, &query);
    if (query.hit.geomID == RTC_INVALID_GEOMETRY_ID) return false;
    hit->distance = query.ray.tfar;
    hit->u = query.hit.u, hit->v = query.hit.v;
    hit->face = query.hit.primID;
    hit->instance = nullptr;
    hit->mesh = nullptr, hit->heights = nullptr, hit->source = nullptr;
    Point3 n{query.hit.Ng_x, query.hit.Ng_y, query.hit.Ng_z};
    uint32_t id = query.hit.geomID, firstHeights = m_impl->FirstHeightsId();
    uint32_t firstSource = m_impl->FirstSourceId();
    if (id >= firstHeights && id < firstSource) {
        hit->heights = m_impl->heights[id - firstHeights].get();
        hit->faceNormal = hit->heights->FaceNormal(hit->heights->Unpack(hit->face));
        return true;
    }
    if (id < firstHeights) {
        hit->mesh = m_impl->nodes[id / 2].get();
        if (id & 1) hit->face += uint32_t(hit->mesh->NumOpaque());
    } else {
        const SourceGeometry& source = *m_impl->sources[id - firstSource];
        hit->instance = &source.instances[query.hit.instID[0]];
        hit->source = source.source;
        hit->mesh = source.prototypes[hit->instance->prototype].mesh.get();
        n = hit->instance->NormalToWorld(n);
    }
    hit->faceNormal = Normalize(n);
    return true;
}

bool TraceScene::IsOccluded(const TraceRay& ray) const {
    TraceContext context = MakeContext(ray);
    RTCRay query = MakeRay(ray);
    rtcOccluded1(m_impl->top, &context, &query);
    return query.tfar < 0;
}

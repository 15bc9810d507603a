#include "host/render/trace_scene.h"

#include <limits>

#include "host/base/log.h"
#include "host/render/trace_callbacks.h"

namespace {

// Faces that cast no shadow let all shadow rays through, geometry of callbacks meets none.
void LetThrough(const RTCFilterFunctionNArguments* args) { args->valid[0] = 0; }
void OccludeNothing(const RTCOccludedFunctionNArguments*) {}

// Adds faces [first, first + count) of a mesh to a scene under the given number.
void AttachTriangles(RTCDevice device, RTCScene scene, const RenderMesh& mesh, size_t first,
                     size_t count, bool isMasked, bool casts, uint32_t geometryId) {
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
    if (!casts) rtcSetGeometryOccludedFilterFunction(geometry, LetThrough);
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(scene, geometry, geometryId);
    rtcReleaseGeometry(geometry);
}

// Geometry 0 holds the opaque faces, geometry 1 those under a mask.
void AttachMesh(RTCDevice device, RTCScene scene, const RenderMesh& mesh, bool casts,
                uint32_t firstId) {
    size_t opaque = mesh.NumOpaque();
    AttachTriangles(device, scene, mesh, 0, opaque, false, casts, firstId);
    AttachTriangles(device, scene, mesh, opaque, mesh.NumFaces() - opaque, true, casts,
                    firstId + 1);
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

    LightShadow sun;

    explicit Impl(const RenderScene& scene) : materials(scene.time), sun(scene.sun.shadow) {}
    bool Casts(const INode* node) const { return sun.casts && CastsShadowOf(sun.light, node); }
    ~Impl() {
        if (top) rtcReleaseScene(top);
        for (auto& source : sources)
            for (RTCScene scene : source->scenes) rtcReleaseScene(scene);
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
        rtcSetGeometryOccludedFunction(user, Casts(node.node) ? OccludeHeights : OccludeNothing);
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
        AttachMesh(device, top, mesh, Casts(node.node), uint32_t(nodes.size() - 1) * 2);
    }

    void AddSource(const IInstanceSource& source) {
        auto geometry = std::make_unique<SourceGeometry>();
        static_cast<PlacedSource&>(*geometry) = ReadPlacedSource(source, materials);
        for (const auto& prototype : geometry->prototypes) {
            geometry->scenes.push_back(rtcNewScene(device));
            rtcSetSceneBuildQuality(geometry->scenes.back(), RTC_BUILD_QUALITY_HIGH);
            AttachMesh(device, geometry->scenes.back(), *prototype, true, 0);
            rtcCommitScene(geometry->scenes.back());
            statistics.numPrototypeFaces += prototype->NumFaces();
        }
        RTCGeometry user = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_USER);
        rtcSetGeometryUserPrimitiveCount(user, uint32_t(geometry->instances.size()));
        rtcSetGeometryUserData(user, geometry.get());
        rtcSetGeometryBoundsFunction(user, InstanceBounds, nullptr);
        rtcSetGeometryIntersectFunction(user, IntersectInstance);
        bool casts = Casts(source.SourceNode());
        rtcSetGeometryOccludedFunction(user, casts ? OccludeInstance : OccludeNothing);
        rtcCommitGeometry(user);
        rtcAttachGeometryByID(top, user, FirstSourceId() + uint32_t(sources.size()));
        rtcReleaseGeometry(user);
        statistics.numInstances += geometry->instances.size();
        statistics.instanceBytes += geometry->instances.size() * sizeof(PackedInstance);
        sources.push_back(std::move(geometry));
    }
};

TraceScene::TraceScene(const RenderScene& scene) : m_impl(std::make_unique<Impl>(scene)) {
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

TraceContext MakeContext(const TraceRay& ray, RayKind kind) {
    TraceContext context;
    rtcInitIntersectContext(&context);
    context.width = ray.width;
    context.spread = ray.spread;
    context.seed = ray.seed;
    context.kind = kind;
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
    TraceContext context = MakeContext(ray, RayKind::kCamera);
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
        hit->mesh = source.prototypes[hit->instance->prototype].get();
        n = hit->instance->NormalToWorld(n);
    }
    hit->faceNormal = Normalize(n);
    return true;
}

bool TraceScene::IsOccluded(const TraceRay& ray) const {
    TraceContext context = MakeContext(ray, RayKind::kShadow);
    RTCRay query = MakeRay(ray);
    rtcOccluded1(m_impl->top, &context, &query);
    return query.tfar < 0;
}

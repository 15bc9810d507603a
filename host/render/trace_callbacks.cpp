#include "host/render/trace_callbacks.h"

#include <cmath>
#include <limits>
#include <utility>

#include "host/render/sampler.h"

namespace {

// The ray in the instance's prototype. Its direction keeps the length that the matrix gives it, so
// that distances mean the same in both spaces. False when it passes the prototype's box by: many
// rays that hit the box around the turned prototype do, and a box test costs far less than a query.
bool MoveToPrototype(const RTCRay& ray, const PackedInstance& instance, const Box3& bounds,
                     RTCRay* moved) {
    Point3 origin =
        instance.ToPrototype(Point3{ray.org_x, ray.org_y, ray.org_z} - instance.position);
    Point3 direction = instance.ToPrototype({ray.dir_x, ray.dir_y, ray.dir_z});
    float near = ray.tnear, far = ray.tfar;
    for (int i = 0; i < 3; ++i) {
        // A zero direction gives infinities, or NaN on the border, which the comparisons let pass.
        float inverse = 1 / direction[i];
        float a = (bounds.min[i] - origin[i]) * inverse, b = (bounds.max[i] - origin[i]) * inverse;
        if (a > b) std::swap(a, b);
        if (a > near) near = a;
        if (b < far) far = b;
    }
    if (near > far * 1.000002f + 1e-6f) return false;
    *moved = ray;
    moved->org_x = origin.x, moved->org_y = origin.y, moved->org_z = origin.z;
    moved->dir_x = direction.x, moved->dir_y = direction.y, moved->dir_z = direction.z;
    return true;
}

void EnterPrototype(TraceContext* context, const SourceGeometry& source, uint32_t index) {
    context->instance = index;
    context->current = &source.instances[index];
    context->source = source.source;
}

// Whether a ray stops at a face of some opacity.
bool IsOpaqueThere(float opacity, size_t face, const TraceContext& context) {
    uint32_t place = HashMix(uint32_t(face) * 0x9e3779b9u ^ context.instance);
    return UnitFloat(HashMix(context.seed ^ place)) < opacity;
}

// Whether a ray stops at a hit on a field, by its mask.
bool StopsAt(const RenderHeights& heights, const TraceContext& context, const HeightRayHit& hit) {
    if (!heights.Material().canCut) return true;
    HitPlace place{nullptr, &heights, heights.Pack(hit.triangle), float(hit.weight1),
                   float(hit.weight2)};
    float width = context.width + context.spread * float(hit.distance);
    float opacity = HitContext(place, heights.Material(), width, context.kind).Opacity();
    return IsOpaqueThere(opacity, place.face, context);
}

}  // namespace

void InstanceBounds(const RTCBoundsFunctionArguments* args) {
    const auto& source = *static_cast<const SourceGeometry*>(args->geometryUserPtr);
    const PackedInstance& instance = source.instances[args->primID];
    Box3 box = source.prototypes[instance.prototype]->MovedBounds(instance.ToWorld());
    // The matrix went through an inverse twice: a hair wider is always safe.
    Point3 width = box.Width();
    float slack = 1e-5f * (width.x + width.y + width.z) + 1e-6f * Length(instance.position);
    RTCBounds& out = *args->bounds_o;
    out.lower_x = box.min.x - slack, out.upper_x = box.max.x + slack;
    out.lower_y = box.min.y - slack, out.upper_y = box.max.y + slack;
    out.lower_z = box.min.z - slack, out.upper_z = box.max.z + slack;
}

void LeavePrototype(TraceContext* context) {
    context->instance = RTC_INVALID_GEOMETRY_ID;
    context->current = nullptr;
    context->source = nullptr;
}

void IntersectInstance(const RTCIntersectFunctionNArguments* args) {
    if (!args->valid[0]) return;
    const auto& source = *static_cast<const SourceGeometry*>(args->geometryUserPtr);
    const PackedInstance& instance = source.instances[args->primID];
    const RenderMesh& prototype = *source.prototypes[instance.prototype];
    auto* context = static_cast<TraceContext*>(args->context);
    auto& outer = *reinterpret_cast<RTCRayHit*>(args->rayhit);
    RTCRayHit inner;
    if (!MoveToPrototype(outer.ray, instance, prototype.Bounds(), &inner.ray)) return;
    EnterPrototype(context, source, args->primID);
    inner.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(source.scenes[instance.prototype], context, &inner);
    LeavePrototype(context);
    if (inner.hit.geomID == RTC_INVALID_GEOMETRY_ID) return;
    outer.ray.tfar = inner.ray.tfar;
    outer.hit = inner.hit;
    if (inner.hit.geomID == 1) outer.hit.primID += uint32_t(prototype.NumOpaque());
    outer.hit.geomID = args->geomID;
    outer.hit.instID[0] = args->primID;
}

void OccludeInstance(const RTCOccludedFunctionNArguments* args) {
    if (!args->valid[0]) return;
    const auto& source = *static_cast<const SourceGeometry*>(args->geometryUserPtr);
    const PackedInstance& instance = source.instances[args->primID];
    auto* context = static_cast<TraceContext*>(args->context);
    auto& outer = *reinterpret_cast<RTCRay*>(args->ray);
    const RenderMesh& prototype = *source.prototypes[instance.prototype];
    RTCRay inner;
    if (!MoveToPrototype(outer, instance, prototype.Bounds(), &inner)) return;
    EnterPrototype(context, source, args->primID);
    rtcOccluded1(source.scenes[instance.prototype], context, &inner);
    LeavePrototype(context);
    if (inner.tfar < 0) outer.tfar = inner.tfar;
}

void MaskFilter(const RTCFilterFunctionNArguments* args) {
    if (args->valid[0] != -1) return;
    const auto& mesh = *static_cast<const RenderMesh*>(args->geometryUserPtr);
    const auto& context = *static_cast<const TraceContext*>(args->context);
    const auto& ray = *reinterpret_cast<const RTCRay*>(args->ray);
    const auto& hit = *reinterpret_cast<const RTCHit*>(args->hit);
    HitPlace place{&mesh,         nullptr, uint32_t(mesh.NumOpaque() + hit.primID),
                   hit.u,         hit.v,   context.current,
                   context.source};
    float width = context.width + context.spread * ray.tfar;
    float opacity = HitContext(place, place.Material(), width, context.kind).Opacity();
    if (!IsOpaqueThere(opacity, place.face, context)) args->valid[0] = 0;
}

void HeightBounds(const RTCBoundsFunctionArguments* args) {
    Box3 box = static_cast<const RenderHeights*>(args->geometryUserPtr)->Bounds();
    // Rays are moved into the field's space with rounding: a hair wider is always safe.
    Point3 width = box.Width();
    float slack = 1e-5f * (width.x + width.y + width.z) + 1e-6f * Length(box.Center());
    RTCBounds& out = *args->bounds_o;
    out.lower_x = box.min.x - slack, out.upper_x = box.max.x + slack;
    out.lower_y = box.min.y - slack, out.upper_y = box.max.y + slack;
    out.lower_z = box.min.z - slack, out.upper_z = box.max.z + slack;
}

void IntersectHeights(const RTCIntersectFunctionNArguments* args) {
    if (!args->valid[0]) return;
    const auto& heights = *static_cast<const RenderHeights*>(args->geometryUserPtr);
    const auto& context = *static_cast<const TraceContext*>(args->context);
    auto* rayHit = reinterpret_cast<RTCRayHit*>(args->rayhit);
    RTCRay& ray = rayHit->ray;
    RTCHit& out = rayHit->hit;
    heights.Trace({ray.org_x, ray.org_y, ray.org_z}, {ray.dir_x, ray.dir_y, ray.dir_z}, ray.tnear,
                  ray.tfar, [&](const HeightRayHit& hit) {
                      if (!StopsAt(heights, context, hit)) return false;
                      ray.tfar = float(hit.distance);
                      out.u = float(hit.weight1), out.v = float(hit.weight2);
                      out.primID = heights.Pack(hit.triangle);
                      out.geomID = args->geomID;
                      out.instID[0] = RTC_INVALID_GEOMETRY_ID;
                      return true;
                  });
}

void OccludeHeights(const RTCOccludedFunctionNArguments* args) {
    if (!args->valid[0]) return;
    const auto& heights = *static_cast<const RenderHeights*>(args->geometryUserPtr);
    const auto& context = *static_cast<const TraceContext*>(args->context);
    auto& ray = *reinterpret_cast<RTCRay*>(args->ray);
    bool isHit = heights.Trace(
        {ray.org_x, ray.org_y, ray.org_z}, {ray.dir_x, ray.dir_y, ray.dir_z}, ray.tnear, ray.tfar,
        [&](const HeightRayHit& hit) { return StopsAt(heights, context, hit); });
    if (isHit) ray.tfar = -std::numeric_limits<float>::infinity();
}

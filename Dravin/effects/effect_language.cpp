#include "Dravin/effects/effect_language.h"

#include "Dravin/effects/item_attributes.h"
#include "Dravin/engine/surfaces.h"

namespace {

using tavuvm_expr::call_context;
using tavuvm_expr::type_code;
using tavuvm_expr::value;
using tavuvm_expr::vector3;
using Arguments = std::span<const value>;

const TEffVMCallback& Host(const call_context& context) {
    static const TEffVMCallback none;
    return context.host ? *static_cast<const TEffVMCallback*>(context.host) : none;
}

Point3 PointOf(const value& v) {
    vector3 p = v.to_vector();
    return {p.x, p.y, p.z};
}

// The surfaces are asked along their vertical, above and below the position alike.
std::optional<TItemHit> Hit(const call_context& context, const value& position) {
    const TBuildInput* input = Host(context).input;
    Point3 p = PointOf(position);
    if (!input || !IsFinite(p)) return std::nullopt;
    return SurfaceHit(*input, p);
}

bool SurfaceIsHit(const call_context& context, Arguments a, value* result) {
    *result = int32_t(Hit(context, a[0]).has_value());
    return true;
}
bool SurfaceHitZ(const call_context& context, Arguments a, value* result) {
    auto hit = Hit(context, a[0]);
    *result = hit ? hit->point.z : 0.0f;
    return true;
}
bool SurfaceHitNormal(const call_context& context, Arguments a, value* result) {
    auto hit = Hit(context, a[0]);
    *result = hit ? vector3{hit->faceNormal.x, hit->faceNormal.y, hit->faceNormal.z} : vector3{};
    return true;
}

bool RandomGeometry(const call_context& context, Arguments, value* result) {
    const TGeometryChoice* geometry = Host(context).geometry;
    *result = geometry && context.random ? geometry->ByProbability(context.random->Random()) : 0;
    return true;
}

template <class T>
const T* At(std::span<const T* const> list, const value& index) {
    auto i = size_t(uint32_t(index.to_integer()));
    return i < list.size() ? list[i] : nullptr;
}

bool EvaluateTexture(const call_context& context, Arguments a, value* result) {
    const IMapSampler* map = At(Host(context).textures, a[0]);
    Point3 p = PointOf(a[1]);
    AColor c = map ? map->SampleOne({p, p}) : AColor{0, 0, 0, 0};
    *result = vector3{c.r, c.g, c.b};
    return true;
}

bool EvaluateCurve(const call_context& context, Arguments a, value* result) {
    if (const BezierCurve* curve = At(Host(context).curves, a[0]))
        *result = curve->Value(a[1].to_real());
    else
        *result = 0;
    return true;
}

}  // namespace

const tavuvm_expr::function_library& EffectFunctions() {
    static const tavuvm_expr::function_library library = [] {
        using enum type_code;
        tavuvm_expr::function_library all;
        all.add_builtins();
        all.add({"dpsurfacehit", integer, {vector}, SurfaceIsHit});
        all.add({"dpsurfacehitz", type_code::real, {vector}, SurfaceHitZ});
        all.add({"dpsurfacehitnormal", vector, {vector}, SurfaceHitNormal});
        all.add({"dprandomgeom", integer, {}, RandomGeometry, false});
        all.add({"evaluatetexture", vector, {texmap, vector}, EvaluateTexture});
        all.add({"evaluatecurve", type_code::real, {curve, type_code::real}, EvaluateCurve});
        return all;
    }();
    return library;
}

TEffectNames::TEffectNames() {
    itemSlot = names.declare_structure("dpItem", ItemStructure());
    timeSlot = names.declare_structure("Max", {{"time", type_code::integer, false}});
}

// The parameter schema of the Dravin object: thirteen blocks, their ids and their tables.
//
// Each block has one table, `<block>_params.inc`, in declaration order. A row reads
//     PARAM(symbol, id, "internal name", Type, .Default(...).Range(...) ...)
// and is read twice: here as the constant block::symbol (for code), in dravin_params.cpp as the
// parameter's description (for everybody else). Ids and internal names are keys in scene files,
// presets and scripts and never change.
#pragma once

#include <span>
#include <type_traits>

#include "host/params/param_desc.h"

enum DravinBlockId : int {
    kGenParams = 0,
    kDistParams = 1,
    kAreaParams = 2,
    kCamParams = 3,
    kDispParams = 4,
    kMatParams = 5,
    kSurfaceParams = 6,
    kTransformParams = 7,
    kShadowParams = 8,
    kEditionParams = 9,
    kGeomParams = 10,
    kAnimParams = 11,
    kEffectParams = 12,
};
inline constexpr int kNumDravinBlocks = 13;

// Reference slots of the object. Blocks have theirs in their description.
enum DravinSlot : int {
    kSlotLegacySurface = 12,
    kSlotCamDensityCurve = 13,
    kSlotInternal = 14,
    kSlotAreaDensityCurve = 15,
    kSlotAreaScaleCurve = 16,
    kSlotSurfaceCurves = 17,
    kSlotCamScaleCurve = 18,
    kSlotRotProbCurve = 19,
    kSlotScaProbCurve = 20,
    kSlotEffectCurves = 22,
};
inline constexpr int kNumDravinSlots = 23;

#define PARAM(symbol, id, ...) symbol = id,
namespace genParams {
enum : ParamID {
#include "Dravin/params/gen_params.inc"
};
}  // namespace genParams
namespace distParams {
enum : ParamID {
#include "Dravin/params/dist_params.inc"
};
}  // namespace distParams
namespace areaParams {
enum : ParamID {
#include "Dravin/params/area_params.inc"
};
}  // namespace areaParams
namespace camParams {
enum : ParamID {
#include "Dravin/params/cam_params.inc"
};
}  // namespace camParams
namespace dispParams {
enum : ParamID {
#include "Dravin/params/disp_params.inc"
};
}  // namespace dispParams
namespace matParams {
enum : ParamID {
#include "Dravin/params/mat_params.inc"
};
}  // namespace matParams
namespace surfaceParams {
enum : ParamID {
#include "Dravin/params/surface_params.inc"
};
}  // namespace surfaceParams
namespace transformParams {
enum : ParamID {
#include "Dravin/params/transform_params.inc"
};
}  // namespace transformParams
namespace shadowParams {
enum : ParamID {
#include "Dravin/params/shadow_params.inc"
};
}  // namespace shadowParams
namespace editionParams {
enum : ParamID {
#include "Dravin/params/edition_params.inc"
};
}  // namespace editionParams
namespace geomParams {
enum : ParamID {
#include "Dravin/params/geom_params.inc"
};
}  // namespace geomParams
namespace animParams {
enum : ParamID {
#include "Dravin/params/anim_params.inc"
};
}  // namespace animParams
namespace effectParams {
enum : ParamID {
#include "Dravin/params/effect_params.inc"
};
}  // namespace effectParams
#undef PARAM

// The block that a parameter is of, by the type of its id.
template <class Id>
constexpr DravinBlockId DravinBlockOf(Id) {
    auto is = []<class Other>(Other) { return std::is_same_v<Id, Other>; };
    if (is(genParams::kSeed)) return kGenParams;
    if (is(distParams::kDistmap)) return kDistParams;
    if (is(areaParams::kSpdensact)) return kAreaParams;
    if (is(camParams::kCamera)) return kCamParams;
    if (is(dispParams::kVmesh)) return kDispParams;
    if (is(matParams::kTintmode)) return kMatParams;
    if (is(surfaceParams::kSurfmode)) return kSurfaceParams;
    if (is(transformParams::kMirror)) return kTransformParams;
    if (is(shadowParams::kLight)) return kShadowParams;
    if (is(editionParams::kMode)) return kEditionParams;
    if (is(geomParams::kGlobsize)) return kGeomParams;
    if (is(animParams::kAnimation)) return kAnimParams;
    static_assert(std::is_enum_v<Id>);
    return kEffectParams;
}

// The blocks' descriptions by block id. Thread safe.
std::span<const ParamBlockDesc2> DravinBlocks();

struct DravinParamRef {
    const ParamBlockDesc2* block = nullptr;
    const ParamDef* def = nullptr;
    explicit operator bool() const { return def != nullptr; }
};
// The parameter with this internal name, in whichever block; empty when there is none.
DravinParamRef FindDravinParam(std::string_view name);
// All internal names, blocks by id, parameters in declaration order (for suggestions).
const std::vector<std::string>& DravinParamNames();

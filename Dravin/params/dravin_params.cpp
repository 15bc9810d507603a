#include "Dravin/params/dravin_params.h"

#include <cassert>

#include "Dravin/params/param_accessors.h"

namespace {

using Attachments = std::initializer_list<std::pair<ParamID, const PBAccessor*>>;

std::vector<ParamDef> Attach(std::vector<ParamDef> defs, Attachments accessors) {
    for (const auto& [id, accessor] : accessors) {
        [[maybe_unused]] bool found = false;
        for (ParamDef& def : defs)
            if (def.id == id) def.accessor = accessor, found = true;
        assert(found);
    }
    return defs;
}

#define PARAM(symbol, id, name, type, ...) ParamDef(id, name, ParamType::k##type) __VA_ARGS__,

ParamBlockDesc2 GenBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/gen_params.inc"
    };
    return {kGenParams, "genParams",
            "General",  0,
            false,      Attach(std::move(defs), {{genParams::kAutothreads, &kRefreshAccessor}})};
}

ParamBlockDesc2 DistBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/dist_params.inc"
    };
    using namespace distParams;
    Attachments accessors = {
        {kDistmap, &kRefreshAccessor},           {kLockRatio, &kRefreshAccessor},
        {kCollision, &kRefreshAccessor},         {kDivers, &kRefreshAccessor},
        {kDivtmap, &kRefreshAccessor},           {kDistmode, &kDistModeAccessor},
        {kDistpathnodes, &kNodeListAccessor},    {kDistpflownodes, &kNodeListAccessor},
        {kDistrefnodes, &kReferenceListAccessor}};
    return {kDistParams, "distParams", "Distribution",
            3,           false,        Attach(std::move(defs), accessors)};
}

ParamBlockDesc2 AreaBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/area_params.inc"
    };
    return {kAreaParams, "areaParams", "Areas", 2, false, std::move(defs)};
}

ParamBlockDesc2 CamBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/cam_params.inc"
    };
    using namespace camParams;
    return {kCamParams,
            "camParams",
            "Camera",
            4,
            false,
            Attach(std::move(defs), {{kCamlodenvrange, &kRefreshAccessor},
                                     {kCamlodlookat, &kRefreshAccessor},
                                     {kCamenvrange, &kRefreshAccessor}})};
}

ParamBlockDesc2 DispBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/disp_params.inc"
    };
    return {kDispParams, "dispParams", "Display", 8, false, std::move(defs)};
}

ParamBlockDesc2 MatBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/mat_params.inc"
    };
    using namespace matParams;
    return {kMatParams,
            "matParams",
            "Material",
            7,
            false,
            Attach(std::move(defs), {{kTintcolor1, &kTintAccessor},
                                     {kTintcolor2, &kTintAccessor},
                                     {kTintmode, &kRefreshAccessor},
                                     {kTintmapmode, &kRefreshAccessor}})};
}

ParamBlockDesc2 SurfaceBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/surface_params.inc"
    };
    using namespace surfaceParams;
    return {kSurfaceParams,
            "surfaceParams",
            "Surfaces",
            5,
            false,
            Attach(std::move(defs), {{kSurflist, &kSurfaceAccessor},
                                     {kSurfmode, &kSurfaceAccessor},
                                     {kScalelope, &kScaleSlopeAccessor},
                                     {kUvalign, &kRefreshAccessor}})};
}

ParamBlockDesc2 TransformBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/transform_params.inc"
    };
    return {kTransformParams,
            "transformParams",
            "Transform",
            6,
            false,
            Attach(std::move(defs), {{transformParams::kScalelock, &kRefreshAccessor}})};
}

ParamBlockDesc2 ShadowBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/shadow_params.inc"
    };
    return {kShadowParams,
            "shadowParams",
            "Shadows",
            9,
            false,
            Attach(std::move(defs), {{shadowParams::kUsefakeshadows, &kFakeShadowsAccessor}})};
}

ParamBlockDesc2 EditionBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/edition_params.inc"
    };
    return {kEditionParams, "editionParams",
            "Items Editor", 10,
            false,          Attach(std::move(defs), {{editionParams::kMode, &kModeAccessor}})};
}

ParamBlockDesc2 GeomBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/geom_params.inc"
    };
    return {kGeomParams, "geomParams", "Geometry", 1, true, std::move(defs)};
}

ParamBlockDesc2 AnimBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/anim_params.inc"
    };
    return {kAnimParams, "animParams",
            "Animation", 11,
            false,       Attach(std::move(defs), {{animParams::kAnimation, &kRefreshAccessor}})};
}

ParamBlockDesc2 EffectBlock() {
    std::vector<ParamDef> defs{
#include "Dravin/params/effect_params.inc"
    };
    return {kEffectParams, "effectParams", "Effects", 21, false, std::move(defs)};
}

#undef PARAM

std::vector<ParamBlockDesc2> MakeBlocks() {
    std::vector<ParamBlockDesc2> blocks;
    blocks.reserve(kNumDravinBlocks);
    for (auto make : {GenBlock, DistBlock, AreaBlock, CamBlock, DispBlock, MatBlock, SurfaceBlock,
                      TransformBlock, ShadowBlock, EditionBlock, GeomBlock, AnimBlock, EffectBlock})
        blocks.push_back(make());
    return blocks;
}

}  // namespace

std::span<const ParamBlockDesc2> DravinBlocks() {
    static const std::vector<ParamBlockDesc2> blocks = MakeBlocks();
    return blocks;
}

DravinParamRef FindDravinParam(std::string_view name) {
    for (const ParamBlockDesc2& block : DravinBlocks())
        if (const ParamDef* def = block.Find(name)) return {&block, def};
    return {};
}

const std::vector<std::string>& DravinParamNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const ParamBlockDesc2& block : DravinBlocks())
            for (const ParamDef& def : block.params) all.push_back(def.name);
        return all;
    }();
    return names;
}

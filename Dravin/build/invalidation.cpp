#include "Dravin/build/invalidation.h"

#include "Dravin/build/camera_input.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "host/scene/host_context.h"

namespace {

// A node says that it moved by a message of its own; for who shows it that is a change like others.
bool IsChange(RefMessage message) {
    return message == RefMessage::kChange || message == RefMessage::kNodeTransformChanged;
}

TReaction Ignored() { return {}; }

// The result holds although something has changed that the next build will see.
TReaction Noted() {
    TReaction r;
    r.remake = TRemake::kItems;
    return r;
}

TReaction Invalidated(TRemake remake = TRemake::kItems) {
    TReaction r;
    r.action = TReaction::kInvalidate;
    r.remake = remake;
    return r;
}

TReaction Rebuilt() {
    TReaction r;
    r.action = TReaction::kRebuild;
    r.remake = TRemake::kItems;
    return r;
}

TReaction Stopped() {
    TReaction r;
    r.stops = true;
    return r;
}

// --- parameters

// The view shows one moment of every source.
bool IsStillInView(const TDravin& object) {
    const IParamBlock2& block = object.Block(kAnimParams);
    bool isStill =
        block.GetInt(animParams::kAnimation) == 0 || block.GetBool(animParams::kAnimonlyrend);
    return isStill && !object.updateState.isRendering;
}

TReaction GeometryReaction(const TDravin& object, const RefChange& change) {
    bool isMove = change.message == RefMessage::kNodeTransformChanged;
    bool isSource = change.paramId == geomParams::kCobjlist && change.tabIndex >= 0;
    if (isSource && isMove && IsStillInView(object) && AreSourcesInPlace(object, change.tabIndex))
        return Stopped();
    bool isMaterial = change.paramId == geomParams::kMatlist;
    if (isMaterial && HostContext::Current() && DravinGlobals().makingMaterial) return Ignored();
    TReaction r = Invalidated(RemakeOf(kGeomParams, change.paramId));
    r.refreshesEditLists = change.paramId == geomParams::kNamelist;
    return r;
}

TReaction EffectReaction(const ParamDef* def) {
    bool isText = def && def->type == ParamType::kString;
    return isText ? Noted() : Invalidated();
}

TReaction CameraReaction(const TDravin& object, const RefChange& change) {
    bool isCamera = change.paramId == camParams::kCamera;
    return isCamera && !UsesCamera(object.Block(kCamParams)) ? Noted() : Invalidated();
}

TReaction SurfaceReaction(const RefChange& change) {
    TReaction r = Invalidated();
    // Places are read by every build; meshes only when they have changed.
    r.surfacesChanged =
        change.paramId == surfaceParams::kSurflist && change.message == RefMessage::kChange;
    return r;
}

TReaction ParameterReaction(const TDravin& object, const RefChange& change, int block) {
    const ParamDef* def =
        change.paramId < 0 ? nullptr : DravinBlocks()[size_t(block)].Find(change.paramId);
    TReaction r = Invalidated(RemakeOf(block, change.paramId));
    switch (block) {
        case kEditionParams:
            return Noted();
        case kShadowParams:
            if (change.paramId == shadowParams::kLight) return Noted();
            break;
        case kGenParams:
            if (change.paramId == genParams::kGeomtex) return Ignored();
            break;
        case kEffectParams:
            r = EffectReaction(def);
            break;
        case kCamParams:
            r = CameraReaction(object, change);
            break;
        case kGeomParams:
            r = GeometryReaction(object, change);
            break;
        case kSurfaceParams:
            r = SurfaceReaction(change);
            break;
        default:
            break;
    }
    if (def && def->type == ParamType::kTexmap) r.redraws = true;
    return r;
}

// --- messages

TReaction BlockReaction(const TDravin& object, const RefChange& change, int block) {
    auto isFrom = [&](DravinBlockId id, int param) {
        return block == id && change.paramId == param;
    };
    TReaction r = Ignored();
    switch (change.message) {
        case RefMessage::kChange:
        case RefMessage::kNodeTransformChanged:
            return ParameterReaction(object, change, block);
        case RefMessage::kNodeNameChanged:
            if (isFrom(kDistParams, distParams::kDistpfloweventslist)) return Invalidated();
            // Areas may name the surfaces that they are limited to.
            if (isFrom(kSurfaceParams, surfaceParams::kSurflist)) return Noted();
            r.refreshesAreaList = isFrom(kAreaParams, areaParams::kArnodelist);
            return r;
        case RefMessage::kObjectReplaced:
            r = isFrom(kGeomParams, geomParams::kCobjlist) ? Rebuilt() : Ignored();
            r.dropsInternal = true;
            return r;
        default:
            return r;
    }
}

TReaction SlotReaction(const RefChange& change, int slot) {
    TReaction r = Ignored();
    if (IsChange(change.message)) return slot == kSlotInternal ? Ignored() : Rebuilt();
    r.dropsInternal = change.message == RefMessage::kObjectReplaced;
    return r;
}

}  // namespace

TReaction ReactionTo(const TDravin& object, const RefChange& change, const TChangeSource& source) {
    switch (change.message) {
        case RefMessage::kTargetDeleted:
        case RefMessage::kEverythingStale:
            return Invalidated();
        case RefMessage::kSubAnimStructureChanged:
            return Stopped();
        default:
            return source.block >= 0 ? BlockReaction(object, change, source.block)
                                     : SlotReaction(change, source.slot);
    }
}

TRemake RemakeOf(int block, ParamID id) {
    auto isOne = [id](std::initializer_list<int> ids) {
        for (int one : ids)
            if (one == id) return true;
        return false;
    };
    if (id < 0) return TRemake::kItems;
    bool isShown = false;
    switch (block) {
        case kGenParams:
            isShown = isOne({genParams::kIconsize, genParams::kSavedversion, genParams::kRenderid});
            break;
        case kGeomParams:
            isShown = isOne({geomParams::kMatlist, geomParams::kConsmat});
            break;
        case kMatParams: {
            using namespace matParams;
            if (isOne({kTintcolor1, kTintcolor2, kTintmin, kTintmax})) return TRemake::kTints;
            isShown = !isOne({kTintmode, kTintmap, kTintmapmode, kTintmapchan});
            break;
        }
        case kShadowParams:
            isShown =
                isOne({shadowParams::kHsplanes, shadowParams::kHsoffset, shadowParams::kHsscale,
                       shadowParams::kSelfshadow, shadowParams::kSsitself});
            break;
        case kDispParams:
            isShown = !isOne({dispParams::kVmaxitems, dispParams::kRmaxitems, dispParams::kRskip,
                              dispParams::kDisabled});
            break;
        default:
            break;
    }
    return isShown ? TRemake::kShown : TRemake::kItems;
}

bool AreSourcesInPlace(const TDravin& object, int row) {
    const TDravinBuild& build = object.Build();
    if (row < 0 || size_t(row) >= build.Specimens().NumRows()) return false;
    const TSpecBuild& specimen = build.Specimens().Row(size_t(row));
    INode* head = specimen.nodes.empty()
                      ? nullptr
                      : object.Block(kGeomParams).GetNode(geomParams::kCobjlist, build.Time(), row);
    if (!head) return false;
    for (const TSpecBuildNode& node : specimen.nodes) {
        if (!node.source) continue;
        Matrix3 place = SourceMatrix(*node.source, specimen.FrameFirst(0));
        if (!(place == node.sample->Size().toReal)) return false;
        if (!head->IsGroupHead()) continue;
        Point3 offset = node.source->GetNodeTM(build.Time()).GetTrans() -
                        head->GetNodeTM(build.Time()).GetTrans();
        if (!(offset == node.offset)) return false;
    }
    return true;
}

#include "Dravin/build/input_maker.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "Dravin/build/area_input.h"
#include "Dravin/build/camera_input.h"
#include "Dravin/build/point_maker.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/effects/effect_list.h"
#include "Dravin/engine/build_items.h"
#include "host/base/log.h"
#include "host/base/memory_size.h"
#include "host/base/thread_pool.h"
#include "host/scene/hold.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

constexpr float kDegreesToRadians = 0.017453292f;
constexpr int kCurveSamples = 100;
constexpr int64_t kNoLimit = std::numeric_limits<int32_t>::max();

void SortedRange(float a, float b, TRangeRule& rule) {
    rule.min = std::min(a, b);
    rule.max = std::max(a, b);
}

TMapDrive Drive(const IMapSampler* map, bool x, bool y, bool z, bool color, bool scalesRandom) {
    return {map, {x, y, z}, color, scalesRandom};
}

// Box of the surface's vertices in object space: of its own box where no axis turns, else exactly.
Box3 BoundsInObject(const TSurfXYArray& array, const Matrix3& m) {
    bool turned = m.row[0].y != 0 || m.row[0].z != 0 || m.row[1].x != 0 || m.row[1].z != 0 ||
                  m.row[2].x != 0 || m.row[2].y != 0;
    if (!turned) return m.BoxTransform(array.Bounds());
    return array.BoundsMoved(m);
}

// Whether an area keeps items that cross its border, without what stands outside.
bool HidesParts(std::span<const TAreaRow> areas) {
    return std::any_of(areas.begin(), areas.end(), [](const TAreaRow& row) {
        return row.settings.item.boundaryCheck == kBorderHidesParts;
    });
}

}  // namespace

TInputMaker::TInputMaker(TDravin& object, const TParameters& parameters, TimeValue time,
                         const TBuildFlags& flags, const std::optional<ViewState>& view)
    : m_object(object), m_p(parameters), m_time(time), m_flags(flags), m_view(view) {
    if (INode* node = GetWorldNode(object)) {
        m_scene = node->GetScene();
        m_objectTM = node->GetObjectTM(time);
        m_objectInverse = Inverse(m_objectTM);
    }
    m_distMap = Sampler(m_p.distmap, "distmap");
}

int TInputMaker::Threads() const {
    if (m_flags.render && DravinGlobals().disableMultithreadRender) return 1;
    if (m_flags.forceThreads > 0) return m_flags.forceThreads;
    return std::max(1, m_p.autothreads ? NumProcessors() : m_p.threads);
}

const IMapSampler* TInputMaker::Sampler(Texmap* map, const char* parameter) {
    if (!map) return nullptr;
    std::string error;
    if (!map->Update(m_time, &error)) {
        LogWarning(fmt::format("map \"{}\" of {} is left out: {}", map->name, parameter, error));
        return nullptr;
    }
    return &m_samplers.emplace_back(*map);
}

TCurveSampler TInputMaker::CurveSampler(DravinSlot slot) const {
    std::optional<FalloffCurve> curve = m_object.Curve(slot, 0);
    if (!curve) return {};
    std::vector<float> weights;
    for (int i = 0; i < kCurveSamples; ++i)
        weights.push_back(curve->Value(float(i) / float(kCurveSamples)));
    return TCurveSampler(std::span<const float>(weights));
}

const FalloffCurve* TInputMaker::Curve(DravinSlot slot, int index) {
    std::optional<FalloffCurve> curve = m_object.Curve(slot, index);
    return curve ? &m_curves.emplace_back(*curve) : nullptr;
}

void TInputMaker::SetGrid(TBuildInput& input) const {
    TGridSettings& g = input.grid;
    g.hasTexture = input.distMap != nullptr;
    g.textureOnSurface = g.hasTexture && m_p.distmapchan != 0 && !input.surfaces.empty();
    g.pixelsX = m_p.pixels_x;
    g.pixelsY = m_p.pixels_y;
    g.imageWidth = input.density.Width();
    g.imageHeight = input.density.Height();
    g.unitsX = m_p.units_x;
    g.unitsY = m_p.units_y;
    g.lockRatio = m_p.lock_ratio;
    g.offsetX = m_p.offset_x;
    g.offsetY = m_p.offset_y;
    g.rotationRadians = m_p.drotation * kDegreesToRadians;
    g.thresholdPercent = float(m_p.threshold);
    g.maxCells = m_flags.unprotected ? 0 : int64_t{m_p.maxdensity} * 1000000;
}

// Once for a new object: the map's size, so that a large scene does not start with millions of
// cells.
void TInputMaker::ChooseMapSize(TBuildInput& input) const {
    Box3 bounds = ScatterBounds(input);
    if (bounds.IsEmpty()) return;
    m_object.chooseMapSize = false;
    double scale = m_scene ? m_scene->unitScale : 1;
    float size = AutomaticMapSize(bounds, scale);
    input.grid.unitsX = input.grid.unitsY = size;
    IParamBlock2& block = m_object.Block(kDistParams);
    HoldSuspender noUndo(CurrentHold());
    NotifySuspender quiet(block);
    AccessorSuspender silent(block);
    for (ParamID id : {distParams::kUnitsX, distParams::kUnitsY}) block.SetValue(id, m_time, size);
}

void TInputMaker::SetTransforms(TBuildInput& input) {
    TTransformSettings& t = input.transforms;
    t.seed = uint32_t(m_p.seed);
    t.customEdit = input.customEdit;
    t.scatterUv = m_p.surfmode == kSurfaceUV;
    t.globalScale = m_p.globscale * 0.01f;
    t.globalSize = m_p.globsize;
    t.globalWidth = m_p.width;
    t.globalHeight = m_p.height;
    t.applyTranslation = m_p.applytranslation;
    t.applyRotation = m_p.applyrotation;
    t.applyScale = m_p.applyscale;
    const int transMin[] = {m_p.transxmin, m_p.transymin, m_p.transzmin};
    const int transMax[] = {m_p.transxmax, m_p.transymax, m_p.transzmax};
    const int scaleMin[] = {m_p.scalexmin, m_p.scaleymin, m_p.scalezmin};
    const int scaleMax[] = {m_p.scalexmax, m_p.scaleymax, m_p.scalezmax};
    for (int i = 0; i < 3; ++i) {
        t.transMin[i] = transMin[i], t.transMax[i] = transMax[i];
        t.scaleMin[i] = scaleMin[i], t.scaleMax[i] = scaleMax[i];
    }
    t.rotMinDegrees = {float(m_p.xrotmin), float(m_p.yrotmin), float(m_p.zrotmin)};
    t.rotMaxDegrees = {float(m_p.xrotmax), float(m_p.yrotmax), float(m_p.zrotmax)};
    t.scaleLock = m_p.scalelock;
    if (m_p.userotprobcurve) {
        input.rotationCurve = CurveSampler(kSlotRotProbCurve);
        t.rotCurve = &input.rotationCurve;
    }
    if (m_p.usescaprobcurve) {
        input.scaleCurve = CurveSampler(kSlotScaProbCurve);
        t.scaCurve = &input.scaleCurve;
    }
    t.mirror = m_p.mirror;
    t.scaleOnSlope = m_p.scalelope;
    t.tintMin = float(std::min(m_p.tintmin, m_p.tintmax));
    t.tintMax = float(std::max(m_p.tintmin, m_p.tintmax));
    t.tintFromMap = m_p.tintmode != 0;
    t.tintMapAsTexture = m_p.tintmapmode != 0;
    t.tintOnSurface = m_p.tintmapchan != 0;
    t.tintColor1 = m_p.tintcolor1;
    t.tintColor2 = m_p.tintcolor2;
    t.radiusPercent = m_p.radius;
    t.collisionHeightPercent = m_p.collheight;
}

// Maps that drive items, and the mapping channels that those in use read from surfaces.
void TInputMaker::SetMaps(TBuildInput& input) {
    TTransformSettings& t = input.transforms;
    t.transMap = Drive(Sampler(m_p.transmap, "transmap"), m_p.transmapx, m_p.transmapy,
                       m_p.transmapz, m_p.transcolormap, m_p.transprobmap);
    t.rotMap = Drive(Sampler(m_p.rotmap, "rotmap"), m_p.rotmapx, m_p.rotmapy, m_p.rotmapz,
                     m_p.rotcolormap, m_p.rotprobmap);
    t.scaMap = Drive(Sampler(m_p.scamap, "scamap"), m_p.scamapx, m_p.scamapy, m_p.scamapz,
                     m_p.scacolormap, m_p.scaprobmap);
    t.tintMap = Sampler(m_p.tintmap, "tintmap");
    t.aniMap = Sampler(m_p.animap, "animap");
    input.distMap = m_distMap;
    input.diversityMap = Sampler(m_p.divtmap, "divtmap");

    // Items have coordinates for the distribution map and the tint map whatever is in use.
    TMapChannels& channels = input.channels;
    channels.channel[kDistMap] = m_p.distmapchan;
    if (m_p.surfmode == kSurfaceUV) channels.channel[kDistMap] = UvChannel();
    channels.channel[kTintMap] = m_p.tintmapchan;
    channels.isRead[kTintMap] = t.tintMap && m_p.tintmode != 0 && m_p.tintmapmode != 0;
    if (t.transMap.IsOn()) channels.Read(kTransMap, m_p.transmapchan);
    if (t.rotMap.IsOn()) channels.Read(kRotMap, m_p.rotmapchan);
    if (t.scaMap.IsOn()) channels.Read(kScaMap, m_p.scamapchan);
    bool animated = m_p.animation == kAnimRandomMap || m_p.animation == kAnimFrameMap;
    if (animated && t.aniMap) channels.Read(kAniMap, m_p.animapchan);
    if (m_p.divers == kByColorMap && input.diversityMap) channels.Read(kDivMap, m_p.divmapchan);
}

// The mapping that a grid in texture space lies on.
int TInputMaker::UvChannel() const { return m_p.distmapchan != 0 ? m_p.distmapchan : 1; }

void TInputMaker::SetGeometry(TBuildInput& input) const {
    TGeometrySettings& g = input.geometry;
    g.mode = m_p.divers;
    g.noise = (m_p.divers == kByClusters ? m_p.clunoise : m_p.divmapnoise) * 0.01f;
    g.clusterSize = m_p.clusize;
    g.clusterOctaves = 1 + m_p.clurough * 4 * 0.01f;
    g.clusterEdge = m_p.cluedge * 0.01f;
    g.seed = uint32_t(m_p.seed);
}

void TInputMaker::SetSurfaces(TBuildInput& input, bool reread, Interval* valid) {
    TSurfaceCache& cache = DravinGlobals().surfaces;
    bool evaluate = m_p.surfanim || m_flags.render || reread;
    for (size_t i = 0; i < m_p.surflist.size(); ++i) {
        INode* node = m_p.surflist[i];
        if (!node) continue;
        int kind = m_p.surfmode != kSurfaceXY;
        auto array = evaluate ? cache.GetAt(node, kind, m_time, reread, Threads())
                              : cache.Get(node, kind, Threads());
        if (!array) {
            LogWarning(
                fmt::format("surface \"{}\" is left out: it shows no mesh", node->GetName()));
            continue;
        }
        if (Object* object = node->GetObjectRef()) *valid &= object->ObjectValidity(m_time);
        Matrix3 toObject = node->GetObjectTM(m_time) * m_objectInverse;
        input.surfaceBounds += BoundsInObject(*array, toObject);
        input.surfaces.emplace_back(std::move(array), toObject);
        input.surfaces.back().listIndex = int(i);
        if (kind) SetUvSurface(node, input.surfaces.back());
        m_surfaceNodes.push_back(node);
    }
}

void TInputMaker::SetUvSurface(INode* node, TSurfaceInput& surface) const {
    int channel = UvChannel();
    surface.uv = DravinGlobals().surfaces.GetUv(node, 1, channel, Threads());
    if (!surface.uv)
        LogWarning(fmt::format("surface \"{}\" is left out: it has no mapping channel {}",
                               node->GetName(), channel));
}

void TInputMaker::SetSurfaceRules(TBuildInput& input) {
    input.directionPercent = m_p.scalelope ? 0 : float(m_p.direction);
    input.linkToSurface = m_p.linkeditsurf;
    input.uv = {m_p.uvalign, m_p.uvscalex, m_p.uvscaley, m_p.uvmultscalex, m_p.uvmultscaley};
    input.altitude.limited = m_p.altlimited;
    SortedRange(m_p.altmin, m_p.altmax, input.altitude);
    input.slope.limited = m_p.slopelimited;
    SortedRange(m_p.slopemin * kDegreesToRadians, m_p.slopemax * kDegreesToRadians, input.slope);
    if (m_p.surfaltdens) input.altitude.densityCurve = Curve(kSlotSurfaceCurves, 0);
    if (m_p.surfaltscal) input.altitude.scaleCurve = Curve(kSlotSurfaceCurves, 1);
    if (m_p.surfslodens) input.slope.densityCurve = Curve(kSlotSurfaceCurves, 2);
    if (m_p.surfsloscal) input.slope.scaleCurve = Curve(kSlotSurfaceCurves, 3);
}

void TInputMaker::SetAreas(TBuildInput& input, Interval* valid) {
    TAreaScene scene;
    scene.time = m_time;
    scene.render = m_flags.render;
    scene.threads = Threads();
    scene.worldToObject = m_objectInverse;
    scene.surfaceNodes = m_surfaceNodes;
    scene.surfaces = input.surfaces;
    scene.sampler = [this](Texmap* map) { return Sampler(map, "armaplist"); };
    input.areas = MakeAreaRows(m_object, scene, m_object.Build().Areas(), valid);
    input.areaRowForSurfaces = HasSurfaceRow(m_object);

    TAreaFalloffs& f = input.areaFalloffs;
    if (m_p.spdensact) f.densityCurve = Curve(kSlotAreaDensityCurve);
    if (m_p.spscalact) f.scaleCurve = Curve(kSlotAreaScaleCurve);
    f.densityInclude = m_p.spdensinc;
    f.densityExclude = m_p.spdensexc;
    f.scaleInclude = m_p.spscalinc;
    f.scaleExclude = m_p.spscalexc;
    f.heightOnly = m_p.spscalz;
}

void TInputMaker::SetCamera(TBuildInput& input, Interval* valid) {
    TCameraScene scene;
    scene.time = m_time;
    scene.worldToObject = m_objectInverse;
    scene.view = m_view;
    scene.noLimit = m_flags.noCameraLimit || m_object.editingItems;
    if (m_scene && m_scene->render.height > 0 && m_scene->render.width > 0)
        scene.aspect = float(m_scene->render.width) / float(m_scene->render.height);
    TPreparedCamera prepared = PrepareCamera(m_p, scene, valid);
    input.camera = prepared.state;
    SetLodView(input);
    if (!prepared.falloffs) return;
    if (m_p.camdensact) input.camera.densityCurve = Curve(kSlotCamDensityCurve);
    if (m_p.camscaact) input.camera.scaleCurve = Curve(kSlotCamScaleCurve);
}

// Sizes on screen are those of the render camera in renders, of the active view otherwise.
void TInputMaker::SetLodView(TBuildInput& input) const {
    if (!m_scene) return;
    Matrix3 viewToWorld;
    float fovDegrees = 0;
    INode* node = m_flags.render ? m_scene->renderCamera.Get() : nullptr;
    if (auto* camera = node ? dynamic_cast<CameraObject*>(node->GetObjectRef()) : nullptr) {
        viewToWorld = node->GetNodeTM(m_time);
        fovDegrees = camera->fovDegrees;
    } else if (auto view = m_flags.render ? std::nullopt : m_scene->ActiveView(m_time)) {
        viewToWorld = view->transform;
        fovDegrees = view->fovDegrees;
    } else {
        return;
    }
    input.lodView = {true, m_objectTM * Inverse(viewToWorld), fovDegrees * kDegreesToRadians};
}

void TInputMaker::SetLookAt(TBuildInput& input) const {
    INode* target = m_p.lookat ? m_p.lookat : m_p.camera;
    TTransformSettings& t = input.transforms;
    t.useLookAt = m_p.uselookat && target;
    t.lookAtHasTarget = m_p.lookat != nullptr;
    if (target) t.lookAtPosition = target->GetNodeTM(m_time).GetTrans() * m_objectInverse;
}

// Items point their shadow planes at the horizontal direction to the light.
void TInputMaker::SetShadows(TBuildInput& input) const {
    TTransformSettings& t = input.transforms;
    t.customShadow = m_p.custshadow;
    if (!m_p.usefakeshadows || !m_p.light || !(m_p.hshadow || m_p.vshadow)) return;
    t.horizontalShadow = m_p.hshadow;
    t.verticalShadow = m_p.vshadow;
    Matrix3 light = m_p.light->GetNodeTM(m_time) * m_objectInverse;
    auto* object = dynamic_cast<LightObject*>(m_p.light->GetObjectRef());
    t.pointLight = object && object->kind != LightKind::kDirectional;
    t.lightPosition = light.GetTrans();
    float x = light.row[2].x, y = light.row[2].y, length = std::sqrt(x * x + y * y);
    if (length > 0) t.lightDirection = {x / length, y / length};
}

// Effects of viewports may be left to renders.
void TInputMaker::SetEffects(TBuildInput& input, Interval* valid) {
    const IParamBlock2& block = m_object.Block(kEffectParams);
    bool renderOnly = block.GetInt(effectParams::kPfEfonlyrender, m_time) != 0;
    if (m_flags.effectsOff || (renderOnly && !m_flags.render)) return;
    TEffectContext context;
    context.time = m_time;
    context.toObject = m_objectInverse;
    context.valid = valid;
    context.sampler = [this](Texmap* map, const std::string& name) {
        return Sampler(map, name.c_str());
    };
    context.warn = [](const std::string& text) { LogWarning(text); };
    TEffectList effects(block, m_object.CurveSet(kSlotEffectCurves), context);
    TEffectResult compiled = effects.Compile(context, &m_effects);
    m_effectsFailed = compiled == TEffectResult::kError;
    m_effectErrors = effects.Errors();
    for (const TEffectError& error : m_effectErrors)
        LogWarning(fmt::format("effect \"{}\": {}", error.effectName, error.text));
    if (m_effects.programs.empty()) return;
    input.effects = &m_effects;
    input.areaFalloffs.effectsActive = true;
}

std::unique_ptr<TBuildInput> TInputMaker::Make(const TSpecBuildList& specimens, TDensityMap density,
                                               bool rereadSurfaces, Interval* valid) {
    auto input = std::make_unique<TBuildInput>();
    input->time = m_time;
    input->render = m_flags.render;
    input->customEdit = m_p.mode != 0;
    input->editingItems = m_object.editingItems;
    if (input->customEdit) input->storedItems = m_object.storedItems;
    input->threads = Threads();
    input->displayLimit = m_flags.noLimit  ? kNoLimit
                          : m_flags.render ? m_p.rmaxitems
                                           : m_p.vmaxitems;
    input->renderLimit = m_flags.noLimit ? kNoLimit : m_p.rmaxitems;
    if (!m_flags.unprotected) input->memoryLimit = FreeMemory();
    input->renderSkip = m_p.rskip;
    input->distributionMode = m_p.distmode;
    input->surfaceMode = m_p.surfmode;
    input->density = std::move(density);
    input->distMapChannel = m_p.distmapchan;
    bool preview = m_p.collpreview || m_flags.render || m_flags.collisions;
    input->collisions = m_p.mode == 0 && m_p.collision && preview;
    input->drawGizmo = m_p.sdgizmo;
    input->randomizeStacked = m_p.randstacked;
    SetSurfaces(*input, rereadSurfaces, valid);
    SetMaps(*input);
    bool onGround = m_p.mode == 0 && m_p.distmode == kDistImage && m_p.surfmode == kSurfaceXY;
    if (onGround) SetAreas(*input, valid);
    input->specimens = specimens.EngineSpecimens(HidesParts(input->areas));
    SetGrid(*input);
    if (onGround && m_object.chooseMapSize) ChooseMapSize(*input);
    SetTransforms(*input);
    SetGeometry(*input);
    SetSurfaceRules(*input);
    SetEffects(*input, valid);
    SetCamera(*input, valid);
    SetLookAt(*input);
    SetShadows(*input);
    TAnimationSettings animation =
        NormaliseAnimation({m_p.animation, m_p.animsamples, m_p.animsoffset, m_p.animstart,
                            m_p.animend, m_scene ? m_scene->ticksPerFrame : 160},
                           m_p.animonlyrend, m_flags.render);
    input->transforms.animation = animation.mode;
    input->transforms.animSamples = animation.NumSamples();
    bool many = m_p.autothreads || m_flags.forceThreads > 0;
    if (m_p.mode == 0)
        input->points =
            MakePointInput(m_object, m_time, m_objectInverse, many ? Threads() : 1, valid);
    input->debugLog = [](const std::string& text) { Log(LogKind::kDebug, text); };
    return input;
}

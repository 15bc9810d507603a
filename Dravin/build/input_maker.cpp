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
#include "host/params/hold.h"
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
    m_distMap = Sampler(m_p.Map(distParams::kDistmap), "distmap");
}

int TInputMaker::Threads() const {
    if (m_flags.render && DravinGlobals().options.disableMultithreadRender) return 1;
    if (m_flags.forceThreads > 0) return m_flags.forceThreads;
    return std::max(
        1, m_p.Bool(genParams::kAutothreads) ? NumProcessors() : m_p.Int(genParams::kThreads));
}

const IMapSampler* TInputMaker::Sampler(Texmap* map, const char* parameter) {
    if (!map) return nullptr;
    std::string error;
    if (!map->Update(m_time, &error)) {
        LogWarning(
            fmt::format("map \"{}\" of {} is left out: {}", map->name.Get(), parameter, error));
        return nullptr;
    }
    return m_parts.maps.emplace_back(std::make_unique<TTexmapSampler>(*map)).get();
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
    return curve ? &m_parts.curves.emplace_back(*curve) : nullptr;
}

void TInputMaker::SetGrid(TBuildInput& input) const {
    TGridSettings& g = input.grid;
    g.hasTexture = input.distMap != nullptr;
    g.textureOnSurface =
        g.hasTexture && m_p.Int(distParams::kDistmapchan) != 0 && !input.surfaces.empty();
    g.pixelsX = m_p.Int(distParams::kPixelsX);
    g.pixelsY = m_p.Int(distParams::kPixelsY);
    g.imageWidth = input.density.Width();
    g.imageHeight = input.density.Height();
    g.unitsX = m_p.Float(distParams::kUnitsX);
    g.unitsY = m_p.Float(distParams::kUnitsY);
    g.lockRatio = m_p.Bool(distParams::kLockRatio);
    g.offsetX = m_p.Float(distParams::kOffsetX);
    g.offsetY = m_p.Float(distParams::kOffsetY);
    g.rotationRadians = m_p.Float(distParams::kDrotation) * kDegreesToRadians;
    g.thresholdPercent = float(m_p.Int(distParams::kThreshold));
    g.maxCells = m_flags.unprotected ? 0 : int64_t{m_p.Int(distParams::kMaxdensity)} * 1000000;
}

// Once for a new object: the map's size, so that a large scene does not start with millions of
// cells.
void TInputMaker::ChooseMapSize(TBuildInput& input) const {
    Box3 bounds = ScatterBounds(input);
    if (bounds.IsEmpty()) return;
    m_object.chooseMapSize = false;
    double scale = m_scene ? m_scene->unitScale.Get() : 1;
    float size = AutomaticMapSize(bounds, scale);
    input.grid.unitsX = input.grid.unitsY = size;
    IParamBlock2& block = m_object.Block(kDistParams);
    HoldSuspender noUndo(CurrentHold());
    NotifySuspender quiet(block);
    AccessorSuspender silent(block);
    for (ParamID id : {distParams::kUnitsX, distParams::kUnitsY}) block.SetValue(id, m_time, size);
}

void ReadTints(const TParameters& p, TTransformSettings& t) {
    t.tintMin = float(std::min(p.Int(matParams::kTintmin), p.Int(matParams::kTintmax)));
    t.tintMax = float(std::max(p.Int(matParams::kTintmin), p.Int(matParams::kTintmax)));
    t.tintColor1 = p.ColorOf(matParams::kTintcolor1);
    t.tintColor2 = p.ColorOf(matParams::kTintcolor2);
}

void TInputMaker::SetTransforms(TBuildInput& input) {
    TTransformSettings& t = input.transforms;
    t.seed = uint32_t(m_p.Int(genParams::kSeed));
    t.customEdit = input.customEdit;
    t.scatterUv = m_p.Int(surfaceParams::kSurfmode) == kSurfaceUV;
    t.globalScale = m_p.Float(geomParams::kGlobscale) * 0.01f;
    t.globalSize = m_p.Bool(geomParams::kGlobsize);
    t.globalWidth = m_p.Float(geomParams::kWidth);
    t.globalHeight = m_p.Float(geomParams::kHeight);
    t.applyTranslation = m_p.Bool(transformParams::kApplytranslation);
    t.applyRotation = m_p.Bool(transformParams::kApplyrotation);
    t.applyScale = m_p.Bool(transformParams::kApplyscale);
    const int transMin[] = {m_p.Int(transformParams::kTransxmin),
                            m_p.Int(transformParams::kTransymin),
                            m_p.Int(transformParams::kTranszmin)};
    const int transMax[] = {m_p.Int(transformParams::kTransxmax),
                            m_p.Int(transformParams::kTransymax),
                            m_p.Int(transformParams::kTranszmax)};
    const int scaleMin[] = {m_p.Int(transformParams::kScalexmin),
                            m_p.Int(transformParams::kScaleymin),
                            m_p.Int(transformParams::kScalezmin)};
    const int scaleMax[] = {m_p.Int(transformParams::kScalexmax),
                            m_p.Int(transformParams::kScaleymax),
                            m_p.Int(transformParams::kScalezmax)};
    for (int i = 0; i < 3; ++i) {
        t.transMin[i] = transMin[i], t.transMax[i] = transMax[i];
        t.scaleMin[i] = scaleMin[i], t.scaleMax[i] = scaleMax[i];
    }
    t.rotMinDegrees = {float(m_p.Int(transformParams::kXrotmin)),
                       float(m_p.Int(transformParams::kYrotmin)),
                       float(m_p.Int(transformParams::kZrotmin))};
    t.rotMaxDegrees = {float(m_p.Int(transformParams::kXrotmax)),
                       float(m_p.Int(transformParams::kYrotmax)),
                       float(m_p.Int(transformParams::kZrotmax))};
    t.scaleLock = m_p.Int(transformParams::kScalelock);
    if (m_p.Bool(transformParams::kUserotprobcurve)) {
        t.rotCurve = &m_parts.samplers.emplace_back(CurveSampler(kSlotRotProbCurve));
    }
    if (m_p.Bool(transformParams::kUsescaprobcurve)) {
        t.scaCurve = &m_parts.samplers.emplace_back(CurveSampler(kSlotScaProbCurve));
    }
    t.mirror = m_p.Bool(transformParams::kMirror);
    t.scaleOnSlope = m_p.Bool(surfaceParams::kScalelope);
    ReadTints(m_p, t);
    t.tintFromMap = m_p.Int(matParams::kTintmode) != 0;
    t.tintMapAsTexture = m_p.Int(matParams::kTintmapmode) != 0;
    t.tintOnSurface = m_p.Int(matParams::kTintmapchan) != 0;
    t.radiusPercent = m_p.Int(distParams::kRadius);
    t.collisionHeightPercent = m_p.Int(distParams::kCollheight);
}

// Maps that drive items, and the mapping channels that those in use read from surfaces.
void TInputMaker::SetMaps(TBuildInput& input) {
    TTransformSettings& t = input.transforms;
    t.transMap =
        Drive(Sampler(m_p.Map(transformParams::kTransmap), "transmap"),
              m_p.Bool(transformParams::kTransmapx), m_p.Bool(transformParams::kTransmapy),
              m_p.Bool(transformParams::kTransmapz), m_p.Bool(transformParams::kTranscolormap),
              m_p.Bool(transformParams::kTransprobmap));
    t.rotMap = Drive(Sampler(m_p.Map(transformParams::kRotmap), "rotmap"),
                     m_p.Bool(transformParams::kRotmapx), m_p.Bool(transformParams::kRotmapy),
                     m_p.Bool(transformParams::kRotmapz), m_p.Bool(transformParams::kRotcolormap),
                     m_p.Bool(transformParams::kRotprobmap));
    t.scaMap = Drive(Sampler(m_p.Map(transformParams::kScamap), "scamap"),
                     m_p.Bool(transformParams::kScamapx), m_p.Bool(transformParams::kScamapy),
                     m_p.Bool(transformParams::kScamapz), m_p.Bool(transformParams::kScacolormap),
                     m_p.Bool(transformParams::kScaprobmap));
    t.tintMap = Sampler(m_p.Map(matParams::kTintmap), "tintmap");
    t.aniMap = Sampler(m_p.Map(animParams::kAnimap), "animap");
    input.distMap = m_distMap;
    input.diversityMap = Sampler(m_p.Map(distParams::kDivtmap), "divtmap");

    // Items have coordinates for the distribution map and the tint map whatever is in use.
    TMapChannels& channels = input.channels;
    channels.channel[kDistMap] = m_p.Int(distParams::kDistmapchan);
    if (m_p.Int(surfaceParams::kSurfmode) == kSurfaceUV) channels.channel[kDistMap] = UvChannel();
    channels.channel[kTintMap] = m_p.Int(matParams::kTintmapchan);
    channels.isRead[kTintMap] =
        t.tintMap && m_p.Int(matParams::kTintmode) != 0 && m_p.Int(matParams::kTintmapmode) != 0;
    if (t.transMap.IsOn()) channels.Read(kTransMap, m_p.Int(transformParams::kTransmapchan));
    if (t.rotMap.IsOn()) channels.Read(kRotMap, m_p.Int(transformParams::kRotmapchan));
    if (t.scaMap.IsOn()) channels.Read(kScaMap, m_p.Int(transformParams::kScamapchan));
    bool animated = m_p.Int(animParams::kAnimation) == kAnimRandomMap ||
                    m_p.Int(animParams::kAnimation) == kAnimFrameMap;
    if (animated && t.aniMap) channels.Read(kAniMap, m_p.Int(animParams::kAnimapchan));
    if (m_p.Int(distParams::kDivers) == kByColorMap && input.diversityMap)
        channels.Read(kDivMap, m_p.Int(distParams::kDivmapchan));
}

// The mapping that a grid in texture space lies on.
int TInputMaker::UvChannel() const {
    return m_p.Int(distParams::kDistmapchan) != 0 ? m_p.Int(distParams::kDistmapchan) : 1;
}

void TInputMaker::SetGeometry(TBuildInput& input) const {
    TGeometrySettings& g = input.geometry;
    g.mode = m_p.Int(distParams::kDivers);
    g.noise = (m_p.Int(distParams::kDivers) == kByClusters ? m_p.Float(distParams::kClunoise)
                                                           : m_p.Float(distParams::kDivmapnoise)) *
              0.01f;
    g.clusterSize = m_p.Float(distParams::kClusize);
    g.clusterOctaves = 1 + m_p.Float(distParams::kClurough) * 4 * 0.01f;
    g.clusterEdge = m_p.Float(distParams::kCluedge) * 0.01f;
    g.seed = uint32_t(m_p.Int(genParams::kSeed));
}

void TInputMaker::SetSurfaces(TBuildInput& input, bool reread, Interval* valid) {
    TSurfaceCache& cache = DravinGlobals().surfaces;
    bool evaluate = m_p.Bool(surfaceParams::kSurfanim) || m_flags.render || reread;
    std::vector<INode*> nodes = m_p.Nodes(surfaceParams::kSurflist);
    for (size_t i = 0; i < nodes.size(); ++i) {
        INode* node = nodes[i];
        if (!node) continue;
        int kind = m_p.Int(surfaceParams::kSurfmode) != kSurfaceXY;
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
    input.directionPercent =
        m_p.Bool(surfaceParams::kScalelope) ? 0 : float(m_p.Int(surfaceParams::kDirection));
    input.linkToSurface = m_p.Bool(surfaceParams::kLinkeditsurf);
    input.uv = {m_p.Bool(surfaceParams::kUvalign), m_p.Bool(surfaceParams::kUvscalex),
                m_p.Bool(surfaceParams::kUvscaley), m_p.Float(surfaceParams::kUvmultscalex),
                m_p.Float(surfaceParams::kUvmultscaley)};
    input.altitude.limited = m_p.Bool(surfaceParams::kAltlimited);
    SortedRange(m_p.Float(surfaceParams::kAltmin), m_p.Float(surfaceParams::kAltmax),
                input.altitude);
    input.slope.limited = m_p.Bool(surfaceParams::kSlopelimited);
    SortedRange(m_p.Float(surfaceParams::kSlopemin) * kDegreesToRadians,
                m_p.Float(surfaceParams::kSlopemax) * kDegreesToRadians, input.slope);
    if (m_p.Bool(surfaceParams::kSurfaltdens))
        input.altitude.densityCurve = Curve(kSlotSurfaceCurves, 0);
    if (m_p.Bool(surfaceParams::kSurfaltscal))
        input.altitude.scaleCurve = Curve(kSlotSurfaceCurves, 1);
    if (m_p.Bool(surfaceParams::kSurfslodens))
        input.slope.densityCurve = Curve(kSlotSurfaceCurves, 2);
    if (m_p.Bool(surfaceParams::kSurfsloscal))
        input.slope.scaleCurve = Curve(kSlotSurfaceCurves, 3);
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
    if (m_p.Bool(areaParams::kSpdensact)) f.densityCurve = Curve(kSlotAreaDensityCurve);
    if (m_p.Bool(areaParams::kSpscalact)) f.scaleCurve = Curve(kSlotAreaScaleCurve);
    f.densityInclude = m_p.Float(areaParams::kSpdensinc);
    f.densityExclude = m_p.Float(areaParams::kSpdensexc);
    f.scaleInclude = m_p.Float(areaParams::kSpscalinc);
    f.scaleExclude = m_p.Float(areaParams::kSpscalexc);
    f.heightOnly = m_p.Bool(areaParams::kSpscalz);
}

void TInputMaker::SetCamera(TBuildInput& input, Interval* valid) {
    TCameraScene scene;
    scene.time = m_time;
    scene.worldToObject = m_objectInverse;
    scene.view = m_view;
    scene.noLimit = m_flags.noCameraLimit || m_object.editingItems;
    if (m_scene && m_scene->render->height > 0 && m_scene->render->width > 0)
        scene.aspect = float(m_scene->render->width) / float(m_scene->render->height);
    TPreparedCamera prepared = PrepareCamera(m_p, scene, valid);
    input.camera = prepared.state;
    SetLodView(input);
    if (!prepared.falloffs) return;
    if (m_p.Bool(camParams::kCamdensact)) input.camera.densityCurve = Curve(kSlotCamDensityCurve);
    if (m_p.Bool(camParams::kCamscaact)) input.camera.scaleCurve = Curve(kSlotCamScaleCurve);
}

// Sizes on screen are those of the render camera in renders, of the active view otherwise.
void TInputMaker::SetLodView(TBuildInput& input) const {
    if (!m_scene) return;
    Matrix3 viewToWorld;
    float fovDegrees = 0;
    INode* node = m_flags.render ? m_scene->RenderCamera() : nullptr;
    if (auto* camera = node ? dynamic_cast<CameraObject*>(node->GetObjectRef()) : nullptr) {
        viewToWorld = node->GetNodeTM(m_time);
        fovDegrees = camera->fovDegrees.At(m_time);
    } else if (auto view = m_flags.render ? std::nullopt : m_scene->ActiveView(m_time)) {
        viewToWorld = view->transform;
        fovDegrees = view->fovDegrees;
    } else {
        return;
    }
    input.lodView = {true, m_objectTM * Inverse(viewToWorld), fovDegrees * kDegreesToRadians};
}

void TInputMaker::SetLookAt(TBuildInput& input) const {
    INode* target =
        m_p.Node(camParams::kLookat) ? m_p.Node(camParams::kLookat) : m_p.Node(camParams::kCamera);
    TTransformSettings& t = input.transforms;
    t.useLookAt = m_p.Bool(camParams::kUselookat) && target;
    t.lookAtHasTarget = m_p.Node(camParams::kLookat) != nullptr;
    if (target) t.lookAtPosition = target->GetNodeTM(m_time).GetTrans() * m_objectInverse;
}

// Items point their shadow planes at the horizontal direction to the light.
void TInputMaker::SetShadows(TBuildInput& input) const {
    TTransformSettings& t = input.transforms;
    t.customShadow = m_p.Bool(shadowParams::kCustshadow);
    if (!m_p.Bool(shadowParams::kUsefakeshadows) || !m_p.Node(shadowParams::kLight) ||
        !(m_p.Bool(shadowParams::kHshadow) || m_p.Bool(shadowParams::kVshadow)))
        return;
    t.horizontalShadow = m_p.Bool(shadowParams::kHshadow);
    t.verticalShadow = m_p.Bool(shadowParams::kVshadow);
    Matrix3 light = m_p.Node(shadowParams::kLight)->GetNodeTM(m_time) * m_objectInverse;
    auto* object = dynamic_cast<LightObject*>(m_p.Node(shadowParams::kLight)->GetObjectRef());
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
    auto programs = std::make_shared<TEffectPrograms>();
    TEffectResult compiled = effects.Compile(context, programs.get());
    m_effectsFailed = compiled == TEffectResult::kError;
    m_effectErrors = effects.Errors();
    for (const TEffectError& error : m_effectErrors)
        LogWarning(fmt::format("effect \"{}\": {}", error.effectName, error.text));
    // Maps and curves serve those who try programs, too.
    m_parts.programs = programs;
    if (programs->programs.empty()) return;
    input.effects = programs.get();
    input.areaFalloffs.effectsActive = true;
}

std::unique_ptr<TBuildInput> TInputMaker::Make(const TSpecBuildList& specimens, TDensityMap density,
                                               bool rereadSurfaces, Interval* valid) {
    auto input = std::make_unique<TBuildInput>();
    input->time = m_time;
    input->render = m_flags.render;
    input->customEdit = m_p.Int(editionParams::kMode) != 0;
    input->editingItems = m_object.editingItems;
    if (input->customEdit) input->storedItems = m_object.StoredItems();
    input->threads = Threads();
    input->displayLimit = m_flags.noLimit  ? kNoLimit
                          : m_flags.render ? m_p.Int(dispParams::kRmaxitems)
                                           : m_p.Int(dispParams::kVmaxitems);
    if (m_flags.displayLimit > 0)
        input->displayLimit = std::min<int64_t>(input->displayLimit, m_flags.displayLimit);
    input->renderLimit = m_flags.noLimit ? kNoLimit : m_p.Int(dispParams::kRmaxitems);
    if (!m_flags.unprotected) input->memoryLimit = FreeMemory();
    input->renderSkip = m_p.Int(dispParams::kRskip);
    input->distributionMode = m_p.Int(distParams::kDistmode);
    input->surfaceMode = m_p.Int(surfaceParams::kSurfmode);
    input->density = std::move(density);
    input->distMapChannel = m_p.Int(distParams::kDistmapchan);
    bool preview = m_p.Bool(distParams::kCollpreview) || m_flags.render || m_flags.collisions;
    input->collisions =
        m_p.Int(editionParams::kMode) == 0 && m_p.Bool(distParams::kCollision) && preview;
    input->drawGizmo = m_p.Bool(distParams::kSdgizmo);
    input->randomizeStacked = m_p.Bool(surfaceParams::kRandstacked);
    SetSurfaces(*input, rereadSurfaces, valid);
    SetMaps(*input);
    bool onGround = m_p.Int(editionParams::kMode) == 0 &&
                    m_p.Int(distParams::kDistmode) == kDistImage &&
                    m_p.Int(surfaceParams::kSurfmode) == kSurfaceXY;
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
    TAnimationSettings animation = NormaliseAnimation(
        {m_p.Int(animParams::kAnimation), m_p.Int(animParams::kAnimsamples),
         m_p.Int(animParams::kAnimsoffset), m_p.Int(animParams::kAnimstart),
         m_p.Int(animParams::kAnimend), m_scene ? m_scene->ticksPerFrame.Get() : 160},
        m_p.Bool(animParams::kAnimonlyrend), m_flags.render);
    input->transforms.animation = animation.mode;
    input->transforms.animSamples = animation.NumSamples();
    bool many = m_p.Bool(genParams::kAutothreads) || m_flags.forceThreads > 0;
    if (m_p.Int(editionParams::kMode) == 0)
        input->points =
            MakePointInput(m_object, m_time, m_objectInverse, many ? Threads() : 1, valid);
    if (!input->customEdit && !m_object.Deltas().empty()) {
        m_parts.deltas = std::make_shared<TItemDeltaTable>(m_object.Deltas());
        input->deltas = m_parts.deltas.get();
    }
    input->debugLog = [](const std::string& text) { Log(LogKind::kDebug, text); };
    input->parts = std::move(m_parts);
    return input;
}

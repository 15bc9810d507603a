#include "Dravin/engine/item_pipeline.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kSmallestRange = 0.0001f;
constexpr float kLowest = -2147483648.0f;
const TSurfaceFilter kAnySurface;

bool HasRange(const TRangeRule& rule) { return rule.max - rule.min >= kSmallestRange; }

float RulePercent(const FalloffCurve& curve, const TRangeRule& rule, float measure) {
    float clamped = std::clamp(measure, rule.min, rule.max);
    return EvalFalloffCurve(&curve, (clamped - rule.min) / (rule.max - rule.min), false);
}

}  // namespace

std::optional<TItemHit> SurfaceHit(const TBuildInput& input, const Point3& point,
                                   const TSurfaceFilter& filter) {
    std::optional<TItemHit> best;
    float bestZ = kLowest;
    for (size_t s = 0; s < input.surfaces.size(); ++s) {
        const TSurfaceInput& surface = input.surfaces[s];
        if (!filter.HasSurface(s)) continue;
        Point3 local = surface.isMoved ? point * surface.fromObject : point;
        TSurfHit hit;
        if (!surface.array->CellHit(local.x, local.y, &hit)) continue;
        if (!filter.HasMaterial(surface.array->MaterialId(hit.face))) continue;
        Point3 world = surface.isMoved ? hit.point * surface.toObject : hit.point;
        if (!(world.z > bestZ)) continue;
        bestZ = world.z;
        best = TItemHit{hit, s, world, surface.NormalInObject(hit.normal)};
    }
    return best;
}

Point3 WorkingNormal(const Point3& faceNormal, float directionPercent) {
    float f = directionPercent * 0.01f;
    float keep = f >= 0 ? 1 - f : 1 + f;
    return Normalize(faceNormal * keep + Point3{0, 0, f});
}

bool IsBeyond(const TRangeRule& rule, float measure) {
    return rule.limited && !(measure >= rule.min && measure <= rule.max);
}

bool FadesOut(const TRangeRule& rule, float measure, float r) {
    if (!rule.densityCurve || !HasRange(rule)) return false;
    return RulePercent(*rule.densityCurve, rule, measure) * 0.01f <= r;
}

float RuleScale(const TRangeRule& rule, float measure) {
    if (!rule.scaleCurve || !HasRange(rule)) return 1;
    return RulePercent(*rule.scaleCurve, rule, measure) * 0.01f;
}

bool ObeysSurfaceRules(const TBuildInput& input, float altitude, float slope, float r,
                       Point3* scale, TRejections& rejected) {
    int64_t* dropped = nullptr;
    if (IsBeyond(input.altitude, altitude))
        dropped = &rejected.altitude;
    else if (IsBeyond(input.slope, slope))
        dropped = &rejected.slope;
    else if (FadesOut(input.altitude, altitude, r) || FadesOut(input.slope, slope, r))
        dropped = &rejected.falloff;
    if (dropped) return ++*dropped, false;
    float f = RuleScale(input.altitude, altitude) * RuleScale(input.slope, slope);
    *scale = {f, f, f};
    return true;
}

bool ObeysCameraView(const TCameraState& camera, const TDravinItem& item, float* scale,
                     TRejections& rejected) {
    if (camera.limitActive && !camera.view.Contains(item.position)) return ++rejected.camera, false;
    if (camera.scaleCurve)
        *scale = CameraScaleFactor(camera, item.position + item.zOffset * item.normal);
    return true;
}

float SlopeOf(const Point3& normal) { return std::acos(std::clamp(normal.z, -1.0f, 1.0f)); }

TElementRange ElementsOf(const TBuildInput& input, const TSpecimen& specimen,
                         const Point3& position, float random, float widthFactor) {
    if (!specimen.lod) return {0, int(specimen.elements.size())};
    int level = ChooseLodLevel(*specimen.lod, input.camera, input.lodView, input.render,
                               input.transforms.globalScale * widthFactor, position, random);
    return {level, level + 1};
}

void HideElementsOutside(const TBuildInput& input, const TAreaTest& areas, const TGrid* grid,
                         const TSpecimenElement& source, TDravinItem& item) {
    if (source.partCentroids.empty()) return;
    Matrix3 place = ItemTransform(item, input.transforms.scaleOnSlope);
    BitArray hidden(source.partCentroids.size());
    for (size_t i = 0; i < source.partCentroids.size(); ++i) {
        Point3 p = source.partCentroids[i] * place;
        if (grid && grid->rotated) p = p * grid->frameInverse;
        if (!areas.Passes({p.x, p.y})) hidden.Set(i);
    }
    item.elementMask = TBitArray(std::move(hidden));
}

TItemPipeline::TItemPipeline(const TBuildInput& input, const TGeometryChoice& geometry,
                             TDravinItemList& items)
    : m_input(input),
      m_geometry(geometry),
      m_needsDistances(input.NeedsAreaDistances()),
      m_counts{std::vector<int32_t>(geometry.Clusters().size()), {}},
      m_effects(input, geometry, items, m_counts.rejected) {
    m_factors.hasSurfaces = !input.surfaces.empty();
    m_item.marked = 1;  // whatever reaches the list is kept
}

void TItemPipeline::TakeHit(const TItemHit& hit) {
    m_item.surfaceFace = hit.local.face;
    m_item.barycentric = hit.local.Barycentric();
    m_item.surfaceNormal = hit.faceNormal;
    m_item.surfaceIndex = int32_t(hit.surface);
    if (!m_input.channels.AnyRead()) return;
    const TSurfXYArray& array = *m_input.surfaces[hit.surface].array;
    for (int map = 0; map < kNumItemMaps; ++map)
        if (m_input.channels.isRead[map])
            m_item.mapUvws[map] = array.Uvw(m_input.channels.channel[map], hit.local);
}

void TItemPipeline::ClearHit() {
    static_cast<ItemSurface&>(m_item) = {};
    if (m_input.channels.AnyRead()) static_cast<ItemUvws&>(m_item) = {};
}

Color TItemPipeline::DiversityColor(const MapPoint& at) const {
    bool mapped = m_input.geometry.mode == kByColorMap && m_input.diversityMap;
    return mapped ? m_input.diversityMap->SampleOne(at).Rgb() : m_item.mapColor.Rgb();
}

void TItemPipeline::ProcessCandidate(const TCandidate& candidate) {
    m_effects.StartCell();
    ChooseGeometry(candidate);
    ProcessElements(candidate, false);
    if (auto row = m_effects.AsksForGeometry()) {
        m_item.specimenIndex = *row;
        ProcessElements(candidate, true);
    }
    m_effects.FinishCell();
}

// drawAgain: the random values in the item are not those of its first element.
void TItemPipeline::ProcessElements(const TCandidate& candidate, bool drawAgain) {
    const TSpecimen& specimen = m_input.specimens[size_t(m_item.specimenIndex)];
    TElementRange elements =
        ElementsOf(m_input, specimen, ToObject(candidate, candidate.point), m_item.random4);
    auto draw = [&] {
        DrawItemRandoms(m_input.transforms, Ranges(), m_generator, m_item,
                        candidate.grid != nullptr, candidate.ordinal);
    };
    for (int e = elements.first; e < elements.end; ++e) {
        m_item.elementIndex = int16_t(e);
        if (e > elements.first || drawAgain) draw();
        if (ProcessElement(candidate, specimen, e)) continue;
        if (m_effects.AsksForPlacement()) {
            draw();
            ProcessElement(candidate, specimen, e);
        }
        if (m_effects.WantsGeometry()) return;
    }
}

void TItemPipeline::ChooseGeometry(const TCandidate& candidate) {
    Point3 position = ToObject(candidate, candidate.point);
    Color color = DiversityColor({m_item.mapUvws[kDivMap], position});
    m_item.specimenIndex =
        m_geometry.Assign(*candidate.rows, m_item.randomB, color, position, m_counts.clusters);
}

Point3 TItemPipeline::ToObject(const TCandidate& candidate, const Point3& point) const {
    return candidate.grid && candidate.grid->rotated ? point * candidate.grid->frame : point;
}

// Include parity, excludes and the falloff around excludes, where the item was born. known: its
// place has passed the areas already.
bool TItemPipeline::PassesAreas(const TCandidate& candidate, bool known) {
    if (!candidate.areas) return true;
    Point3 point = m_item.position;
    if (!known && !candidate.areas->Passes({point.x, point.y})) return ++Rejected().area, false;
    if (!m_needsDistances) return true;

    m_distances = candidate.areas->Distances({point.x, point.y}, m_cursors);
    auto place = [&](Point2 p) { return ToObject(candidate, {p.x, p.y, point.z}); };
    static_cast<ItemBorders&>(m_item) = {m_distances.include, m_distances.exclude,
                                         place(m_distances.includeNearest),
                                         place(m_distances.excludeNearest)};
    if (!ExcludeFalloffRejects(m_input.areaFalloffs, m_distances, m_item.randomA.y)) return true;
    return ++Rejected().falloff, false;
}

// One element of a candidate, from its place to its final transform. False: it is dropped.
bool TItemPipeline::ProcessElement(const TCandidate& candidate, const TSpecimen& specimen,
                                   int element) {
    const TSpecimenElement& source = specimen.elements[size_t(element)];
    m_item.partial = 0;
    if (!m_item.elementMask.IsEmpty()) m_item.elementMask.Clear();
    m_item.position = candidate.point + source.offset;

    if (CameraThinsOut(m_input.camera, ToObject(candidate, m_item.position), m_item.randomA.y))
        return ++Rejected().falloff, false;
    bool atCell = source.offset == Point3{};
    if (!PassesAreas(candidate, candidate.insideAreas && atCell)) return false;
    m_item.position = ToObject(candidate, m_item.position);
    m_item.storedPosition = m_item.position;
    m_item.normal = m_item.sourceTransform.row[2];

    Point3 before = m_item.position;
    const TItemOverrides* overrides = m_effects.Overrides();
    TSpecimenSize size =
        ApplySpecimenAndTranslation(m_input.transforms, m_item, source, candidate.area, overrides);
    if (m_item.discarded) return false;

    bool fades = candidate.areas && m_needsDistances;
    if (fades && IncludeFalloffRejects(m_input.areaFalloffs, candidate.areas->Settings(),
                                       m_distances, m_item.randomA.y))
        return ++Rejected().falloff, false;

    ClearHit();
    m_factors.falloffScale = {1, 1, 1};
    if (!m_input.surfaces.empty()) {
        bool stands = m_item.position == before && atCell;
        if (!ProjectOnSurfaces(candidate, stands)) return false;
    }
    if (candidate.areas && m_input.areaFalloffs.scaleCurve) ApplyAreaScale(candidate);

    if (!ObeysCameraView(m_input.camera, m_item, &m_factors.cameraScale, Rejected())) return false;
    FinishItem(m_input.transforms, Ranges(), m_item, specimen, size, candidate.area, m_factors,
               overrides);
    if (m_item.discarded) return ++Rejected().area, false;  // it stands across a border
    return m_effects.Take(m_item, specimen, size, {candidate.areas, candidate.grid, &source});
}

// stands: the item is still where its candidate was.
bool TItemPipeline::ProjectOnSurfaces(const TCandidate& candidate, bool stands) {
    std::optional<TItemHit> hit = stands ? candidate.hit : std::nullopt;
    const TSurfaceFilter& filter =
        candidate.areas ? candidate.areas->Settings().surfaces : kAnySurface;
    if (!hit) hit = SurfaceHit(m_input, m_item.position, filter);
    if (!hit) return ++Rejected().surface, false;
    TakeHit(*hit);
    m_item.position = hit->point;
    m_item.normal = NormalOver(hit->faceNormal);
    m_item.surfaceSlope = SlopeOf(hit->faceNormal);
    // The rules measure the hit itself, before the item is lifted along its normal.
    return ObeysSurfaceRules(m_input, hit->point.z, m_item.surfaceSlope, m_item.randomA.y,
                             &m_factors.falloffScale, Rejected());
}

void TItemPipeline::ApplyAreaScale(const TCandidate& candidate) {
    float f = AreaScaleFalloff(m_input.areaFalloffs, candidate.areas->Settings(), m_distances);
    Point3& scale = m_factors.falloffScale;
    scale.z *= f;
    if (!m_input.areaFalloffs.heightOnly) scale.x *= f, scale.y *= f;
}

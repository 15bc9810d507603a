#include "Dravin/engine/item_pipeline.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kSmallestRange = 0.0001f;
constexpr float kLowest = -2147483648.0f;

bool HasRange(const TRangeRule& rule) { return rule.max - rule.min >= kSmallestRange; }

float RulePercent(const FalloffCurve& curve, const TRangeRule& rule, float measure) {
    float clamped = std::clamp(measure, rule.min, rule.max);
    return EvalFalloffCurve(&curve, (clamped - rule.min) / (rule.max - rule.min), false);
}

}  // namespace

std::optional<TItemHit> SurfaceHit(const TBuildInput& input, const Point3& point,
                                   std::span<const uint8_t> only) {
    std::optional<TItemHit> best;
    float bestZ = kLowest;
    for (size_t s = 0; s < input.surfaces.size(); ++s) {
        const TSurfaceInput& surface = input.surfaces[s];
        if (surface.skip || (!only.empty() && !only[s])) continue;
        Point3 local = surface.isMoved ? point * surface.fromObject : point;
        TSurfHit hit;
        if (!surface.array->CellHit(local.x, local.y, &hit)) continue;
        Point3 world = surface.isMoved ? hit.point * surface.toObject : hit.point;
        if (!(world.z > bestZ)) continue;
        bestZ = world.z;
        Point3 normal = hit.normal;
        if (surface.isMoved) normal = Normalize(surface.toObject.VectorTransform(normal));
        best = TItemHit{hit, s, world, normal};
    }
    return best;
}

Point3 WorkingNormal(const Point3& faceNormal, float directionPercent) {
    float f = directionPercent * 0.01f;
    float keep = f >= 0 ? 1 - f : 1 + f;
    return Normalize(faceNormal * keep + Point3{0, 0, f});
}

bool RuleRejects(const TRangeRule& rule, float measure, float r) {
    if (rule.limited && !(measure >= rule.min && measure <= rule.max)) return true;
    if (!rule.densityCurve || !HasRange(rule)) return false;
    return RulePercent(*rule.densityCurve, rule, measure) * 0.01f <= r;
}

float RuleScale(const TRangeRule& rule, float measure) {
    if (!rule.scaleCurve || !HasRange(rule)) return 1;
    return RulePercent(*rule.scaleCurve, rule, measure) * 0.01f;
}

bool ObeysSurfaceRules(const TBuildInput& input, float altitude, float slope, float r,
                       Point3* scale) {
    if (RuleRejects(input.altitude, altitude, r) || RuleRejects(input.slope, slope, r))
        return false;
    float f = RuleScale(input.altitude, altitude) * RuleScale(input.slope, slope);
    *scale = {f, f, f};
    return true;
}

bool ObeysCameraView(const TCameraState& camera, const TDravinItem& item, float* scale) {
    if (camera.limitActive && !camera.view.Contains(item.position)) return false;
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

TItemPipeline::TItemPipeline(const TBuildInput& input, const TGeometryChoice& geometry,
                             TDravinItemList& items)
    : m_input(input),
      m_geometry(geometry),
      m_ranges(TransformRanges(input.transforms)),
      m_needsDistances(input.NeedsAreaDistances()),
      m_items(items),
      m_clusterCounts(geometry.Clusters().size()) {
    m_factors.hasSurfaces = !input.surfaces.empty();
}

void TItemPipeline::TakeHit(const TItemHit& hit) {
    m_item.surfaceFace = hit.local.face;
    m_item.barycentric = hit.local.Barycentric();
    m_item.surfaceNormal = hit.faceNormal;
    if (!m_input.channels.Any()) return;
    const TSurfXYArray& array = *m_input.surfaces[hit.surface].array;
    for (int map = 0; map < kNumItemMaps; ++map)
        if (int channel = m_input.channels.channel[map]; channel >= 0)
            m_item.mapUvws[map] = array.Uvw(channel, hit.local);
}

void TItemPipeline::ClearHit() {
    static_cast<ItemSurface&>(m_item) = {};
    if (m_input.channels.Any()) static_cast<ItemUvws&>(m_item) = {};
}

void TItemPipeline::ProcessCandidate(const TCandidate& candidate) {
    ChooseGeometry(candidate);
    const TSpecimen& specimen = m_input.specimens[size_t(m_item.specimenIndex)];
    TElementRange elements =
        ElementsOf(m_input, specimen, ToObject(candidate, candidate.point), m_item.random4);
    for (int e = elements.first; e < elements.end; ++e) {
        m_item.elementIndex = int16_t(e);
        if (e > elements.first)
            DrawItemRandoms(m_input.transforms, m_ranges, m_generator, m_item,
                            candidate.grid != nullptr, candidate.ordinal);
        if (!ProcessElement(candidate, specimen, e)) continue;
        m_items.Append(m_item, m_appender);
        ++m_produced;
    }
}

void TItemPipeline::ChooseGeometry(const TCandidate& candidate) {
    Color color = m_item.mapColor.Rgb();
    if (m_input.geometry.mode == kByColorMap && m_input.diversityMap)
        color = m_input.diversityMap->SampleOne({m_item.mapUvws[kDivMap], candidate.point}).Rgb();
    Point3 position = ToObject(candidate, candidate.point);
    m_item.specimenIndex =
        m_geometry.Assign(*candidate.rows, m_item.randomB, color, position, m_clusterCounts);
}

Point3 TItemPipeline::ToObject(const TCandidate& candidate, const Point3& point) const {
    return candidate.grid && candidate.grid->rotated ? point * candidate.grid->frame : point;
}

// Include parity, excludes and the falloff around excludes, where the item was born. known: its
// place has passed the areas already.
bool TItemPipeline::PassesAreas(const TCandidate& candidate, bool known) {
    if (!candidate.areas) return true;
    Point3 point = m_item.position;
    if (!known && !candidate.areas->Passes({point.x, point.y})) return false;
    if (!m_needsDistances) return true;

    m_distances = candidate.areas->Distances({point.x, point.y}, m_cursors);
    auto place = [&](Point2 p) { return ToObject(candidate, {p.x, p.y, point.z}); };
    static_cast<ItemBorders&>(m_item) = {m_distances.include, m_distances.exclude,
                                         place(m_distances.includeNearest),
                                         place(m_distances.excludeNearest)};
    return !ExcludeFalloffRejects(m_input.areaFalloffs, m_distances, m_item.randomA.y);
}

// One element of a candidate, from its place to its final transform. False: it is dropped.
bool TItemPipeline::ProcessElement(const TCandidate& candidate, const TSpecimen& specimen,
                                   int element) {
    const TSpecimenElement& source = specimen.elements[size_t(element)];
    m_item.partial = 0;
    if (!m_item.elementMask.IsEmpty()) m_item.elementMask.Clear();
    m_item.position = candidate.point + source.offset;

    if (CameraThinsOut(m_input.camera, ToObject(candidate, m_item.position), m_item.randomA.y))
        return false;
    bool atCell = source.offset == Point3{};
    if (!PassesAreas(candidate, candidate.insideAreas && atCell)) return false;
    m_item.position = ToObject(candidate, m_item.position);
    m_item.storedPosition = m_item.position;
    m_item.normal = m_item.sourceTransform.row[2];

    Point3 before = m_item.position;
    TSpecimenSize size =
        ApplySpecimenAndTranslation(m_input.transforms, m_item, source, candidate.area);
    if (m_item.discarded) return false;

    bool fades = candidate.areas && m_needsDistances;
    if (fades && IncludeFalloffRejects(m_input.areaFalloffs, candidate.areas->Settings(),
                                       m_distances, m_item.randomA.y))
        return false;

    ClearHit();
    m_factors.falloffScale = {1, 1, 1};
    if (!m_input.surfaces.empty()) {
        bool stands = m_item.position == before && atCell;
        if (!ProjectOnSurfaces(candidate, stands)) return false;
    }
    if (candidate.areas && m_input.areaFalloffs.scaleCurve) ApplyAreaScale(candidate);

    if (!ObeysCameraView(m_input.camera, m_item, &m_factors.cameraScale)) return false;
    FinishItem(m_input.transforms, m_ranges, m_item, specimen, size, candidate.area, m_factors);
    if (m_item.discarded) return false;

    // Effect programs: here.
    if (m_item.partial) HideElementsOutside(candidate, source);
    return true;
}

// stands: the item is still where its candidate was.
bool TItemPipeline::ProjectOnSurfaces(const TCandidate& candidate, bool stands) {
    std::optional<TItemHit> hit = stands ? candidate.hit : std::nullopt;
    std::span<const uint8_t> only;
    if (candidate.areas) only = candidate.areas->Settings().surfaces;
    if (!hit) hit = SurfaceHit(m_input, m_item.position, only);
    if (!hit) return false;
    TakeHit(*hit);
    m_item.position = hit->point;
    m_item.normal = WorkingNormal(hit->faceNormal, m_input.directionPercent);
    m_item.surfaceSlope = SlopeOf(hit->faceNormal);
    // The rules measure the hit itself, before the item is lifted along its normal.
    return ObeysSurfaceRules(m_input, hit->point.z, m_item.surfaceSlope, m_item.randomA.y,
                             &m_factors.falloffScale);
}

void TItemPipeline::ApplyAreaScale(const TCandidate& candidate) {
    float f = AreaScaleFalloff(m_input.areaFalloffs, candidate.areas->Settings(), m_distances);
    Point3& scale = m_factors.falloffScale;
    scale.z *= f;
    if (!m_input.areaFalloffs.heightOnly) scale.x *= f, scale.y *= f;
}

// The connected parts of the item's mesh that stand outside its areas are not drawn.
void TItemPipeline::HideElementsOutside(const TCandidate& candidate,
                                        const TSpecimenElement& source) {
    if (!candidate.areas || source.partCentroids.empty()) return;
    Matrix3 place = ItemTransform(m_item, m_input.transforms.scaleOnSlope);
    BitArray hidden(source.partCentroids.size());
    for (size_t i = 0; i < source.partCentroids.size(); ++i) {
        Point3 p = source.partCentroids[i] * place;
        if (candidate.grid && candidate.grid->rotated) p = p * candidate.grid->frameInverse;
        if (!candidate.areas->Passes({p.x, p.y})) hidden.Set(i);
    }
    m_item.elementMask = TBitArray(std::move(hidden));
}

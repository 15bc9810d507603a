// Surfaces under items: what is hit there, and what the rules say of it.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <utility>

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_lanes.h"

// A hit on the surfaces, in object space.
struct TItemHit {
    TSurfHit local;      // in the surface's own space
    size_t surface = 0;  // index into the input's surfaces
    Point3 point;
    Point3 faceNormal;
};

// Topmost hit over the surfaces that the filter lets through. None where the point misses them all.
std::optional<TItemHit> SurfaceHit(const TBuildInput& input, const Point3& point,
                                   const TSurfaceFilter& filter = {});

// The same for up to kCellsInBatch points at once.
void SurfaceHits(const TBuildInput& input, std::span<const Point3> points,
                 const TSurfaceFilter& filter, std::span<std::optional<TItemHit>> hits);

// Lets all surfaces through.
inline const TSurfaceFilter kAnySurface;

// Hits that cells or lanes ask for one by one and get together: take(hit or none, k) for all who
// asked, in their order.
template <class Take>
class TGatheredHits {
public:
    // What is given outlives this.
    TGatheredHits(const TBuildInput& input, const TSurfaceFilter& filter, Take take)
        : m_input(input), m_filter(filter), m_take(std::move(take)) {}

    // Number k asks for the hit at a point. The answer may come at once.
    void Ask(const Point3& point, size_t k) {
        m_points[m_count] = point;
        m_who[m_count++] = uint32_t(k);
        if (m_count == kCellsInBatch) Answer();
    }
    // Answers those who have none yet.
    void Answer() {
        SurfaceHits(m_input, {m_points.data(), m_count}, m_filter, m_hits);
        for (size_t i = 0; i < m_count; ++i) m_take(std::as_const(m_hits[i]), size_t{m_who[i]});
        m_count = 0;
    }

private:
    const TBuildInput& m_input;
    const TSurfaceFilter& m_filter;
    Take m_take;
    size_t m_count = 0;
    std::array<Point3, kCellsInBatch> m_points;
    std::array<uint32_t, kCellsInBatch> m_who;
    std::array<std::optional<TItemHit>, kCellsInBatch> m_hits;
};

// Working normal between the face normal (0 %) and straight up (100 %) or down (-100 %).
Point3 WorkingNormal(const Point3& faceNormal, float directionPercent);

// Whether a measure is beyond the rule's limits.
bool IsBeyond(const TRangeRule& rule, float measure);
// Whether the rule's density falloff drops a measure; r is the item's draw.
bool FadesOut(const TRangeRule& rule, float measure, float r);
// Factor that the rule's scale curve puts on an item.
float RuleScale(const TRangeRule& rule, float measure);
// Angle between a normal and the vertical, radians.
float SlopeOf(const Point3& normal);

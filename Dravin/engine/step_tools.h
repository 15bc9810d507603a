// What several steps share: columns for loops, and maps asked for all lanes at once.
#pragma once

#include <vector>

#include "Dravin/engine/item_lanes.h"
#include "Dravin/engine/lane_loops.h"
#include "Dravin/engine/transforms.h"

inline lane_loops::PointColumns Columns(TPointLane& p) {
    return {p.x.Data(), p.y.Data(), p.z.Data()};
}
inline lane_loops::ConstPointColumns Columns(const TPointLane& p) {
    return {p.x.Data(), p.y.Data(), p.z.Data()};
}

// What a map says at all lanes that are left.
class MapLanes {
public:
    MapLanes(const IMapSampler& map, const TItemLanes& lanes, ItemMap channel)
        : MapLanes(map, lanes, [&](size_t k) {
              return lanes.uvws.empty() ? Point3{} : lanes.uvws[channel][k];
          }) {}
    template <class Uvw>
    MapLanes(const IMapSampler& map, const TItemLanes& lanes, const Uvw& uvw)
        : m_index(lanes.count) {
        std::vector<MapPoint> points;
        ForEachAlive(lanes, [&](size_t k) {
            m_index[k] = points.size();
            points.push_back({uvw(k), lanes.position[k]});
        });
        m_colors.resize(points.size());
        map.Sample(points, m_colors);
    }
    const AColor& operator[](size_t k) const { return m_colors[m_index[k]]; }

private:
    std::vector<size_t> m_index;
    std::vector<AColor> m_colors;
};

// What a map that drives a range says of a lane, one factor an axis.
inline Point3 DriveOf(const TMapDrive& drive, const AColor& c) {
    if (drive.perAxisColor) return {c.r, c.g, c.b};
    float grey = Grey(c);
    return {grey, grey, grey};
}

// The ranges in force for a lane.
inline TTransformRanges RangesOf(const TTransformSettings& s, const TTransformRanges& own,
                                 const TItemOverrides* overrides) {
    return overrides ? TransformRanges(s, overrides) : own;
}

// How the engine asks a texture map: many places in one call, no scene behind it.
#pragma once

#include <span>

#include "host/math/color.h"
#include "host/math/point.h"

struct MapPoint {
    Point3 uvw;       // mapping coordinates
    Point3 position;  // object space
};

// Const and thread safe for the length of a build.
class IMapSampler {
public:
    virtual ~IMapSampler() = default;
    // out.size() == points.size().
    virtual void Sample(std::span<const MapPoint> points, std::span<AColor> out) const = 0;

    AColor SampleOne(const MapPoint& point) const {
        AColor color;
        Sample({&point, 1}, {&color, 1});
        return color;
    }
};

// Grey value of a map's colour: the mean of its channels.
inline float Grey(const AColor& c) { return (c.r + c.g + c.b) / 3; }

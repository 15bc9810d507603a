// Plant objects of other makers, which know the points of their display themselves.
//
// A plug-in whose plants have this class and this interface gives clouds of its own making; the
// host has no such class.
#pragma once

#include <cstdint>
#include <vector>

#include "host/math/interval.h"
#include "host/math/point.h"
#include "host/params/class_id.h"

inline constexpr ClassId kPlantObjectId{0xD29CACE7, 0xA41EC3E0};

struct TPlantPoint {
    Point3 position;  // object space
    float shade = 0;  // how bright it is, 0 and above
    uint16_t id = 0;  // material id of what it lies on
};

// A further base of such a plant's object.
class IPlantCloud {
public:
    virtual ~IPlantCloud() = default;

    // Up to `count` points, spread over the plant as it is at time t.
    virtual std::vector<TPlantPoint> GetPoints(TimeValue t, size_t count) const = 0;
};

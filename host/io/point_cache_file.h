// Point caches from files: PC2 and MDD.
//
// PC2, little endian: "POINTCACHE2" and a zero, int32 version (1), int32 number of points, float
// first frame, float frames from sample to sample, int32 number of samples; then the samples, x y z
// of each point as floats. A frame takes as many ticks as a frame of the scene.
//
// MDD, big endian: int32 number of samples, int32 number of points, the samples' times in seconds
// as floats; then the samples as above. The format has no mark: the file's ending says it.
//
// PC2 has z up, MDD y: (x, y, z) of a cache with y up becomes (x, -z, y), as in models. Neither
// states a unit. What the first bytes claim is weighed against the file's length before anything
// is believed; samples are read from the file one at a time, and the file is open only meanwhile.
#pragma once

#include <string_view>

#include "host/io/mesh_import.h"
#include "host/scene/point_cache.h"

// Where the samples stand in a file. Nothing of it needs memory of its own.
struct PointCacheLayout {
    bool isMdd = false;
    uint64_t numPoints = 0, numSamples = 0;
    uint64_t timesAt = 0, samplesAt = 0;     // bytes from the file's start
    double firstTicks = 0, ticksToNext = 0;  // of PC2
    std::string warning;                     // what is odd about the file

    uint64_t SampleBytes() const { return numPoints * 12; }
    double TimeOf(std::string_view bytes, uint64_t sample) const;  // ticks
};

// isMdd: bytes without the mark of PC2 are MDD. None with a reason in `error` for bytes that are no
// whole cache.
std::optional<PointCacheLayout> ReadPointCacheLayout(std::string_view bytes, bool isMdd,
                                                     int ticksPerFrame, ImportError* error);
// The points of a sample, in the file's axes. False with a reason for a number that is not finite.
bool ReadPointCacheSample(std::string_view bytes, const PointCacheLayout& layout, uint64_t sample,
                          std::vector<Point3>* points, std::string* error);

// A cache as the scene needs it.
struct PointCacheUse {
    int ticksPerFrame = 160;
    double unitScale = 1;  // metres in one scene unit
};
// Null with a reason in `error`; what is odd is told in `warning`.
std::shared_ptr<const IPointSamples> OpenPointCache(const PointCacheOrigin& origin,
                                                    const PointCacheUse& use, ImportError* error,
                                                    std::string* warning);

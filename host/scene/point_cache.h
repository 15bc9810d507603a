// A modifier that moves the vertices of a mesh as a point cache says.
//
// A cache holds samples: where every vertex is at a time. Between two samples the vertices run on
// straight lines. The mesh keeps its faces, mapping and materials; explicit normals turn with the
// faces (mesh_motion.h). One thread.
#pragma once

#include <optional>
#include <string>

#include "host/params/key_track.h"
#include "host/scene/derived_object.h"

// The samples of a cache.
class IPointSamples {
public:
    virtual ~IPointSamples() = default;
    virtual size_t NumPoints() const = 0;
    virtual size_t NumSamples() const = 0;  // 1 or more
    // In ticks, rising from sample to sample, within the range of a TimeValue.
    virtual double TimeOf(size_t sample) const = 0;
    // Where the points are, in the mesh's axes and units. False with a reason that names the place.
    virtual bool Read(size_t sample, std::vector<Point3>* points, std::string* error) const = 0;
};

// Where samples came from, kept so that a scene can be written as it was read.
struct PointCacheOrigin {
    std::string file;          // a path
    std::optional<UpAxis> up;  // of the cache, instead of its format's usual one
    bool inMetres = false;     // its lengths; else they are scene units

    friend bool operator==(const PointCacheOrigin&, const PointCacheOrigin&) = default;
};

struct PointCache {
    PointCacheOrigin origin;
    std::shared_ptr<const IPointSamples> samples;  // null: nothing moves

    friend bool operator==(const PointCache&, const PointCache&) = default;
};

class PointCacheModifier : public Modifier {
public:
    Property<PointCache> cache{this};
    // When the first sample stands; none: at its own time.
    Property<std::optional<TimeValue>> start{this};
    Property<float> speed{this, 1};  // above 0: 2 runs twice as fast
    // What holds before the first and after the last sample.
    Property<KeysBeyond> before{this, KeysBeyond::kHold}, after{this, KeysBeyond::kHold};

    // Meshes only. A mesh with another number of vertices, or a sample that cannot be read, is
    // handed on as it came, with a warning.
    bool Takes(const Object& input) const override;
    std::shared_ptr<Object> Modify(const std::shared_ptr<Object>& input, TimeValue t,
                                   Interval* valid) const override;

    static constexpr ClassInfo kClass{{0x3d1c0019, 0x52a7}, SuperClass::kModifier, "Point Cache"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    // What is seen at a time: a sample, and how far the next one is on its way.
    struct Place {
        size_t sample = 0;
        double toNext = 0;
        Interval valid = Interval::Forever();
    };
    Place PlaceAt(TimeValue t) const;
    bool PointsAt(const Place& place, std::vector<Point3>* points, std::string* error) const;
    const std::vector<Point3>* Sample(size_t sample, std::string* error) const;
    void WarnOnce(const std::string& text) const;

    // The last two samples that were read.
    struct ReadSample {
        std::shared_ptr<const IPointSamples> from;
        size_t sample = 0;
        std::vector<Point3> points;
    };
    mutable ReadSample m_read[2];
    mutable size_t m_oldest = 0;
    mutable std::string m_warned;
};

#include "host/scene/point_cache.h"

#include <cmath>

#include <fmt/format.h>

#include "host/base/log.h"
#include "host/geom/mesh_motion.h"
#include "host/scene/material.h"

namespace {

TimeValue ToTicks(double ticks) {
    return TimeValue(std::clamp(ticks, double(kTimeNegInfinity), double(kTimePosInfinity)));
}

// The last sample at or before this time, which lies within them.
size_t SampleBefore(const IPointSamples& samples, double time) {
    size_t low = 0, high = samples.NumSamples() - 1;
    while (low + 1 < high) {
        size_t middle = (low + high) / 2;
        (samples.TimeOf(middle) <= time ? low : high) = middle;
    }
    return samples.TimeOf(high) <= time ? high : low;
}

}  // namespace

bool PointCacheModifier::Takes(const Object& input) const {
    return dynamic_cast<const TriObject*>(&input) != nullptr;
}

std::shared_ptr<Object> PointCacheModifier::Modify(const std::shared_ptr<Object>& input,
                                                   TimeValue t, Interval* valid) const {
    auto& tri = static_cast<TriObject&>(*input);
    const IPointSamples* samples = cache->samples.get();
    if (!samples) return input;
    std::shared_ptr<const Mesh> mesh = tri.GetRenderMesh(t);
    if (samples->NumPoints() != mesh->verts.size()) {
        WarnOnce(fmt::format("{}: {} points, the mesh has {} vertices; it stays as it is",
                             cache->origin.file, samples->NumPoints(), mesh->verts.size()));
        return input;
    }
    Place place = PlaceAt(t);
    std::vector<Point3> points;
    std::string error;
    if (!PointsAt(place, &points, &error)) {
        WarnOnce(error + "; the mesh stays as it is");
        return input;
    }
    auto moved = std::make_shared<Mesh>(*mesh);
    MoveVertices(*moved, std::move(points));
    if (valid) *valid &= place.valid;
    auto object = std::make_shared<TriObject>(std::move(moved));
    object->fileMaterial.Put(tri.fileMaterial.Share());
    return object;
}

PointCacheModifier::Place PointCacheModifier::PlaceAt(TimeValue t) const {
    const IPointSamples& samples = *cache->samples;
    size_t last = samples.NumSamples() - 1;
    if (last == 0) return {};
    double firstTime = samples.TimeOf(0), length = samples.TimeOf(last) - firstTime;
    double begin = start->has_value() ? double(*start.Get()) : firstTime;
    double into = (double(t) - begin) * double(speed);  // time of the cache since its first sample
    if (into <= 0 && before == KeysBeyond::kHold)
        return {0, 0, {kTimeNegInfinity, ToTicks(std::floor(begin))}};
    if (into >= length && after == KeysBeyond::kHold)
        return {last, 0, {ToTicks(std::ceil(begin + length / double(speed))), kTimePosInfinity}};
    into = std::fmod(into, length);
    if (into < 0) into += length;
    double time = firstTime + into;
    size_t sample = SampleBefore(samples, time);
    if (sample == last) return {last, 0, Interval::Instant(t)};
    double step = samples.TimeOf(sample + 1) - samples.TimeOf(sample);
    return {sample, (time - samples.TimeOf(sample)) / step, Interval::Instant(t)};
}

bool PointCacheModifier::PointsAt(const Place& place, std::vector<Point3>* points,
                                  std::string* error) const {
    const std::vector<Point3>* a = Sample(place.sample, error);
    if (!a) return false;
    *points = *a;
    if (place.toNext == 0) return true;
    const std::vector<Point3>* b = Sample(place.sample + 1, error);
    if (!b) return false;
    auto u = float(place.toNext);
    for (size_t i = 0; i < points->size(); ++i) {
        Point3& p = (*points)[i];
        p += ((*b)[i] - p) * u;
    }
    return true;
}

const std::vector<Point3>* PointCacheModifier::Sample(size_t sample, std::string* error) const {
    for (const ReadSample& read : m_read)
        if (read.from == cache->samples && read.sample == sample) return &read.points;
    ReadSample& read = m_read[m_oldest];
    read.from = nullptr;
    if (!cache->samples->Read(sample, &read.points, error)) return nullptr;
    read.from = cache->samples;
    read.sample = sample;
    m_oldest = 1 - m_oldest;
    return &read.points;
}

void PointCacheModifier::WarnOnce(const std::string& text) const {
    if (m_warned != text) LogWarning(text);
    m_warned = text;
}

std::shared_ptr<ReferenceTarget> PointCacheModifier::Clone(CloneMap&) const {
    auto copy = std::make_shared<PointCacheModifier>();
    copy->enabled = enabled;
    copy->cache = cache;
    copy->start = start;
    copy->speed = speed;
    copy->before = before;
    copy->after = after;
    return copy;
}

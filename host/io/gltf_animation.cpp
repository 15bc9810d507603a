#include "host/io/gltf_animation.h"

#include <cmath>

#include <fmt/format.h>
#include <tiny_gltf.h>

#include "host/io/gltf_accessors.h"

namespace {

// The numbers of a sampler: for each key `width` values, of cubic splines with a tangent before and
// one after them.
struct Sampler {
    std::vector<TimeValue> times;
    std::vector<float> seconds, values;
    KeyInterpolation interpolation = KeyInterpolation::kLinear;
    size_t width = 0;

    bool IsCubic() const { return interpolation == KeyInterpolation::kBezier; }
    enum Part { kIn = 0, kValue = 1, kOut = 2 };
    const float* At(size_t key, Part part) const {
        return &values[IsCubic() ? (3 * key + size_t(part)) * width : key * width];
    }
    // Tangents are slopes a second; handles stand a third of the way to the neighbour.
    float HandleFactor(size_t key, Part part) const {
        if (part == kIn) return key > 0 ? -(seconds[key] - seconds[key - 1]) / 3 : 0;
        return key + 1 < seconds.size() ? (seconds[key + 1] - seconds[key]) / 3 : 0;
    }
};

KeyInterpolation InterpolationOf(const std::string& name) {
    if (name == "STEP") return KeyInterpolation::kStep;
    return name == "CUBICSPLINE" ? KeyInterpolation::kBezier : KeyInterpolation::kLinear;
}

bool ReadTimes(const tinygltf::Model& model, int accessor, Sampler* sampler, std::string* error) {
    if (!GltfAccessors(model).ReadFloats(accessor, 1, sampler->seconds, error)) return false;
    constexpr float kMostSeconds = 400000;  // what fits a time in ticks
    float before = -1;
    for (float s : sampler->seconds) {
        if (!(s >= 0 && s <= kMostSeconds && s >= before))
            return *error = fmt::format("key times must rise from 0 on and stay below {} seconds",
                                        kMostSeconds),
                   false;
        before = s;
        sampler->times.push_back(TimeValue(std::lround(double(s) * kTicksPerSecond)));
    }
    if (sampler->times.empty()) return *error = "no keys", false;
    return true;
}

// width: values of a key; 0: as many as there are.
bool ReadSampler(const tinygltf::Model& model, const tinygltf::AnimationSampler& source,
                 size_t width, Sampler* sampler, std::string* error) {
    sampler->interpolation = InterpolationOf(source.interpolation);
    if (!ReadTimes(model, source.input, sampler, error)) return false;
    int components = width > 0 ? int(width) : 1;
    if (!GltfAccessors(model).ReadFloats(source.output, components, sampler->values, error))
        return false;
    size_t rows = sampler->times.size() * (sampler->IsCubic() ? 3 : 1);
    sampler->width = width > 0 ? width : sampler->values.size() / rows;
    if (sampler->width == 0 || sampler->values.size() != rows * sampler->width)
        return *error = fmt::format("{} values for {} keys", sampler->values.size(),
                                    sampler->times.size()),
               false;
    for (float v : sampler->values)
        if (!std::isfinite(v)) return *error = "a value is not a finite number", false;
    return true;
}

// A track of T; make(numbers) builds one from a key's numbers, scaled(T, factor) a handle.
template <class T, class Make, class Scaled>
KeyTrack<T> MakeTrack(const Sampler& s, const Make& make, const Scaled& scaled) {
    KeyTrack<T> track;
    track.interpolation = s.interpolation;
    for (size_t k = 0; k < s.times.size(); ++k) {
        TrackKey<T> key(s.times[k], make(s.At(k, Sampler::kValue)));
        if (s.IsCubic()) {
            key.in = scaled(make(s.At(k, Sampler::kIn)), s.HandleFactor(k, Sampler::kIn));
            key.out = scaled(make(s.At(k, Sampler::kOut)), s.HandleFactor(k, Sampler::kOut));
        }
        if (!track.IsEmpty() && track.keys.back().time == key.time) track.keys.pop_back();
        track.keys.push_back(key);
    }
    return track;
}

Quat ScaledQuat(const Quat& q, float f) { return {q.x * f, q.y * f, q.z * f, q.w * f}; }

std::vector<double> Numbers(const Point3& p) { return {p.x, p.y, p.z}; }

}  // namespace

double GltfAnimationSeconds(const tinygltf::Model& model, size_t animation) {
    double seconds = 0;
    for (const tinygltf::AnimationSampler& sampler : model.animations[animation].samplers) {
        if (sampler.input < 0 || size_t(sampler.input) >= model.accessors.size()) continue;
        const std::vector<double>& most = model.accessors[size_t(sampler.input)].maxValues;
        if (most.size() == 1 && std::isfinite(most[0])) seconds = std::max(seconds, most[0]);
    }
    return seconds;
}

bool GltfAnimation::ReadChannel(const tinygltf::Model& model, size_t animation, size_t channel,
                                std::string* error) {
    const tinygltf::Animation& source = model.animations[animation];
    const tinygltf::AnimationChannel& from = source.channels[channel];
    if (from.target_node < 0) return true;  // of an extension
    if (size_t(from.target_node) >= model.nodes.size())
        return *error = fmt::format("node {} of {}", from.target_node, model.nodes.size()), false;
    if (from.sampler < 0 || size_t(from.sampler) >= source.samplers.size())
        return *error = fmt::format("sampler {} of {}", from.sampler, source.samplers.size()),
               false;
    Channel to;
    to.node = from.target_node;
    size_t width = 3;
    if (from.target_path == "translation")
        to.path = Channel::kTranslation;
    else if (from.target_path == "scale")
        to.path = Channel::kScale;
    else if (from.target_path == "rotation")
        to.path = Channel::kRotation, width = 4;
    else if (from.target_path == "weights")
        to.path = Channel::kWeights, width = 0;
    else
        return true;
    Sampler sampler;
    if (!ReadSampler(model, source.samplers[size_t(from.sampler)], width, &sampler, error))
        return false;
    if (to.path == Channel::kRotation)
        to.rotation = MakeTrack<Quat>(
            sampler,
            [](const float* v) {
                return Quat{v[0], v[1], v[2], v[3]};
            },
            ScaledQuat);
    else if (to.path != Channel::kWeights)
        to.point = MakeTrack<Point3>(
            sampler,
            [](const float* v) {
                return Point3{v[0], v[1], v[2]};
            },
            [](const Point3& p, float f) { return p * f; });
    else
        for (size_t target = 0; target < sampler.width; ++target)
            to.weights.push_back(MakeTrack<float>(
                sampler, [target](const float* v) { return v[target]; },
                [](float v, float f) { return v * f; }));
    m_range.start = std::min(m_range.start, sampler.times.front());
    m_range.end = std::max(m_range.end, sampler.times.back());
    m_channels.push_back(std::move(to));
    return true;
}

bool GltfAnimation::Read(const tinygltf::Model& model, size_t animation, std::string* error) {
    const tinygltf::Animation& source = model.animations[animation];
    for (size_t c = 0; c < source.channels.size(); ++c) {
        std::string reason;
        if (ReadChannel(model, animation, c, &reason)) continue;
        *error = fmt::format("animation \"{}\", channel {}: {}", source.name, c, reason);
        return false;
    }
    return true;
}

void GltfAnimation::Pose(TimeValue t, tinygltf::Model* model) const {
    for (const Channel& channel : m_channels) {
        tinygltf::Node& node = model->nodes[size_t(channel.node)];
        switch (channel.path) {
            case Channel::kTranslation:
                node.translation = Numbers(channel.point.Eval(t, nullptr));
                break;
            case Channel::kScale:
                node.scale = Numbers(channel.point.Eval(t, nullptr));
                break;
            case Channel::kRotation: {
                Quat q = channel.rotation.Eval(t, nullptr).Normalized();
                node.rotation = {q.x, q.y, q.z, q.w};
                break;
            }
            case Channel::kWeights:
                node.weights.clear();
                for (const KeyTrack<float>& weight : channel.weights)
                    node.weights.push_back(weight.Eval(t, nullptr));
                break;
        }
    }
}

// The animations of a glTF file: what its nodes do over time.
#pragma once

#include <string>
#include <vector>

#include "host/math/matrix3.h"
#include "host/params/key_track.h"

namespace tinygltf {
class Model;
}

// How long an animation of the file runs, by what its accessors state of their times; 0 where they
// state nothing.
double GltfAnimationSeconds(const tinygltf::Model& model, size_t animation);

// One animation, its numbers as tracks in ticks; nothing of the file is needed any more. Cubic
// splines become Bezier keys. Keys that fall on one tick are one, the last of them. Nodes hold
// their first pose before, and their last one after their keys.
class GltfAnimation {
public:
    // Reads an animation of the file. False with a reason.
    bool Read(const tinygltf::Model& model, size_t animation, std::string* error);

    bool IsEmpty() const { return m_channels.empty(); }
    // From the first to the last key, ticks.
    Interval Range() const { return m_range; }

    // Puts the nodes of the model it was read from where they are at time t: their translation,
    // rotation, scale and morph weights.
    void Pose(TimeValue t, tinygltf::Model* model) const;

private:
    struct Channel {
        int node = 0;
        enum { kTranslation, kRotation, kScale, kWeights } path = kTranslation;
        KeyTrack<Point3> point;
        KeyTrack<Quat> rotation;
        std::vector<KeyTrack<float>> weights;  // one for each morph target
    };
    bool ReadChannel(const tinygltf::Model& model, size_t animation, size_t channel,
                     std::string* error);

    std::vector<Channel> m_channels;
    Interval m_range = Interval::Never();
};

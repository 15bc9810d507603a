// The form in which the import helper hands a model back: plain values in native byte order,
// written and read by the same build on the same machine. The reader trusts nothing: the helper may
// have been led astray by a hostile file, so every length is checked against the bytes present.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/io/mesh_import.h"
#include "host/math/matrix3.h"

struct StreamTexture {
    std::string file;   // as the model names it, relative to it; or
    std::string bytes;  // an image packed in the model
    uint32_t wrap = 0;  // BitmapTex::Wrap
    Point2 tiling{1, 1}, offset;
};

struct StreamMaterial {
    std::string name;
    Color diffuse{0.8f, 0.8f, 0.8f};
    float opacity = 1;
    uint32_t twoSided = 0;
    std::vector<StreamTexture> diffuseMap, opacityMap;  // none or one each
};

// A key of a node or of a morph target; between keys values run linearly.
template <class T>
struct StreamKey {
    TimeValue time = 0;
    T value{};
    friend bool operator==(const StreamKey&, const StreamKey&) = default;
};

struct StreamNode {
    static constexpr uint32_t kNoParent = ~uint32_t{0};
    uint32_t parent = kNoParent;  // stands before it
    Matrix3 transform;            // in its parent
};

// What a node does over time. A part without keys stays as the node has it.
struct StreamChannel {
    std::vector<StreamKey<Point3>> positions, scales;
    std::vector<StreamKey<Quat>> rotations;
    uint32_t node = 0;
};

struct StreamWeight {
    uint32_t vertex = 0;
    float weight = 0;
};

struct StreamBone {
    std::vector<StreamWeight> weights;
    uint32_t node = 0;
    Matrix3 offset;  // from the mesh's space to the node's
};

// Other places for some of the mesh's vertices, with keys for how much they count.
struct StreamMorph {
    std::vector<Point3> verts;
    std::vector<StreamKey<float>> keys;
    uint32_t firstVertex = 0;
};

struct StreamObject {
    std::string name;
    uint32_t node = 0;
    uint32_t mesh = 0;
    std::vector<uint32_t> materials;  // by face id; indices of the model's materials
    std::vector<StreamBone> bones;    // with any, the node does not place the mesh
    std::vector<StreamMorph> morphs;
};

struct StreamAnimation {
    std::string name;
    double seconds = 0;
    uint32_t isRead = 0;
};

struct StreamModel {
    std::vector<std::string> leftOut;  // a kind each, as often as it was met
    uint32_t up = uint32_t(UpAxis::kZ);
    double metresPerUnit = 0;  // 0: the format states none
    std::vector<StreamMaterial> materials;
    std::vector<Mesh> meshes;  // in the file's own axes
    std::vector<StreamNode> nodes;
    std::vector<StreamObject> objects;
    std::vector<StreamAnimation> animations;  // all of the file
    std::vector<StreamChannel> channels;      // of the one that is read
};

std::string WriteModelStream(const StreamModel& model);
// The message of a reader that failed.
std::string WriteFailureStream(std::string_view reason);

// None with a reason in `error` for a failure's message or bytes that are no model.
std::optional<StreamModel> ReadModelStream(std::string_view bytes, std::string* error);

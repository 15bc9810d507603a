// Where the nodes of a glTF file stand, in the file's own axes.
#pragma once

#include <string>
#include <vector>

#include "host/io/model_readers.h"
#include "host/math/matrix3.h"

namespace tinygltf {
class Model;
class Node;
}  // namespace tinygltf

struct GltfPlacedNode {
    int node = 0;
    Matrix3 world;
};

// All nodes of the default scene, each once, with their world transforms, parents first. A file
// without scenes shows the nodes that are nobody's child. False, with a reason, for a node that
// does not exist.
bool PlaceGltfNodes(const tinygltf::Model& model, std::vector<GltfPlacedNode>* placed,
                    std::string* error);

// The world transforms of all nodes, whatever scene shows them: the joints of skins.
std::vector<Matrix3> GltfWorlds(const tinygltf::Model& model);

// A matrix of 16 numbers as the format stores it, column by column.
Matrix3 GltfMatrix(const float* columns);

// One instance of EXT_mesh_gpu_instancing.
struct GltfInstance {
    Matrix3 transform;     // instance -> node
    Color color{1, 1, 1};  // that multiplies
};
inline constexpr size_t kMaxGltfObjects = 10'000'000;

// The instances of a node with the extension. False with a reason.
bool ReadGltfInstances(const tinygltf::Model& model, const tinygltf::Node& node,
                       std::vector<GltfInstance>* instances, std::string* error);
bool HasGltfInstances(const tinygltf::Node& node);

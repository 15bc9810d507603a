// Meshes of a glTF file: primitives as one mesh, morphed by their default weights and bent by a
// skin.
#pragma once

#include <array>
#include <vector>

#include "host/io/model_readers.h"
#include "host/math/matrix3.h"

namespace tinygltf {
class Model;
struct Mesh;
struct Primitive;
}  // namespace tinygltf

class GltfMeshReader {
public:
    GltfMeshReader(const tinygltf::Model& model, ModelFiles& files)
        : m_model(model), m_files(files) {}

    // Whether all the primitives' claims together are in proportion to the data that stand behind
    // them. To be asked once, before any mesh is read.
    bool Weigh(ImportError* error) const;

    // The primitives of a mesh joined, vertices welded, in the file's axes. Faces number
    // `materials`, which gets the file's numbers (-1 for none) in order of first use. weights: of
    // the morph targets. joints: for each joint of the skin, mesh space -> world; null without a
    // skin.
    bool Read(const tinygltf::Mesh& source, const std::vector<double>& weights,
              const std::vector<Matrix3>* joints, Mesh* mesh, std::vector<int>* materials,
              ImportError* error);

private:
    bool Fail(const std::string& what, ImportFailure kind = ImportFailure::kMalformed) const;
    bool ReadPrimitive(const tinygltf::Primitive& primitive, const std::vector<double>& weights,
                       const std::vector<Matrix3>* joints, Mesh* mesh);
    bool ReadPoints(int accessor, int components, std::vector<Point3>* points);
    bool ReadTriangles(const tinygltf::Primitive& primitive, size_t numVerts,
                       std::vector<Triple>* triangles);
    bool ReadAttributes(const tinygltf::Primitive& primitive, size_t numVerts, Mesh* mesh);
    bool WarnOfAlpha(const tinygltf::Primitive& primitive);
    bool Morph(const tinygltf::Primitive& primitive, const std::vector<double>& weights,
               Mesh* mesh);
    bool Bend(const tinygltf::Primitive& primitive, const std::vector<Matrix3>& joints, Mesh* mesh);

    const tinygltf::Model& m_model;
    ModelFiles& m_files;
    mutable ImportError* m_error = nullptr;
};

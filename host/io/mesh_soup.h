// Meshes from formats whose corners name position, texture coordinate and normal apart.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/geom/mesh.h"

inline constexpr uint32_t kNoIndex = ~uint32_t{0};
// More faces would not fit the 32-bit corner numbers of the mesh tools.
inline constexpr size_t kMaxImportedFaces = 400'000'000;
// What to tell of a model with more.
std::string TooManyImportedFaces();

struct SoupFace {
    Triple v{kNoIndex, kNoIndex, kNoIndex};  // all present
    Triple t{kNoIndex, kNoIndex, kNoIndex};  // kNoIndex: the corner has none
    Triple n{kNoIndex, kNoIndex, kNoIndex};
    uint32_t smGroup = 0;
    uint32_t material = kNoIndex;  // of the whole file
    uint32_t object = 0;
    uint32_t line = 0;  // for messages
    uint8_t flags = Face::kAllEdges;
};

struct MeshSoup {
    std::vector<Point3> positions, uvws, normals;
    std::vector<Point3> colors;  // empty, or one a position
    std::vector<SoupFace> faces;

    // The faces of each object as a mesh of its own, with only the vertices that they use, in order
    // of first use. Corners without texture coordinates get (0, 0, 0) when others have some;
    // corners without normals get the face's. materials: for each object the file's material
    // numbers in order of first use; face ids index this list.
    std::vector<Mesh> Split(size_t numObjects, std::vector<std::vector<uint32_t>>* materials) const;
};

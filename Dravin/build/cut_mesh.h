// The mesh of an item that stands across a border: its source's without the elements that it does
// not draw.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Dravin/engine/item.h"
#include "Dravin/geometry/mesh_sample.h"

// Elements of a source that are not drawn; empty or all false: all are drawn.
using THiddenElements = std::vector<bool>;
THiddenElements HiddenElementsOf(const TBitArray& mask);

struct TCutMesh {
    std::shared_ptr<const Mesh> mesh;
    std::vector<uint32_t> sampleFaces;  // of each face, its number in the whole mesh
};

// Such meshes together may take some memory: beyond it none are made.
class TCutMeshes {
public:
    explicit TCutMeshes(uint64_t mostBytes) : m_mostBytes(mostBytes) {}

    // `whole` is the sample's source, or that moved. Without a mesh where memory would not do.
    TCutMesh Make(const Mesh& whole, const TDravinMeshSample& sample,
                  const THiddenElements& hidden);
    // Why some were not made, with what helps; empty when all were. name: of the object.
    std::string Refusal(const std::string& name) const;

private:
    uint64_t m_mostBytes, m_bytes = 0;
};

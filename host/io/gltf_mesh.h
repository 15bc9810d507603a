// Meshes as glTF wants them: one vertex list for each primitive, every vertex with all attributes.
#pragma once

#include <cstdint>
#include <vector>

#include "host/geom/mesh.h"
#include "host/scene/material.h"

struct GltfPrimitive {
    const StandardMtl* material = nullptr;  // null: the default grey
    std::vector<Point3> positions, normals;
    std::vector<std::vector<Point2>> uvs;  // by texture coordinate set; v from the top
    std::vector<Point3> colors;            // linear; empty when the material shows none
    std::vector<uint32_t> indices;
};

// One primitive for each plain material that faces show, in order of first use. Corners of equal
// position, normal and coordinates share a vertex. Hidden faces, faces with a repeated vertex and
// faces with coordinates that are not finite are left out; primitives without faces too. A
// coordinate set that the mesh lacks but a material asks for is filled with zeros.
std::vector<GltfPrimitive> MakeGltfPrimitives(const Mesh& mesh, const Mtl* material);

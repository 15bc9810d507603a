// Second pass of the object mesh: its memory, and what stands there once a source.
#pragma once

#include "Dravin/mesh/mesh_measure.h"

// Bytes that the measured mesh and its owners take.
uint64_t BytesOfLayout(const TMeshMeasure& measure);

// Sizes the mesh, fills map vertices and vertex colours, and tells the shapes where theirs stand.
// Vertices, faces, and the faces of channels are left to whoever adds the items. A mesh that was
// made before keeps its memory.
void LayOutMesh(TMeshMeasure& measure, int threads, Mesh& mesh, std::vector<int32_t>& owners);

// Checks and small operations on meshes.
//
// Operations that change a mesh take it by reference; indices must be in range (Validate says so).
// Nothing here keeps state: threads may work on different meshes at once.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "host/geom/mesh.h"

// What is wrong with the mesh ("face 7: vertex index 99 of 8"), or empty when its indices are in
// range and its channels fit.
std::string Validate(const Mesh& mesh);

// Index of the first vertex with a coordinate that is not finite; none when all are.
std::optional<size_t> FirstNonFiniteVertex(const Mesh& mesh);
// Removes such vertices with the faces that use them. Returns how many vertices went.
size_t DropNonFiniteVertices(Mesh& mesh);

// Unit normals, one a face corner (3 * face + corner). Explicit normals win; else a corner's normal
// is the mean over the faces at its vertex that share a smoothing bit with its face, weighted by
// their angle there (Thuermer and Wuethrich 1998), so that it does not depend on the triangulation.
// A corner without a direction (faces without area) gets +z.
std::vector<Point3> VertexNormals(const Mesh& mesh);

// Merges vertices whose coordinates have the same bits; the first of each place stays, in order.
// Channels keep their own vertices. Returns how many vertices went.
size_t WeldVertices(Mesh& mesh);

// Turns every face round: its first two corners are exchanged, in the channels too, and the edge
// flags follow their edges. Normals given explicitly keep their directions.
void TurnFaces(Mesh& mesh);
// Moves the vertices by m, normals by its inverse transpose; a mirroring m turns the faces round,
// so that the outside stays outside.
void TransformMesh(Mesh& mesh, const Matrix3& m);
// A copy moved by m.
Mesh TransformedMesh(const Mesh& mesh, const Matrix3& m);
// A copy with the faces whose flag is set, one flag a face, and the vertices that they use, in the
// mesh and in its channels, all in their order.
Mesh MeshOfFaces(const Mesh& mesh, std::span<const uint8_t> keep);
// Adds a copy of `source`. A channel that one of the two lacks is filled with zero coordinates
// there; normals survive only when both have them or the target is empty.
void AppendMesh(Mesh& target, const Mesh& source);
// Where one of two meshes has vertex colours (channel 0), the other gets white ones: to be called
// before AppendMesh where colours multiply what is shown.
void FillMissingColors(Mesh& a, Mesh& b);

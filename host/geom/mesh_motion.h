// Meshes whose vertices move while their faces stay.
#pragma once

#include "host/geom/mesh.h"

// Puts the vertices elsewhere, one for each that the mesh has (asserted). Explicit normals turn
// with the faces around them: exactly where the move is a rotation, a shift and a uniform scale,
// else they lean as the faces' tangents do. A normal without a direction afterwards stays as it is.
//
// Own derivation: a normal n of a face with edges e1, e2 and unit normal m is known by its products
// with them. The moved normal has the same products with the moved edges and with k m', where
// k = sqrt(area' / area) is how much the face grew, so that scale alone turns nothing. Solved in
// the dual basis and weighted by the moved area, that is
//   (n e1) (e2' x m') + (n e2) (m' x e1') + (n m / k) (e1' x e2'),
// summed over the corners that use the normal.
void MoveVertices(Mesh& mesh, std::vector<Point3> verts);

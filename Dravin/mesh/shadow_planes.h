// The two planes that carry the shadow of a billboard: one that stands behind the item, across the
// light's direction, and one that lies below its crown.
#pragma once

#include "Dravin/mesh/object_mesh.h"

inline constexpr size_t kPlaneVerts = 4, kPlaneFaces = 2;

// A plane as the object mesh has it; face corners count from its first vertex.
struct TShadowPlane {
    Point3 verts[kPlaneVerts];
    // Into the corners (0,0) (1,0) (1,1) (0,1), which every channel has as its first vertices.
    Triple mapFaces[kPlaneFaces];
};
inline constexpr Triple kPlaneCorners[kPlaneFaces] = {{2, 1, 0}, {0, 3, 2}};

// Its image is mirrored with the item.
TShadowPlane VerticalShadowPlane(const TDravinItem& item, const TObjectMeshSettings& settings);
TShadowPlane HorizontalShadowPlane(const TDravinItem& item, const TObjectMeshSettings& settings);

// Explicit normals of the object mesh: where one source has them, all faces do.
#pragma once

#include "Dravin/mesh/mesh_measure.h"

// Gives shapes and items their normals where a shape has explicit ones; those of other shapes
// follow from their smoothing groups, and a shadow plane has one for itself.
void PlaceNormals(const TDravinItemList& items, TMeshMeasure& measure);

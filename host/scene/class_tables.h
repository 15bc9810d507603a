// The property tables of the host's classes, one function a table; for class_values.cpp.
#pragma once

#include "host/params/value_table.h"

namespace class_tables {

// Of nodes, modifiers and objects (values_of_objects.cpp).
const PropertyTable& NodeTable();
const PropertyTable& ModifiersTable();
const PropertyTable& ModifierTable();
const PropertyTable& PointCacheTable();
const PropertyTable& MeshTable();
const PropertyTable& HeightFieldTable();
const PropertyTable& ShapeTable();
const PropertyTable& ParticleTable();
const PropertyTable& CameraTable();
const PropertyTable& LightTable();
// Of materials and maps (values_of_looks.cpp).
const PropertyTable& StandardTable();
const PropertyTable& StandardLightTable();
const PropertyTable& PhysicalTable();
const PropertyTable& MultiTable();
const PropertyTable& PlacingTable();
const PropertyTable& ColorTable();
const PropertyTable& GradientTable();
const PropertyTable& CheckerTable();
const PropertyTable& BitmapTable();
const PropertyTable& NoiseTable();

}  // namespace class_tables

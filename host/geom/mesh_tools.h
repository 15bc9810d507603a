// Checks and small operations on meshes.
#pragma once

#include <string>

#include "host/geom/mesh.h"

// What is wrong with the mesh ("face 7: vertex index 99 of 8"), or empty when its indices are in
// range and its channels fit.
std::string Validate(const Mesh& mesh);

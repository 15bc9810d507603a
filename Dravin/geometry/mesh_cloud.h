// A mesh as a cloud of points on its surface, for displays that show no faces.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "Dravin/geometry/mesh_elements.h"

struct TMeshCloudPoint {
    Point3 position;
    float shade = 0;       // cosine of the angle to a fixed light from above, never below 0
    uint16_t matID = 0;    // of the face
    uint32_t element = 0;  // of the mesh
    uint32_t color = 0;    // what the colour source says of the face; 0 without one
};

struct TMeshCloud {
    static constexpr size_t kNumPoints = 25000;

    std::vector<TMeshCloudPoint> points;  // none for a mesh without faces, else kNumPoints
};

// A value for each face, asked from several threads at once; may be empty.
using TMeshColorSource = std::function<uint32_t(size_t face)>;

// Points are spread evenly over the area. Point k takes the k-th triple of a fixed table of random
// numbers: face, u and v (folded into the triangle when u + v > 1), so the cloud of a mesh is
// always the same, with any number of threads.
TMeshCloud MakeMeshCloud(const Mesh& mesh, const TDravinMeshElements& elements, int threads,
                         const TMeshColorSource& colorSource = {});

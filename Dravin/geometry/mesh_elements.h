// The elements of a mesh: its connected parts of one material, which are tinted and hidden one by
// one.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "host/geom/mesh.h"

struct TDravinMeshElement {
    Point3 centroid;                 // mean of its faces' centres
    float random1 = 0, random2 = 0;  // strictly between 0 and 1
};

// Faces belong to one element when they can be reached from each other across shared edges (by
// vertex index, whatever the winding, also where three faces meet) without leaving their material
// id. Elements are numbered by their first face. The random values are drawn element by element
// from one generator seeded with face count x 123456: they depend on the face count and the element
// order only.
struct TDravinMeshElements {
    std::vector<uint32_t> elementOfFace;
    std::vector<TDravinMeshElement> elements;

    // The two random values of the element that holds a face; the face number must be in range.
    std::pair<float, float> RandomsOfFace(size_t face) const {
        const TDravinMeshElement& element = elements[elementOfFace[face]];
        return {element.random1, element.random2};
    }
};

// Indices must be in range.
TDravinMeshElements AnalyseElements(const Mesh& mesh);

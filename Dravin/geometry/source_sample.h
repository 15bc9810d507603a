// A source object of the geometry list, measured.
#pragma once

#include <memory>

#include "host/scene/node.h"

struct TSourceSample {
    bool isMesh = false;               // the source is a geometry object
    std::shared_ptr<const Mesh> mesh;  // object space; null when the source shows none
    Matrix3 toReal;                    // object space -> the item's own space at real size
    Matrix3 normalize;                 // object space -> unit size
    Point3 size{1, 1, 1};              // extents at real size, 1 where one vanishes
    float aspect = 1;                  // depth over width
    Box3 unitBounds;                   // of the mesh at unit size
    bool degenerate = false;           // an extent vanished
    Interval validity = Interval::Forever();
};

// Object space of the node -> the space of items that show it, at real size.
Matrix3 SourceMatrix(INode& node, TimeValue t);

// Measures what a node shows at time t. Group members, picked directly or through their group, take
// their rotation and scale relative to the outermost head, never a translation.
std::shared_ptr<const TSourceSample> SampleSource(INode& node, TimeValue t);
// The sample of no source.
std::shared_ptr<const TSourceSample> EmptySample();

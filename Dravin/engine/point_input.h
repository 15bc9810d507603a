// What the point distributions read: paths, reference objects and meshes, particles, as plain data.
//
// Places and frames are in the space of the scatter object unless said otherwise.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "Dravin/engine/areas/poly_line_plus.h"
#include "host/geom/height_field.h"
#include "host/geom/mesh.h"
#include "host/math/interval.h"

// The lines of one path node, offset already, in the shape's own space.
struct TPathNode {
    std::vector<PolyLinePlus> lines;
    Matrix3 toObject;
};

struct TPathSettings {
    bool onVertices = false;  // items at the vertices instead of evenly spaced
    bool inSequence = false;  // rows of the geometry list one after the other
    float spacing = 1;
    bool followX = true, followZ = true;
    std::vector<TPathNode> nodes;
};

struct TReferenceObject {
    Point3 point;
    Matrix3 sourceTransform;
    Point3 externalScale{1, 1, 1};
    int32_t userId = 0;
};

struct TReferenceMesh {
    std::shared_ptr<const Mesh> mesh;
    Matrix3 toObject;
    std::shared_ptr<const HeightField> heights = nullptr;  // in place of a mesh

    size_t NumFaces() const { return heights ? heights->NumFaces() : mesh->NumFaces(); }
    // Corners of a face; none where it names no vertex.
    std::optional<std::array<Point3, 3>> Corners(size_t face) const;
};

struct TReferenceSettings {
    bool onFaces = false;
    bool hasNodes = false;    // whatever they show
    bool getRotation = true;  // frames of faces
    std::vector<TReferenceObject> objects;
    std::vector<TReferenceMesh> meshes;
    int threads = 1;  // of lists with more than 1000 points
};

struct TParticle {
    Point3 point;
    TimeValue age = 0;  // -1: the particle does not exist
    Point3 rotation;    // radians
    Point3 scale{1, 1, 1};
    Point3 speed;
    int32_t eventId = 0;
    bool hasPosition = true;
    bool isWanted = true;  // its event is among the selected ones
};

struct TParticleSettings {
    bool hasBadSource = false;  // a node that is no particle system
    bool getRotation = true, getScale = true;
    std::vector<std::vector<TParticle>> systems;  // those that have particles, in list order
};

struct TPointInput {
    TPathSettings path;
    TReferenceSettings reference;
    TParticleSettings particles;
};

// Number of a particle event's name: the digits behind the first "->" up to a space that follows at
// least one of them; other characters are passed over. 0 without any.
int32_t EventNumber(const std::string& nodeName);

// A mesh as graphics cards take it: corners with all that they need, triangles sorted by what they
// show, and coarser levels of the same for what is far away.
//
// Corners of a smoothing group share one vertex. Levels below the first are simplified by
// clustering of vertices (meshoptimizer), each about a quarter of the one before; the rough shape
// and the paints stay, seams do not. Immutable; threads share it.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "host/geom/height_field.h"
#include "host/geom/mesh.h"

class TDravinMeshSample;

struct TViewVertex {
    Point3 position;
    uint32_t normal = 0;  // x, y, z as signed 10-bit numbers, from the lowest bit on
    Point2 uv;
    uint32_t color = 0xFFFFFFFFu;  // red, green, blue in the three lowest bytes, display colours
    uint32_t element = 0;          // of the sample
};

// Triangles of one paint: indices [first, first + count).
struct TViewMeshPart {
    uint32_t paint = 0, first = 0, count = 0;
};

struct TViewMeshLevel {
    std::vector<TViewMeshPart> parts;  // by rising paint
    uint32_t numFaces = 0;
    std::vector<TViewMeshPart> edges;  // pairs of the edge list, by paint
};

struct TViewMesh {
    std::vector<TViewVertex> vertices;
    std::vector<uint32_t> indices, edges;
    std::vector<TViewMeshLevel> levels;  // finest first, at least one
    Box3 bounds;
};

struct TViewMeshWish {
    size_t numPaints = 1;                     // ids wrap around there
    std::span<const uint16_t> facePaint;      // by face; empty: ids say it
    std::span<const int> channels;            // of the mapping, by paint; empty: 1
    std::span<const uint32_t> elementOfFace;  // empty: 0
    std::span<const uint8_t> hiddenFaces;     // beside those of the mesh; empty: none
    bool hasLevels = true;
};

TViewMesh MakeViewMesh(const Mesh& mesh, const TViewMeshWish& wish);
// Samples of a height field `step` cells apart, and levels of twice the step each. Holes are left
// out.
TViewMesh MakeTerrainMesh(const HeightField& heights, size_t step);

// Which level shows an item whose largest side is so many pixels long: the finest that spends no
// more than kFacesPerPixel faces on each pixel of its square, else the coarsest.
inline constexpr float kFacesPerPixel = 0.5f;
size_t LevelFor(const TViewMesh& mesh, float pixels);

uint32_t PackNormal(const Point3& n);

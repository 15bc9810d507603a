// The grid of cells that a distribution map lays over the ground.
//
// The map tiles the plane; every pixel of every tile is a cell. The grid is anchored at the map's
// offset and the same for every area, so that neighbouring areas share cells. Cell (i, j) is
// global: column i mod pixels of tile i div pixels. Cell sizes and places are double precision.
#pragma once

#include <cstdint>

#include "host/math/box.h"
#include "host/math/matrix3.h"

struct TGridSettings {
    bool hasTexture = false;              // a texture map instead of the image
    bool textureOnSurface = false;        // the texture is read with the surfaces' coordinates
    int pixelsX = 100, pixelsY = 100;     // as parameters, for a texture
    int imageWidth = 0, imageHeight = 0;  // of the image
    float unitsX = 10, unitsY = 10;
    bool lockRatio = true;
    float offsetX = 0, offsetY = 0;
    float rotationRadians = 0;  // of the map about the object's z axis
    float thresholdPercent = 50;
    int64_t maxCells = 0;  // 0: no limit
};

// Per-area changes of the settings.
struct TGridArea {
    float scalePercent = 100;
    float thresholdPercent = 100;
};

struct TGrid {
    int px = 1, py = 1;     // pixels a tile
    double dx = 1, dy = 1;  // cell size
    double offsetX = 0, offsetY = 0;
    int64_t firstColumn = 0, firstRow = 0;  // global indices of the first cell
    int64_t columns = 0, rows = 0;
    int64_t cells = 0;            // of the statistics, from the unaligned bounds
    float z = 0;                  // height of the grid plane
    float areaThreshold = 50;     // percent
    Matrix3 frame, frameInverse;  // distribution frame to object space and back
    bool rotated = false;

    double X(int64_t column) const { return double(column) * dx + offsetX; }
    double Y(int64_t row) const { return double(row) * dy + offsetY; }
    // Where a cell is, in the distribution frame.
    Point3 Place(int64_t column, int64_t row) const { return {float(X(column)), float(Y(row)), z}; }
    // The same in tiles of the map.
    Point3 MapCoordinates(int64_t column, int64_t row) const {
        return {float((X(column) - offsetX) / dx / px), float((Y(row) - offsetY) / dy / py), 0};
    }
    Point3 ToObject(const Point3& p) const { return rotated ? p * frame : p; }
    // Cells counted along the rows, from the first of all.
    int64_t NumberOf(int64_t column, int64_t row) const {
        return (row - firstRow) * columns + (column - firstColumn);
    }
};

// All but kOk make no cells; only kTooDense is an error.
enum class TGridResult { kOk, kEmpty, kTooDense, kCellsTooSmall, kCellsTooFar };

// Distribution frame of the settings: rotated when the angle is at least 0.01 rad.
Matrix3 DistributionFrame(const TGridSettings& settings);

// Lays the grid over `bounds` (distribution frame). kTooDense: above the limit, or more cells than
// can be counted; kCellsTooFar: so far from the map's origin that their numbers are no longer
// exact. Nothing is allocated. perUnit: object units in one unit of the bounds' space, which divide
// sizes and offsets (a grid in texture space).
TGridResult MakeGrid(const TGridSettings& settings, const TGridArea& area, const Box3& bounds,
                     TGrid* grid, double perUnit = 1);

// Only every N-th cell of both directions is used so that a display stays below `limit` items.
// measure: the ground's area; coverage: fraction of the map that makes items; halved: the camera
// cuts the ground.
int32_t GridDecimation(const TGridSettings& settings, double measure, float coverage, bool halved,
                       int64_t limit);
// The same for a known number of candidates.
int32_t CountDecimation(int64_t estimate, int64_t limit);

// How many of `count` indices from `first` on are multiples of the decimation (at least 1).
int64_t NumUsed(int64_t first, int64_t count, int32_t decimation);
// Cells of the grid that a distribution with this decimation looks at.
inline int64_t UsedCells(const TGrid& grid, int32_t decimation) {
    return NumUsed(grid.firstColumn, grid.columns, decimation) *
           NumUsed(grid.firstRow, grid.rows, decimation);
}

// Quotient rounded down and the remainder in [0, divisor).
struct TTileIndex {
    int64_t tile;
    int32_t pixel;
};
inline TTileIndex TileOf(int64_t index, int divisor) {
    int64_t tile = index / divisor, pixel = index % divisor;
    if (pixel < 0) pixel += divisor, --tile;
    return {tile, int32_t(pixel)};
}

// The scene of the engine's benchmarks: a hilly terrain of 1000 m x 500 m under a grid of items
// that use every random transform.
#pragma once

#include <cmath>
#include <memory>

#include "tests/Dravin/engine/test_input.h"

inline constexpr double kTerrainX = 1000, kTerrainY = 500;

inline float TerrainHeight(double x, double y) {
    return float(18 * std::sin(0.013 * x) * std::cos(0.017 * y) +
                 5 * std::sin(0.061 * x + 0.047 * y) +
                 1.2 * std::sin(0.31 * x) * std::sin(0.27 * y) +
                 0.3 * std::sin(1.1 * x + 2 * std::sin(0.9 * y)));
}

// Two triangles a cell, twice as many cells along x as along y: 1000 x 500 cells make a million.
inline std::shared_ptr<const Mesh> MakeTerrain(size_t numTriangles) {
    size_t ny = size_t(std::lround(std::sqrt(double(numTriangles) / 4))), nx = 2 * ny;
    auto mesh = std::make_shared<Mesh>();
    mesh->verts.reserve((nx + 1) * (ny + 1));
    for (size_t j = 0; j <= ny; ++j)
        for (size_t i = 0; i <= nx; ++i) {
            double x = kTerrainX * double(i) / double(nx), y = kTerrainY * double(j) / double(ny);
            mesh->verts.push_back({float(x), float(y), TerrainHeight(x, y)});
        }
    mesh->faces.resize(2 * nx * ny);
    for (size_t j = 0, face = 0; j < ny; ++j)
        for (size_t i = 0; i < nx; ++i) {
            uint32_t a = uint32_t(j * (nx + 1) + i), b = uint32_t(a + nx + 1);
            mesh->faces[face++].v = {a, a + 1, b + 1};
            mesh->faces[face++].v = {a, b + 1, b};
        }
    return mesh;
}

// The same land as a height field of as many triangles, centred on the origin.
inline std::shared_ptr<const HeightField> MakeTerrainHeights(size_t numTriangles) {
    size_t ny = size_t(std::lround(std::sqrt(double(numTriangles) / 4))), nx = 2 * ny;
    std::vector<float> heights;
    heights.reserve((nx + 1) * (ny + 1));
    for (size_t j = 0; j <= ny; ++j)
        for (size_t i = 0; i <= nx; ++i)
            heights.push_back(TerrainHeight(kTerrainX * double(i) / double(nx),
                                            kTerrainY * double(j) / double(ny)));
    return std::make_shared<HeightField>(nx + 1, ny + 1, Point2{float(kTerrainX), float(kTerrainY)},
                                         heights);
}

// About numItems items, all on the terrain: an image of 100 x 100 white pixels tiles it, every item
// is projected, aligned halfway to the normal, moved, turned, scaled, mirrored and tinted.
inline TBuildInput TerrainInput(std::shared_ptr<const Mesh> terrain, double numItems, int threads) {
    TBuildInput input;
    input.grid.imageWidth = input.grid.imageHeight = 100;
    input.density = WhiteMap(100, 100);
    double cell = std::sqrt(kTerrainX * kTerrainY / numItems);
    input.grid.unitsX = input.grid.unitsY = float(100 * cell);
    input.specimens = {CubeSpecimen(50), CubeSpecimen(50)};
    AddSurface(input, std::move(terrain));
    input.displayLimit = int64_t(1) << 40;
    input.directionPercent = 50;
    TTransformSettings& t = input.transforms;
    t.applyTranslation = t.applyRotation = t.applyScale = t.mirror = true;
    t.rotMinDegrees = {-5, -5, 0};
    t.rotMaxDegrees = {5, 5, 359};
    t.tintMax = 50;
    input.threads = threads;
    return input;
}

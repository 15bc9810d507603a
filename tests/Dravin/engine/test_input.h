// Small build inputs for the engine's tests: a square surface, a white map, one unit cube row.
#pragma once

#include <memory>
#include <vector>

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_items.h"

// A square in the xy plane between (x0, y0) and (x1, y1) at height z, mapping channel 1 over [0,
// 1].
inline std::shared_ptr<const Mesh> SquareMesh(float x0, float y0, float x1, float y1, float z = 0) {
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = {{x0, y0, z}, {x1, y0, z}, {x1, y1, z}, {x0, y1, z}};
    mesh->faces.resize(2);
    mesh->faces[0].v = {0, 1, 2};
    mesh->faces[1].v = {0, 2, 3};
    MapChannel& map = mesh->MakeMap(1);
    map.verts = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    map.faces = {{0, 1, 2}, {0, 2, 3}};
    return mesh;
}

inline TSurfaceInput SurfaceOf(std::shared_ptr<const Mesh> mesh, const Matrix3& toObject = {}) {
    return {std::make_shared<TSurfXYArray>(std::move(mesh)), toObject};
}

inline void AddSurface(TBuildInput& input, std::shared_ptr<const Mesh> mesh,
                       const Matrix3& toObject = {}) {
    for (const Point3& p : mesh->verts) input.surfaceBounds += p * toObject;
    input.surfaces.push_back(SurfaceOf(std::move(mesh), toObject));
    input.surfaces.back().listIndex = int(input.surfaces.size()) - 1;
}

inline TDensityMap WhiteMap(int width, int height, int thresholdPercent = 50) {
    return {width, height, std::vector<uint16_t>(size_t(width) * size_t(height) * 3, 65535),
            thresholdPercent};
}

inline TSpecimen CubeSpecimen(float probability = 100) {
    TSpecimen s;
    s.elements.resize(1);
    s.elements[0].kind = SpecimenKind::kCustom;
    s.elements[0].isMesh = true;
    s.elements[0].unitBounds = {{-0.5f, -0.5f, 0}, {0.5f, 0.5f, 1}};
    s.frames = {{0, 0}};
    s.probability = probability;
    return s;
}

// A 20 x 20 ground around the origin; a white 10 x 10 map over 10 x 10 units: cells of one unit.
inline TBuildInput GroundInput() {
    TBuildInput input;
    input.grid.imageWidth = input.grid.imageHeight = 10;
    input.density = WhiteMap(10, 10);
    input.specimens = {CubeSpecimen()};
    AddSurface(input, SquareMesh(-10, -10, 10, 10));
    return input;
}

// One colour everywhere, or the mapping coordinates as a colour.
struct ConstantMap : IMapSampler {
    AColor color;
    explicit ConstantMap(AColor c) : color(c) {}
    void Sample(std::span<const MapPoint> points, std::span<AColor> out) const override {
        for (size_t i = 0; i < points.size(); ++i) out[i] = color;
    }
};
struct CoordinateMap : IMapSampler {
    void Sample(std::span<const MapPoint> points, std::span<AColor> out) const override {
        for (size_t i = 0; i < points.size(); ++i)
            out[i] = {points[i].uvw.x, points[i].uvw.y, points[i].uvw.z, 1};
    }
};

struct BuiltItems {
    TDravinItemList list;
    TBuildStatistics statistics;
    TBuildStatus result;
    std::vector<TDravinItem> items;
};

inline BuiltItems Build(const TBuildInput& input) {
    BuiltItems built;
    built.result = BuildItemArray(input, built.list, built.statistics);
    for (size_t i = 0; i < built.list.Count(); ++i) built.items.push_back(built.list.Item(i));
    return built;
}

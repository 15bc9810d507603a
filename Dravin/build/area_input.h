// Turns the area list of a scatter object into rows of outlines for the engine.
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "Dravin/build/area_cache.h"
#include "Dravin/engine/build_input.h"
#include "host/scene/texmap.h"

class INode;
class TDravin;

// Where the rows are read.
struct TAreaScene {
    TimeValue time = 0;
    bool render = false;
    int threads = 1;
    Matrix3 worldToObject;
    // The object's surfaces with their nodes, index by index.
    std::span<INode* const> surfaceNodes;
    std::span<const TSurfaceInput> surfaces;
    // A texture ready for evaluation; null when it cannot be had.
    std::function<const IMapSampler*(Texmap*)> sampler;
};

// The active rows in list order; rows without an outline are left out, those that name something
// wrong with a warning. A row of surfaces gives one row a surface. `valid` is narrowed by what is
// read. Geometry that the cache holds and that nothing has changed since is used again, except by
// renders, which make all of it anew.
std::vector<TAreaRow> MakeAreaRows(const TDravin& object, const TAreaScene& scene,
                                   TAreaCache& cache, Interval* valid);

// Whether the list has a row that stands for the surfaces, active or not.
bool HasSurfaceRow(const TDravin& object);

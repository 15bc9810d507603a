// First pass of the object mesh: what every item shows, and where it will stand.
#pragma once

#include <vector>

#include "Dravin/mesh/object_mesh.h"

struct TMeshMeasure {
    std::vector<TItemRange> ranges;  // by item
    // Where rows show their sources: all of them, node by node and frame by frame. With proxy
    // shapes that one alone.
    std::vector<TMeshShape> shapes;
    uint64_t numVerts = 0, numFaces = 0;
    uint64_t numNormals = 0;  // explicit ones; 0: they follow from the smoothing
    bool hasPlanes = false;
    TObjectMeshStatistics statistics;
};

// Items of a cloud get ranges only where meshes are wanted all the same. Items that are left to a
// renderer as instances lose their shadow switches.
TMeshMeasure MeasureItems(const TDravinItemList& items, const TSpecBuildList& specimens,
                          TDravinMeshCache& meshes, const TObjectMeshSettings& settings);

// Calls visit(index, columns, k) for all items in order: item `index` is entry k of the columns.
template <class Visit>
void ForEachItem(const TDravinItemList& items, const Visit& visit) {
    for (size_t i = 0, count = 0; i < items.Count(); i += count) {
        TItemColumns columns = items.ColumnsAt(i, &count);
        for (size_t k = 0; k < count; ++k) visit(i + k, columns, k);
    }
}

// Third pass of the object mesh: the items, each into its own range.
#pragma once

#include <span>

#include "Dravin/mesh/mesh_measure.h"

// What the workers write to. Arrays have their sizes; channels stand one behind the other.
struct TMeshTarget {
    Mesh& mesh;
    std::span<int32_t> owners;
    std::span<const TItemRange> ranges;
    std::span<const TMeshShape> shapes;
    const TObjectMeshSettings& settings;
    std::span<const uint16_t> proxyMaterialIds;  // by row
    bool showsSources = true;                    // not the proxy shape
    bool selectedOnly = false;                   // the others stand there already
};

// Adds items first to last - 1. Ranges of items are disjoint: threads may add different ones.
void AddItems(const TDravinItemList& items, size_t first, size_t last, const TMeshTarget& target);

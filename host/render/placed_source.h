// The instances of a source as renderers keep them: prototypes converted once, 64 bytes an
// instance.
#pragma once

#include <memory>
#include <vector>

#include "host/render/hit_context.h"
#include "host/scene/instance_source.h"

struct PlacedSource {
    const IInstanceSource* source = nullptr;
    std::vector<std::unique_ptr<RenderMesh>> prototypes;
    // Neighbours in space are neighbours here. Those with nothing to show, and those whose matrix
    // is singular or not finite, are left out.
    std::vector<PackedInstance> instances;
};

// The source must outlive the result.
PlacedSource ReadPlacedSource(const IInstanceSource& source, RenderMaterials& materials);

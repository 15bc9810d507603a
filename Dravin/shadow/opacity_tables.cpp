#include "Dravin/shadow/opacity_tables.h"

#include "Dravin/materials/wrapper_material.h"

TOpacityMaps FindOpacityMaps(Mtl* material, TimeValue t) {
    TOpacityMaps maps;
    // No chain is longer, unless materials stand in a ring.
    for (int depth = 0; material && depth <= kMaxMtlNesting; ++depth) {
        if (auto* multi = dynamic_cast<MultiMtl*>(material)) {
            material = multi->NumSubMtls() > 0 ? multi->GetSubMtl(0) : nullptr;
        } else if (auto* wrapper = dynamic_cast<DMat*>(material)) {
            const IParamBlock2& block = wrapper->Block();
            maps.vertical = block.GetTexmap(wrapperParams::kVshadowmap, t);
            maps.horizontal = block.GetTexmap(wrapperParams::kHshadowmap, t);
            material = block.GetMtl(wrapperParams::kMaterial1, t);
        } else {
            break;
        }
    }
    auto* standard = dynamic_cast<StandardMtl*>(material);
    if (!maps.vertical && standard) maps.vertical = standard->opacityMap.Get();
    return maps;
}

TOpacityTables MakeOpacityTables(const TSpecBuildList& specimens, TimeValue t,
                                 IShadowScene& scene) {
    TOpacityTables tables;
    for (size_t row = 0; row < specimens.NumRows(); ++row)
        for (const TSpecBuildNode& node : specimens.Row(row).nodes) {
            TOpacityMaps maps = FindOpacityMaps(node.Material(), t);
            for (Texmap* map : {maps.vertical, maps.horizontal}) {
                std::string problem;
                if (map && !map->Update(t, &problem)) scene.Tell(problem);
            }
            tables.emplace(&node, maps);
        }
    return tables;
}

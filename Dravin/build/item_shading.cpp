#include "Dravin/build/item_shading.h"

#include <algorithm>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/materials/tint_params.h"
#include "host/base/huge_pages.h"
#include "host/base/thread_pool.h"

namespace {

constexpr TTintParams kObjectTint{
    matParams::kTintmin,    matParams::kTintmax,    matParams::kTintmode, matParams::kTintmapmode,
    matParams::kTintcolor1, matParams::kTintcolor2, matParams::kTintmap};

}  // namespace

TObjectTint ReadObjectTint(const TDravin& object, TimeValue t) {
    const IParamBlock2& settings = object.Block(kMatParams);
    return {ReadTint(settings, kObjectTint, t), settings.GetInt(matParams::kTintmixmode, t)};
}

TShadedItem ReadShadedItem(const TDravinBuild& build, uint32_t index) {
    TDravinItem item = build.Items().Item(index);
    const TBuildInput& input = *build.Input();
    bool onSurface =
        !input.surfaces.empty() && (input.transforms.customEdit || input.transforms.tintOnSurface);
    return {item.random1,
            item.random2,
            item.random3,
            item.tintColor,
            item.tintBlend,
            item.position,
            onSurface ? item.mapUvws[kTintMap] : item.mapCoordinates};
}

std::vector<TShadedItem> ReadShadedItems(const TDravinBuild& build,
                                         std::span<const uint32_t> items) {
    constexpr size_t kBlock = 4096;
    std::vector<TShadedItem> shaded;
    ResizeInHugePages(shaded, items.size());
    ParallelRanges(items.size(), kBlock, NumProcessors(), [&](size_t first, size_t last) {
        for (size_t i = first; i < last; ++i) shaded[i] = ReadShadedItem(build, items[i]);
    });
    return shaded;
}

#include "Dravin/build/custom_edit.h"

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

// What was changed by hand becomes part of the item: custom edit mode knows no deltas.
void TakeDelta(const TItemDelta& delta, TStoredItem& stored) {
    stored.storedPosition.x += delta.move.x;
    stored.storedPosition.y += delta.move.y;
    stored.sizeFactor = stored.sizeFactor * delta.scale;
    stored.sourceTransform = stored.sourceTransform * EulerDegreesToMatrix(delta.rotateDegrees);
}

TStoredItem Freeze(const TDravinItem& item) {
    TStoredItem stored;
    stored.storedPosition = item.storedPosition;
    stored.storedPosition.z = item.position.z - item.zOffset;
    stored.seed = item.seed;
    stored.specimenIndex = item.specimenIndex;
    stored.sizeFactor = item.sizeFactor;
    stored.sourceTransform = item.sourceTransform;
    stored.elementIndex = item.elementIndex;
    stored.userId = item.userId;
    KeepResults(item, stored);
    return stored;
}

}  // namespace

void KeepResults(const TDravinItem& item, TStoredItem& stored) {
    stored.discarded = item.discarded;
    stored.mirrored = item.mirrored;
    stored.position = item.position;
    stored.width = item.width;
    stored.height = item.height;
    stored.scale = item.scale;
    stored.tintColor = item.tintColor;
    stored.tintBlend = item.tintBlend;
    stored.zOffset = item.zOffset;
    stored.animationOffset = item.animationOffset;
}

std::vector<TStoredItem> FrozenItemsOf(TDravin& object, TimeValue t, FrozenItems which) {
    std::vector<TStoredItem> items;
    if (!HostContext::Current() || !GetWorldNode(object)) return items;
    TBuildFlags flags;
    flags.noMesh = flags.noLimit = flags.collisions = true;
    flags.noCameraLimit = which == FrozenItems::kAll;
    TDravinBuild& build = object.Build();
    build.BuildMesh(t, flags);
    TDravinItem item;
    items.reserve(build.Items().Count());
    for (size_t i = 0; i < build.Items().Count(); ++i) {
        build.Items().ReadStored(i, &item);
        items.push_back(Freeze(item));
        const TBuildInput& input = *build.Input();
        if (!input.deltas) continue;
        if (const TItemDelta* delta = input.deltas->Find(IdOfItem(input, item)))
            TakeDelta(*delta, items.back());
    }
    return items;
}

void ConvertToCustomEdit(TDravin& object, TimeValue t, FrozenItems which) {
    object.SetStoredItems(FrozenItemsOf(object, t, which));
}

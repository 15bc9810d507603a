// The steps of items from a place to the end, in the order in which they happen: each is a loop
// over the lanes that are left. What differs between sources stands with them (item_cells.h).
//
// All of it follows from the seeds and the settings. Serves one thread; nothing is kept.
#pragma once

#include "Dravin/engine/item_cells.h"

// Drops what the density falloff of the camera leaves out.
void ThinByCamera(const TBuildInput& input, TItemLanes& lanes);

// Sizes of the specimen for each item, and its random or mapped translation. Items of geometry that
// is switched off are dropped.
void SizeAndMove(const TBuildInput& input, const TItemArea& area, TItemLanes& lanes);

// Drops what the density falloff of the item's own area leaves out.
void FadeInArea(const TBuildInput& input, const TAreaSettings& area, TItemLanes& lanes);

// Takes a hit's face, weights, normal and map coordinates. Without one: ClearSurface.
void TakeHit(const TBuildInput& input, const TItemHit& hit, TItemLanes& lanes, size_t k);
void ClearSurface(TItemLanes& lanes, size_t k);
// The working normal of a lane over its face, leaning as the settings or a program say.
Point3 NormalOver(const TBuildInput& input, const TItemLanes& lanes, size_t k);
// Of all lanes.
void SetNormals(const TBuildInput& input, TItemLanes& lanes);

// Drops what altitude and slope rules leave out, where the lanes stand; sets the falloff scale.
void ObeySurfaceRules(const TBuildInput& input, TItemLanes& lanes);
// The scale falloff of areas.
void ScaleInArea(const TBuildInput& input, const TAreaSettings& area, TItemLanes& lanes);
// Drops what stands outside a view that limits; sets the camera's scale.
void ObeyCameraView(const TBuildInput& input, TItemLanes& lanes);

// Position, scale, sizes, extents, tint, orientation, shadows, animation sample.
void FinishItems(const TBuildInput& input, const TCellRules& rules, TItemLanes& lanes);

// The connected parts of partial items that stand outside their areas are not drawn.
void HideParts(const TBuildInput& input, const TCellRules& rules, TItemLanes& lanes);

// What the steps above set, back to what an item has before them; its place stays.
void ClearFinished(TItemLanes& lanes, size_t k);

// --- for programs that change finished items; items: some of the lanes, in order
// Sizes and radii of the scale that each has.
void ResizeItems(const TTransformSettings& settings, TItemLanes& lanes,
                 std::span<const uint32_t> items);
// Frames of the rotation that each has.
void TurnItems(TItemLanes& lanes, std::span<const uint32_t> items);

// What lies under the pointer, or inside a rectangle.
#pragma once

#include <vector>

#include "Dravin/viewport/viewport_drawer.h"

struct TViewHit {
    uint32_t id = 0;  // TViewportScene::Find
    float depth = 0;  // along the camera's axis
};

// Everything that shows itself within kHitReach pixels of a place, nearest first, each once: to
// click again steps through what lies behind. Items shown as dots have half as many of them as in
// pictures, and none are thinned.
inline constexpr int kHitReach = 4;
std::vector<TViewHit> HitTest(const TViewportScene& scene, const TViewportCamera& camera, int x,
                              int y, const TViewportSettings& settings,
                              TItemFilter filter = TItemFilter::kAll);

// Ids of the items whose places lie in [left, right) x [top, bottom) of the picture, rising.
// onlySeen: those that a pixel in it shows.
std::vector<uint32_t> ItemsInRectangle(const TViewportScene& scene, const TViewportCamera& camera,
                                       const TPixelRect& rectangle, bool onlySeen,
                                       const TViewportSettings& settings);

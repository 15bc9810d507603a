// Levels of detail: which of a specimen's elements an item shows, by distance or by size on screen.
#pragma once

#include <optional>
#include <vector>

#include "Dravin/engine/build_status.h"
#include "Dravin/engine/camera.h"

// Levels in ascending order of their thresholds, one element of the specimen each.
struct TLodLevels {
    bool byScreenSize = false;
    std::vector<float> thresholds;  // percent: of the reference distance, or of the view's width
    float distance = 1000;          // reference distance, unless the scatter object has its own
    float variation = 0;            // random variation of the thresholds, 0..100
    bool inViewports = true;        // else levels are chosen for renders only
    float referenceWidth = 0, referenceHeight = 0;  // of the screen mode
};

// What levels are chosen by, besides the camera state.
struct TLodView {
    bool valid = false;
    Matrix3 fromObject;    // object space -> view space (looks along -Z)
    float fovRadians = 0;  // horizontal
};

// Level of an item at `position`; scale: of the reference width; random: its own draw for this
// choice. Without levels, 0. onScreen: gets what a choice by size on screen measured, and stays
// where none was made; may be null.
int ChooseLodLevel(const TLodLevels& levels, const TCameraState& camera, const TLodView& view,
                   bool render, float scale, const Point3& position, float random,
                   std::optional<TLodSpan>* onScreen = nullptr);

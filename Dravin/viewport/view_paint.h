// What faces of a material show in viewports, and the colours of viewports themselves.
#pragma once

#include "Dravin/viewport/viewport_scene.h"
#include "host/scene/material.h"

// Of what is selected, of marks in the ground, and of nodes without a material.
inline constexpr Color kViewSelected{1, 1, 1}, kViewMarks{0.95f, 0.72f, 0.25f};
inline constexpr Color kViewOutline{0.45f, 0.85f, 0.35f};  // of leaves

// The material's diffuse colour, or the mean of its map where it shows one; the host's default grey
// for null. Maps must have been brought to a time before; those that were not count as missing.
TViewPaint PaintOf(const StandardMtl* material);
// Of the material's ids below `numIds`.
std::vector<TViewPaint> PaintsOf(Mtl* material, size_t numIds);

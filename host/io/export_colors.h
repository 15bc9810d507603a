// What exchange formats with materials in linear light show for ours.
#pragma once

#include "host/scene/material.h"

// What faces without a material show, as the renderer shows it: a display colour.
inline constexpr Color kDefaultGrey{0.5f, 0.5f, 0.5f};

// Clamped to 0..1; 0 for what is no number.
float ToUnit(float f);

// A display colour as linear light in 0..1; white stays exactly white.
Color LinearFactor(const Color& c);

// The map, where an image can stand for it; null for none and for solid ones (noise).
const Texmap* ImagedMap(const Reference<Texmap>& map);

// The linear factor that multiplies the diffuse map, or stands for it: the diffuse, or for noise
// the middle of its colours.
Color BaseFactor(const StandardMtl& material);

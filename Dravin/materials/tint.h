// The colours of items: how a tint is chosen and blended in.
//
// An item's random values choose an amount and a tint; the two values of a mesh element may vary
// both by element. Colours are display colours, amounts shares in 0..1. Pure functions.
#pragma once

#include "host/math/color.h"
#include "host/math/point.h"

class Texmap;

// A hash of two values in [0, 1) to one in [0, 1).
float MixHash(float x, float y);

// Ways to blend; any other number up to 98 leaves the colour.
enum TintBlend : int {
    kTintNormal = 0,
    kTintColor = 1,
    kTintAdditive = 2,
    kTintAverage = 3,
    kTintMultiply = 4,
    kTintMultiplyAmount = 99,
};
Color BlendTint(int blend, const Color& color, const Color& tint, float amount);

// Where tints come from.
struct TTintSettings {
    float min = 0, max = 0;  // amounts
    bool fromMap = false;
    bool mapAsTexture = false;  // the map is read at the item's coordinates, else at random ones
    Color color1, color2;
    const Texmap* map = nullptr;  // brought to the time

    // Percentages in either order.
    void SetRange(int percent1, int percent2);
};

// What an item brings to its tint. A cache line, so that a hit on any of a million waits for memory
// once.
struct alignas(64) TShadedItem {
    float random1 = 0, random2 = 0, random3 = 0;
    Color tintColor;      // that its build gave it
    float tintBlend = 0;  // how much of it
    Point3 position;      // object space
    Point3 tintUvw;       // where the tint map is read as a texture
};

// The random values of a mesh element.
struct TElementRandoms {
    float first = 0, second = 0;
};

// Whose settings tint, and how.
struct TTintRequest {
    const TTintSettings* object = nullptr;      // of the scatter object
    const TTintSettings* overriding = nullptr;  // stands in their place; null: they count
    float variation = 0;                        // share of the element's own values
    int blend = kTintColor;
};

Color Tinted(const Color& color, const TShadedItem& item, const TElementRandoms& element,
             const TTintRequest& request);

// The text of the demo's scene description, and the numbers that its images share with it.
#pragma once

#include <string>

namespace demo {

class Valley;

struct Rect {
    float x0, y0, x1, y1;

    float Width() const { return x1 - x0; }
    float Length() const { return y1 - y0; }
    float CenterX() const { return (x0 + x1) / 2; }
    float CenterY() const { return (y0 + y1) / 2; }
};

// Where the dense meadow grows in front of the camera, and the wider ground down to the lake. Their
// borders lie on terrain samples, so that their meshes have the valley's own triangles.
inline constexpr Rect kMeadow{-70, -994, 70, -870};
inline constexpr Rect kShore{-220, -994, 260, -320};

struct Species {
    const char* name;
    bool isCut;          // its leaves are cut out by a mask
    float translucency;  // of its leaves
};

inline constexpr Species kSpecies[] = {
    {"spruce", true, 0.25f},     {"larch", true, 0.40f}, {"pine", true, 0.25f},
    {"birch", true, 0.45f},      {"oak", true, 0.40f},   {"maple", true, 0.45f},
    {"bush", true, 0.40f},       {"fern", true, 0.45f},  {"grass", false, 0.45f},
    {"tallgrass", false, 0.4f},  {"daisy", false, 0.4f}, {"poppy", false, 0.45f},
    {"bellflower", false, 0.4f}, {"reed", false, 0.35f}, {"boulder", false, 0},
    {"slab", false, 0},          {"stone", false, 0},    {"post", false, 0},
    {"rails", false, 0},
};

// The whole of forest.json for about `items` items.
std::string Description(const Valley& valley, double items);

}  // namespace demo

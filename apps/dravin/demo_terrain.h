// The valley of the demo: its shape, and where its forest, meadow and rocks belong.
//
// Metres; x to the right, y away from the camera, z up; the lake's surface is z = 0. Everything is
// computed from gradient noise, so that the same valley grows on every machine. Immutable after
// construction; threads may share it.
#pragma once

#include <cstdint>
#include <vector>

#include "host/math/color.h"
#include "host/math/point.h"

namespace demo {

inline constexpr float kValleyWidth = 1400, kValleyLength = 2000;  // x and y
inline constexpr float kCell = 2;                                  // between two terrain samples
inline constexpr float kLowest = -16, kHighest = 496;              // what the height image spans

// A patch as a brush leaves it: an ellipse whose border wanders.
struct Patch {
    Point2 center, radii;
    uint32_t seed;

    // Corner i of `count`, counter-clockwise.
    Point2 Corner(int i, int count) const;
    // Place of (x, y) as part of the way from the centre to the border: below 1 inside.
    float Reach(float x, float y) const;

private:
    float Wander(Point2 out) const;
};

// The cabin's yard, and a pasture cleared from the forest on the left slope.
inline constexpr Patch kYard{{-11, -896}, {13.5f, 12.5f}, 91};
inline constexpr Patch kPasture{{-255, -50}, {80, 100}, 92};

// x of the middle of the cart track from the camera's hill to the water, at y.
float RoadX(float y);

class Valley {
public:
    // Computes all terrain samples on `threads` threads.
    explicit Valley(int threads);

    // Height of the land at (x, y), interpolated between samples; beyond the valley that of its
    // border.
    float Height(float x, float y) const;
    // Angle of the land to the horizontal, degrees.
    float SlopeDegrees(float x, float y) const;

    // How much a place belongs to a kind of ground, 0..1; a mask is white above one half.
    float Forest(float x, float y) const;
    float ForestEdge(float x, float y) const;
    float Meadow(float x, float y) const;
    float FarMeadow(float x, float y) const;  // without the rectangle in front of the camera
    float Flowers(float x, float y) const;
    float Rocks(float x, float y) const;

    // Colour of the bare ground, a display colour.
    Color Ground(float x, float y) const;

private:
    float Open(float x, float y) const;  // free of trees

    static constexpr int kColumns = int(kValleyWidth / kCell) + 1;
    static constexpr int kRows = int(kValleyLength / kCell) + 1;
    std::vector<float> m_heights;  // row by row from the lowest y
};

}  // namespace demo

// The valley of the demo: its shape, and where its forest, meadow and rocks belong.
//
// Metres; x to the right, y away from the camera, z up; the lake's surface is z = 0. Everything is
// computed from gradient noise, so that the same valley grows on every machine. Immutable after
// construction; threads may share it.
#pragma once

#include <vector>

#include "host/math/color.h"

namespace demo {

inline constexpr float kValleyWidth = 1400, kValleyLength = 2000;  // x and y
inline constexpr float kCell = 2;                                  // between two terrain samples
inline constexpr float kLowest = -16, kHighest = 496;              // what the height image spans

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

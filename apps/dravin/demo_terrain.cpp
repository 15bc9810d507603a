#include "apps/dravin/demo_terrain.h"

#include <algorithm>
#include <cmath>

#include "apps/dravin/demo_description.h"
#include "host/base/thread_pool.h"
#include "host/math/noise3.h"
#include "host/math/point.h"

namespace demo {

namespace {

constexpr Point2 kLake{25, -545};
constexpr Point2 kLakeRadii{165, 185};

// Where rocks lie: the field below the left slope, and a few groups in the meadow.
struct Blob {
    float x, y, rx, ry;
};
constexpr Blob kRockBlobs[] = {{-165, -760, 75, 95},
                               {-13, -934, 4.5f, 4},
                               {19, -903, 6, 5},
                               {-30, -880, 6, 7},
                               {62, -835, 9, 8}};

// Groups of trees that stand out into the meadow.
constexpr Blob kGroves[] = {{-37, -908, 12, 11}, {58, -850, 16, 14}, {-75, -800, 18, 22}};

float Clamp01(float x) { return std::clamp(x, 0.f, 1.f); }

float Smooth(float low, float high, float x) {
    float t = Clamp01((x - low) / (high - low));
    return t * t * (3 - 2 * t);
}

float Mix(float a, float b, float t) { return a + (b - a) * t; }

Color Mix(Color a, Color b, float t) { return a * (1 - t) + b * t; }

// Fractal noise on the plane in about -1..1, features of the given size.
float Fractal(float x, float y, float size, int levels, uint32_t seed) {
    return 2.2f * FractalNoise3({x / size, y / size, 0.37f}, levels, seed);
}

// Sharp crests: the fold of the noise becomes an edge.
float Ridged(float x, float y, float size, int levels, uint32_t seed) {
    float sum = 0, amplitude = 0.5f;
    for (int i = 0; i < levels; ++i, size *= 0.5f, amplitude *= 0.5f)
        sum += amplitude *
               (1 - 2 * std::fabs(Noise3({x / size, y / size, 0.61f}, seed + uint32_t(i)) * 1.6f));
    return sum;
}

// Distance from the middle of the valley, which winds; positive to the right.
float FromAxis(float x, float y) { return x - 55 * std::sin(y * 0.0041f + 1.3f) - 10; }

// Bare earth beside the cart track's wheels.
float Verge(float x, float y) {
    float away = std::fabs(x - (RoadX(y) + 0.6f * Fractal(x, y, 6, 2, 81)));
    return Smooth(2.1f, 1.2f, away) * Smooth(-690, -720, y);
}

// 0 at the middle of the lake, 1 on its shore.
float LakeRadius(float x, float y) {
    float u = (x - kLake.x) / kLakeRadii.x, v = (y - kLake.y) / kLakeRadii.y;
    return std::sqrt(u * u + v * v) + 0.16f * Fractal(x, y, 120, 3, 11);
}

float ComputeHeight(float x, float y) {
    float across = FromAxis(x, y), away = std::fabs(across);
    // The floor: the camera's hill falls to the lake; behind it the floor rises again.
    float h = 3.2f + 21 * Smooth(-715, -1000, y) + 0.035f * std::max(0.f, y + 260);
    h += 1.1f * Fractal(x, y, 70, 3, 1) + 0.25f * Fractal(x, y, 17, 2, 2);
    // The sides: steeper and higher on the left, which the evening sun falls on.
    float floorWidth = 120 + 75 * Smooth(-900, -500, y) - 70 * Smooth(-250, 400, y);
    float side = Smooth(0, 1, (away - floorWidth) / 480);
    float crest = across < 0 ? 175.f : 62.f;
    h += side * crest * (1 + 0.35f * Fractal(x, y, 330, 3, 3));
    h += side * 24 * Ridged(x, y, 170, 4, 4);
    // The range at the valley's end, open in the middle.
    float back = Smooth(80, 900, y), gap = 0.45f + 0.55f * Smooth(60, 420, std::fabs(across + 60));
    h += back * back * gap * (40 + 250 * std::max(0.f, Ridged(x, y, 480, 6, 21)));
    // The lake's bed.
    float shore = LakeRadius(x, y);
    float bed = -7 * (1 - shore * shore);
    h = Mix(std::min(bed, 2.f), h, Smooth(0.93f, 1.28f, shore));
    return std::clamp(h, kLowest, kHighest);
}

}  // namespace

// Factor of the radius in the direction `out`, a unit vector.
float Patch::Wander(Point2 out) const {
    return 1 + 0.5f * FractalNoise3({out.x * 1.6f, out.y * 1.6f, 0.2f}, 3, seed);
}

Point2 Patch::Corner(int i, int count) const {
    float angle = 6.2831853f * float(i) / float(count);
    Point2 out{std::cos(angle), std::sin(angle)};
    float r = Wander(out);
    return {center.x + out.x * r * radii.x, center.y + out.y * r * radii.y};
}

float Patch::Reach(float x, float y) const {
    Point2 p{(x - center.x) / radii.x, (y - center.y) / radii.y};
    float length = std::hypot(p.x, p.y);
    return length > 0 ? length / Wander({p.x / length, p.y / length}) : 0;
}

float RoadX(float y) { return -1 + 9 * std::sin((y + 972) * 0.034f) * Smooth(-975, -930, y); }

Valley::Valley(int threads) : m_heights(size_t(kColumns) * size_t(kRows)) {
    ParallelFor(size_t(kRows), threads, [&](size_t row) {
        float y = -kValleyLength / 2 + float(row) * kCell;
        for (int column = 0; column < kColumns; ++column)
            m_heights[row * size_t(kColumns) + size_t(column)] =
                ComputeHeight(-kValleyWidth / 2 + float(column) * kCell, y);
    });
}

float Valley::Height(float x, float y) const {
    float u = std::clamp((x + kValleyWidth / 2) / kCell, 0.f, float(kColumns - 1));
    float v = std::clamp((y + kValleyLength / 2) / kCell, 0.f, float(kRows - 1));
    int i = std::min(int(u), kColumns - 2), j = std::min(int(v), kRows - 2);
    const float* p = &m_heights[size_t(j) * size_t(kColumns) + size_t(i)];
    u -= float(i), v -= float(j);
    return Mix(Mix(p[0], p[1], u), Mix(p[kColumns], p[kColumns + 1], u), v);
}

float Valley::SlopeDegrees(float x, float y) const {
    float dx = Height(x + kCell, y) - Height(x - kCell, y);
    float dy = Height(x, y + kCell) - Height(x, y - kCell);
    return std::atan(std::hypot(dx, dy) / (2 * kCell)) * 57.29578f;
}

float Valley::Rocks(float x, float y) const {
    float field = -1;
    for (const Blob& b : kRockBlobs)
        field = std::max(field, 1.1f - std::hypot((x - b.x) / b.rx, (y - b.y) / b.ry));
    field += 0.45f * Fractal(x, y, 38, 3, 31);
    return Clamp01(field) * Smooth(0.6f, 2.5f, Height(x, y));
}

float Valley::Open(float x, float y) const {
    // In front of the camera its middle is x = 0; farther away it follows the valley.
    float middle = (x - FromAxis(x, y)) * Smooth(-930, -780, y);
    float away = std::fabs(x - middle) + 14 * Fractal(x, y, 50, 3, 41);
    float width = 50 + 58 * Smooth(-930, -760, y);
    float open =
        Smooth(width + 22, width - 8, away) * Smooth(-640, -690, y + 25 * Fractal(x, y, 45, 2, 42));
    open = std::max(open, Smooth(30, 22, std::hypot(x, y + 972)));
    for (const Blob& b : kGroves)
        open *= Smooth(0.75f, 1.15f, std::hypot((x - b.x) / b.rx, (y - b.y) / b.ry));
    return open * Smooth(0.5f, 1.3f, Height(x, y));
}

float Valley::Meadow(float x, float y) const {
    return Open(x, y) * (1 - Smooth(0.35f, 0.6f, Rocks(x, y)));
}

float Valley::FarMeadow(float x, float y) const {
    const Rect& r = kMeadow;
    bool isNear = x > r.x0 && x < r.x1 && y > r.y0 && y < r.y1;
    return isNear ? 0 : Meadow(x, y);
}

float Valley::Flowers(float x, float y) const {
    return Meadow(x, y) * Smooth(0.0f, 0.55f, 0.3f + Fractal(x, y, 16, 2, 51));
}

float Valley::Forest(float x, float y) const {
    float open = Open(x, y);
    float rock = Rocks(x, y);
    float glade = Smooth(0.28f, 0.5f, Fractal(x, y, 150, 3, 61) - 0.15f);
    float dry = Smooth(1.2f, 2.6f, Height(x, y) + 0.6f * Fractal(x, y, 20, 2, 62));
    return dry * (1 - Smooth(0.05f, 0.3f, open)) * (1 - Smooth(0.15f, 0.5f, rock)) *
           (1 - 0.8f * glade);
}

// The fringe between forest and meadow.
float Valley::ForestEdge(float x, float y) const {
    float open = Open(x, y);
    return Smooth(0.02f, 0.1f, open) * (1 - Smooth(0.5f, 0.85f, open));
}

Color Valley::Ground(float x, float y) const {
    float h = Height(x, y), slope = SlopeDegrees(x, y);
    float grain = Fractal(x, y, 9, 3, 71), patch = Fractal(x, y, 60, 3, 72);
    Color grass = Mix(Color{0.36f, 0.41f, 0.19f}, Color{0.50f, 0.50f, 0.27f}, 0.5f + 0.5f * patch);
    Color litter = Mix(Color{0.27f, 0.25f, 0.15f}, Color{0.33f, 0.34f, 0.18f}, 0.5f + 0.5f * grain);
    Color rock = Mix(Color{0.46f, 0.44f, 0.41f}, Color{0.60f, 0.57f, 0.53f}, 0.5f + 0.5f * grain);
    float wooded = Smooth(0.2f, 0.6f, Forest(x, y)) * Smooth(0.97f, 1.05f, kPasture.Reach(x, y));
    Color color = Mix(grass, litter, wooded * Smooth(330, 250, h));
    color = Mix(color, rock, Smooth(0.25f, 0.6f, Rocks(x, y)) * 0.8f);
    color = Mix(color, rock, Smooth(33, 42, slope + 6 * grain));
    color = Mix(color, Mix(rock, grass, 0.25f), Smooth(255, 330, h + 30 * patch));
    Color snow{0.92f, 0.93f, 0.96f};
    color = Mix(color, snow, Smooth(330, 385, h + 35 * patch + 12 * grain) * Smooth(50, 36, slope));
    Color sand{0.55f, 0.50f, 0.39f}, mud{0.20f, 0.20f, 0.15f};
    color = Mix(sand, color, Smooth(0.3f, 1.1f, h + 0.25f * grain));
    color = Mix(mud, color, Smooth(-1.6f, 0.2f, h));
    color = Mix(color, Color{0.47f, 0.41f, 0.30f}, 0.85f * Verge(x, y));
    return color * (1 + 0.10f * grain);
}

}  // namespace demo

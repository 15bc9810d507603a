// The region of a paint area while a brush works on it: closed polygons of whole steps, so that
// union and difference are exact. A polygon inside another one is a hole (even-odd filling).
//
// Lengths are those of the scatter object's space. Outlines are made simpler near the brush alone:
// their number of points stays bounded, and what the brush does not reach keeps its bits. Clipping:
// Vatti 1992; simplification: Douglas and Peucker 1973. Plain data, one thread.
#pragma once

#include <cstdint>
#include <vector>

#include "host/geom/poly_line.h"

// A place in steps.
struct TPaintPoint {
    int64_t x = 0, y = 0;
    friend bool operator==(TPaintPoint, TPaintPoint) = default;
};
using TPaintPolygon = std::vector<TPaintPoint>;

enum class TPaintMode : int { kPaint = 0, kErase = 1, kSmooth = 2 };

// One sample of a brush: a circle of 24 corners.
struct TPaintSample {
    Point2 center;
    float radius = 0;
    // How far smoothing moves the outline in the middle of the brush, 0..1. Painting and erasing
    // know only in and out.
    float strength = 1;
};

// Steps of a length in the scene: a thousandth of a metre each. unitScale: metres in a scene unit.
double PaintStepsPerUnit(double unitScale);

class TPaintRegion {
public:
    // Nothing is painted.
    explicit TPaintRegion(double stepsPerUnit) : m_stepsPerUnit(stepsPerUnit) {}
    // The closed lines of a shape, cut to whole steps; open ones, and those with a point beyond
    // what can be counted, are left out.
    TPaintRegion(const PolyShape& shape, double stepsPerUnit);

    // Adds the circle, cuts it out, or evens the outlines inside it, and makes what lies within
    // 1.05 radii simpler. False, and nothing changes: the circle is smaller than a step, not
    // finite, or beyond what can be counted.
    bool Apply(TPaintMode mode, const TPaintSample& sample);

    // Polygons of 3 points and more, as closed lines at height 0.
    PolyShape Shape() const;
    const std::vector<TPaintPolygon>& Polygons() const { return m_polygons; }
    double StepsPerUnit() const { return m_stepsPerUnit; }
    size_t Bytes() const;

    // Samples whose radius is below this are left out: a tenth of the smallest brush, of 10 steps.
    float SmallestRadius() const { return float(1 / m_stepsPerUnit); }

    friend bool operator==(const TPaintRegion&, const TPaintRegion&) = default;

private:
    void Smooth(const TPaintSample& sample);

    double m_stepsPerUnit;
    std::vector<TPaintPolygon> m_polygons;
};

// A stroke: samples along the way of a hand, so close that they leave no gaps.
class TPaintStroke {
public:
    TPaintStroke(TPaintRegion region, TPaintMode mode)
        : m_region(std::move(region)), m_mode(mode) {}

    // The brush goes on to there; the first time it comes down. Whether the region was touched.
    bool MoveTo(const TPaintSample& sample);
    const TPaintRegion& Region() const { return m_region; }

private:
    TPaintRegion m_region;
    TPaintMode m_mode;
    TPaintSample m_last;
    bool m_isDown = false;
};

// What a hand does to the points of a curve: own container-free functions on points sorted by x.
//
// A curve runs from x = 0 to x = 1; its first and last point keep their x. Points keep their order:
// none passes a neighbour. Values stay within [0, yMax]. No state; any thread.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "Dravin/engine/falloff_curve.h"

enum class CurvePointKind {
    kCorner,  // no handles: straight pieces
    kSmooth,  // handles along one line
    kBroken   // handles of their own
};
CurvePointKind KindOfPoint(const CurvePoint& point);

// Adds a point at x without changing the shape (de Casteljau); its place among the points. Where a
// point stands already, that one.
size_t InsertCurvePoint(std::vector<CurvePoint>& points, float x);
// Moves some points together, as far as none passes another or leaves the range.
void MoveCurvePoints(std::vector<CurvePoint>& points, std::span<const size_t> chosen, float dx,
                     float dy, float yMax);
// Puts the end of a handle to (x, y), on its own side of the point. The other handle of a smooth
// point turns with it and keeps its length, unless `breaks`.
void MoveCurveHandle(std::vector<CurvePoint>& points, size_t index, bool isOut, float x, float y,
                     bool breaks);
// Along the line between its neighbours, a third of the way to each.
void SmoothCurvePoint(std::vector<CurvePoint>& points, size_t index);
void StraightenCurvePoint(std::vector<CurvePoint>& points, size_t index);
// Holds the point's value up to the next one, by a point there; nothing at the last.
void StepCurvePoint(std::vector<CurvePoint>& points, size_t index);
// But for the ends.
void RemoveCurvePoints(std::vector<CurvePoint>& points, std::span<const size_t> chosen);

struct TCurvePreset {
    std::string name;
    std::vector<CurvePoint> points;  // values from 0 to 1
};
std::span<const TCurvePreset> CurvePresets();
std::vector<CurvePoint> ScaledCurve(std::vector<CurvePoint> points, float factor);

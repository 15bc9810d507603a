// What the area list holds besides plain numbers: id lists, name lists and painted outlines.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "host/geom/poly_line.h"
#include "host/scene/reference.h"

// Kinds of areas, as `artypelist` has them.
enum AreaType : int {
    kAreaSpline = 0,
    kAreaObject = 1,
    kAreaPaint = 2,
    kAreaSurface = 3,
    kAreaDravin = 4,
};

// The ids of a geometry subset as text, " 3 7", and back: pieces below 1 are dropped.
std::string FormatSpecIds(std::span<const int> ids);
std::vector<int> ParseSpecIds(const std::string& text);

// Names of the surfaces that an area is bound to, one a line, and back.
std::string FormatSurfaceNames(std::span<const std::string> names);
std::vector<std::string> ParseSurfaceNames(const std::string& text);

// The outline of a paint area: closed polygons in the object's space.
class TPaintShape : public ReferenceTarget {
public:
    PolyShape shape;

    std::string ClassName() const override { return "PaintShape"; }
};

// What the area list holds besides plain numbers: id lists, name lists and painted outlines.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "host/geom/poly_line.h"
#include "host/params/property.h"

// Kinds of areas, as `artypelist` has them.
enum AreaType : int {
    kAreaSpline = 0,
    kAreaObject = 1,
    kAreaPaint = 2,
    kAreaSurface = 3,
    kAreaDravin = 4,
};

// What a row is called whose user gave it no name: like its node, else by its kind. nodeName: empty
// without a node.
std::string DefaultAreaName(int type, const std::string& nodeName);

// The ids of a geometry subset as text, " 3 7", and back: pieces below 1 name no row and count for
// nothing, but stay in the text.
std::string FormatSpecIds(std::span<const int> ids);
std::vector<int> ParseSpecIds(const std::string& text);
std::vector<int> ParseAllSpecIds(const std::string& text);

// What of the surfaces an area is bound to: the surfaces with these names, and of any surface the
// faces with these material ids, counted from 1. Nothing said means all.
struct TAreaSurfaces {
    std::vector<std::string> names;
    std::vector<int> materialIds;
};
// As text, one name a line, and in a line of their own the ids, each behind a "#": "hill\n#1 #3".
std::string FormatAreaSurfaces(const TAreaSurfaces& surfaces);
TAreaSurfaces ParseAreaSurfaces(const std::string& text);

class TPaintRegion;

// The outline of a paint area: closed polygons in the object's space.
class TPaintShape : public ReferenceTarget {
public:
    Property<PolyShape> shape{this};
    // What a brush has written `shape` from, to the step; null: it came from elsewhere. Not saved.
    std::shared_ptr<const TPaintRegion> region;

    static constexpr ClassInfo kClass{
        {0x3d1c0102, 0x52a7}, SuperClass::kReferenceTarget, "PaintShape"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};

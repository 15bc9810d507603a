// What the engine knows of the geometry list: sizes, weights and elements, no meshes.
//
// A specimen is one row of the list; its elements are the source objects that stand behind it: one
// for a plain object or template, the members of a group (a cluster: every item makes one copy of
// each), or the levels of a level-of-detail object (every item shows one).
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "Dravin/engine/lod.h"
#include "host/math/box.h"
#include "host/math/color.h"
#include "host/math/interval.h"

enum class SpecimenKind : int { kDisabled = 0, kTemplate = 1, kCustom = 2 };

struct TSpecimenElement {
    SpecimenKind kind = SpecimenKind::kTemplate;
    bool isMesh = false;  // its source is a geometry object
    bool useMeshDimensions = true;
    Point3 meshSize{1, 1, 1};     // bounding box of the source, 1 where an extent vanishes
    float meshAspect = 1;         // depth over width of the source
    float width = 2, height = 3;  // manual size
    float scalePercent = 100;
    float zOffset = 0;
    int32_t centerPercent = 50;
    int32_t radiusPercent = 100;
    Point3 offset;    // of a group member from the group's pivot
    Box3 unitBounds;  // of the normalised source
    // Of the connected parts of the source, unit space; empty where no border hides parts.
    std::vector<Point3> partCentroids;

    bool UsesMeshSize() const { return isMesh && useMeshDimensions; }
};

struct TSpecimen {
    std::vector<TSpecimenElement> elements;  // at least one
    // One pair a sample of animated geometry: time and offset, in ticks.
    std::vector<std::pair<TimeValue, TimeValue>> frames;
    std::optional<TLodLevels> lod;  // the elements are its levels: an item shows one of them
    Color colorId;
    float probability = 100;
    int32_t specId = -1;

    const TSpecimenElement& Element(int i) const { return elements[size_t(i) % elements.size()]; }
};

// Row of a list of numRows >= 1 that an item's specimen index means: modulo, also for negative
// ones.
inline size_t SpecimenRow(int32_t index, size_t numRows) {
    int64_t n = int64_t(numRows), row = index % n;
    return size_t(row < 0 ? row + n : row);
}

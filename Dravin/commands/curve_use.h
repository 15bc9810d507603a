// Where the items of a build stand on a falloff curve: what a change of its shape would meet.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct TCurvePlace;

struct TCurveUse {
    // Items by equal pieces of the curve from 0 to 1. Empty: none are known, and why.
    std::vector<size_t> counts;
    std::string reason;
};

// Of the items of the object's last build, or of kMostItemsLooked spread evenly over its list where
// there are more. Curves of the rotation and the scale count an item once for each axis with a
// range. Builds know nothing of the curves of effects. In the scene's thread.
inline constexpr size_t kMostItemsLooked = 20'000;
TCurveUse CurveUse(const TCurvePlace& place, size_t numPieces);

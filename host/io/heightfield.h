// Terrains from files of heights: images of any depth, GeoTIFF, ESRI grids.
//
// The file is read once, row by row, straight into the samples of the field; nothing is allocated
// before the claimed sizes are believable and known to fit.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/scene/height_field_object.h"

// The most samples a side that a terrain may have.
inline constexpr int kMaxHeightFieldSide = 65536;

struct HeightFieldResult {
    std::shared_ptr<const HeightField> field;  // null with a reason in `error`
    std::string error;
    std::string key;       // the key of the request that is to blame; empty: the file
    bool isLimit = false;  // the error is a limit: the request is too large
    std::vector<std::string> warnings;
};

// The terrain that `request` asks for from `file`. Rows of the file run from the top, so that its
// last row lies at the lowest y. With other sample counts than the file's, heights are interpolated
// between the file's samples, which span the whole size; beside a hole there is nothing to
// interpolate, and the sample is a hole. The size is that of the request, else the file's cell size
// times its samples (after cropping), else 100 x 100.
//
// metresPerUnit: of the scene. memory: bytes that the field may take.
HeightFieldResult ReadHeightField(const std::string& file, const HeightfieldOrigin& request,
                                  double metresPerUnit, uint64_t memory);
// The same within the memory that the machine has free.
HeightFieldResult ReadHeightField(const std::string& file, const HeightfieldOrigin& request,
                                  double metresPerUnit = 1);

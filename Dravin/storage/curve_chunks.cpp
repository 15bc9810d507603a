#include "Dravin/storage/curve_chunks.h"

std::span<const TCurveChunk> CurveChunks() {
    static constexpr TCurveChunk kChunks[] = {
        {kCamDensityChunk, kSlotCamDensityCurve, 0},
        {kCamScaleChunk, kSlotCamScaleCurve, 0},
        {kAreaDensityChunk, kSlotAreaDensityCurve, 0},
        {kAreaScaleChunk, kSlotAreaScaleCurve, 0},
        {kAltitudeDensityChunk, kSlotSurfaceCurves, 0},
        {kAltitudeScaleChunk, kSlotSurfaceCurves, 1},
        {kSlopeDensityChunk, kSlotSurfaceCurves, 2},
        {kSlopeScaleChunk, kSlotSurfaceCurves, 3},
        {kScaleProbabilityChunk, kSlotScaProbCurve, 0},
        {kRotationProbabilityChunk, kSlotRotProbCurve, 0},
    };
    return kChunks;
}

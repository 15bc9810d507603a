#include "Dravin/engine/grid.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kSmallestCell = 0.0001;
constexpr float kSmallestRotation = 0.01f;
constexpr double kLargestIndex = 1e15;
constexpr double kMostCells = 9.0e18;  // beyond it a count overflows

}  // namespace

Matrix3 DistributionFrame(const TGridSettings& s) {
    if (s.textureOnSurface || std::abs(s.rotationRadians) < kSmallestRotation) return {};
    return Matrix3::RotationZ(s.rotationRadians);
}

TGridResult MakeGrid(const TGridSettings& s, const TGridArea& area, const Box3& bounds, TGrid* grid,
                     double perUnit) {
    TGrid g;
    g.px = std::max(1, s.hasTexture ? s.pixelsX : s.imageWidth);
    g.py = std::max(1, s.hasTexture ? (s.lockRatio ? s.pixelsX : s.pixelsY) : s.imageHeight);
    double scale = double(area.scalePercent) * 0.01;
    g.dx = double(s.unitsX) * scale / g.px / perUnit;
    // With locked ratio the second size is computed in single precision; saved scenes rely on it.
    g.dy = s.lockRatio ? double(float(g.dx) * float(g.py) / float(g.px))
                       : double(s.unitsY) * scale / g.py / perUnit;
    bool largeEnough = g.dx * perUnit >= kSmallestCell && g.dy * perUnit >= kSmallestCell;
    if (!largeEnough) return TGridResult::kCellsTooSmall;
    g.offsetX = s.textureOnSurface ? 0 : s.offsetX / perUnit;
    g.offsetY = s.textureOnSurface ? 0 : s.offsetY / perUnit;
    g.areaThreshold = s.thresholdPercent * area.thresholdPercent * 0.01f;
    g.frame = DistributionFrame(s);
    g.frameInverse = Inverse(g.frame);
    g.rotated = g.frame != Matrix3{};
    if (bounds.IsEmpty()) return TGridResult::kEmpty;
    g.z = bounds.max.z;

    double x0 = bounds.min.x, x1 = bounds.max.x, y0 = bounds.min.y, y1 = bounds.max.y;
    double nx = std::round(std::ceil(x1 - x0) / g.dx), ny = std::round(std::ceil(y1 - y0) / g.dy);
    double limit = s.maxCells >= 1 ? double(s.maxCells) : std::numeric_limits<double>::infinity();
    if (nx > limit || ny > limit || nx * ny > limit) return TGridResult::kTooDense;
    if (!(nx * ny < kMostCells)) return TGridResult::kTooDense;
    g.cells = int64_t(nx) * int64_t(ny);

    bool exact =
        std::max(std::abs(x0), std::abs(x1)) + std::abs(g.offsetX) < kLargestIndex * g.dx &&
        std::max(std::abs(y0), std::abs(y1)) + std::abs(g.offsetY) < kLargestIndex * g.dy;
    if (!exact) return TGridResult::kCellsTooFar;
    g.firstColumn = std::llround((x0 - g.offsetX) / g.dx);
    g.firstRow = std::llround((y0 - g.offsetY) / g.dy);
    g.columns = std::max<int64_t>(0, std::llround((x1 - g.X(g.firstColumn)) / g.dx) + 1);
    g.rows = std::max<int64_t>(0, std::llround((y1 - g.Y(g.firstRow)) / g.dy) + 1);
    *grid = g;
    return TGridResult::kOk;
}

int32_t CountDecimation(int64_t estimate, int64_t limit) {
    if (estimate <= limit) return 1;
    double n = std::round(std::ceil(std::sqrt(double(estimate) / double(limit))));
    return int32_t(std::clamp(n, 1.0, double(std::numeric_limits<int32_t>::max())));
}

int64_t NumUsed(int64_t first, int64_t count, int32_t decimation) {
    auto multiplesBelow = [&](int64_t end) { return TileOf(end - 1, decimation).tile + 1; };
    return count > 0 ? multiplesBelow(first + count) - multiplesBelow(first) : 0;
}

int32_t GridDecimation(const TGridSettings& s, double measure, float coverage, bool halved,
                       int64_t limit) {
    if (s.unitsX < kSmallestCell || (s.lockRatio && s.unitsY < kSmallestCell)) return 1;
    double px = s.hasTexture ? s.pixelsX : s.imageWidth;
    double py = s.hasTexture ? (s.lockRatio ? s.pixelsX : s.pixelsY) : s.imageHeight;
    double densityX = px / s.unitsX;
    double densityY = s.lockRatio ? densityX : py / s.unitsY;
    double items = densityY * densityX * measure * double(coverage);
    int64_t estimate = items > 0 ? int64_t(std::min(items, kMostCells)) : 0;  // none of no number
    return CountDecimation(halved ? estimate / 2 : estimate, limit);
}

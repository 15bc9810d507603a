#include "Dravin/engine/grid.h"

#include <limits>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

Box3 Bounds(float x0, float y0, float x1, float y1) { return {{x0, y0, 0}, {x1, y1, 0}}; }

TGrid Lay(const TGridSettings& settings, const Box3& bounds, const TGridArea& area = {}) {
    TGrid grid;
    EXPECT_EQ(MakeGrid(settings, area, bounds, &grid), TGridResult::kOk);
    return grid;
}

TGridSettings Texture(int pixels, float units) {
    TGridSettings s;
    s.hasTexture = true;
    s.pixelsX = s.pixelsY = pixels;
    s.unitsX = s.unitsY = units;
    s.lockRatio = false;
    return s;
}

TEST(DensityMap, AWhiteImagePassesNothingAt100) {
    EXPECT_EQ(WhiteMap(4, 4, 100).Coverage(), 0);
    EXPECT_EQ(WhiteMap(4, 4, 99).Coverage(), 1);
}

TEST(DensityMap, RowZeroIsTheBottomOfTheImage) {
    TDensityMap map(1, 2, {65535, 65535, 65535, 0, 0, 0}, 50);
    EXPECT_EQ(map.At(0, 0).pass, 0);
    EXPECT_EQ(map.At(0, 1).pass, 1);
    EXPECT_EQ(map.Coverage(), 0.5f);
}

TEST(Grid, TenUnitsOver100PixelsAreCellsOfATenth) {
    EXPECT_DOUBLE_EQ(Lay(Texture(100, 10), Bounds(0, 0, 1, 1)).dx, 0.1);
}

TEST(Grid, LockedRatioOfATwoToOneBitmapHalvesTheRowsInSinglePrecision) {
    TGridSettings s;
    s.imageWidth = 200, s.imageHeight = 100;
    s.unitsX = 20, s.unitsY = 77;
    TGrid grid = Lay(s, Bounds(0, 0, 1, 1));
    EXPECT_EQ(grid.dx, 20.0 / 200);
    EXPECT_EQ(grid.dy, double(0.1f * 100 / 200));
}

TEST(Grid, MoreThanAMillionCellsAreRefusedByALimitOfOneMillion) {
    TGridSettings s = Texture(10, 10);
    s.maxCells = 1000000;
    TGrid grid;
    EXPECT_EQ(MakeGrid(s, {}, Bounds(0, 0, 1001, 1000), &grid), TGridResult::kTooDense);
    EXPECT_EQ(MakeGrid(s, {}, Bounds(0, 0, 1000, 1000), &grid), TGridResult::kOk);
    s.maxCells = 0;
    EXPECT_EQ(MakeGrid(s, {}, Bounds(0, 0, 1001, 1000), &grid), TGridResult::kOk);
}

TEST(Grid, ATrillionCellsAreRefusedBeforeAnyMemoryIsTaken) {
    TGridSettings s = Texture(10000, 1);
    s.maxCells = 40000000;
    TGrid grid;
    EXPECT_EQ(MakeGrid(s, {}, Bounds(0, 0, 100, 100), &grid), TGridResult::kTooDense);
    s.maxCells = 0;
    EXPECT_EQ(MakeGrid(s, {}, Bounds(0, 0, 1e30f, 1e30f), &grid), TGridResult::kTooDense);
}

TEST(Grid, CellsBelowATenThousandthMakeNothing) {
    TGrid grid;
    EXPECT_EQ(MakeGrid(Texture(10, 0), {}, Bounds(0, 0, 1, 1), &grid), TGridResult::kCellsTooSmall);
    EXPECT_EQ(MakeGrid(Texture(10, 0.0009f), {}, Bounds(0, 0, 1, 1), &grid),
              TGridResult::kCellsTooSmall);
    EXPECT_EQ(MakeGrid(Texture(10, NAN), {}, Bounds(0, 0, 1, 1), &grid),
              TGridResult::kCellsTooSmall);
}

TEST(Grid, IsAnchoredAtTheOffsetAndCountsRowsAndColumns) {
    // Bounds -7.33..7.41 and -6.67..6.73 with cells of one: 15 x 14 cells in the statistics; the
    // first cell centre is (-7, -7), and there are 15 columns and 15 rows.
    TGrid grid = Lay(Texture(10, 10), Bounds(-7.33f, -6.67f, 7.41f, 6.73f));
    EXPECT_EQ(grid.cells, 15 * 14);
    EXPECT_EQ(grid.X(grid.firstColumn), -7);
    EXPECT_EQ(grid.Y(grid.firstRow), -7);
    EXPECT_EQ(grid.columns, 15);
    EXPECT_EQ(grid.rows, 15);
    TTileIndex tile = TileOf(grid.firstColumn, grid.px);
    EXPECT_EQ(tile.tile, -1);
    EXPECT_EQ(tile.pixel, 3);
}

TEST(Grid, AreaOverridesScaleTheCellsAndTheThreshold) {
    TGrid grid = Lay(Texture(10, 10), Bounds(0, 0, 9, 9), {50, 60});
    EXPECT_DOUBLE_EQ(grid.dx, 0.5);
    EXPECT_FLOAT_EQ(grid.areaThreshold, 30);
}

TEST(Grid, DecimationGrowsWithTheSquareRootOfTheSurplus) {
    EXPECT_EQ(CountDecimation(50000, 50000), 1);
    EXPECT_EQ(CountDecimation(50001, 50000), 2);
    EXPECT_EQ(CountDecimation(200000, 50000), 2);
    EXPECT_EQ(CountDecimation(200001, 50000), 3);
    EXPECT_GE(CountDecimation(INT64_MAX, 0), 1);
    // One item a unit over 400 square units, three quarters of them.
    EXPECT_EQ(GridDecimation(Texture(10, 10), 400, 0.75f, false, 75), 2);
    EXPECT_EQ(GridDecimation(Texture(10, 10), 400, 0.75f, true, 150), 1);
}

TEST(Grid, OffsetsThatAreNoPlaceMakeNothing) {
    for (float offset :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 3e38f}) {
        TGridSettings settings = Texture(10, 10);
        settings.offsetY = offset;
        TGrid grid;
        EXPECT_EQ(MakeGrid(settings, {}, Bounds(0, 0, 5, 5), &grid), TGridResult::kCellsTooFar);
    }
}

TEST(Grid, AMeasureThatIsNoNumberIsNotThinnedOut) {
    double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(GridDecimation(Texture(10, 10), nan, 1, false, 100), 1);
    EXPECT_EQ(GridDecimation(Texture(10, 10), -5, 1, false, 100), 1);
}

}  // namespace

// Pieces of a grid: every used cell in one of them, in the order of the cells, and never too many.
#include <gtest/gtest.h>

#include "Dravin/engine/source_grid.h"

namespace {

TGrid GridOf(int64_t firstRow, int64_t rows, int64_t firstColumn, int64_t columns) {
    TGrid grid;
    grid.firstRow = firstRow, grid.rows = rows;
    grid.firstColumn = firstColumn, grid.columns = columns;
    return grid;
}

// Used cells of all pieces in their order, as (row, column).
std::vector<std::pair<int64_t, int64_t>> CellsOf(const TGridPieces& pieces, int32_t decimation) {
    std::vector<std::pair<int64_t, int64_t>> cells;
    for (size_t i = 0; i < pieces.Count(); ++i) {
        TGridPieces::Piece p = pieces[i];
        for (int64_t row = p.firstRow; row < p.endRow; ++row)
            for (int64_t column = p.firstColumn; column < p.endColumn; ++column)
                if (row % decimation == 0 && column % decimation == 0)
                    cells.emplace_back(row, column);
    }
    return cells;
}

std::vector<std::pair<int64_t, int64_t>> CellsOf(const TGrid& grid, int32_t decimation) {
    std::vector<std::pair<int64_t, int64_t>> cells;
    for (int64_t row = grid.firstRow; row < grid.firstRow + grid.rows; ++row)
        for (int64_t column = grid.firstColumn; column < grid.firstColumn + grid.columns; ++column)
            if (row % decimation == 0 && column % decimation == 0) cells.emplace_back(row, column);
    return cells;
}

}  // namespace

TEST(GridPieces, HoldEveryUsedCellOnceAndInOrder) {
    for (const TGrid& grid : {GridOf(-7, 20, -3, 10), GridOf(5, 500, -300, 600),
                              GridOf(0, 3, 7, 400000), GridOf(-2, 300000, 0, 1)})
        for (int32_t decimation : {1, 2, 7}) {
            TGridPieces pieces(grid, decimation);
            EXPECT_EQ(CellsOf(pieces, decimation), CellsOf(grid, decimation));
            EXPECT_EQ(pieces.NumCells(), grid.rows * grid.columns);
        }
}

TEST(GridPieces, LongRowsAreCutAndShortOnesJoined) {
    EXPECT_EQ(TGridPieces(GridOf(0, 10, 0, 10), 1).Count(), 1u);
    EXPECT_GT(TGridPieces(GridOf(0, 1000, 0, 1000), 1).Count(), 16u);
    EXPECT_GT(TGridPieces(GridOf(0, 1, 0, 1000000), 1).Count(), 16u);
    EXPECT_LT(TGridPieces(GridOf(0, 1000, 0, 1000), 10).Count(), 4u);
}

TEST(GridPieces, HugeGridsHaveNoMoreThanCanBeListed) {
    for (const TGrid& grid : {GridOf(0, 4000000, 0, 4000000), GridOf(0, 1, 0, int64_t{1} << 50),
                              GridOf(0, int64_t{1} << 50, 0, 1), GridOf(0, 0, 0, 5)})
        EXPECT_LE(TGridPieces(grid, 1).Count(), 1u << 15);
}

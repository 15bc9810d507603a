// Image mode over an area: cells of a distribution map that pass it, row by row from the bottom.
#pragma once

#include "Dravin/engine/item_cells.h"

// One include group, as the grid sees it.
struct TGridGroup {
    Box3 bounds;      // distribution frame
    Box3 uncut;       // the same before a camera's view cut them; empty when none did
    TAreaTest areas;  // with the group's settings
    TAreaGeometry rows;
    int index = 0;
};

// The object's settings, with the group's own texture in place of the map.
TGridSettings GroupGrid(const TBuildInput& input, const TAreaSettings& area);

// Rows and columns of a grid in pieces of about the same number of cells, which follow from the
// grid alone. Every N-th row and column is used.
class TGridPieces {
public:
    TGridPieces(const TGrid& grid, int32_t decimation);

    struct Piece {
        int64_t firstRow, endRow, firstColumn, endColumn;  // global indices
    };
    size_t Count() const { return m_rowPieces * m_columnPieces; }
    Piece operator[](size_t i) const;
    // Cells of all pieces, those between used ones included.
    int64_t NumCells() const { return m_columns * m_rows; }

private:
    int64_t m_firstRow, m_firstColumn, m_rows, m_columns;
    int64_t m_rowsInPiece, m_columnsInPiece;
    size_t m_rowPieces, m_columnPieces;
};

class TGridSource : public IItemSource {
public:
    // The input and the group outlive the source.
    TGridSource(const TBuildInput& input, const TGridGroup& group, const TGrid& grid,
                int32_t decimation);

    const TCellRules& Rules() const override { return m_rules; }
    size_t NumPieces() const override { return m_pieces.Count(); }
    std::unique_ptr<ICellReader> Read(size_t piece) const override;
    int64_t NumUnits() const override { return m_pieces.NumCells(); }
    const TGrid& Grid() const { return m_grid; }
    // Whether the cells are pixels of the input's image, not of a texture.
    bool IsImage() const;

private:
    const TBuildInput& m_input;
    const TGridGroup& m_group;
    const TGrid m_grid;
    int32_t m_decimation;
    TGridPieces m_pieces;
    TCellRules m_rules;
};

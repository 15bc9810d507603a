// Image mode in the mapping of a surface: the map lies in texture space, and an item stands
// wherever its cell's coordinates are on the surface.
#pragma once

#include "Dravin/engine/item_cells.h"
#include "Dravin/engine/source_grid.h"

// One surface of the distribution.
struct TUvSurface {
    const TSurfaceInput& surface;
    TGrid grid;
    float perUnit = 1;  // object units in a texture unit
    int index = 0;      // in the input's surfaces
};

class TUvSource : public IItemSource {
public:
    // The input and the geometry outlive the source.
    TUvSource(const TBuildInput& input, const TGeometryChoice& geometry, const TUvSurface& uv,
              int32_t decimation);

    const TCellRules& Rules() const override { return m_rules; }
    size_t NumPieces() const override { return m_pieces.Count(); }
    std::unique_ptr<ICellReader> Read(size_t piece) const override;
    int64_t NumUnits() const override { return m_pieces.NumCells(); }

private:
    const TBuildInput& m_input;
    const TUvSurface m_uv;
    int32_t m_decimation;
    TGridPieces m_pieces;
    TCellRules m_rules;
};

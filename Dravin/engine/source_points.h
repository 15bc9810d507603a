// Point modes: items along paths, at reference objects, on faces of reference meshes, at particles.
#pragma once

#include "Dravin/engine/item_cells.h"

// A list of source points by number.
class IPointList {
public:
    virtual ~IPointList() = default;
    virtual size_t Count() const = 0;
    // Puts point i into cell c, whose columns hold the defaults of a point; false where it makes
    // nothing. Thread safe.
    virtual bool Get(size_t i, TCells& cells, size_t c) const = 0;
};

class TPointSource : public IItemSource {
public:
    // The input outlives the source.
    TPointSource(const TBuildInput& input, std::unique_ptr<IPointList> points);

    const TCellRules& Rules() const override { return m_rules; }
    int64_t NumUnits() const override { return int64_t(m_points->Count()); }
    size_t NumPieces() const override;
    std::unique_ptr<ICellReader> Read(size_t piece) const override;

private:
    const TBuildInput& m_input;
    std::unique_ptr<IPointList> m_points;
    TCellRules m_rules;
};

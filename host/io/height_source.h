// A file of heights, read row by row: what images and ESRI grids have in common.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>

#include "host/io/geo_tiff.h"

class IHeightSource {
public:
    virtual ~IHeightSource() = default;
    int Columns() const { return m_columns; }
    int Rows() const { return m_rows; }
    const GeoScale& Scale() const { return m_scale; }

    // What rows hold: the file's own numbers, or integers over their whole range as 0 to 1.
    enum class Values { kOwn, kUnit };
    // Hears one row, Columns() values, NaN where the file has no data.
    using RowVisitor = std::function<void(std::span<const float>)>;
    // Reads the rows [0, last) from the top, calling visit for those from `first` on. Once only.
    // False with a reason in `error`.
    virtual bool ReadRows(int first, int last, Values values, const RowVisitor& visit,
                          std::string* error) = 0;

protected:
    int m_columns = 0, m_rows = 0;
    GeoScale m_scale;
};

struct OpenedHeights {
    std::unique_ptr<IHeightSource> source;  // null with a reason in `error`
    std::string error;
    bool isLimit = false;
};
// Tells the kind by the file's first bytes: images by their marks, ESRI grids by their first word.
OpenedHeights OpenHeights(const std::string& file);

// The two kinds.
OpenedHeights OpenHeightImage(const std::string& file);
OpenedHeights OpenAscGrid(const std::string& file);
// Whether these first bytes of a file are those of an ESRI grid.
bool IsAscGrid(std::string_view head);

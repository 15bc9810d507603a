// Rows of the lists in rollouts: geometry, areas, effects. Lists of nodes: node_picks.h.
//
// Row operations are commands (`geometry.delete` and its like); here rows are read and cells are
// set. One thread, the scene's, where its session is current.
#pragma once

#include <string>
#include <vector>

#include "Dravin/panels/panel_values.h"

class TPanelRows {
public:
    TPanelRows(const TPanel& panel, const TPanelList& list) : m_panel(panel), m_list(list) {}

    // Of the panel's first thing; 0 without one.
    int Count() const;
    // What a cell shows; "-" where the list is shorter.
    std::string Cell(int row, int column) const;
    // Whether a column of truth values is on there.
    bool IsOn(int row, int column) const;
    // Number entries, texts, names of nodes, maps and materials, three numbers for a colour, or one
    // of the column's entries.
    TPanelResult SetCell(int row, int column, const std::string& text);

    // None where the list is shorter.
    std::optional<ParamValue> Value(int row, int column) const;

private:
    std::optional<ValueTable> Table(int column) const;
    bool ReadCell(const TListColumn& column, const ParamValue& present, const std::string& text,
                  ParamInput* input, std::string* error) const;

    const TPanel& m_panel;
    const TPanelList& m_list;
};

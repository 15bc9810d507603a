// A row of a table, kept to be pasted into tables with the same columns.
//
// Values are copied; nodes, materials and maps are referred to, and a node that is deleted
// meanwhile is pasted as none. One thread.
#pragma once

#include <deque>
#include <optional>
#include <vector>

#include "common/pbstore/pb_store.h"

class PBClipboard : public ReferenceMaker {
public:
    bool IsEmpty() const { return m_values.empty(); }

    // Copies the only selected row, at time t; with none or several the user is told and nothing
    // changes. idColumn: the parameter that tells rows apart, which a pasted row gets anew (-1).
    bool Copy(PBStore& rows, std::optional<ParamID> idColumn, TimeValue t);
    // Appends the row and selects it, in one undo step. With an empty clipboard, or one of other
    // columns, the user is told.
    bool Paste(PBStore& rows, TimeValue t);

private:
    std::vector<ParamID> m_columns;
    std::vector<ParamValue> m_values;                  // by column; targets stand below
    std::deque<Reference<ReferenceTarget>> m_targets;  // by column
};

inline constexpr const char* kEmptyClipboardMessage = "The clipboard is empty";

// A table over the list parameters of a block: column c of row i is element i of column c's list.
//
// The lists of a table should be equally long, but files may bring them otherwise: the number of
// rows is the length of the key column, and reading or writing at or beyond a column's end first
// grows every column that is shorter. Growing never shortens. Row operations act on all columns at
// once, are one undo step that brings the selection back too, and leave no step when they change
// nothing.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "host/base/signal.h"
#include "host/params/param_block.h"

struct PBColumn {
    ParamID id;
    // What an inserted row holds here; none: the parameter's declared element default.
    std::optional<ParamValue> rowDefault;
};

class PBStore {
public:
    // The block must hold every column as a list (asserted). keyColumn counts the rows.
    PBStore(std::shared_ptr<IParamBlock2> block, std::vector<PBColumn> columns, int keyColumn = 0);

    IParamBlock2& Block() const { return *m_block; }
    int NumColumns() const { return int(m_columns.size()); }
    ParamID ColumnId(int column) const { return m_columns[size_t(column)].id; }

    int Count() const;
    // Grows every shorter column to n rows with the declared defaults. No undo step of its own.
    void EnsureRows(int n);

    // The value of a cell. False for a negative row or an unknown column, which is logged as an
    // error. Text reaches the caller as it is stored; `maxCharacters`, where given, cuts it.
    bool Get(int column, int row, TimeValue t, ParamValue* value,
             std::optional<size_t> maxCharacters = {});
    bool Set(int column, int row, TimeValue t, ParamValue value);

    // A row before `at`, 0 to Count, with the rows' defaults. False outside.
    bool Insert(int at);
    // Repeated and invalid rows are ignored.
    void Delete(std::vector<int> rows);
    // The row stands at index `to` afterwards. Fixed rows neither move nor are passed: such moves,
    // and those with invalid indices, do nothing (false).
    bool Move(int from, int to);

    // Rows at the start and the end that stay where they are.
    void SetFixedRows(int leading, int trailing) { m_leading = leading, m_trailing = trailing; }
    bool IsMovable(int row) const { return row >= m_leading && row < Count() - m_trailing; }

    // Selected rows, ascending and within the table.
    std::vector<int> GetSelection() const;
    void Select(std::vector<int> rows);
    // Sent after the rows or the selection changed, by undo too.
    Signal<>& Changed() { return m_selection->changed; }

    // Moves the only selected row by one place; the selection follows it. With several rows
    // selected a message is shown and nothing changes; with none nothing happens.
    bool MoveUp() { return MoveSelected(-1); }
    bool MoveDown() { return MoveSelected(+1); }
    // The only selected row, for operations that need exactly one; with several (or, where one is
    // required, with none) the message is shown and there is none.
    std::optional<int> SingleSelection(bool required) const;

    // What a control over this column shows: the first selected row's value; none without
    // selection.
    std::optional<ParamValue> GetSelected(int column, TimeValue t);
    // Writes all selected rows, in one undo step; none when they all hold the value already.
    void SetSelected(int column, TimeValue t, const ParamValue& value);

private:
    friend class PBStoreListRestore;
    struct Selection {
        std::vector<int> rows;
        Signal<> changed;
    };
    class Step;
    bool IsCell(int column, int row) const;
    bool Holds(int column, int row, TimeValue t, const ParamValue& value) const;
    bool MoveSelected(int by);
    // Rewrites every column by a function of its elements.
    void RewriteColumns(const std::function<void(int column, std::vector<ParamElement>&)>& rewrite);

    std::shared_ptr<IParamBlock2> m_block;
    std::vector<PBColumn> m_columns;
    int m_keyColumn;
    int m_leading = 0, m_trailing = 0;
    std::shared_ptr<Selection> m_selection = std::make_shared<Selection>();
};

// Shown where one row is needed and several are selected.
inline constexpr const char* kMultipleSelectionMessage =
    "It is no possible to do this operation with multiple items selected";
inline constexpr const char* kMessageCaption = "Tavu Software";

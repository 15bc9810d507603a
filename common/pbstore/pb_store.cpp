#include "common/pbstore/pb_store.h"

#include <algorithm>
#include <cassert>

#include <fmt/format.h>

#include "host/base/log.h"
#include "host/base/text.h"
#include "host/scene/host_context.h"

// Brings the selection back; the columns put records of their own into the same step. It is put
// first, so that undo runs it last, when the rows stand again.
class PBStoreListRestore : public RestoreObj {
public:
    PBStoreListRestore(std::shared_ptr<PBStore::Selection> selection)
        : m_selection(std::move(selection)), m_before(m_selection->rows) {}

    void Restore(bool isUndo) override {
        if (isUndo) m_after = m_selection->rows;
        Put(m_before);
    }
    void Redo() override { Put(m_after); }

private:
    void Put(const std::vector<int>& rows) {
        m_selection->rows = rows;
        m_selection->changed.Send();
    }

    std::shared_ptr<PBStore::Selection> m_selection;
    std::vector<int> m_before, m_after;
};

// One undo step around a row operation, inside the caller's where one is open.
class PBStore::Step {
public:
    Step(PBStore& store, const char* name) : m_store(store), m_name(name), m_hold(CurrentHold()) {
        if (!m_hold) return;
        m_hold->Begin();
        m_hold->Put(std::make_unique<PBStoreListRestore>(store.m_selection));
    }
    ~Step() {
        if (m_hold) m_hold->Accept(m_name);
        m_store.m_selection->changed.Send();
    }
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;

private:
    PBStore& m_store;
    const char* m_name;
    Hold* m_hold;
};

PBStore::PBStore(std::shared_ptr<IParamBlock2> block, std::vector<PBColumn> columns, int keyColumn)
    : m_block(std::move(block)), m_columns(std::move(columns)), m_keyColumn(keyColumn) {
    for ([[maybe_unused]] const PBColumn& column : m_columns) {
        assert(m_block->GetDesc().Find(column.id) && m_block->GetDesc().Find(column.id)->list);
    }
}

int PBStore::Count() const { return m_block->Count(ColumnId(m_keyColumn)); }

void PBStore::EnsureRows(int n) {
    NotifySuspender quiet(*m_block);
    for (const PBColumn& column : m_columns)
        if (m_block->Count(column.id) < n) m_block->SetCount(column.id, n);
}

bool PBStore::IsCell(int column, int row) const {
    if (row >= 0 && column >= 0 && column < NumColumns()) return true;
    LogError(fmt::format("{}: there is no row {} or column {} of {}", m_block->GetDesc().name, row,
                         column, NumColumns()));
    return false;
}

bool PBStore::Get(int column, int row, TimeValue t, ParamValue* value,
                  std::optional<size_t> maxCharacters) {
    if (!IsCell(column, row)) return false;
    if (row >= m_block->Count(ColumnId(column))) EnsureRows(row + 1);
    *value = m_block->GetValue(ColumnId(column), t, row);
    if (auto* text = std::get_if<std::string>(value); text && maxCharacters)
        *text = CutText(*text, *maxCharacters);
    return true;
}

bool PBStore::Set(int column, int row, TimeValue t, ParamValue value) {
    if (!IsCell(column, row)) return false;
    if (row >= m_block->Count(ColumnId(column))) EnsureRows(row + 1);
    return m_block->SetValue(ColumnId(column), t, std::move(value), row);
}

void PBStore::RewriteColumns(
    const std::function<void(int column, std::vector<ParamElement>&)>& rewrite) {
    EnsureRows(Count());
    for (int column = 0; column < NumColumns(); ++column) {
        std::vector<ParamElement> elements = m_block->GetElements(ColumnId(column));
        rewrite(column, elements);
        m_block->SetElements(ColumnId(column), std::move(elements));
    }
}

bool PBStore::Insert(int at) {
    if (at < 0 || at > Count()) return false;
    Step step(*this, "Insert");
    RewriteColumns([this, at](int column, std::vector<ParamElement>& elements) {
        const PBColumn& c = m_columns[size_t(column)];
        const ParamValue& value =
            c.rowDefault ? *c.rowDefault : m_block->GetDesc().Find(c.id)->defaultValue;
        elements.insert(elements.begin() + at, {value, {}});
    });
    for (int& row : m_selection->rows)
        if (row >= at) ++row;
    return true;
}

void PBStore::Delete(std::vector<int> rows) {
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::erase_if(rows, [this](int row) { return row < 0 || row >= Count(); });
    if (rows.empty()) return;
    Step step(*this, "Delete");
    RewriteColumns([&rows](int, std::vector<ParamElement>& elements) {
        for (size_t i = rows.size(); i-- > 0;) elements.erase(elements.begin() + rows[i]);
    });
    m_selection->rows.clear();
}

bool PBStore::Move(int from, int to) {
    if (from == to || !IsMovable(from) || !IsMovable(to)) return false;
    Step step(*this, "Move");
    RewriteColumns([from, to](int, std::vector<ParamElement>& elements) {
        auto at = elements.begin();
        if (from < to)
            std::rotate(at + from, at + from + 1, at + to + 1);
        else
            std::rotate(at + to, at + from, at + from + 1);
    });
    for (int& row : m_selection->rows) {
        if (row == from)
            row = to;
        else if (from < row && row <= to)
            --row;
        else if (to <= row && row < from)
            ++row;
    }
    std::sort(m_selection->rows.begin(), m_selection->rows.end());
    return true;
}

std::vector<int> PBStore::GetSelection() const {
    std::vector<int> rows = m_selection->rows;
    std::erase_if(rows, [this](int row) { return row >= Count(); });
    return rows;
}

void PBStore::Select(std::vector<int> rows) {
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::erase_if(rows, [this](int row) { return row < 0 || row >= Count(); });
    if (rows == m_selection->rows) return;
    m_selection->rows = std::move(rows);
    m_selection->changed.Send();
}

std::optional<int> PBStore::SingleSelection(bool required) const {
    std::vector<int> rows = GetSelection();
    if (rows.size() == 1) return rows[0];
    HostContext* context = HostContext::Current();
    if ((required || !rows.empty()) && context)
        context->UserInterface().MessageBox(kMultipleSelectionMessage, kMessageCaption);
    return std::nullopt;
}

bool PBStore::MoveSelected(int by) {
    std::optional<int> row = SingleSelection(false);
    return row && Move(*row, *row + by);
}

std::optional<ParamValue> PBStore::GetSelected(int column, TimeValue t) {
    std::vector<int> rows = GetSelection();
    ParamValue value;
    if (rows.empty() || !Get(column, rows[0], t, &value)) return std::nullopt;
    return value;
}

void PBStore::SetSelected(int column, TimeValue t, const ParamValue& value) {
    std::vector<int> rows = GetSelection();
    // A key may be wanted where the value stays; otherwise rows that hold it already stay alone.
    HostContext* context = HostContext::Current();
    if (!context || !context->IsAnimating())
        std::erase_if(rows, [&](int row) { return Holds(column, row, t, value); });
    if (rows.empty()) return;
    Step step(*this, "Change");
    for (int row : rows) Set(column, row, t, value);
}

bool PBStore::Holds(int column, int row, TimeValue t, const ParamValue& value) const {
    ParamID id = ColumnId(column);
    return row < m_block->Count(id) && m_block->GetValue(id, t, row) == value;
}

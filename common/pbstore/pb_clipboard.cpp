#include "common/pbstore/pb_clipboard.h"

#include "host/scene/host_context.h"

using TargetPtr = std::shared_ptr<ReferenceTarget>;

namespace {

std::vector<ParamID> ColumnsOf(const PBStore& rows) {
    std::vector<ParamID> columns;
    for (int c = 0; c < rows.NumColumns(); ++c) columns.push_back(rows.ColumnId(c));
    return columns;
}

}  // namespace

bool PBClipboard::Copy(PBStore& rows, std::optional<ParamID> idColumn, TimeValue t) {
    std::optional<int> row = rows.SingleSelection(true);
    if (!row) return false;
    m_columns = ColumnsOf(rows);
    m_values.clear();
    m_targets.clear();
    for (int c = 0; c < rows.NumColumns(); ++c) {
        ParamValue value;
        rows.Get(c, *row, t, &value);
        if (idColumn && rows.ColumnId(c) == *idColumn) value = int32_t{-1};
        auto* target = std::get_if<TargetPtr>(&value);
        m_targets.emplace_back(this) = target ? *target : nullptr;
        m_values.push_back(target ? ParamValue(TargetPtr()) : std::move(value));
    }
    return true;
}

bool PBClipboard::Paste(PBStore& rows, TimeValue t) {
    HostContext* context = HostContext::Current();
    if (IsEmpty() || m_columns != ColumnsOf(rows)) {
        if (context) context->UserInterface().MessageBox(kEmptyClipboardMessage, kMessageCaption);
        return false;
    }
    Hold* hold = CurrentHold();
    if (hold) hold->Begin();
    int row = rows.Count();
    rows.Insert(row);
    for (int c = 0; c < rows.NumColumns(); ++c) {
        bool isTarget = std::holds_alternative<TargetPtr>(m_values[size_t(c)]);
        rows.Set(c, row, t, isTarget ? m_targets[size_t(c)].Share() : m_values[size_t(c)]);
    }
    rows.Select({row});
    if (hold) hold->Accept("Paste");
    return true;
}

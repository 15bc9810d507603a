#include "Dravin/panels/panel_list.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "Dravin/materials/scene_looks.h"
#include "host/base/text.h"
#include "host/io/scene_description.h"
#include "host/params/param_assign.h"
#include "host/params/undo_step.h"
#include "host/scene/scene.h"

namespace {

// The number of the entry of that name; -1: none.
int EntryNumber(const TListColumn& column, const std::string& text) {
    auto it = std::find(column.entries.begin(), column.entries.end(), text);
    return it == column.entries.end() ? -1 : int(it - column.entries.begin());
}

}  // namespace

std::optional<ValueTable> TPanelRows::Table(int column) const {
    if (m_panel.IsEmpty()) return std::nullopt;
    return ValueTableOf(*m_panel.All()[0], *m_list.columns[size_t(column)].key.table);
}

int TPanelRows::Count() const {
    int count = 0;
    for (int i = 0; i < int(m_list.columns.size()); ++i)
        if (std::optional<ValueTable> table = Table(i))
            count = std::max(count, table->Count(m_list.columns[size_t(i)].key.id));
    return count;
}

bool TPanelRows::IsOn(int row, int column) const {
    std::optional<ParamValue> value = Value(row, column);
    return value && std::get<int32_t>(*value) != 0;
}

std::optional<ParamValue> TPanelRows::Value(int row, int column) const {
    std::optional<ValueTable> table = Table(column);
    ParamID id = m_list.columns[size_t(column)].key.id;
    if (!table || row >= table->Count(id)) return std::nullopt;
    return table->Get(id, m_panel.GetScene().GetTime(), row);
}

std::string TPanelRows::Cell(int row, int column) const {
    const TListColumn& shown = m_list.columns[size_t(column)];
    std::optional<ParamValue> value = Value(row, column);
    if (!value) return "-";
    if (auto* target = std::get_if<std::shared_ptr<ReferenceTarget>>(&*value))
        return *target ? LookName(m_panel.GetScene(), target->get()) : "None";
    if (auto* text = std::get_if<std::string>(&*value)) return *text;
    if (auto* fraction = std::get_if<float>(&*value)) return ShownNumber(*fraction);
    if (auto* color = std::get_if<Color>(&*value))
        return fmt::format("{} {} {}", ShownNumber(color->r), ShownNumber(color->g),
                           ShownNumber(color->b));
    int number = std::get<int32_t>(*value);
    bool isNamed = number >= 0 && size_t(number) < shown.entries.size();
    if (isNamed) return shown.entries[size_t(number)];
    bool isTruth = shown.key.Def().type == ParamType::kBool;
    return isTruth ? (number ? "on" : "off") : std::to_string(number);
}

// What a text means for a cell that holds `present`. False with the reason in `error`.
bool TPanelRows::ReadCell(const TListColumn& column, const ParamValue& present,
                          const std::string& text, ParamInput* input, std::string* error) const {
    const ParamDef& def = column.key.Def();
    input->value = text;
    if (int entry = EntryNumber(column, text); entry >= 0) {
        input->value = int64_t(entry);
    } else if (IsReferenceType(def.type)) {
        if (text.empty() || text == "None") input->value = std::monostate();
    } else if (def.type == ParamType::kBool) {
        input->value = text == "on" || text == "1";
    } else if (def.type == ParamType::kColor) {
        ParamInput::Array parts;
        for (const std::string& part : Split(text, ' ')) {
            if (part.empty()) continue;
            std::optional<double> number = ParseNumber(part);
            if (!number) return *error = "red, green and blue are expected", false;
            parts.emplace_back(*number);
        }
        input->value = std::move(parts);
    } else if (IsNumberType(def.type)) {
        TNumberEntry entered;
        double number = 0;
        auto* fraction = std::get_if<float>(&present);
        double before = fraction ? double(*fraction) : double(std::get<int32_t>(present));
        if (!entered.Parse(text, m_panel.FormOf(column.key), error)) return false;
        if (!entered.Apply(before, &number, error)) return false;
        constexpr double kLargest = 2147483647.0;
        if (!fraction) number = std::clamp(std::round(number), -kLargest, kLargest);
        if (fraction)
            input->value = number;
        else
            input->value = int64_t(number);
    }
    return true;
}

TPanelResult TPanelRows::SetCell(int row, int column, const std::string& text) {
    const TListColumn& shown = m_list.columns[size_t(column)];
    std::optional<ParamValue> present = Value(row, column);
    if (!present) return {"the list has no such row", {}};
    TPanelResult wrong;
    ParamInput input;
    if (!ReadCell(shown, *present, text, &input, &wrong.error)) return wrong;
    Scene& scene = m_panel.GetScene();
    UndoStep step("Set " + shown.title);
    AssignResult result =
        Table(column)->Assign(shown.key.Def(), row, input, scene.GetTime(), ResolverOf(scene));
    if (!result) step.Cancel();
    return {std::move(result.error), std::move(result.warnings)};
}

#include "Dravin/panels/panel_list.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "host/io/scene_description.h"
#include "host/params/param_assign.h"
#include "host/params/undo_step.h"
#include "host/scene/scene.h"

namespace {

std::string TargetText(const Scene& scene, ParamType type, const ReferenceTarget* target) {
    if (!target) return "None";
    if (auto* node = dynamic_cast<const INode*>(target)) return node->GetName();
    for (const auto& [name, map] : scene.Texmaps())
        if (map.get() == target) return name;
    for (const auto& [name, material] : scene.Materials())
        if (material.get() == target) return name;
    return target->ClassName();
}

// The number of the entry of that name; -1: none.
int EntryNumber(const TListColumn& column, const std::string& text) {
    auto it = std::find(column.entries.begin(), column.entries.end(), text);
    return it == column.entries.end() ? -1 : int(it - column.entries.begin());
}

}  // namespace

const IParamBlock2* TPanelRows::Block(int column) const {
    if (m_panel.IsEmpty()) return nullptr;
    return &m_panel.Objects()[0]->Block(m_list.columns[size_t(column)].key.block);
}

int TPanelRows::Count() const {
    int count = 0;
    for (int i = 0; i < int(m_list.columns.size()); ++i)
        if (const IParamBlock2* block = Block(i))
            count = std::max(count, block->Count(m_list.columns[size_t(i)].key.id));
    return count;
}

bool TPanelRows::IsOn(int row, int column) const {
    const IParamBlock2* block = Block(column);
    ParamID id = m_list.columns[size_t(column)].key.id;
    return block && row < block->Count(id) && block->GetBool(id, 0, row);
}

std::string TPanelRows::Cell(int row, int column) const {
    const TListColumn& shown = m_list.columns[size_t(column)];
    const ParamDef& def = shown.key.Def();
    const IParamBlock2* block = Block(column);
    TimeValue t = m_panel.GetScene().GetTime();
    if (!block || row >= block->Count(def.id)) return "-";
    if (IsReferenceType(def.type))
        return TargetText(m_panel.GetScene(), def.type, block->GetReference(def.id, t, row));
    if (def.type == ParamType::kString) return block->GetString(def.id, t, row);
    if (def.type == ParamType::kFloat || def.type == ParamType::kWorld)
        return ShownNumber(block->GetFloat(def.id, t, row));
    int number = block->GetInt(def.id, t, row);
    bool isNamed = number >= 0 && size_t(number) < shown.entries.size();
    if (isNamed) return shown.entries[size_t(number)];
    return def.type == ParamType::kBool ? (number ? "on" : "off") : std::to_string(number);
}

TPanelResult TPanelRows::SetCell(int row, int column, const std::string& text) {
    const TListColumn& shown = m_list.columns[size_t(column)];
    const ParamDef& def = shown.key.Def();
    const IParamBlock2* read = Block(column);
    if (!read || row >= read->Count(def.id)) return {"the list has no such row", {}};
    IParamBlock2& block = m_panel.Objects()[0]->Block(shown.key.block);
    TimeValue t = m_panel.GetScene().GetTime();
    ParamInput input{text};
    if (int entry = EntryNumber(shown, text); entry >= 0) {
        input = ParamInput(entry);
    } else if (IsReferenceType(def.type)) {
        if (text.empty() || text == "None") input = ParamInput();
    } else if (def.type == ParamType::kBool) {
        input = ParamInput(text == "on" || text == "1");
    } else if (IsNumberType(def.type)) {
        TNumberEntry entered;
        TPanelResult result;
        double number = 0;
        bool isFraction = def.type == ParamType::kFloat || def.type == ParamType::kWorld;
        double present = isFraction ? block.GetFloat(def.id, t, row) : block.GetInt(def.id, t, row);
        if (!entered.Parse(text, m_panel.FormOf(shown.key), &result.error)) return result;
        if (!entered.Apply(present, &number, &result.error)) return result;
        constexpr double kLargest = 2147483647.0;
        number = isFraction ? number : std::clamp(std::round(number), -kLargest, kLargest);
        input = isFraction ? ParamInput(number) : ParamInput(int64_t(number));
    }
    UndoStep step("Set " + shown.title);
    AssignResult result = AssignElement(block, def, row, input, t, AssignSource::kScript,
                                        ResolverOf(m_panel.GetScene()));
    if (!result) step.Cancel();
    return {std::move(result.error), std::move(result.warnings)};
}

TPanelResult AddNodeToList(TPanel& panel, TParamKey key, const std::string& name) {
    INode* node = panel.GetScene().FindNode(name);
    if (!node) return {fmt::format("the scene has no node \"{}\"", name), {}};
    UndoStep step("Object Added");
    for (TDravin* object : panel.Objects()) {
        IParamBlock2& block = object->Block(key.block);
        if (!block.Accepts(key.id, node)) {
            step.Cancel();
            return {fmt::format("\"{}\" is not {}", name, ClassTestName(key.Def().only)), {}};
        }
        bool isThere = false;
        for (int i = 0; i < block.Count(key.id); ++i)
            isThere |= block.GetReference(key.id, 0, i) == node;
        if (!isThere)
            block.Append(key.id, std::shared_ptr<ReferenceTarget>(node->shared_from_this()));
    }
    return {};
}

TPanelResult RemoveNodeFromList(TPanel& panel, TParamKey key, const std::string& name) {
    UndoStep step("Object Removed");
    for (TDravin* object : panel.Objects()) {
        IParamBlock2& block = object->Block(key.block);
        for (int i = block.Count(key.id); i-- > 0;) {
            auto* node = dynamic_cast<INode*>(block.GetReference(key.id, 0, i));
            if (node && node->GetName() == name) block.Delete(key.id, i);
        }
    }
    return {};
}

#include "Dravin/effects/effect_commands.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/effect_kinds.h"
#include "Dravin/effects/effect_list.h"
#include "Dravin/effects/tavuvm_expr/language.h"
#include "host/base/text.h"
#include "host/scene/host_context.h"

using namespace effectParams;

namespace {

constexpr const char* kListLocked =
    "This operation is not allowed while Effects Editor or Browser is open.\n"
    "Please close it and try again.";
constexpr const char* kNothingSelected =
    "There is not any Effect selected.\nPlease select or add a new one before editing it.";
constexpr const char* kBrowserOpen =
    "Effects Library is open. Please close it before open the Editor";
constexpr const char* kEditorOpen =
    "Effects Editor is open. Please close it before open the Library Browser";

// Id, owner, kind, name, limit, description and kind of number.
constexpr size_t kNumFixed = 7;

std::vector<PBColumn> Columns(std::span<const ParamID> ids) {
    std::vector<PBColumn> columns;
    for (ParamID id : ids) columns.push_back({id, {}});
    return columns;
}

void Warn(const char* text) {
    if (HostContext* context = HostContext::Current())
        context->UserInterface().MessageBox(text, kMessageCaption, MessageKind::kWarning);
}

}  // namespace

TEffectCommands::TEffectCommands(std::shared_ptr<IParamBlock2> block, std::function<void()> mark)
    : m_block(block),
      m_effects(block, Columns(EffectColumns())),
      m_parameters(block, mark),
      m_mark(std::move(mark)) {}

std::string TEffectCommands::IdOf(int row) const { return m_block->GetString(kEfidlist, 0, row); }

int TEffectCommands::Find(const std::string& idOrName) const {
    for (int i = 0; i < Count(); ++i)
        if (IdOf(i) == idOrName) return i;
    std::string wanted = tavuvm_expr::folded(idOrName);
    for (int i = 0; i < m_block->Count(kEfnamelist); ++i)
        if (tavuvm_expr::folded(m_block->GetString(kEfnamelist, 0, i)) == wanted) return i;
    return -1;
}

bool TEffectCommands::IsRefused() const {
    if (m_editor < 0 && m_browser < 0) return false;
    Warn(kListLocked);
    return true;
}

std::optional<int> TEffectCommands::SelectedEffect() const {
    std::vector<int> rows = m_effects.GetSelection();
    return rows.empty() ? std::nullopt : std::optional(rows.front());
}

// --- the list

std::optional<int> TEffectCommands::Add() {
    if (IsRefused()) return std::nullopt;
    int row = m_effects.Count();
    std::string id = MakeFreshId(*m_block, kEfidlist);
    {
        TEffectStep step(*m_block, "Add Effect", m_mark);
        m_effects.Insert(row);
        m_effects.Set(0, row, 0, id);
        m_effects.Set(1, row, 0, fmt::format("Effect{}", row + 1));
        m_effects.Set(2, row, 0, std::string());
        m_effects.Set(3, row, 0, int32_t{1});
    }
    m_effects.Select({row});
    return row;
}

bool TEffectCommands::Delete() {
    if (IsRefused()) return false;
    std::optional<int> row = SelectedEffect();
    if (!row) {
        Warn(kNothingSelected);
        return false;
    }
    TEffectStep step(*m_block, "Delete Effect", m_mark);
    m_parameters.Delete(m_parameters.RowsOf(IdOf(*row)));
    m_effects.Delete({*row});
    return true;
}

bool TEffectCommands::Move(bool up) {
    if (IsRefused()) return false;
    UndoStep step("Move Effect");
    if (!(up ? m_effects.MoveUp() : m_effects.MoveDown())) return false;
    RecordMark(*m_block, m_mark);
    Mark();
    return true;
}

// --- one effect

void TEffectCommands::Rename(int row, const std::string& name) {
    TEffectStep step(*m_block, "Rename Effect", m_mark);
    // A definition that stands around plain program text has the effect's name as its title.
    std::string old = m_block->GetString(kEfnamelist, 0, row), program = Program(row);
    bool isPlain = m_block->GetString(kEfxmllist, 0, row) == WrapEffectProgram(program, old);
    m_effects.Set(1, row, 0, name);
    if (isPlain) m_effects.Set(2, row, 0, WrapEffectProgram(program, name));
}

void TEffectCommands::SetEnabled(int row, bool on) {
    TEffectStep step(*m_block, on ? "Enable Effect" : "Disable Effect", m_mark);
    m_effects.Set(3, row, 0, int32_t(on));
}

void TEffectCommands::SetText(int row, const std::string& text) {
    TEffectStep step(*m_block, "Edit Effect", m_mark);
    std::string name = m_block->GetString(kEfnamelist, 0, row);
    m_effects.Set(2, row, 0, IsEffectDefinition(text) ? text : WrapEffectProgram(text, name));
}

std::string TEffectCommands::Program(int row) const {
    auto definition = ReadEffectDefinition(m_block->GetString(kEfxmllist, 0, row), nullptr);
    return definition ? definition->expression : std::string();
}

void TEffectCommands::TakeDefinition(int row, const std::string& text) {
    TEffectStep step(*m_block, "Load Effect", m_mark);
    SetText(row, text);
    auto definition = ReadEffectDefinition(text, nullptr);
    if (!definition) return;
    if (!definition->title.empty()) Rename(row, definition->title);
    for (const TEffectParameterDefinition& p : definition->parameters) {
        if (m_parameters.FindName(IdOf(row), p.name) >= 0) continue;
        int kind = std::max(EffectKindOfWord(p.kind), 0);
        int added = m_parameters.Add(IdOf(row), p.name, kind);
        m_parameters.SetDescription(added, p.description);
        if (!kEffectKinds[kind].IsNumber()) continue;
        auto number = [](const std::string& s) { return double(ParseLeadingNumber(s)); };
        if (!p.value.empty()) {
            m_parameters.SetDefault(added, number(p.value));
            m_parameters.SetNumber(added, number(p.value));
        }
        if (!p.min.empty() && !p.max.empty())
            m_parameters.SetLimits(added, p.limit, number(p.min), number(p.max));
    }
}

// --- the windows

bool TEffectCommands::Toggle(int& index, int other, const char* otherOpen,
                             const std::function<bool()>& canClose) {
    std::optional<int> row = SelectedEffect();
    if (!row) {
        Warn(kNothingSelected);
        return false;
    }
    if (index < 0 && other >= 0) {
        Warn(otherOpen);
        return false;
    }
    if (index >= 0 && canClose && !canClose()) return false;
    index = index < 0 ? *row : -1;
    return true;
}

bool TEffectCommands::ToggleEditor(const std::function<bool()>& canClose) {
    return Toggle(m_editor, m_browser, kBrowserOpen, canClose);
}

bool TEffectCommands::ToggleBrowser(const std::function<bool()>& canClose) {
    return Toggle(m_browser, m_editor, kEditorOpen, canClose);
}

// --- parameters

int TEffectCommands::FindParameter(const std::string& id) const { return m_parameters.Find(id); }

void TEffectCommands::AddOrUpdateParameter(const TEffectParameterRecord& record) {
    TEffectStep step(*m_block, "Change Parameter", m_mark);
    int row = FindParameter(record.id);
    if (row < 0) row = m_parameters.Add(record.effectId, record.name, kEffectKindReal);
    PBStore& rows = m_parameters.Rows();
    const ParamValue fixed[kNumFixed] = {record.id,
                                         record.effectId,
                                         int32_t(record.kind),
                                         record.name,
                                         int32_t(record.limit),
                                         record.description,
                                         int32_t(record.numberKind)};
    for (size_t i = 0; i < kNumFixed; ++i) rows.Set(int(i), row, 0, fixed[i]);
    for (size_t c = kNumFixed; c < EffectParameterColumns().size(); ++c)
        if (auto it = record.values.find(EffectParameterColumns()[c]); it != record.values.end())
            rows.Set(int(c), row, 0, it->second.value);
}

TEffectParameterRecord TEffectCommands::ReadParameter(int row) const {
    TEffectParameterRecord record;
    record.id = m_block->GetString(kEfpaid, 0, row);
    record.effectId = m_block->GetString(kEfpaeffid, 0, row);
    record.name = m_block->GetString(kEfpaname, 0, row);
    record.description = m_block->GetString(kEfpadesc, 0, row);
    record.kind = m_block->GetInt(kEfpatype, 0, row);
    record.numberKind = m_block->GetInt(kEfpanumtype, 0, row);
    record.limit = m_block->GetInt(kEfpalimit, 0, row) != 0;
    for (size_t c = kNumFixed; c < EffectParameterColumns().size(); ++c) {
        std::vector<ParamElement> elements = m_block->GetElements(EffectParameterColumns()[c]);
        if (size_t(row) < elements.size())
            record.values[EffectParameterColumns()[c]] = elements[size_t(row)];
    }
    return record;
}

void TEffectCommands::ShowDescription(int row) const {
    HostContext* context = HostContext::Current();
    if (!context || row < 0 || row >= m_block->Count(kEfpaid)) return;
    std::string text = m_block->GetString(kEfpadesc, 0, row);
    context->UserInterface().MessageBox(text.empty() ? "No Description" : text,
                                        m_block->GetString(kEfpaname, 0, row));
}

void TEffectCommands::ClearTextures(const std::vector<int>& rows) {
    std::vector<int> there = rows;
    std::erase_if(there, [&](int r) { return r < 0 || r >= m_block->Count(kEfpatexmap); });
    if (there.empty()) return;
    TEffectStep step(*m_block, "Clear Texture", m_mark);
    for (int row : there)
        if (m_block->GetReference(kEfpatexmap, 0, row))
            m_block->SetValue(kEfpatexmap, 0, std::shared_ptr<ReferenceTarget>(), row);
}

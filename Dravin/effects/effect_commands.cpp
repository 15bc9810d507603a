#include "Dravin/effects/effect_commands.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>

#include <fmt/format.h>

#include "Dravin/effects/effect_list.h"
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

std::string MakeEffectId() {
    std::string id = "{";
    for (int length : {8, 4, 4, 4, 12}) {
        if (id.size() > 1) id += '-';
        for (int i = 0; i < length; ++i)
            id += "0123456789abcdef"[(std::rand() & 32767) * 16 / 32768];
    }
    return id + '}';
}

TEffectCommands::TEffectCommands(std::shared_ptr<IParamBlock2> block, std::function<void()> mark)
    : m_block(block),
      m_effects(block, Columns(EffectColumns())),
      m_parameters(block, Columns(EffectParameterColumns())),
      m_mark(std::move(mark)) {}

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
    std::set<std::string> taken;
    for (int i = 0; i < row; ++i) taken.insert(m_block->GetString(kEfidlist, 0, i));
    std::string id = MakeEffectId();
    while (taken.contains(id)) id = MakeEffectId();

    Hold* hold = CurrentHold();
    if (hold) hold->SuperBegin();
    m_effects.Insert(row);
    m_effects.Set(0, row, 0, id);
    m_effects.Set(1, row, 0, fmt::format("Effect{}", row + 1));
    m_effects.Set(2, row, 0, std::string());
    m_effects.Set(3, row, 0, int32_t{1});
    if (hold) hold->SuperAccept("Add Effect");
    m_effects.Select({row});
    Mark();
    return row;
}

bool TEffectCommands::Delete() {
    if (IsRefused()) return false;
    std::optional<int> row = SelectedEffect();
    if (!row) {
        Warn(kNothingSelected);
        return false;
    }
    std::string id = m_block->GetString(kEfidlist, 0, *row);
    std::vector<int> owned;
    for (int i = 0; i < m_parameters.Count(); ++i)
        if (m_block->GetString(kEfpaeffid, 0, i) == id) owned.push_back(i);

    Hold* hold = CurrentHold();
    if (hold) hold->SuperBegin();
    if (!owned.empty()) m_parameters.Delete(owned);
    m_effects.Delete({*row});
    if (hold) hold->SuperAccept("Delete Effect");
    Mark();
    return true;
}

bool TEffectCommands::MoveUp() {
    if (IsRefused() || !m_effects.MoveUp()) return false;
    Mark();
    return true;
}

bool TEffectCommands::MoveDown() {
    if (IsRefused() || !m_effects.MoveDown()) return false;
    Mark();
    return true;
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

int TEffectCommands::FindParameter(const std::string& id) const {
    for (int row = 0; row < m_block->Count(kEfpaid); ++row)
        if (m_block->GetString(kEfpaid, 0, row) == id) return row;
    return -1;
}

void TEffectCommands::AddOrUpdateParameter(const TEffectParameterRecord& record) {
    int row = FindParameter(record.id);
    if (row < 0) row = m_parameters.Count();
    m_parameters.EnsureRows(row + 1);
    const ParamValue fixed[kNumFixed] = {record.id,
                                         record.effectId,
                                         int32_t(record.kind),
                                         record.name,
                                         int32_t(record.limit),
                                         record.description,
                                         int32_t(record.numberKind)};
    for (size_t i = 0; i < kNumFixed; ++i) m_parameters.Set(int(i), row, 0, fixed[i]);
    for (size_t c = kNumFixed; c < EffectParameterColumns().size(); ++c)
        if (auto it = record.values.find(EffectParameterColumns()[c]); it != record.values.end())
            m_parameters.Set(int(c), row, 0, it->second.value);
    Mark();
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

void TEffectCommands::ClearTexture(int row) {
    if (row < 0 || row >= m_block->Count(kEfpaid)) return;
    if (m_block->GetReference(kEfpatexmap, 0, row))
        m_block->SetValue(kEfpatexmap, 0, std::shared_ptr<ReferenceTarget>(), row);
    Mark();
}

// --- folders

std::optional<TEffectsFolders> EffectsFolders(std::map<std::string, std::string>& values,
                                              const std::string& dataFolder,
                                              const std::string& documentsFolder,
                                              std::string* error) {
    auto make = [&](const std::filesystem::path& folder) {
        std::error_code code;
        std::filesystem::create_directories(folder, code);
        if (code && error)
            *error = fmt::format("{}: cannot make the folder: {}", folder.string(), code.message());
        return !code;
    };
    auto user = std::find_if(values.begin(), values.end(),
                             [](const auto& v) { return v.first != "effects"; });
    if (user == values.end()) {
        std::filesystem::path folder =
            std::filesystem::path(documentsFolder) / "Dravin Pack" / "effects";
        if (!make(folder)) return std::nullopt;
        user = values.emplace("User's Effects", folder.string()).first;
    }
    if (!values.contains("effects")) {
        std::filesystem::path folder = std::filesystem::path(dataFolder) / "effects";
        if (!make(folder)) return std::nullopt;
        values["effects"] = folder.string();
    }
    return TEffectsFolders{values["effects"], user->second};
}

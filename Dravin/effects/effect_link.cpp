#include "Dravin/effects/effect_link.h"

#include <fmt/format.h>

#include "host/base/log.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

constexpr const char* kSource = "Dravin/TQtLink";

bool Fail(std::string* error) {
    if (error) *error = kLinkError;
    return false;
}

}  // namespace

std::string LinkNumberText(int32_t value) {
    return value == kUndefinedNumber ? "undefined" : fmt::format("{}", value);
}

TQtLink::TQtLink(TEffectCommands& effects, Scene& scene, Windows windows)
    : m_effects(effects), m_scene(scene), m_windows(std::move(windows)) {}

bool TQtLink::Connect() {
    if (!m_windows.connect || m_windows.connect()) return true;
    LogError(fmt::format("{}: {}", kSource, "the windows could not be shown"));
    if (HostContext* context = HostContext::Current())
        context->UserInterface().MessageBox(kNoConnection, kSource, MessageKind::kError);
    return false;
}

std::map<std::string, std::string> TQtLink::Description() const {
    return {{"version", m_windows.version},
            {"platform", m_windows.platform},
            {"renderer", m_windows.renderer}};
}

std::optional<std::string> TQtLink::NodeName(uint32_t handle, std::string* error) const {
    if (const INode* node = m_scene.FindHandle(handle)) return node->GetName();
    Fail(error);
    return std::nullopt;
}

bool TQtLink::SetNodeField(uint32_t handle, const std::string& field, const std::string& text,
                           std::string* error) {
    INode* node = m_scene.FindHandle(handle);
    if (!node || field.empty()) return Fail(error);
    UndoStep step("Change Node");
    if (field == "name")
        node->SetName(text);
    else
        node->SetUserProperty(field, text);
    return true;
}

bool TQtLink::Begin(const std::string& effectId, std::string* error) {
    int row = -1;
    for (int i = 0; i < m_effects.Count(); ++i)
        if (m_effects.IdOf(i) == effectId) row = i;
    if (row < 0) return Fail(error);
    StoreCurves();
    m_values.clear();
    for (int p : m_effects.Parameters().RowsOf(effectId))
        m_values.push_back(m_effects.ReadParameter(p));
    return true;
}

void TQtLink::ResetValues() {
    for (TEffectParameterRecord& record : m_values)
        for (auto& [id, element] : record.values) {
            element.track = {};
            if (std::holds_alternative<int32_t>(element.value))
                element.value = kUndefinedNumber;
            else if (std::holds_alternative<float>(element.value))
                element.value = 0.0f;
            else if (std::holds_alternative<std::string>(element.value))
                element.value = std::string();
            else
                element.value = std::shared_ptr<ReferenceTarget>();
        }
}

bool TQtLink::UpdateParameter(const TEffectParameterRecord& record, std::string* error) {
    if (record.id.empty() || m_effects.Find(record.effectId) < 0) return Fail(error);
    m_effects.AddOrUpdateParameter(record);
    return true;
}

bool TQtLink::UpdateText(const std::string& effectId, const std::string& text, std::string* error) {
    int row = m_effects.Find(effectId);
    if (row < 0) return Fail(error);
    m_effects.SetText(row, text);
    return true;
}

void TQtLink::StoreCurves() { m_effects.Parameters().StoreCurves(); }

void TQtLink::MarkAll() {
    if (m_windows.markAll) m_windows.markAll();
}

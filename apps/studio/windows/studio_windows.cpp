#include "apps/studio/windows/studio_windows.h"

#include <QMainWindow>

#include "apps/studio/studio_session.h"
#include "apps/studio/viewport/quad_view.h"
#include "apps/studio/windows/action_keys.h"
#include "apps/studio/windows/lister_window.h"
#include "apps/studio/windows/material_editor.h"
#include "apps/studio/windows/pack_toolbar.h"
#include "apps/studio/windows/recovery_dialog.h"
#include "apps/studio/windows/render_window.h"
#include "apps/studio/windows/settings_window.h"
#include "apps/studio/windows/tools_window.h"
#include "apps/studio/windows/undo_window.h"

StudioWindows::StudioWindows(StudioSession& session, QuadView& view, QMainWindow& parent,
                             WhenSaved whenSaved)
    : m_session(session), m_parent(parent), m_whenSaved(std::move(whenSaved)) {
    auto picture = [&view] { return view.ActiveView().grab().toImage(); };
    m_autosave = std::make_unique<Autosave>(session, StudioStateFolder(), AutosaveRules(), picture);
    m_pack = std::make_unique<PackToolbar>(
        session, parent,
        PackToolbar::Hooks{[this](const std::string& command) { onCreate(command); },
                           [this] { OpenTools(); }});
    m_lookWished = session.lookWished.Connect(
        [this](const std::weak_ptr<ReferenceTarget>& look) { OpenMaterials().ShowLook(look); });
}

StudioWindows::~StudioWindows() = default;

void StudioWindows::TakeKeys(const std::map<std::string, QAction*>& actions) {
    m_keys = std::make_unique<ActionKeys>(actions);
}

void StudioWindows::Open(ToolWindow& window) {
    window.addActions(QList<QAction*>(m_shared.begin(), m_shared.end()));
    window.Open();
}

void StudioWindows::OpenLister() {
    if (!m_lister) m_lister = std::make_unique<ListerWindow>(m_session, &m_parent);
    Open(*m_lister);
}

MaterialEditor& StudioWindows::OpenMaterials() {
    if (!m_materials) m_materials = std::make_unique<MaterialEditor>(m_session, &m_parent);
    Open(*m_materials);
    return *m_materials;
}

void StudioWindows::OpenUndoList() {
    if (!m_undoList) m_undoList = std::make_unique<UndoWindow>(m_session, &m_parent);
    Open(*m_undoList);
}

void StudioWindows::OpenSettings() {
    if (!m_settings) m_settings = std::make_unique<SettingsWindow>(m_session, *m_keys, &m_parent);
    Open(*m_settings);
}

void StudioWindows::OpenTools() {
    if (!m_tools) m_tools = std::make_unique<ToolsWindow>(m_session, &m_parent);
    Open(*m_tools);
}

RenderWindow& StudioWindows::OpenRender() {
    if (!m_render) m_render = std::make_unique<RenderWindow>(m_session, &m_parent);
    Open(*m_render);
    return *m_render;
}

void StudioWindows::OfferRecovery(bool withSkipped) {
    std::vector<LostSession> lost = m_autosave->Store().Lost(withSkipped);
    if (lost.empty()) {
        if (withSkipped) m_session.told.Send(MessageLevel::kNote, "There is nothing to recover");
        return;
    }
    auto recover = [this](const LostSession& session, const SceneCopy& copy) {
        m_whenSaved([this, session, copy] { m_autosave->Recover(session, copy); });
    };
    auto skip = [this](const LostSession& session) { m_autosave->Store().Skip(session.id); };
    m_recovery =
        std::make_unique<RecoveryDialog>(std::move(lost), RecoveryDialog::Actions{recover, skip},
                                         QDateTime::currentDateTime(), &m_parent);
    m_recovery->show();
}

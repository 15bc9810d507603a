#include "apps/studio/windows/effect_windows.h"

#include "Dravin/commands/curve_session.h"
#include "Dravin/commands/effect_session.h"
#include "Dravin/dravin.h"
#include "apps/studio/windows/command_calls.h"
#include "apps/studio/windows/curve_editor.h"
#include "apps/studio/windows/effect_browser.h"
#include "apps/studio/windows/effect_editor.h"
#include "host/scene/scene.h"

namespace {

// A window that has just been opened comes to the front; one that stands stays where it is.
template <class Window>
void Present(Window& window) {
    if (window.isVisible()) return;
    window.show();
    window.raise();
    window.activateWindow();
}

}  // namespace

EffectWindows::EffectWindows(StudioSession& session, ViewTools& tools, QWidget* parent)
    : m_session(session), m_tools(tools), m_parent(parent) {
    m_changed = session.changed.Connect([this](Scene& scene) { Follow(scene); });
}

EffectWindows::~EffectWindows() = default;

void EffectWindows::Toggle(const char* command) {
    m_session.Look([this, command](Scene& scene) {
        TPanel panel = m_session.Panel(scene);
        for (INode* node : scene.Nodes())
            if (panel.Holds(*node)) return m_session.Run(command, node->GetName(), {});
        m_session.told.Send(MessageLevel::kWarning, "Select a scatter object");
    });
}

void EffectWindows::Follow(Scene& scene) {
    FollowEffects(scene);
    FollowCurve(scene);
}

void EffectWindows::CloseEffect(const char* command, NodeHandle node, const std::string& id) {
    RunNow(m_session, command, node, {{"effect", ParamInput(id)}});
}

void EffectWindows::FollowEffects(Scene& scene) {
    bool isEdited = false, isBrowsed = false;
    for (INode* node : scene.Nodes()) {
        auto* object = dynamic_cast<TDravin*>(node->GetObjectRef());
        if (!object) continue;
        TEffectCommands& effects = EffectCommandsOf(*object);
        if (int row = effects.EditorIndex(); row >= 0 && row < effects.Count() && !isEdited) {
            isEdited = true;
            if (!m_editor) m_editor = std::make_unique<EffectEditor>(m_session, m_tools, m_parent);
            std::string id = effects.IdOf(row);
            m_editor->onClose = [this, handle = node->GetHandle(), id] {
                CloseEffect("effect.edit", handle, id);
            };
            m_editor->Show(scene, *node, *object, id);
            Present(*m_editor);
        }
        if (int row = effects.BrowserIndex(); row >= 0 && row < effects.Count() && !isBrowsed) {
            isBrowsed = true;
            if (!m_browser) m_browser = std::make_unique<EffectBrowser>(m_session, m_parent);
            std::string id = effects.IdOf(row);
            m_browser->onClose = [this, handle = node->GetHandle(), id] {
                CloseEffect("effect.browse", handle, id);
            };
            m_browser->Show(
                *node, id,
                object->Block(kEffectParams).GetString(effectParams::kEfnamelist, 0, row));
            Present(*m_browser);
        }
    }
    if (m_editor && !isEdited) m_editor->Forget(), m_editor->hide();
    if (m_browser && !isBrowsed) m_browser->hide();
}

void EffectWindows::FollowCurve(Scene& scene) {
    std::optional<TCurvePlace> place = EditedCurve();
    INode* shown = nullptr;
    for (INode* node : scene.Nodes())
        if (place && node->GetObjectRef() == place->object.get() && !shown) shown = node;
    if (!shown) {
        if (m_curves) m_curves->hide();
        return;
    }
    if (!m_curves) m_curves = std::make_unique<CurveEditor>(m_session, m_parent);
    m_curves->onClose = [this] {
        m_session.Look([this](Scene&) { SetEditedCurve(std::nullopt); });
    };
    m_curves->Show(*shown, *place);
    Present(*m_curves);
}

// The windows of effects and curves: they follow what the commands `effect.edit`, `effect.browse`
// and `curve.edit` have open, so that buttons, the palette and scripts open them alike.
#pragma once

#include <memory>

#include "apps/studio/studio_session.h"

class CurveEditor;
class EffectBrowser;
class EffectEditor;
class QWidget;
class ViewTools;

class EffectWindows {
public:
    // tools: of the views, where items are picked; parent: of the windows. Both outlive this.
    EffectWindows(StudioSession& session, ViewTools& tools, QWidget* parent);
    ~EffectWindows();

    // Opens or closes the editor or the browser on the selected effect of the panel's object.
    void Toggle(const char* command);

private:
    void Follow(Scene& scene);
    void FollowEffects(Scene& scene);
    void FollowCurve(Scene& scene);
    void CloseEffect(const char* command, NodeHandle node, const std::string& id);

    StudioSession& m_session;
    ViewTools& m_tools;
    QWidget* m_parent;
    std::unique_ptr<EffectEditor> m_editor;
    std::unique_ptr<EffectBrowser> m_browser;
    std::unique_ptr<CurveEditor> m_curves;
    Connection m_changed;
};

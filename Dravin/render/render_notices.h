// What scatter objects do around the renders of a session, on the host's notices.
//
// Before a render: settings of the renderer are checked, the outcome of earlier builds is
// forgotten, nodes that renderers show through items are hidden where the object asks for it, and
// renderers that want scene nodes get proxies. After it all of that is undone, and the objects that
// failed are told. One thread.
#pragma once

#include <memory>
#include <vector>

#include "Dravin/proxy/proxy_objects.h"

class TRenderNotices {
public:
    // Of the current session, which must exist; hears its notices from then on.
    static TRenderNotices& Current();
    TRenderNotices();

    void PreRender();
    void PostRender();

    // Nodes that are hidden until the render ends.
    size_t NumHidden() const { return m_hidden.size(); }
    size_t NumProxies() const { return m_proxies.size(); }

private:
    struct HiddenNode {
        std::weak_ptr<INode> node;
        Animated<bool> before;
    };
    void HideCustomObjects(const TDravin& object);
    void Hide(INode& node, TimeValue t);
    void ShowHidden();

    std::vector<HiddenNode> m_hidden;
    struct Proxies {
        std::shared_ptr<TDravin> object;
        std::unique_ptr<TProxyObjects> proxies;
    };
    std::vector<Proxies> m_proxies;  // of the render that goes on
};

// Whether the current production renderer is mental ray or stands on it.
bool IsMentalRayBased();
// Proposes the settings that Dravin wants of mental ray where it is the production renderer and has
// others; changes them when the user agrees. Silent in quiet mode and without pop-ups.
void CheckMentalRaySettings();

// Publishes the system's interfaces in the current session and starts listening to renders.
void StartRenderIntegration();

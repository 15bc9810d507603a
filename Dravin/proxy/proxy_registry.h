// The proxies of a session, which hear when renders begin and end.
#pragma once

#include <memory>
#include <set>

#include "host/base/signal.h"
#include "host/scene/node.h"

class DProxy;

class TProxyRegistry : public ReferenceMaker {
public:
    // Of the current session; null without one.
    static std::shared_ptr<TProxyRegistry> Current();

    void Add(const DProxy& proxy) { m_proxies.insert(&proxy); }
    void Remove(const DProxy& proxy) { m_proxies.erase(&proxy); }
    size_t NumProxies() const { return m_proxies.size(); }

    // The node that is being rendered; null outside renders.
    INode* RenderNode() const { return m_renderNode.Get(); }

    // Sent to adapters of renderers, with the render's time.
    Signal<TimeValue> renderBegin, renderEnd;

private:
    friend class DProxy;

    std::set<const DProxy*> m_proxies;
    Reference<INode> m_renderNode{this};
};

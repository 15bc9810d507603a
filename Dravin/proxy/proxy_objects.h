// The proxy nodes of a scatter object, for renderers that want scene nodes to instance: made when a
// render begins, deleted when it ends, outside of undo.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "Dravin/geometry/specimen_list.h"
#include "Dravin/proxy/dproxy.h"

// What stands for a source at a time: a node of the scene, which goes with it.
class TProxyRef {
public:
    explicit TProxyRef(std::shared_ptr<INode> node) : m_node(std::move(node)) {}
    ~TProxyRef();
    TProxyRef(const TProxyRef&) = delete;
    TProxyRef& operator=(const TProxyRef&) = delete;

    INode* Node() const { return m_node.get(); }

private:
    std::shared_ptr<INode> m_node;
};

// One proxy for each pair of source and time.
class TProxyRefCache {
public:
    // isAbsoluteTime: of the times that proxies are asked for.
    TProxyRefCache(Scene& scene, TimeValue now, bool isAbsoluteTime)
        : m_scene(scene), m_now(now), m_isAbsoluteTime(isAbsoluteTime) {}

    // The proxy's node, made at the first call with the source's transform at `now` and the
    // material of the row, else of the source's node. `shown` must have a source.
    INode* Get(const TSpecBuildNode& shown, TimeValue time);
    size_t Count() const { return m_refs.size(); }

private:
    Scene& m_scene;
    TimeValue m_now;
    bool m_isAbsoluteTime;
    std::map<std::pair<const INode*, TimeValue>, TProxyRef> m_refs;
};

class TProxyObjects {
public:
    explicit TProxyObjects(TDravin& object) : m_object(object) {}
    ~TProxyObjects();
    TProxyObjects(const TProxyObjects&) = delete;
    TProxyObjects& operator=(const TProxyObjects&) = delete;

    // Appends, for each custom object of the last build and each of its frames, the proxy's node
    // (sources of equal time share one), and last that of the object itself. Proxies that stand
    // already go first. Without a node in a scene the object has no proxies: false.
    bool Create(std::vector<INode*>* nodes);
    // Takes the nodes out of the scene.
    void Delete();

private:
    int AddSources(std::vector<INode*>* nodes);

    TDravin& m_object;
    std::unique_ptr<TProxyRefCache> m_cache;
    std::unique_ptr<TProxyRef> m_objectProxy;
};

#include "Dravin/proxy/proxy_objects.h"

#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/build/object_log.h"
#include "host/params/hold.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

// Neither drawn in views nor picked there.
std::shared_ptr<INode> AddProxyNode(Scene& scene, const std::string& name,
                                    std::shared_ptr<DProxy> proxy, const Matrix3& transform) {
    auto node = INode::Create(name, std::move(proxy));
    node->SetLocalTM(transform);
    node->SetHidden(true);
    node->selectable = false;
    scene.AddNode(node);
    return node;
}

// Whether the frames of the last build stand at times of their own, whatever the render's time:
// without animation, and where a map picks them.
bool HasAbsoluteFrames(const TDravin& object) {
    const TDravinBuild& build = object.Build();
    const IParamBlock2& block = object.Block(kAnimParams);
    if (block.GetBool(animParams::kAnimonlyrend, build.Time()) && !build.IsRender()) return true;
    int mode = block.GetInt(animParams::kAnimation, build.Time());
    return mode == kAnimOff || mode == kAnimFrameMap;
}

}  // namespace

TProxyRef::~TProxyRef() {
    HoldSuspender noUndo(CurrentHold());
    if (Scene* scene = m_node->GetScene()) scene->DeleteNode(*m_node);
}

INode* TProxyRefCache::Get(const TSpecBuildNode& shown, TimeValue time) {
    auto found = m_refs.find({shown.source.get(), time});
    if (found != m_refs.end()) return found->second.Node();
    HoldSuspender noUndo(CurrentHold());
    auto proxy = std::make_shared<DProxy>();
    proxy->source = shown.source;
    proxy->timeOffset = time;
    proxy->isAbsoluteTime = m_isAbsoluteTime;
    std::shared_ptr<INode> node =
        AddProxyNode(m_scene, fmt::format("dmr_{}_{}", fmt::ptr(shown.source.get()), time),
                     std::move(proxy), shown.source->GetNodeTM(m_now));
    node->SetMtl(shown.entry.material ? shown.entry.material : shown.source->ShareMtl());
    return m_refs.try_emplace({shown.source.get(), time}, std::move(node)).first->second.Node();
}

TProxyObjects::~TProxyObjects() {
    if (m_objectProxy) Delete();
}

// How many pairs of source and frame there are.
int TProxyObjects::AddSources(std::vector<INode*>* nodes) {
    const TSpecBuildList& specimens = m_object.Build().Specimens();
    bool isAbsolute = HasAbsoluteFrames(m_object);
    int count = 0;
    for (size_t row = 0; row < specimens.NumRows(); ++row)
        for (const TSpecBuildNode& shown : specimens.Row(row).nodes) {
            if (shown.entry.kind != kGeomCustom || !shown.source) continue;
            for (const auto& [first, second] : specimens.Row(row).frames) {
                nodes->push_back(m_cache->Get(shown, isAbsolute ? first : second));
                ++count;
            }
        }
    return count;
}

bool TProxyObjects::Create(std::vector<INode*>* nodes) {
    if (m_objectProxy) Delete();
    INode* node = GetWorldNode(m_object);
    if (!node || !node->GetScene()) return false;
    HoldSuspender noUndo(CurrentHold());
    TimeValue now = m_object.Build().Time();
    m_cache = std::make_unique<TProxyRefCache>(*node->GetScene(), now, HasAbsoluteFrames(m_object));
    int count = AddSources(nodes);
    auto proxy = std::make_shared<DProxy>();
    proxy->kind = DProxy::kObjectProxy;
    proxy->owner = std::static_pointer_cast<TDravin>(m_object.shared_from_this());
    m_objectProxy = std::make_unique<TProxyRef>(
        AddProxyNode(*node->GetScene(), fmt::format("dmr_{}", fmt::ptr(&m_object)),
                     std::move(proxy), node->GetNodeTM(now)));
    nodes->push_back(m_objectProxy->Node());
    ObjectLog(m_object, LogKind::kNormal, fmt::format("CreateProxyObjects ({} proxies+1)", count));
    return true;
}

void TProxyObjects::Delete() {
    ObjectLog(m_object, LogKind::kNormal, "DeleteProxyObjects");
    m_cache.reset();
    m_objectProxy.reset();
}

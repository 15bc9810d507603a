#include "Dravin/proxy/dproxy.h"

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin_globals.h"
#include "host/params/clone_map.h"
#include "host/scene/host_context.h"

namespace {

const std::shared_ptr<const Mesh>& EmptyMesh() {
    static const auto empty = std::make_shared<const Mesh>();
    return empty;
}

}  // namespace

std::shared_ptr<TProxyRegistry> TProxyRegistry::Current() {
    struct Holder {
        std::shared_ptr<TProxyRegistry> registry = std::make_shared<TProxyRegistry>();
    };
    HostContext* context = HostContext::Current();
    return context ? context->State<Holder>().registry : nullptr;
}

DProxy::DProxy() : m_registry(TProxyRegistry::Current()) {
    if (m_registry) m_registry->Add(*this);
}

DProxy::~DProxy() {
    if (m_registry) m_registry->Remove(*this);
}

std::shared_ptr<const Mesh> DProxy::GetRenderMesh(TimeValue t) {
    m_sample.reset();
    if (kind == kObjectProxy) {
        if (!owner) return EmptyMesh();
        return owner->Build().ObjectMesh().ShareMesh();
    }
    if (!source || !HostContext::Current()) return EmptyMesh();
    TimeValue shown = isAbsoluteTime ? timeOffset : t + timeOffset;
    m_sample = DravinGlobals().meshes.Get(source.Get(), shown, t);
    return m_sample->Source() ? m_sample->Source() : EmptyMesh();
}

Box3 DProxy::LocalBox() const {
    Box3 box;
    box += Point3{-0.5f, -0.5f, -0.5f};
    box += Point3{0.5f, 0.5f, 0.5f};
    return box;
}

bool DProxy::CanConvertTo(ClassId id) { return id == ClassId{} || id == TriObject::kClass.id; }

std::shared_ptr<Object> DProxy::ConvertTo(TimeValue t, ClassId id) {
    if (!CanConvertTo(id)) return nullptr;
    // The mesh is copied: the object proxy's is that of a build, which goes.
    return std::make_shared<TriObject>(std::make_shared<Mesh>(*GetRenderMesh(t)));
}

CreationAnswer DProxy::Place(CreationMessage message, int point, const Point3& onGrid,
                             Matrix3* transform) {
    if (message == CreationMessage::kAbort) return CreationAnswer::kAbort;
    bool isPlacing = message == CreationMessage::kClick || message == CreationMessage::kMove;
    if (!isPlacing || point != 0) return CreationAnswer::kContinue;
    transform->SetTrans(onGrid);
    return CreationAnswer::kStop;
}

void DProxy::RenderBegin(TimeValue t, INode& node) {
    if (!m_registry) return;
    m_registry->m_renderNode = std::static_pointer_cast<INode>(node.shared_from_this());
    m_registry->renderBegin.Send(t);
}

void DProxy::RenderEnd(TimeValue t) {
    if (!m_registry) return;
    m_registry->m_renderNode = nullptr;
    m_registry->renderEnd.Send(t);
}

std::shared_ptr<ReferenceTarget> DProxy::GetReference(int slot) const {
    return slot == 0 ? m_slot.Share() : nullptr;
}

void DProxy::SetReference(int slot, std::shared_ptr<ReferenceTarget> target) {
    if (slot == 0) m_slot = std::move(target);
}

std::shared_ptr<ReferenceTarget> DProxy::Clone(CloneMap& map) const {
    auto copy = std::make_shared<DProxy>();
    copy->kind = kind;
    copy->timeOffset = timeOffset;
    copy->isAbsoluteTime = isAbsoluteTime;
    map.Refer(owner.Share(), [copy](auto object) { copy->owner = std::move(object); });
    map.Refer(source.Share(), [copy](auto node) { copy->source = std::move(node); });
    map.Refer(m_slot.Share(), [copy](auto target) { copy->m_slot = std::move(target); });
    return copy;
}

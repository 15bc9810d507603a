#include "host/scene/renderers.h"

#include <algorithm>

#include "host/scene/host_context.h"

Renderers::Renderers()
    : m_renderers{{kRayTracerId, "Ray Tracer", true}, {kScanlineRendererId, "Scanline", true}} {}

bool Renderers::Register(RendererInfo renderer) {
    if (!renderer.id || Find(renderer.id)) return false;
    m_renderers.push_back(std::move(renderer));
    return true;
}

bool Renderers::Unregister(ClassId id) {
    if (m_renderers.size() == 1) return false;  // there is always one
    if (!std::erase_if(m_renderers, [id](const RendererInfo& r) { return r.id == id; }))
        return false;
    if (m_current == id) m_current = m_renderers.front().id;
    return true;
}

const RendererInfo* Renderers::Find(ClassId id) const {
    for (const RendererInfo& renderer : m_renderers)
        if (renderer.id == id) return &renderer;
    return nullptr;
}

const RendererInfo* Renderers::Find(std::string_view name) const {
    for (const RendererInfo& renderer : m_renderers)
        if (renderer.name == name) return &renderer;
    return nullptr;
}

const RendererInfo& Renderers::Current() const { return *Find(m_current); }

bool Renderers::SetCurrent(ClassId id) {
    if (!Find(id)) return false;
    m_current = id;
    return true;
}

void Renderers::SetTakesInstances(ClassId id) {
    for (RendererInfo& renderer : m_renderers)
        if (renderer.id == id) renderer.takesInstances = true;
}

ClassId CurrentRendererId() {
    HostContext* session = HostContext::Current();
    return session ? session->State<Renderers>().Current().id : kRayTracerId;
}

bool CurrentRendererTakesInstances() {
    HostContext* session = HostContext::Current();
    return !session || session->State<Renderers>().Current().takesInstances;
}

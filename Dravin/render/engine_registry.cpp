#include "Dravin/render/engine_registry.h"

#include "host/scene/host_context.h"
#include "host/scene/renderers.h"

TEngineRegistry& TEngineRegistry::Current() {
    return HostContext::Current()->State<TEngineRegistry>();
}

TDravinEngine& TEngineRegistry::Register(ClassId renderer) {
    for (TDravinEngine& engine : m_engines)
        if (engine.classA == renderer.a && engine.classB == renderer.b) return engine;
    if (HostContext* session = HostContext::Current())
        session->State<Renderers>().SetTakesInstances(renderer);
    TDravinEngine engine;
    engine.classA = renderer.a;
    engine.classB = renderer.b;
    return m_engines.emplace_back(engine);
}

const TDravinEngine* TEngineRegistry::Find(ClassId renderer) const {
    for (const TDravinEngine& engine : m_engines)
        if (engine.classA == renderer.a && engine.classB == renderer.b) return &engine;
    return nullptr;
}

TDravinEngine TEngineRegistry::OfCurrentRenderer() {
    const TDravinEngine* engine =
        HostContext::Current() ? Current().Find(CurrentRendererId()) : nullptr;
    return engine ? *engine : TDravinEngine{};
}

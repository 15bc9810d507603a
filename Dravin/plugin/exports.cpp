// The functions by which the host knows the plug-in, and those by which renderers take the
// instances of a whole scene. Nothing else of the module is seen from outside.
#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/render/render_notices.h"
#include "Dravin/render/scatter_proxies.h"
#include "Dravin/render/vray_adapter.h"
#include "host/scene/host_context.h"

namespace {

constexpr int kDescriptionId = 71;  // string id of the description

HostContext* Session() { return HostContext::Current(); }

}  // namespace

extern "C" {

const char* LibDescription() { return "Dravin Pro"; }
int LibNumberClasses() { return int(DravinClassDescs().size()); }
// Null for any other index.
const PluginClassDesc* LibClassDesc(int i) {
    return i >= 0 && i < LibNumberClasses() ? &DravinClassDescs()[size_t(i)] : nullptr;
}
uint32_t LibVersion() { return kHostApiVersion; }

// Configuration is read when it is first asked for.
int LibInitialize() {
    if (!Session()) return 1;
    for (const ClassDesc& desc : DravinPartDescs()) Session()->classes.Register(desc);
    StartRenderIntegration();
    return 1;
}

// The last call before the module goes.
int LibShutdown() {
    if (Session()) TVRayAdapter::Current().Unload();
    return 1;
}

// The host loads the module at start-up, not on demand.
int CanAutoDefer() { return 0; }
int IsDebug() { return 0; }
int GetIDDesc() { return kDescriptionId; }

void calculateScatterProxy(int t) {
    if (Session()) TScatterProxies::Current().Calculate(t);
}
void freeScatterProxy() {
    if (Session()) TScatterProxies::Current().Free();
}
int getScatterProxyCount() {
    return Session() ? int(TScatterProxies::Current().Records().size()) : 0;
}
TDravinInstanceV1* getScatterProxy() {
    return Session() ? TScatterProxies::Current().Data() : nullptr;
}
}

// An adapter of a renderer whose version the environment names; counts what it is asked for.
#include <cstdlib>

#include "Dravin/render/vray_adapter.h"

namespace {

int g_renders = 0;

class Hook : public IAdapterRenderHook {
    void Attach() override {}
    void Detach() override {}
    void PreRender() override { ++g_renders; }
};

}  // namespace

extern "C" {
void dravin_adapter_1(TAdapterVersion* version) {
    const char* text = std::getenv("TEST_VRAY_VERSION");
    version->version = text ? uint32_t(std::strtoul(text, nullptr, 16)) : 0;
}
int dravin_adapter_2() { return TEST_ADAPTER_NUMBER; }
int dravin_adapter_3() { return g_renders; }
IAdapterRenderHook* dravin_adapter_6() {
    static Hook hook;
    return &hook;
}
}

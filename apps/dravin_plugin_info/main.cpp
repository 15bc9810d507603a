// dravin_plugin_info MODULE: what a plug-in module of the host brings along, as JSON, or
// {"error": …} and exit code 1. A process of its own for `dravin inspect`: loading a module runs
// its code, and a module shares the host of libdravin_host.so with the program that loads it.
#include <cstdio>

#include <sys/resource.h>
#include <unistd.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/scene/plugin_loader.h"

using Json = nlohmann::ordered_json;

namespace {

constexpr unsigned kSeconds = 20;  // then something is wrong with the module
constexpr const char* kProxyFunctions[] = {"calculateScatterProxy", "getScatterProxyCount",
                                           "getScatterProxy", "freeScatterProxy"};

std::string Id(uint32_t a, uint32_t b) { return fmt::format("0x{:08x}, 0x{:08x}", a, b); }

Json ClassJson(const PluginClassDesc& desc) {
    Json interfaces = Json::array();
    for (const InterfaceId& id : desc.interfaces) interfaces.push_back(Id(id.a, id.b));
    size_t numParameters = 0;
    for (const ParamBlockDesc2& block : desc.blocks) numParameters += block.params.size();
    return {{"name", desc.internalName},
            {"display_name", desc.info.name},
            {"id", Id(desc.info.id.a, desc.info.id.b)},
            {"super_class", SuperClassName(desc.info.super)},
            {"super_class_id", fmt::format("0x{:x}", uint32_t(desc.info.super))},
            {"category", desc.category},
            {"public", desc.isPublic},
            {"blocks", desc.blocks.size()},
            {"parameters", numParameters},
            {"interfaces", interfaces}};
}

Json Describe(const PluginLibrary& library) {
    Json result{{"dravin_plugin", 1}, {"description", library.Description()}};
    result["version"] = fmt::format("0x{:x}", kHostApiVersion);  // others do not load
    result["classes"] = Json::array();
    for (int i = 0; i < library.NumberClasses(); ++i)
        if (const PluginClassDesc* desc = library.Class(i))
            result["classes"].push_back(ClassJson(*desc));
    result["functions"] = PluginLibrary::EntryPoints();
    result["scatter_proxy_functions"] = Json::array();
    for (const char* name : kProxyFunctions)
        if (library.Function(name)) result["scatter_proxy_functions"].push_back(name);
    return result;
}

void Print(const Json& json) {
    std::puts(json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return std::fputs("usage: dravin_plugin_info MODULE\n", stderr), 2;
    rlimit none{};
    setrlimit(RLIMIT_CORE, &none);
    alarm(kSeconds);
    std::string error;
    std::unique_ptr<PluginLibrary> library = PluginLibrary::Load(argv[1], &error);
    if (!library) return Print({{"error", error}}), 1;
    Print(Describe(*library));
    return 0;
}

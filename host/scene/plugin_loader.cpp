#include "host/scene/plugin_loader.h"

#include <dlfcn.h>
#include <fmt/format.h>

namespace {

// What every module exports.
constexpr const char* kEntryPoints[] = {"LibDescription", "LibNumberClasses", "LibClassDesc",
                                        "LibVersion",     "LibInitialize",    "LibShutdown",
                                        "CanAutoDefer",   "IsDebug",          "GetIDDesc"};

std::string Problem(void* handle) {
    for (const char* name : kEntryPoints)
        if (!dlsym(handle, name))
            return fmt::format("it is no plug-in of this host: it has no function {}", name);
    uint32_t version = reinterpret_cast<uint32_t (*)()>(dlsym(handle, "LibVersion"))();
    if (version != kHostApiVersion)
        return fmt::format(
            "it was built for version 0x{:x} of the host, this is 0x{:x}; install the plug-in "
            "that came with this program",
            version, kHostApiVersion);
    return {};
}

}  // namespace

std::span<const char* const> PluginLibrary::EntryPoints() { return kEntryPoints; }

std::unique_ptr<PluginLibrary> PluginLibrary::Load(const std::string& path, std::string* error) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        *error = fmt::format("{}: the plug-in does not load: {}", path, dlerror());
        return nullptr;
    }
    if (std::string problem = Problem(handle); !problem.empty()) {
        *error = fmt::format("{}: {}", path, problem);
        dlclose(handle);
        return nullptr;
    }
    return std::unique_ptr<PluginLibrary>(new PluginLibrary(path, handle));
}

PluginLibrary::~PluginLibrary() {
    if (m_hasStarted) As<int()>("LibShutdown")();
    dlclose(m_handle);
}

void* PluginLibrary::Function(const char* name) const { return dlsym(m_handle, name); }

std::string PluginLibrary::Description() const { return As<const char*()>("LibDescription")(); }

int PluginLibrary::NumberClasses() const { return As<int()>("LibNumberClasses")(); }

const PluginClassDesc* PluginLibrary::Class(int i) const {
    return As<const PluginClassDesc*(int)>("LibClassDesc")(i);
}

bool PluginLibrary::Start(ClassRegistry& classes, std::string* error) {
    if (As<int()>("LibInitialize")() == 0) {
        *error = fmt::format("{}: the plug-in does not start", m_path);
        return false;
    }
    m_hasStarted = true;
    for (int i = 0; i < NumberClasses(); ++i) {
        const PluginClassDesc* desc = Class(i);
        if (desc && classes.Register(*desc)) continue;
        *error = fmt::format(
            "{}: class {} ({}) cannot be registered: there is one of its number "
            "or name",
            m_path, i, desc ? desc->internalName : "none");
        return false;
    }
    return true;
}

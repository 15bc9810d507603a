// Plug-in modules of the host: shared modules that bring classes along.
//
// A module exports plain functions by name (below). The host loads it at start-up, checks that it
// was built for this host, and registers its classes in the sessions that shall have them. What
// sessions keep for a module is the module's code: whoever loads it drops those sessions first, and
// the library after them.
//
//     std::string error;
//     std::unique_ptr<PluginLibrary> library = PluginLibrary::Load(path, &error);
//     HostContext session;
//     if (library && library->Start(session.classes, &error)) …
//
// One thread.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "host/params/class_registry.h"
#include "host/params/param_desc.h"
#include "host/scene/function_publishing.h"

// Modules that work beside the scene from the host's start on, rather than as objects of it.
inline constexpr SuperClass kGlobalUtilityClass{0x1050};

// What a module tells of one of its classes.
struct PluginClassDesc : ClassDesc {
    std::span<const ParamBlockDesc2>
        blocks;                           // parameter blocks of its objects, where it tells them
    std::vector<InterfaceId> interfaces;  // that its objects or itself publish
};

// The version of this host that modules are built for.
inline constexpr uint32_t kHostApiVersion = 0x3e802a00;

class PluginLibrary {
public:
    // Null with a reason in `error`: the file does not load, lacks a function, or is for another
    // version of the host.
    static std::unique_ptr<PluginLibrary> Load(const std::string& path, std::string* error);
    // Shuts the module down and unloads it.
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    // The functions that every module exports.
    static std::span<const char* const> EntryPoints();

    const std::string& Path() const { return m_path; }
    std::string Description() const;
    int NumberClasses() const;
    // Null outside of 0 .. NumberClasses() - 1.
    const PluginClassDesc* Class(int i) const;

    // Lets the module initialise itself in the current session, and registers its classes there.
    // False with a reason: it does not start, or a class is there already; those before it stay.
    bool Start(ClassRegistry& classes, std::string* error);

    // A further exported function; null when there is none of the name.
    void* Function(const char* name) const;

private:
    PluginLibrary(std::string path, void* handle) : m_path(std::move(path)), m_handle(handle) {}
    template <class F>
    F* As(const char* name) const {
        return reinterpret_cast<F*>(Function(name));
    }

    std::string m_path;
    void* m_handle;
    bool m_hasStarted = false;
};

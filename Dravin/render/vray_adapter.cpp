#include "Dravin/render/vray_adapter.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>
#include <fmt/format.h>

#include "host/base/log.h"
#include "host/base/program_part.h"
#include "host/scene/host_context.h"

namespace {

// The rows of the 3.5 and 3.4 libraries expect versions 3.3 and 3.2.5, and of the two rows of the
// 3.3 library the second is narrower: installations rely on which adapter serves which version.
constexpr TAdapterRow kRows[] = {
    {"DravinVRay50.dll", 0x50000, 0xffff0000}, {"DravinVRay43.dll", 0x43000, 0xffff0000},
    {"DravinVRay40.dll", 0x40000, 0xffff0000}, {"DravinVRay37.dll", 0x37000, 0xfffff000},
    {"DravinVRay36.dll", 0x36000, 0xfffff000}, {"DravinVRay35.dll", 0x33000, 0xfffff000},
    {"DravinVRay35.dll", 0x32500, 0xfffff000}, {"DravinVRay34.dll", 0x33000, 0xfffff000},
    {"DravinVRay34.dll", 0x32500, 0xfffff000}, {"DravinVRay33.dll", 0x33000, 0xfffff000},
    {"DravinVRay33.dll", 0x32500, 0xffffff00}, {"DravinVRay32.dll", 0x32000, 0xffffff00},
    {"DravinVRay31.dll", 0x31000, 0xfffff000}, {"DravinVRay20.dll", 0x20000, 0xffff0000},
};

constexpr int kFirstService = 2;

// "DravinVRay50.dll" is DravinVRay50.so here.
std::string FileOf(const TAdapterRow& row) {
    std::string name = row.library;
    return name.substr(0, name.rfind('.')) + ".so";
}

void* Open(const TAdapterRow& row) {
    namespace fs = std::filesystem;
    const char* named = std::getenv("DRAVIN_ADAPTERS");
    fs::path folder = named && *named ? fs::path(named) : ProgramFolder();
    std::error_code ignored;
    fs::path beside = folder / FileOf(row);
    bool isThere = !folder.empty() && fs::exists(beside, ignored);
    errno = 0;
    return dlopen(isThere ? beside.c_str() : FileOf(row).c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* Function(void* handle, int number) {
    return dlsym(handle, fmt::format("dravin_adapter_{}", number).c_str());
}

}  // namespace

std::span<const TAdapterRow> AdapterRows() { return kRows; }

TVRayAdapter& TVRayAdapter::Current() { return HostContext::Current()->State<TVRayAdapter>(); }

bool TVRayAdapter::Try(const TAdapterRow& row) {
    void* handle = Open(row);
    if (!handle) {
        m_errorCode = errno ? errno : ENOENT;
        const char* why = dlerror();
        m_errorText = why ? why : row.library;
        return false;
    }
    auto tellVersion = reinterpret_cast<void (*)(TAdapterVersion*)>(Function(handle, 1));
    TAdapterVersion told;
    if (tellVersion) tellVersion(&told);
    if (!tellVersion || !row.Accepts(told.version)) {
        m_errorCode = ENOEXEC;
        m_errorText =
            tellVersion ? fmt::format("{} does not serve version 0x{:x}", row.library, told.version)
                        : fmt::format("{} has no function 1", row.library);
        dlclose(handle);
        return false;
    }
    m_handle = handle;
    m_row = &row;
    for (size_t i = 0; i < m_services.size(); ++i)
        m_services[i] = Function(handle, kFirstService + int(i));
    auto hook = reinterpret_cast<IAdapterRenderHook* (*)()>(Function(handle, 6));
    m_hook = hook ? hook() : nullptr;
    return true;
}

bool TVRayAdapter::Load() {
    if (m_handle) return true;
    if (m_hasFailed) return false;
    for (const TAdapterRow& row : kRows)
        if (Try(row)) return true;
    m_hasFailed = true;
    LogError(
        fmt::format("[DravinPack] Error loading VRay library: {}: {}", m_errorCode, m_errorText));
    return false;
}

void TVRayAdapter::Unload() {
    if (m_handle) dlclose(m_handle);
    m_handle = m_hook = nullptr;
    m_row = nullptr;
    m_services = {};
    m_hasFailed = false;
}

void* TVRayAdapter::Service(int number) const {
    int i = number - kFirstService;
    return i >= 0 && size_t(i) < m_services.size() ? m_services[size_t(i)] : nullptr;
}

IAdapterRenderHook* TVRayAdapter::Hook() const { return static_cast<IAdapterRenderHook*>(m_hook); }

// The adapter library of the V-Ray renderer: which one serves the version that is installed.
//
// Adapters are shared modules of their own, "DravinVRayNN.so", in the folder that DRAVIN_ADAPTERS
// names, else beside this program or module, else on the default paths. Each says which version of
// the renderer it finds; the first whose row of the table accepts that stays loaded. Its function
// of number N is the symbol dravin_adapter_N.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

struct TAdapterRow {
    const char* library;
    uint32_t expected, mask;
    bool Accepts(uint32_t version) const { return (version & mask) == (expected & mask); }
};
// In the order in which they are tried.
std::span<const TAdapterRow> AdapterRows();

// What function 1 fills: void dravin_adapter_1(TAdapterVersion*).
struct TAdapterVersion {
    uint32_t size = sizeof(TAdapterVersion);
    uint32_t version = 0;
    uint32_t reserved[2]{};
};

// What function 6 returns: IAdapterRenderHook* dravin_adapter_6(). The order of the operations is
// part of the interface; the first two belong to the adapter.
class IAdapterRenderHook {
public:
    virtual void Attach() = 0;
    virtual void Detach() = 0;
    virtual void PreRender() = 0;  // before each render

protected:
    ~IAdapterRenderHook() = default;
};

class TVRayAdapter {
public:
    // Of the current session, which must exist.
    static TVRayAdapter& Current();
    TVRayAdapter() = default;
    ~TVRayAdapter() { Unload(); }
    TVRayAdapter(const TVRayAdapter&) = delete;
    TVRayAdapter& operator=(const TVRayAdapter&) = delete;

    // True when one is loaded, now or before. The log says why none is; after a failure nothing is
    // tried again until Unload.
    bool Load();
    void Unload();

    bool IsLoaded() const { return m_handle; }
    // The row that was accepted; null while none is loaded.
    const TAdapterRow* Row() const { return m_row; }
    // Function 2, 3 or 4; null when the adapter lacks it, or none is loaded.
    void* Service(int number) const;
    // Null when there is none.
    IAdapterRenderHook* Hook() const;

private:
    bool Try(const TAdapterRow& row);

    void* m_handle = nullptr;
    const TAdapterRow* m_row = nullptr;
    std::array<void*, 3> m_services{};
    void* m_hook = nullptr;
    bool m_hasFailed = false;
    int m_errorCode = 0;
    std::string m_errorText;
};

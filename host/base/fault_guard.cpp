#include "host/base/fault_guard.h"

#include <atomic>
#include <csignal>
#include <cstdint>
#include <mutex>

#include <sys/mman.h>
#include <unistd.h>

namespace {

// The handler reads slots without a lock: a slot is in use while its end is not 0, which is written
// last and cleared first.
struct Slot {
    std::atomic<bool> taken{false};
    std::atomic<uintptr_t> begin{0}, end{0};
    std::atomic<bool> wasCut{false};
};
constexpr int kSlots = 256;
Slot g_slots[kSlots];
struct sigaction g_previous;
uintptr_t g_pageBytes = 4096;

Slot* FindSlot(uintptr_t address) {
    for (Slot& slot : g_slots)
        if (uintptr_t end = slot.end.load(); end && address >= slot.begin.load() && address < end)
            return &slot;
    return nullptr;
}

void PassOn(int signal, siginfo_t* info, void* context) {
    if (g_previous.sa_flags & SA_SIGINFO) return g_previous.sa_sigaction(signal, info, context);
    if (g_previous.sa_handler != SIG_DFL && g_previous.sa_handler != SIG_IGN)
        return g_previous.sa_handler(signal);
    // The fault comes again when the instruction is run again, and then ends the program.
    std::signal(signal, SIG_DFL);
}

// Only what is safe in a handler: atomics, and the system call that puts the page in place.
void OnFault(int signal, siginfo_t* info, void* context) {
    auto address = reinterpret_cast<uintptr_t>(info->si_addr);
    Slot* slot = FindSlot(address);
    if (!slot) return PassOn(signal, info, context);
    slot->wasCut.store(true);
    void* page = reinterpret_cast<void*>(address & ~(g_pageBytes - 1));
    constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED;
    if (mmap(page, g_pageBytes, PROT_READ, kFlags, -1, 0) == MAP_FAILED)
        PassOn(signal, info, context);
}

void InstallHandler() {
    static std::once_flag once;
    std::call_once(once, [] {
        g_pageBytes = uintptr_t(sysconf(_SC_PAGESIZE));
        struct sigaction action {};
        action.sa_sigaction = OnFault;
        action.sa_flags = SA_SIGINFO;
        sigemptyset(&action.sa_mask);
        sigaction(SIGBUS, &action, &g_previous);
    });
}

}  // namespace

bool FaultGuard::Watch(const void* data, size_t size) {
    InstallHandler();
    for (int i = 0; i < kSlots; ++i) {
        if (g_slots[i].taken.exchange(true)) continue;
        auto begin = reinterpret_cast<uintptr_t>(data);
        g_slots[i].wasCut.store(false);
        g_slots[i].begin.store(begin);
        // The last page is mapped to its end.
        g_slots[i].end.store((begin + size + g_pageBytes - 1) & ~(g_pageBytes - 1));
        m_slot = i;
        return true;
    }
    return false;
}

void FaultGuard::Release() {
    if (m_slot < 0) return;
    g_slots[m_slot].end.store(0);
    g_slots[m_slot].taken.store(false);
    m_slot = -1;
}

bool FaultGuard::WasCut() const { return m_slot >= 0 && g_slots[m_slot].wasCut.load(); }

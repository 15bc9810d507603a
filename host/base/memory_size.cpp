#include "host/base/memory_size.h"

#include <fstream>
#include <limits>
#include <locale>
#include <optional>
#include <string>
#include <string_view>

namespace {

// Kilobytes of a line of the system's table; none where it does not tell.
std::optional<uint64_t> Kilobytes(std::string_view wanted) {
    std::ifstream in("/proc/meminfo");
    in.imbue(std::locale::classic());
    std::string name, unit;
    for (uint64_t kilobytes = 0; in >> name >> kilobytes; std::getline(in, unit))
        if (name == wanted) return kilobytes;
    return std::nullopt;
}

}  // namespace

uint64_t FreeMemory() {
    std::optional<uint64_t> free = Kilobytes("MemAvailable:");
    return free ? *free * 1024 : std::numeric_limits<uint64_t>::max();
}

uint64_t TotalMemory() {
    std::optional<uint64_t> memory = Kilobytes("MemTotal:");
    if (!memory) return std::numeric_limits<uint64_t>::max();
    return (*memory + Kilobytes("SwapTotal:").value_or(0)) * 1024;
}

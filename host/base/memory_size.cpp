#include "host/base/memory_size.h"

#include <fstream>
#include <limits>
#include <locale>
#include <string>

uint64_t FreeMemory() {
    std::ifstream in("/proc/meminfo");
    in.imbue(std::locale::classic());
    std::string name, unit;
    for (uint64_t kilobytes = 0; in >> name >> kilobytes; std::getline(in, unit))
        if (name == "MemAvailable:") return kilobytes * 1024;
    return std::numeric_limits<uint64_t>::max();
}

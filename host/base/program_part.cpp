#include "host/base/program_part.h"

#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>
#include <link.h>

namespace {

bool IsFile(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

}  // namespace

// The linker knows a module by its path but the program only as it was called, by name when the
// shell found it.
std::filesystem::path ProgramFolder() {
    Dl_info info{};
    link_map* map = nullptr;
    if (!dladdr1(reinterpret_cast<void*>(&FindProgramPart), &info, reinterpret_cast<void**>(&map),
                 RTLD_DL_LINKMAP))
        return {};
    bool module = map && map->l_name && *map->l_name;
    std::error_code ignored;
    return std::filesystem::canonical(module ? map->l_name : "/proc/self/exe", ignored)
        .parent_path();
}

std::string FindProgramPart(const char* variable, std::initializer_list<const char*> places,
                            const std::string& built) {
    if (const char* named = std::getenv(variable)) return named;
    std::filesystem::path folder = ProgramFolder();
    for (const char* place : places)
        if (!folder.empty() && IsFile(folder / place))
            return (folder / place).lexically_normal().string();
    return IsFile(built) ? built : "";
}

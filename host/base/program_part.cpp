#include "host/base/program_part.h"

#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>

namespace {

bool IsFile(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

// The folder of the program or module that holds this code; empty when it cannot be told.
std::filesystem::path OwnFolder() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void*>(&FindProgramPart), &info) || !info.dli_fname) return {};
    std::error_code ignored;
    return std::filesystem::canonical(info.dli_fname, ignored).parent_path();
}

}  // namespace

std::string FindProgramPart(const char* variable, std::initializer_list<const char*> places,
                            const std::string& built) {
    if (const char* named = std::getenv(variable)) return named;
    std::filesystem::path folder = OwnFolder();
    for (const char* place : places)
        if (!folder.empty() && IsFile(folder / place)) return (folder / place).string();
    return IsFile(built) ? built : "";
}

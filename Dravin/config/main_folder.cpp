#include "Dravin/config/main_folder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

// A folder counts as the main one when the distribution maps are there.
bool IsMainFolder(const fs::path& folder) {
    std::error_code error;
    return fs::exists(folder / "distmaps" / "index.dat", error);
}

}  // namespace

std::string MainFolder() {
    if (const char* home = std::getenv("DRAVIN_HOME"); home && *home) return home;
    std::error_code error;
    fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (error) return {};
    fs::path folder = program.parent_path();
    if (fs::path shared = folder.parent_path() / "share" / "dravin"; IsMainFolder(shared))
        return shared.string();
    for (; folder.has_relative_path(); folder = folder.parent_path())
        if (IsMainFolder(folder / "data")) return (folder / "data").string();
    return {};
}

std::string DistMapFolder() { return (fs::path(MainFolder()) / "distmaps").string(); }
std::string EffectFolder() { return (fs::path(MainFolder()) / "effects").string(); }
std::string GeometryFolder() { return (fs::path(MainFolder()) / "geometry").string(); }

std::string NativePath(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

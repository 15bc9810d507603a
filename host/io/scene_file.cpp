#include "host/io/scene_file.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/base/near_path.h"

namespace fs = std::filesystem;

namespace {

fs::path NativePath(std::string text) {
    std::replace(text.begin(), text.end(), '\\', '/');
    return {text};
}

// Whether links lead from a path within the folder to one outside it.
bool LeadsOut(const fs::path& folder, const fs::path& path) {
    std::error_code failed;
    fs::path inner = fs::canonical(path, failed);
    if (failed) return false;
    fs::path outer = fs::canonical(folder.empty() ? "." : folder, failed);
    return !failed && LeavesFolder(inner.lexically_relative(outer));
}

}  // namespace

SceneFile FindSceneFile(const std::string& folder, const std::string& name) {
    SceneFile file;
    if (name.empty() || name.find('\0') != std::string::npos) {
        file.error = "expected a file name";
        file.isName = false;
        return file;
    }
    fs::path given = NativePath(name).lexically_normal();
    std::string path = (fs::path(folder) / given).lexically_normal().string();
    if (!RegularFileSize(path, &file.error)) return file;
    if (LeavesFolder(given))
        file.warning = fmt::format("{} lies outside the scene's folder", path);
    else if (LeadsOut(folder, path))
        file.warning = fmt::format("{} is a link that leads outside the scene's folder", path);
    file.path = std::move(path);
    return file;
}

#include "host/base/near_path.h"

#include <algorithm>

namespace fs = std::filesystem;

std::string NearPath(const std::string& path, const std::string& folder, int foldersAbove) {
    if (path.empty()) return {};
    std::error_code failed;
    fs::path full = fs::absolute(path, failed).lexically_normal();
    fs::path base = fs::absolute(folder.empty() ? "." : folder, failed).lexically_normal();
    fs::path relative = full.lexically_relative(base);
    auto numAbove = std::count(relative.begin(), relative.end(), "..");
    return relative.empty() || numAbove > foldersAbove ? full.string() : relative.string();
}

bool LeavesFolder(const fs::path& relative) {
    return relative.is_absolute() || (!relative.empty() && *relative.begin() == "..");
}

#include "host/storage/stored_path.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

std::string StoredPath(const std::string& path, const std::string& folder) {
    if (path.empty()) return {};
    std::error_code failed;
    fs::path full = fs::absolute(path, failed).lexically_normal();
    fs::path base = fs::absolute(folder.empty() ? "." : folder, failed).lexically_normal();
    fs::path relative = full.lexically_relative(base);
    auto numAbove = std::count(relative.begin(), relative.end(), "..");
    return relative.empty() || numAbove > 2 ? full.string() : relative.string();
}

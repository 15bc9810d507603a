#include "apps/dravin_import/guarded_files.h"

#include <algorithm>

namespace fs = std::filesystem;

bool GuardedFiles::IsAllowed(const char* file) const {
    std::error_code failed;
    fs::path path = fs::canonical(file, failed);
    if (failed || !fs::is_regular_file(path, failed)) return false;
    return std::any_of(m_roots.begin(), m_roots.end(), [&](const fs::path& root) {
        return std::mismatch(root.begin(), root.end(), path.begin(), path.end()).first ==
               root.end();
    });
}

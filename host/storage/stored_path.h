// How scene files name other files.
#pragma once

#include <string>

// Relative to `folder` where the path lies inside it, else absolute; empty stays empty.
std::string StoredPath(const std::string& path, const std::string& folder);

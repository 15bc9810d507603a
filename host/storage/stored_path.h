// How scene files name other files.
#pragma once

#include <string>

// Relative to `folder` where the path lies in it or near it (at most two folders above), so that a
// project may move as a whole; else absolute. Empty stays empty.
std::string StoredPath(const std::string& path, const std::string& folder);

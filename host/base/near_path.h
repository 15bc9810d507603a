// How files name other files: a project may move as a whole.
#pragma once

#include <filesystem>
#include <string>

// Relative to `folder` where the path lies in it, or in a folder around it that is at most
// `foldersAbove` above; else absolute. Links are not followed: what a link in a project names stays
// in it. An empty folder is the one that the program works in; an empty path stays empty.
std::string NearPath(const std::string& path, const std::string& folder, int foldersAbove = 0);

// Whether a relative path begins above where it starts, or is absolute.
bool LeavesFolder(const std::filesystem::path& relative);

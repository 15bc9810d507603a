// The import library's way to files: the ones below some folders, for reading.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <assimp/DefaultIOSystem.h>

class GuardedFiles : public Assimp::DefaultIOSystem {
public:
    // roots: canonical paths of folders.
    explicit GuardedFiles(const std::vector<std::string>& roots)
        : m_roots(roots.begin(), roots.end()) {}

    bool Exists(const char* file) const override {
        return IsAllowed(file) && Assimp::DefaultIOSystem::Exists(file);
    }
    Assimp::IOStream* Open(const char* file, const char* mode) override {
        bool isRead = mode && mode[0] == 'r';
        return isRead && IsAllowed(file) ? Assimp::DefaultIOSystem::Open(file, mode) : nullptr;
    }

private:
    // Links are followed first; only regular files count, as others may block.
    bool IsAllowed(const char* file) const;

    std::vector<std::filesystem::path> m_roots;
};

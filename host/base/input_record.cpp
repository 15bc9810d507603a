#include "host/base/input_record.h"

#include <filesystem>

#include <sys/stat.h>

namespace {

// Taken before a record's own lock; a record leaves under it, so that none is used after its end.
std::mutex g_currentMutex;
std::vector<InputRecord*> g_records;  // all that live; the last one takes what is read

// The path of an open file; empty where the system does not tell.
std::string PathOf(int fd) {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), ignored).string();
}

}  // namespace

InputRecord::InputRecord() {
    std::lock_guard lock(g_currentMutex);
    g_records.push_back(this);
}

InputRecord::~InputRecord() {
    std::lock_guard lock(g_currentMutex);
    std::erase(g_records, this);
}

void InputRecord::TakeOver() {
    std::lock_guard lock(g_currentMutex);
    std::erase(g_records, this);
    g_records.push_back(this);
}

bool InputRecord::Holds(const std::string& path) const {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) return false;
    std::lock_guard lock(m_mutex);
    return m_files.contains({info.st_dev, info.st_ino});
}

std::vector<std::string> InputRecord::Paths() const {
    std::lock_guard lock(m_mutex);
    std::vector<std::string> paths;
    for (const auto& [file, path] : m_files) paths.push_back(path);
    return paths;
}

void InputRecord::Add(int fd) {
    struct stat info {};
    std::lock_guard lock(g_currentMutex);
    if (g_records.empty() || fstat(fd, &info) != 0) return;
    InputRecord& current = *g_records.back();
    std::lock_guard own(current.m_mutex);
    current.m_files.try_emplace({info.st_dev, info.st_ino}, PathOf(fd));
}

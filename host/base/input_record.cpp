#include "host/base/input_record.h"

#include <sys/stat.h>

namespace {

// Taken before a record's own lock; a record leaves under it, so that none is used after its end.
std::mutex g_currentMutex;
InputRecord* g_current = nullptr;

}  // namespace

InputRecord::InputRecord() {
    std::lock_guard lock(g_currentMutex);
    m_previous = std::exchange(g_current, this);
}

InputRecord::~InputRecord() {
    std::lock_guard lock(g_currentMutex);
    g_current = m_previous;
}

bool InputRecord::Holds(const std::string& path) const {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) return false;
    std::lock_guard lock(m_mutex);
    return m_files.contains({info.st_dev, info.st_ino});
}

void InputRecord::Add(int fd) {
    struct stat info {};
    std::lock_guard lock(g_currentMutex);
    if (!g_current || fstat(fd, &info) != 0) return;
    std::lock_guard own(g_current->m_mutex);
    g_current->m_files.insert({info.st_dev, info.st_ino});
}

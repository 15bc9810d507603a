// One program at a time changes a file.
//
// Programs that read a file, change it and write it anew, each as a whole, would take back what
// another one wrote in between. They hold a lock meanwhile: on a file of its own, PATH.lock, which
// goes with its last holder, as the file itself is replaced by every save. Locks end with their
// process, however that ends.
#pragma once

#include <string>

class FileLock {
public:
    FileLock() = default;
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // Waits for the lock, up to ten seconds. False with a reason in `error`.
    bool Lock(const std::string& path, std::string* error);

private:
    std::string m_path;
    int m_fd = -1;
};

// Bytes as a file in memory, for readers that want a path.
#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

class FuzzFile {
public:
    explicit FuzzFile(std::string_view bytes) : m_fd(memfd_create("fuzz", MFD_CLOEXEC)) {
        if (m_fd < 0 || write(m_fd, bytes.data(), bytes.size()) != ssize_t(bytes.size()))
            std::abort();
    }
    ~FuzzFile() { close(m_fd); }
    FuzzFile(const FuzzFile&) = delete;
    FuzzFile& operator=(const FuzzFile&) = delete;

    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_fd); }

private:
    int m_fd;
};

// Ends the run when a promise that holds for every input is broken.
inline void Promise(bool isKept) {
    if (!isKept) std::abort();
}

#include "host/base/file_lock.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::chrono::seconds kPatience{10};
constexpr std::chrono::milliseconds kPause{2};

// Whether the path still leads to the open file: a holder before may have removed it.
bool IsAt(int fd, const std::string& path) {
    struct stat open, named;
    return fstat(fd, &open) == 0 && stat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

}  // namespace

FileLock::~FileLock() {
    if (m_fd < 0) return;
    unlink(m_path.c_str());
    close(m_fd);
}

bool FileLock::Lock(const std::string& path, std::string* error) {
    m_path = path + ".lock";
    auto end = std::chrono::steady_clock::now() + kPatience;
    do {
        int fd = open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
        if (fd < 0) {
            *error = fmt::format("{}: cannot write the file: {}", path, std::strerror(errno));
            return false;
        }
        if (flock(fd, LOCK_EX | LOCK_NB) == 0 && IsAt(fd, m_path)) {
            m_fd = fd;
            return true;
        }
        close(fd);
        std::this_thread::sleep_for(kPause);
    } while (std::chrono::steady_clock::now() < end);
    *error =
        fmt::format("{}: another program is changing it ({} is locked); try again", path, m_path);
    return false;
}

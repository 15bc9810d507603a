#include "host/base/memory_file.h"

#include <cerrno>
#include <cstring>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include <fmt/format.h>

#include "host/base/atomic_file.h"

MemoryFile::MemoryFile() : m_fd(memfd_create("output", MFD_CLOEXEC)) {
    if (m_fd >= 0) m_path = fmt::format("/proc/self/fd/{}", m_fd);
}

MemoryFile::~MemoryFile() {
    if (m_fd >= 0) close(m_fd);
}

bool MemoryFile::CopyTo(AtomicFile& out, std::string* error) const {
    std::vector<char> block(1 << 20);
    off_t offset = 0;
    while (true) {
        ssize_t n = pread(m_fd, block.data(), block.size(), offset);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) *error = std::strerror(errno);
        if (n <= 0) return n == 0;
        out.Write({block.data(), size_t(n)});
        offset += n;
    }
}

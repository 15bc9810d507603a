#include "host/base/file_input.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "host/base/input_record.h"

namespace {

const char* KindName(mode_t mode) {
    if (S_ISDIR(mode)) return "a folder";
    if (S_ISFIFO(mode)) return "a pipe";
    if (S_ISSOCK(mode)) return "a socket";
    return "a device";
}

// Descriptor of a regular file open for reading, -1 with a reason otherwise.
int OpenRegular(const std::string& path, uint64_t* size, std::string* error) {
    if (path.find('\0') != std::string::npos) {
        *error = "the file name contains a NUL character";
        return -1;
    }
    // O_NONBLOCK keeps a FIFO without a writer from blocking the open.
    int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    struct stat info {};
    if (fd < 0 || fstat(fd, &info) != 0) {
        *error = fmt::format("{}: cannot open the file: {}", path, std::strerror(errno));
        if (fd >= 0) close(fd);
        return -1;
    }
    if (!S_ISREG(info.st_mode)) {
        *error = fmt::format("{}: is {}, expected a file", path, KindName(info.st_mode));
        close(fd);
        return -1;
    }
    *size = uint64_t(info.st_size);
    InputRecord::Add(fd);
    return fd;
}

// The next `count` bytes.
std::optional<std::string> ReadAndClose(int fd, size_t count, const std::string& path,
                                        std::string* error) {
    std::string bytes(count, '\0');
    size_t done = 0;
    ssize_t n = 1;
    while (done < count && n != 0) {
        n = read(fd, bytes.data() + done, count - done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            *error = fmt::format("{}: cannot read the file: {}", path, std::strerror(errno));
            close(fd);
            return std::nullopt;
        }
        done += size_t(n);
    }
    close(fd);
    if (done < count) {
        *error = fmt::format("{}: the file became shorter while it was read", path);
        return std::nullopt;
    }
    return bytes;
}

}  // namespace

std::optional<uint64_t> RegularFileSize(const std::string& path, std::string* error) {
    uint64_t size = 0;
    int fd = OpenRegular(path, &size, error);
    if (fd < 0) return std::nullopt;
    close(fd);
    return size;
}

std::optional<std::string> ReadWholeFile(const std::string& path, uint64_t limit,
                                         std::string* error) {
    uint64_t size = 0;
    int fd = OpenRegular(path, &size, error);
    if (fd < 0) return std::nullopt;
    if (size > limit) {
        *error = fmt::format("{}: {} bytes, at most {} are read", path, size, limit);
        close(fd);
        return std::nullopt;
    }
    return ReadAndClose(fd, size, path, error);
}

std::optional<std::string> ReadFileHead(const std::string& path, size_t count, uint64_t* size,
                                        std::string* error) {
    int fd = OpenRegular(path, size, error);
    if (fd < 0) return std::nullopt;
    return ReadAndClose(fd, std::min<uint64_t>(*size, count), path, error);
}

MappedFile::~MappedFile() {
    m_guard.Release();
    if (m_file >= 0) close(m_file);
    if (m_data) munmap(const_cast<char*>(m_data), m_size);
}

bool MappedFile::Open(const std::string& path, std::string* error) {
    uint64_t size = 0;
    int fd = OpenRegular(path, &size, error);
    if (fd < 0) return false;
    if (size > 0) {
        void* data = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
        if (data == MAP_FAILED) {
            *error = fmt::format("{}: cannot map the file: {}", path, std::strerror(errno));
            close(fd);
            return false;
        }
        m_data = static_cast<const char*>(data);
        m_size = size;
        if (!m_guard.Watch(data, size)) {
            *error = fmt::format("{}: too many files are open at once", path);
            close(fd);
            return false;
        }
    }
    m_file = fd;
    return true;
}

// The end of the last page that is left reads as zeros without a fault, so the length counts too.
void MappedFile::Release(std::string_view bytes) const {
    // Whole pages within the range; what is not released costs memory only.
    auto page = uintptr_t(sysconf(_SC_PAGESIZE));
    uintptr_t first = (uintptr_t(bytes.data()) + page - 1) / page * page;
    uintptr_t end = uintptr_t(bytes.data() + bytes.size()) / page * page;
    if (first < end) madvise(reinterpret_cast<void*>(first), end - first, MADV_DONTNEED);
}

bool MappedFile::WasCut() const {
    struct stat info {};
    return m_guard.WasCut() ||
           (m_file >= 0 && fstat(m_file, &info) == 0 && uint64_t(info.st_size) < m_size);
}

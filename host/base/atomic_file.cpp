#include "host/base/atomic_file.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

namespace {

constexpr size_t kBufferBytes = 1 << 18;

// Names of the temporary files in being, in storage that a signal handler may read at any moment: a
// slot is filled before it is published and published before its file exists.
enum SlotState : int { kFree, kReserved, kPublished };
struct Slot {
    std::atomic<int> state{kFree};
    char path[PATH_MAX];
};
constexpr int kNumSlots = 64;
Slot g_slots[kNumSlots];

int Publish(const std::string& path) {
    if (path.size() >= PATH_MAX) return -1;
    for (int i = 0; i < kNumSlots; ++i) {
        int expected = kFree;
        if (!g_slots[i].state.compare_exchange_strong(expected, kReserved)) continue;
        std::memcpy(g_slots[i].path, path.c_str(), path.size() + 1);
        g_slots[i].state.store(kPublished, std::memory_order_release);
        return i;
    }
    return -1;
}

void Withdraw(int slot) {
    if (slot >= 0) g_slots[slot].state.store(kFree, std::memory_order_release);
}

std::string CannotWrite(const std::string& path, int number) {
    return fmt::format("{}: cannot write the file: {}", path, std::strerror(number));
}

// The file behind a link, or `path` itself when there is none yet.
std::string ResolveLinks(const std::string& path) {
    char* resolved = realpath(path.c_str(), nullptr);
    if (!resolved) return path;
    std::string result = resolved;
    std::free(resolved);
    return result;
}

}  // namespace

bool AtomicFile::Open(const std::string& path, std::string* error) {
    Discard();
    m_path = path;
    m_size = 0;
    m_errno = 0;
    if (path == "-") {
        m_writtenPath = "/dev/stdout";
        m_fd = dup(STDOUT_FILENO);
        if (m_fd < 0) *error = CannotWrite("standard output", errno);
        return m_fd >= 0;
    }
    if (path.empty() || path.find('\0') != std::string::npos) {
        *error = fmt::format("cannot write the file \"{}\": not a file name", path);
        return false;
    }
    m_target = ResolveLinks(path);
    struct stat info {};
    bool exists = stat(m_target.c_str(), &info) == 0;
    if (exists && S_ISDIR(info.st_mode)) {
        *error = fmt::format("{}: cannot write the file: it is a folder", path);
        return false;
    }
    if (exists && !S_ISREG(info.st_mode)) {
        m_writtenPath = path;
        m_fd = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        if (m_fd < 0) *error = CannotWrite(path, errno);
        return m_fd >= 0;
    }
    if (exists && access(m_target.c_str(), W_OK) != 0) {
        *error = CannotWrite(path, errno);
        return false;
    }
    if (!OpenTemporary(error)) return false;
    // Where the mode cannot be kept, the new file has the default one; its contents are what
    // matters.
    [[maybe_unused]] int status = exists ? fchmod(m_fd, info.st_mode & 07777) : 0;
    return true;
}

bool AtomicFile::CanWrite(const std::string& path, std::string* error) {
    struct stat info {};
    bool isSpecial = path != "-" && stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode) &&
                     !S_ISDIR(info.st_mode);
    if (!isSpecial) return AtomicFile().Open(path, error);
    if (access(path.c_str(), W_OK) == 0) return true;
    *error = CannotWrite(path, errno);
    return false;
}

bool AtomicFile::OpenTemporary(std::string* error) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        m_writtenPath = fmt::format("{}.{}-{}.tmp", m_target, getpid(), counter++);
        m_slot = Publish(m_writtenPath);
        m_fd = open(m_writtenPath.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (m_fd >= 0) return true;
        int number = errno;
        Withdraw(m_slot);
        m_slot = -1;
        if (number == EEXIST) continue;
        *error = CannotWrite(m_path, number);
        return false;
    }
    *error = CannotWrite(m_path, EEXIST);
    return false;
}

void AtomicFile::Write(std::string_view bytes) {
    m_size += bytes.size();
    if (m_buffer.size() + bytes.size() <= kBufferBytes) {
        m_buffer.append(bytes);
        return;
    }
    Flush();
    if (bytes.size() >= kBufferBytes)
        WriteAll(bytes);
    else
        m_buffer.assign(bytes);
}

void AtomicFile::Flush() {
    WriteAll(m_buffer);
    m_buffer.clear();
}

void AtomicFile::WriteAll(std::string_view bytes) {
    while (!bytes.empty() && m_errno == 0) {
        ssize_t n = write(m_fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0)
            m_errno = errno;
        else
            bytes.remove_prefix(size_t(n));
    }
}

uint64_t AtomicFile::Extend(uint64_t bytes) {
    Flush();
    uint64_t start = m_size;
    m_size += bytes;
    if (m_errno == 0 && (ftruncate(m_fd, off_t(m_size)) != 0 || lseek(m_fd, 0, SEEK_END) < 0))
        m_errno = errno;
    return start;
}

void AtomicFile::Overwrite(uint64_t offset, std::string_view bytes) {
    Flush();
    while (!bytes.empty() && m_errno == 0) {
        ssize_t n = pwrite(m_fd, bytes.data(), bytes.size(), off_t(offset));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            m_errno = errno;
        } else {
            bytes.remove_prefix(size_t(n));
            offset += uint64_t(n);
        }
    }
}

bool AtomicFile::Commit(std::string* error) {
    if (m_fd < 0) {
        *error = fmt::format("{}: cannot write the file: it is not open", m_path);
        return false;
    }
    Flush();
    if (close(m_fd) != 0 && m_errno == 0) m_errno = errno;
    m_fd = -1;
    bool isRenamed = m_slot >= 0 || m_writtenPath != m_path;
    if (m_path == "-") isRenamed = false;
    if (m_errno == 0 && isRenamed && rename(m_writtenPath.c_str(), m_target.c_str()) != 0)
        m_errno = errno;
    if (m_errno != 0) {
        *error = CannotWrite(m_path == "-" ? "standard output" : m_path, m_errno);
        if (isRenamed) unlink(m_writtenPath.c_str());
    }
    Withdraw(m_slot);
    m_slot = -1;
    m_writtenPath.clear();
    return m_errno == 0;
}

void AtomicFile::Discard() {
    if (m_fd < 0) return;
    close(m_fd);
    m_fd = -1;
    m_buffer.clear();
    if (m_path != "-" && m_writtenPath != m_path) unlink(m_writtenPath.c_str());
    Withdraw(m_slot);
    m_slot = -1;
    m_writtenPath.clear();
}

void AtomicFile::RemoveTemporaryFiles() {
    for (Slot& slot : g_slots)
        if (slot.state.load(std::memory_order_acquire) == kPublished) unlink(slot.path);
}

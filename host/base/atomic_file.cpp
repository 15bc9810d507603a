#include "host/base/atomic_file.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

namespace {

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
    if (path.size() >= PATH_MAX) {
        errno = ENAMETOOLONG;
        return -1;
    }
    errno = EMFILE;
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

constexpr const char* kTemporaryEnding = ".tmp";

// "name.PID-NUMBER.tmp": what a temporary file of the target `name` is called.
bool IsTemporaryOf(const std::string& name, const std::string& file) {
    if (!file.starts_with(name + ".") || !file.ends_with(kTemporaryEnding)) return false;
    std::string middle = file.substr(name.size() + 1);
    middle.resize(middle.size() - std::strlen(kTemporaryEnding));
    size_t dash = middle.find('-');
    auto isNumber = [](std::string_view text) {
        return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
    };
    return dash != middle.npos && isNumber(std::string_view(middle).substr(0, dash)) &&
           isNumber(std::string_view(middle).substr(dash + 1));
}

// Removes what killed runs left of this target: temporary files that nobody holds a lock on.
void RemoveAbandoned(const std::string& target) {
    std::filesystem::path path(target);
    std::error_code error;
    std::string folder = path.parent_path().empty() ? "." : path.parent_path().string();
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (!IsTemporaryOf(path.filename().string(), entry.path().filename().string())) continue;
        int fd = open(entry.path().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0) unlink(entry.path().c_str());
        if (fd >= 0) close(fd);
    }
}

// The folder's own entry, so that a renamed file is still there after a loss of power.
void SyncFolderOf(const std::string& path) {
    std::string folder = std::filesystem::path(path).parent_path().string();
    int fd = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    fsync(fd);
    close(fd);
}

// Keeps signals waiting that would end the program between two renames: this thread takes none, and
// a handler in another one waits for it.
std::atomic<int> g_numCommits{0};
class SignalsWait {
public:
    SignalsWait() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &m_old);
        ++g_numCommits;
    }
    ~SignalsWait() {
        --g_numCommits;
        pthread_sigmask(SIG_SETMASK, &m_old, nullptr);
    }

private:
    sigset_t m_old;
};

std::string TemporaryName(const std::string& target) {
    static std::atomic<unsigned> counter{0};
    return fmt::format("{}.{}-{}{}", target, getpid(), counter++, kTemporaryEnding);
}

}  // namespace

bool AtomicFile::Open(const std::string& path, std::string* error) {
    Discard();
    m_path = path;
    m_writer.Reset(-1);
    if (path == "-") {
        m_fd = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        m_writer.Reset(m_fd);
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
    if (exists && !S_ISREG(info.st_mode)) return OpenSpecial(error);
    if (exists && access(m_target.c_str(), W_OK) != 0) {
        *error = CannotWrite(path, errno);
        return false;
    }
    RemoveAbandoned(m_target);
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

// A device or a pipe. A pipe without a reader does not open that way; one with a reader is then
// written at its pace.
bool AtomicFile::OpenSpecial(std::string* error) {
    m_fd = open(m_path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (m_fd < 0) {
        *error = errno == ENXIO
                     ? fmt::format("{}: cannot write the file: nobody reads this pipe", m_path)
                     : CannotWrite(m_path, errno);
        return false;
    }
    fcntl(m_fd, F_SETFL, fcntl(m_fd, F_GETFL) & ~O_NONBLOCK);
    m_writer.Reset(m_fd);
    return true;
}

bool AtomicFile::OpenTemporary(std::string* error) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (CreateTemporary(TemporaryName(m_target))) return true;
        if (errno != EEXIST) break;
    }
    *error = CannotWrite(m_path, errno);
    return false;
}

// False with errno; EEXIST: another name may do.
bool AtomicFile::CreateTemporary(const std::string& path) {
    m_writtenPath = path;
    m_slot = Publish(path);
    if (m_slot < 0) return false;
    m_fd = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    int number = errno;
    if (m_fd >= 0) {
        // Before the lock stood, somebody may have taken the file for an abandoned one. Where a
        // file system has no locks, the file is good without.
        struct stat info {};
        flock(m_fd, LOCK_EX | LOCK_NB);
        m_writer.Reset(m_fd);
        if (fstat(m_fd, &info) == 0 && info.st_nlink > 0) return true;
        close(m_fd);
        m_fd = -1;
        number = EEXIST;
    }
    Withdraw(m_slot);
    m_slot = -1;
    m_writtenPath.clear();
    errno = number;
    return false;
}

// Whether the kernel takes over all of it; what it did not is left in `offset` and `bytes`.
bool AtomicFile::CopyInKernel(int file, uint64_t* offset, uint64_t* bytes) {
    while (*bytes > 0) {
        auto from = off64_t(*offset);
        ssize_t n = copy_file_range(file, &from, m_fd, nullptr, *bytes, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        *offset += uint64_t(n), *bytes -= uint64_t(n);
    }
    return true;
}

void AtomicFile::WriteFrom(int file, uint64_t offset, uint64_t bytes) {
    m_writer.Flush();
    if (HasFailed()) return;
    uint64_t whole = bytes;
    bool copied = CopyInKernel(file, &offset, &bytes);
    m_writer.Skip(whole - bytes);
    if (copied) return;
    // Whatever keeps the kernel from it, a failure of the disk among them, is told by plain writes.
    std::string piece;
    while (bytes > 0 && !HasFailed()) {
        if (int error = ReadPieceAt(file, offset, bytes, &piece)) return Fail(error);
        m_writer.Write(piece);
        offset += piece.size(), bytes -= piece.size();
    }
}

uint64_t AtomicFile::Extend(uint64_t bytes) {
    m_writer.Flush();
    uint64_t start = Size();
    m_writer.Skip(bytes);
    if (!HasFailed() && (ftruncate(m_fd, off_t(Size())) != 0 || lseek(m_fd, 0, SEEK_END) < 0))
        Fail(errno);
    return start;
}

void AtomicFile::Overwrite(uint64_t offset, std::string_view bytes) {
    m_writer.Flush();
    while (!bytes.empty() && !HasFailed()) {
        ssize_t n = pwrite(m_fd, bytes.data(), bytes.size(), off_t(offset));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            Fail(errno);
        } else {
            bytes.remove_prefix(size_t(n));
            offset += uint64_t(n);
        }
    }
}

// All bytes on the disk and the file closed. False with a reason.
bool AtomicFile::Finish(std::string* error) {
    if (m_fd < 0) {
        *error = fmt::format("{}: cannot write the file: it is not open", m_path);
        return false;
    }
    m_writer.Flush();
    bool hasReaderGone = m_path == "-" && m_writer.Error() == EPIPE;
    if (hasReaderGone) m_writer.Forgive();
    // The lock goes with the descriptor; the name stays published until the file is in its place.
    if (!HasFailed() && IsRenamed() && fsync(m_fd) != 0) Fail(errno);
    if (HasFailed())
        *error = CannotWrite(m_path == "-" ? "standard output" : m_path, m_writer.Error());
    return !HasFailed();
}

// Renames the file over its target. With `keep`, the old file stays under another name.
bool AtomicFile::PutInPlace(bool keep, std::string* error) {
    if (!IsRenamed()) return true;
    m_kept.clear();
    m_wasAbsent = false;
    if (keep) {
        std::string kept = TemporaryName(m_target);
        if (link(m_target.c_str(), kept.c_str()) == 0)
            m_kept = kept;
        else
            m_wasAbsent = errno == ENOENT;
    }
    if (rename(m_writtenPath.c_str(), m_target.c_str()) == 0) return true;
    *error = CannotWrite(m_path, errno);
    return false;
}

// Undoes PutInPlace. Where the file system could not keep the old file, the new one stays.
void AtomicFile::TakeBack() {
    if (!m_kept.empty())
        rename(m_kept.c_str(), m_target.c_str());
    else if (m_wasAbsent)
        unlink(m_target.c_str());
    m_kept.clear();
}

// Closes what is open and gives the name up; the temporary file is somebody else's now, or gone.
void AtomicFile::Forget() {
    if (m_fd >= 0 && close(m_fd) != 0) Fail(errno);
    m_fd = -1;
    Withdraw(m_slot);
    m_slot = -1;
    m_writtenPath.clear();
}

bool AtomicFile::Commit(std::string* error) {
    AtomicFile* self = this;
    return CommitTogether({&self, 1}, error);
}

bool AtomicFile::CommitTogether(std::span<AtomicFile* const> files, std::string* error) {
    bool good = true;
    for (AtomicFile* file : files) good = good && file->Finish(error);
    SignalsWait signalsWait;
    size_t placed = 0;
    while (good && placed < files.size()) {
        good = files[placed]->PutInPlace(files.size() > 1, error);
        if (good) ++placed;
    }
    if (!good)
        for (size_t i = 0; i < placed; ++i) files[i]->TakeBack();
    for (AtomicFile* file : files) {
        if (!file->m_kept.empty()) unlink(file->m_kept.c_str());
        if (good && file->IsRenamed()) SyncFolderOf(file->m_target);
        good ? file->Forget() : file->Discard();
    }
    return good;
}

void AtomicFile::Discard() {
    if (IsRenamed()) unlink(m_writtenPath.c_str());
    Forget();
}

void AtomicFile::RemoveTemporaryFiles() {
    constexpr timespec kMillisecond{0, 1000000};
    for (int i = 0; i < 10000 && g_numCommits.load() > 0; ++i) nanosleep(&kMillisecond, nullptr);
    for (Slot& slot : g_slots)
        if (slot.state.load(std::memory_order_acquire) == kPublished) unlink(slot.path);
}

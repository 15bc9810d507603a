#include "host/base/spool_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/base/atomic_file.h"

namespace {

constexpr size_t kBufferBytes = 1 << 18;
// Brought over or handed out at once, and then given back.
constexpr uint64_t kPieceBytes = 1 << 24;

// Where the output's bytes lie; of what is no file, the folder for temporary ones.
std::string FolderFor(const std::string& output) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    fs::file_status status = fs::status(output, ignored);
    bool isSpecial = output == "-" || (fs::exists(status) && !fs::is_regular_file(status));
    if (isSpecial) return fs::temp_directory_path(ignored).string();
    fs::path real = fs::weakly_canonical(output, ignored);
    fs::path folder = (ignored ? fs::path(output) : real).parent_path();
    return folder.empty() ? "." : folder.string();
}

// For file systems that know no files without a name: one that loses it at once.
int OpenUnlinked(const std::string& folder) {
    std::string name = folder + "/.dravin-spool-XXXXXX";
    int fd = mkostemp(name.data(), O_CLOEXEC);
    if (fd >= 0) unlink(name.c_str());
    return fd;
}

// Gives room back; where the file system cannot, it stays until the end.
void FreeRoom(int fd, uint64_t offset, uint64_t bytes) {
    [[maybe_unused]] int status =
        fallocate(fd, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, off_t(offset), off_t(bytes));
}

}  // namespace

SpoolFile::~SpoolFile() {
    if (m_fd >= 0) close(m_fd);
}

SpoolFile::SpoolFile(SpoolFile&& other) noexcept
    : m_buffer(std::move(other.m_buffer)),
      m_size(std::exchange(other.m_size, 0)),
      m_fd(std::exchange(other.m_fd, -1)),
      m_errno(std::exchange(other.m_errno, 0)) {}

void SpoolFile::Open(const std::string& output) {
    std::string folder = FolderFor(output);
    m_fd = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (m_fd < 0) m_fd = OpenUnlinked(folder);
    if (m_fd < 0) m_errno = errno;
}

void SpoolFile::Write(std::string_view bytes) {
    m_size += bytes.size();
    if (m_buffer.size() + bytes.size() > kBufferBytes) Flush();
    if (bytes.size() >= kBufferBytes)
        WriteAll(bytes);
    else
        m_buffer.append(bytes);
}

void SpoolFile::Flush() {
    WriteAll(m_buffer);
    m_buffer.clear();
}

void SpoolFile::WriteAll(std::string_view bytes) {
    while (!bytes.empty() && m_errno == 0) {
        ssize_t n = write(m_fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0)
            m_errno = errno;
        else
            bytes.remove_prefix(size_t(n));
    }
}

void SpoolFile::MoveTo(AtomicFile& out) {
    Flush();
    if (m_errno != 0) return out.Fail(m_errno);
    for (uint64_t done = 0; done < m_size && !out.HasFailed();) {
        uint64_t piece = std::min(kPieceBytes, m_size - done);
        out.WriteFrom(m_fd, done, piece);
        FreeRoom(m_fd, done, piece);
        done += piece;
    }
    Clear();
}

void SpoolFile::Drain(const std::function<void(std::string_view bytes)>& use) {
    Flush();
    std::string piece;
    for (uint64_t done = 0; done < m_size && m_errno == 0;) {
        piece.resize(size_t(std::min<uint64_t>(kBufferBytes, m_size - done)));
        ssize_t n = pread(m_fd, piece.data(), piece.size(), off_t(done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) m_errno = n < 0 ? errno : EIO;
        if (n <= 0) break;
        use(std::string_view(piece).substr(0, size_t(n)));
        FreeRoom(m_fd, done, uint64_t(n));
        done += uint64_t(n);
    }
    Clear();
}

void SpoolFile::Clear() {
    m_buffer.clear();
    m_size = 0;
    if (m_fd < 0) return;
    if (ftruncate(m_fd, 0) != 0 || lseek(m_fd, 0, SEEK_SET) < 0) m_errno = errno;
}

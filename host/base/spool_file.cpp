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
    : m_writer(std::exchange(other.m_writer, {})), m_fd(std::exchange(other.m_fd, -1)) {}

void SpoolFile::Open(const std::string& output) {
    std::string folder = FolderFor(output);
    m_fd = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (m_fd < 0) m_fd = OpenUnlinked(folder);
    m_writer.Reset(m_fd);
    if (m_fd < 0) m_writer.Fail(errno);
}

void SpoolFile::MoveTo(AtomicFile& out) {
    m_writer.Flush();
    if (Error() != 0) return out.Fail(Error());
    for (uint64_t done = 0; done < Size() && !out.HasFailed();) {
        uint64_t piece = std::min(kPieceBytes, Size() - done);
        out.WriteFrom(m_fd, done, piece);
        FreeRoom(m_fd, done, piece);
        done += piece;
    }
    Clear();
}

void SpoolFile::Drain(const std::function<void(std::string_view bytes)>& use) {
    m_writer.Flush();
    std::string piece;
    for (uint64_t done = 0; done < Size() && Error() == 0; done += piece.size()) {
        if (int error = ReadPieceAt(m_fd, done, Size() - done, &piece)) {
            m_writer.Fail(error);
            break;
        }
        use(piece);
        FreeRoom(m_fd, done, piece.size());
    }
    Clear();
}

void SpoolFile::Clear() {
    m_writer.Clear();
    if (m_fd < 0) return;
    if (ftruncate(m_fd, 0) != 0 || lseek(m_fd, 0, SEEK_SET) < 0) m_writer.Fail(errno);
}

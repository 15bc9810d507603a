#include "host/base/fd_writer.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

void FdWriter::Reset(int fd) {
    Clear();
    m_fd = fd;
    m_errno = 0;
}

void FdWriter::Write(std::string_view bytes) {
    m_size += bytes.size();
    if (m_buffer.size() + bytes.size() > kFileBufferBytes) Flush();
    if (bytes.size() >= kFileBufferBytes)
        WriteAll(bytes);
    else
        m_buffer.append(bytes);
}

void FdWriter::Flush() {
    WriteAll(m_buffer);
    m_buffer.clear();
}

void FdWriter::Clear() {
    m_buffer.clear();
    m_size = 0;
}

void FdWriter::Fail(int number) {
    if (m_errno == 0) m_errno = number;
}

void FdWriter::WriteAll(std::string_view bytes) {
    while (!bytes.empty() && m_errno == 0) {
        ssize_t n = write(m_fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0)
            m_errno = errno;
        else
            bytes.remove_prefix(size_t(n));
    }
}

int ReadPieceAt(int fd, uint64_t offset, uint64_t bytes, std::string* piece) {
    piece->resize(size_t(std::min<uint64_t>(kFileBufferBytes, bytes)));
    ssize_t n;
    do n = pread(fd, piece->data(), piece->size(), off_t(offset));
    while (n < 0 && errno == EINTR);
    if (n <= 0) return n < 0 ? errno : EIO;
    piece->resize(size_t(n));
    return 0;
}

// Buffered writing to an open file: what every output of bytes shares.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Bytes that one write hands to the kernel, and one read takes from it.
inline constexpr size_t kFileBufferBytes = 1 << 18;

// Appends to a file descriptor that somebody else opens and closes. The first failure is kept, and
// nothing is written after it. One thread at a time.
class FdWriter {
public:
    // Starts anew on a file, -1 for none: no bytes, no failure.
    void Reset(int fd);

    void Write(std::string_view bytes);
    void Flush();
    // Counts bytes that reach the file past this writer; Flush first.
    void Skip(uint64_t bytes) { m_size += bytes; }
    // Forgets the bytes that wait, and how many there were.
    void Clear();

    // Bytes written so far, those that wait in the buffer included.
    uint64_t Size() const { return m_size; }
    // 0, or the errno of the first failure.
    int Error() const { return m_errno; }
    // As a failed write, of this errno.
    void Fail(int number);
    // The failure was none for this output.
    void Forgive() { m_errno = 0; }

private:
    void WriteAll(std::string_view bytes);

    std::string m_buffer;
    uint64_t m_size = 0;
    int m_fd = -1;
    int m_errno = 0;
};

// Reads up to kFileBufferBytes of an open file at `offset` into `piece`, no more than `bytes`. 0,
// or an errno; an end of the file before is EIO.
int ReadPieceAt(int fd, uint64_t offset, uint64_t bytes, std::string* piece);

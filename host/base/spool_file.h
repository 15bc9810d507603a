// Bytes that wait on the disk for their place in an output.
//
// A temporary file without a name, beside the output, so that the kernel can bring its bytes over;
// whatever ends the program, nothing of it is left. One thread at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "host/base/fd_writer.h"

class AtomicFile;

class SpoolFile {
public:
    SpoolFile() = default;
    ~SpoolFile();
    SpoolFile(SpoolFile&& other) noexcept;
    SpoolFile& operator=(SpoolFile&&) = delete;

    // For an output of this path; of devices and of standard output ("-") in the folder for
    // temporary files. Failures are kept: Error tells.
    void Open(const std::string& output);
    bool IsOpen() const { return m_fd >= 0 || Error() != 0; }

    // Appends bytes, buffered. After a failure further writes do nothing.
    void Write(std::string_view bytes) { m_writer.Write(bytes); }
    uint64_t Size() const { return m_writer.Size(); }
    // 0, or the errno of the first failure.
    int Error() const { return m_writer.Error(); }

    // Appends all bytes to `out`, giving the room of each part back as soon as it is there. Empty
    // afterwards. A failure to read is one of `out`.
    void MoveTo(AtomicFile& out);
    // Hands all bytes to use(), some at a time, in order. Empty afterwards.
    void Drain(const std::function<void(std::string_view bytes)>& use);
    // Forgets all bytes.
    void Clear();

private:
    FdWriter m_writer;
    int m_fd = -1;
};

// A file in memory that a library writes by name, for outputs that a library makes.
//
// A codec that writes to the disk itself may not notice that it is full, or leave a file of its own
// behind. It writes here instead, and the bytes then go out through an AtomicFile like all others.
#pragma once

#include <string>

class AtomicFile;

class MemoryFile {
public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // A name that opens the file in this process, for writing from its start. Empty when the system
    // gave no file.
    const std::string& Path() const { return m_path; }
    // Appends all that was written to `out`. False with a reason in `error`.
    bool CopyTo(AtomicFile& out, std::string* error) const;

private:
    int m_fd;
    std::string m_path;
};

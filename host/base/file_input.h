// Files that are read: regular files only, opened without ever blocking.
//
// A path that someone else wrote may name a device, a FIFO or a folder; all of these are refused
// with a clear message, before anything is read or allocated.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/fault_guard.h"

// Size in bytes of the regular file at `path`; none, with a reason in `error`, when there is none
// or it cannot be read.
std::optional<uint64_t> RegularFileSize(const std::string& path, std::string* error);

// The file's bytes, at most `limit` of them: a longer file is an error that names both numbers.
std::optional<std::string> ReadWholeFile(const std::string& path, uint64_t limit,
                                         std::string* error);

// The file's first bytes, at most `count` of them, and its whole size.
std::optional<std::string> ReadFileHead(const std::string& path, size_t count, uint64_t* size,
                                        std::string* error);

// A file's bytes in the address space, read from disk only as far as they are looked at. When
// others shorten the file meanwhile, zeros stand for what is gone, and WasCut tells: ask it when
// done, and before what was read is believed. Movable by pointer only; safe to read from threads.
class MappedFile {
public:
    MappedFile() = default;
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    // False with a reason in `error` when the file cannot be opened. An empty file maps to no
    // bytes.
    bool Open(const std::string& path, std::string* error);
    std::string_view Bytes() const { return {m_data, m_size}; }
    // These of its bytes are not looked at again soon: their memory is free for others.
    void Release(std::string_view bytes) const;
    // Whether the file has become shorter than it was when it was opened.
    bool WasCut() const;

private:
    const char* m_data = nullptr;
    size_t m_size = 0;
    int m_file = -1;
    FaultGuard m_guard;
};

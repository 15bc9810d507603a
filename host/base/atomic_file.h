// Output files that appear whole or not at all.
//
// Bytes go to a temporary file beside the target, which Commit renames over it; a destructor
// without Commit, a failed write or RemoveTemporaryFiles (from a signal handler) leaves the target
// as it was.
// "-" is standard output; devices and pipes are written directly, as nothing can be renamed over
// them. A link's target is replaced, not the link, and an existing file's permissions are kept.
// One thread at a time may use an AtomicFile.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class AtomicFile {
public:
    AtomicFile() = default;
    ~AtomicFile() { Discard(); }
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Starts an output. False with a reason in `error` when the target cannot be written.
    bool Open(const std::string& path, std::string* error);

    // Appends bytes, buffered. After a failure further writes do nothing; Commit tells the reason.
    void Write(std::string_view bytes);
    // Bytes written so far.
    uint64_t Size() const { return m_size; }
    bool HasFailed() const { return m_errno != 0; }

    // Appends `bytes` zero bytes, to be overwritten piece by piece. Returns where they start.
    // Regular targets only.
    uint64_t Extend(uint64_t bytes);
    // Writes `bytes` over those at `offset`, which must lie before Size(). Regular targets only.
    void Overwrite(uint64_t offset, std::string_view bytes);

    // File that a library may write by name instead of calling Write.
    const std::string& TemporaryPath() const { return m_writtenPath; }

    // Puts the file in its place. False with a reason in `error`, the target unchanged.
    bool Commit(std::string* error);
    void Discard();

    // Whether Open would succeed on a regular target, tried without a trace: for long work that
    // wants to know beforehand. Devices and pipes are only asked for their permissions.
    static bool CanWrite(const std::string& path, std::string* error);

    // Unlinks the temporary files of this process. Async-signal-safe; for handlers that then exit.
    static void RemoveTemporaryFiles();

private:
    void Flush();
    void WriteAll(std::string_view bytes);
    bool OpenTemporary(std::string* error);

    std::string m_path;         // as the caller named it
    std::string m_target;       // links resolved
    std::string m_writtenPath;  // the temporary file, or the target when it is written directly
    std::string m_buffer;
    uint64_t m_size = 0;
    int m_fd = -1;
    int m_errno = 0;
    int m_slot = -1;  // place in the list for signal handlers; -1 when written directly
};

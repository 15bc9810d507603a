// Output files that appear whole or not at all.
//
// Bytes go to a temporary file beside the target, which Commit brings to the disk and renames over
// it; a destructor without Commit, a failed write or RemoveTemporaryFiles (from a signal handler)
// leaves the target as it was. A temporary file is locked while its writer lives, so that the next
// output of the same name recognises and removes what a killed run left.
// "-" is standard output; devices and pipes are written directly, as nothing can be renamed over
// them. A pipe that nobody reads is refused instead of waited for; a reader of standard output that
// goes early is no failure. A link's target is replaced, not the link, and an existing file's
// permissions are kept. One thread at a time may use an AtomicFile.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "host/base/fd_writer.h"

class AtomicFile {
public:
    AtomicFile() = default;
    ~AtomicFile() { Discard(); }
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Starts an output. False with a reason in `error` when the target cannot be written.
    bool Open(const std::string& path, std::string* error);

    // Appends bytes, buffered. After a failure further writes do nothing; Commit tells the reason.
    void Write(std::string_view bytes) { m_writer.Write(bytes); }
    // Appends `bytes` bytes of another open file, from `offset` on; where both lie on one file
    // system, they need not pass through this process.
    void WriteFrom(int file, uint64_t offset, uint64_t bytes);
    // Something that the output needs has failed: as a failed write, of this errno.
    void Fail(int number) { m_writer.Fail(number); }
    // Bytes written so far.
    uint64_t Size() const { return m_writer.Size(); }
    bool HasFailed() const { return m_writer.Error() != 0; }

    // Whether the open target is a regular one, which Extend and Overwrite take.
    bool CanOverwrite() const { return IsRenamed(); }
    // Appends `bytes` zero bytes, to be overwritten piece by piece. Returns where they start.
    // Regular targets only.
    uint64_t Extend(uint64_t bytes);
    // Writes `bytes` over those at `offset`, which must lie before Size(). Regular targets only.
    void Overwrite(uint64_t offset, std::string_view bytes);

    // Puts the file in its place. False with a reason in `error`, the target unchanged.
    bool Commit(std::string* error);
    // Puts several files in their places that belong together: when one of them cannot be, all
    // targets are as they were. Signals that end the program wait until the last one is there.
    static bool CommitTogether(std::span<AtomicFile* const> files, std::string* error);
    void Discard();

    // Whether Open would succeed on a regular target, tried without a trace: for long work that
    // wants to know beforehand. Devices and pipes are only asked for their permissions.
    static bool CanWrite(const std::string& path, std::string* error);

    // Unlinks the temporary files of this process. Async-signal-safe; for handlers that then exit.
    static void RemoveTemporaryFiles();

private:
    bool CopyInKernel(int file, uint64_t* offset, uint64_t* bytes);
    bool OpenSpecial(std::string* error);
    bool OpenTemporary(std::string* error);
    bool CreateTemporary(const std::string& path);
    bool IsRenamed() const { return m_slot >= 0; }
    bool Finish(std::string* error);
    bool PutInPlace(bool keep, std::string* error);
    void TakeBack();
    void Forget();

    std::string m_path;         // as the caller named it
    std::string m_target;       // links resolved
    std::string m_writtenPath;  // the temporary file; empty when the target is written directly
    FdWriter m_writer;
    int m_fd = -1;
    int m_slot = -1;  // place in the list for signal handlers; -1 when written directly
    // While files are put in their places: the old file under another name, or that there was none.
    std::string m_kept;
    bool m_wasAbsent = false;
};

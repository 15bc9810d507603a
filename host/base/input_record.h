// Which files were read, so that no output takes the place of one.
//
// While a record lives, every file that is opened through file_input.h, by any thread, stands in
// it. Files are told apart by device and number, whatever link or path leads to them.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

class InputRecord {
public:
    // One at a time in a process takes what is read: the newest, until it goes or another one is
    // told to take over.
    InputRecord();
    ~InputRecord();
    InputRecord(const InputRecord&) = delete;
    InputRecord& operator=(const InputRecord&) = delete;

    // From now on this is the one.
    void TakeOver();

    // Whether the path leads to a file that was read. False where there is no file.
    bool Holds(const std::string& path) const;
    // The files themselves, each once, by the path that led to it first.
    std::vector<std::string> Paths() const;

    // An open regular file was opened for reading; without a living record nothing happens.
    static void Add(int fd);

private:
    mutable std::mutex m_mutex;
    std::map<std::pair<dev_t, ino_t>, std::string> m_files;
};

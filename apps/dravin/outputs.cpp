#include "apps/dravin/outputs.h"

#include <filesystem>
#include <map>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>

#include "host/base/atomic_file.h"

namespace fs = std::filesystem;

namespace {

// The outputs with what is written beside them.
std::vector<std::string> Written(std::span<const std::string> outputs) {
    std::vector<std::string> files;
    for (const std::string& output : outputs) {
        if (output == "-") continue;
        files.push_back(output);
        for (auto [ending, beside] : {std::pair{".gltf", ".bin"}, {".obj", ".mtl"}})
            if (fs::path(output).extension() == ending)
                files.push_back(fs::path(output).replace_extension(beside).string());
    }
    return files;
}

// A pipe that nobody reads would take the results nowhere, after all the work. One that is read
// stays open from here on: its reader takes the end of its last writer for the end of the file.
bool HoldPipe(const std::string& path) {
    std::error_code error;
    if (!fs::is_fifo(path, error)) return true;
    int fd = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        PrintError(fmt::format(
            "-o {}: cannot write: nobody reads this pipe; start its reader first", path));
    return fd >= 0;
}

bool IsSpecial(const std::string& path) {
    std::error_code error;
    fs::file_status status = fs::status(path, error);
    return fs::exists(status) && !fs::is_regular_file(status);
}

}  // namespace

ExitCode CheckOutputs(std::span<const std::string> outputs) {
    std::string error;
    for (const std::string& path : outputs)
        if (!AtomicFile::CanWrite(path, &error)) {
            PrintError(error);
            return kExitNoOutput;
        } else if (!HoldPipe(path)) {
            return kExitNoOutput;
        }
    std::map<std::string, std::string> seen;  // real path -> as it was named
    int toStandardOutput = 0;
    for (const std::string& path : outputs) {
        if (path == "-" && ++toStandardOutput < 2) continue;
        std::error_code ignored;
        std::string real = path == "-" || IsSpecial(path)
                               ? path
                               : fs::weakly_canonical(fs::absolute(path), ignored).string();
        auto [entry, isNew] = seen.try_emplace(real, path);
        if (isNew && path != "-") continue;
        PrintError(fmt::format("-o {}: {} is an output already", path, entry->second));
        return kExitUsage;
    }
    return kExitDone;
}

ExitCode CheckNotInputs(std::span<const std::string> outputs, const InputRecord& inputs) {
    for (const std::string& path : Written(outputs))
        if (inputs.Holds(path)) {
            PrintError(fmt::format("-o {}: is an input of this scene; choose another name", path));
            return kExitUsage;
        }
    return kExitDone;
}

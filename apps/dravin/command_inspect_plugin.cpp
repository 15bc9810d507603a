// `dravin inspect` of a plug-in module: a helper program (apps/dravin_plugin_info) loads it.
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "apps/dravin/commands.h"
#include "host/base/program_part.h"

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

std::string FindHelper() {
    return FindProgramPart("DRAVIN_PLUGIN_INFO",
                           {"dravin_plugin_info", "../libexec/dravin/dravin_plugin_info"},
                           DRAVIN_PLUGIN_INFO_BUILT);
}

std::string ReadAll(int from) {
    std::string text;
    char buffer[1 << 14];
    while (true) {
        ssize_t n = read(from, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return text;
        text.append(buffer, size_t(n));
    }
}

// What the helper writes, and how it ends; false with the reason where it does not start.
bool RunHelper(const std::string& program, const std::string& module, std::string* answer,
               int* status, std::string* error) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return *error = std::strerror(errno), false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    char* arguments[] = {const_cast<char*>(program.c_str()), const_cast<char*>(module.c_str()),
                         nullptr};
    pid_t pid = -1;
    int failure = posix_spawn(&pid, program.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (failure == 0) *answer = ReadAll(ends[0]);
    close(ends[0]);
    if (failure != 0) return *error = std::strerror(failure), false;
    while (waitpid(pid, status, 0) < 0 && errno == EINTR) {
    }
    return true;
}

std::string EndText(int status) {
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM)
        return "loading the module takes too long";
    if (WIFSIGNALED(status))
        return fmt::format("loading the module crashed ({})", strsignal(WTERMSIG(status)));
    return "the module says nothing of itself";
}

void PrintPlugin(const std::string& file, const Json& plugin) {
    PrintResult(fmt::format("{}: {}, plug-in for version {} of the host, {} classes", file,
                            plugin["description"].get<std::string>(),
                            plugin["version"].get<std::string>(), plugin["classes"].size()));
    for (const Json& c : plugin["classes"]) {
        PrintResult(
            fmt::format("class {} \"{}\": {} ({}), id {}", c["name"].get<std::string>(),
                        c["display_name"].get<std::string>(), c["super_class"].get<std::string>(),
                        c["super_class_id"].get<std::string>(), c["id"].get<std::string>()));
        for (const Json& id : c["interfaces"])
            PrintResult("    interface " + id.get<std::string>());
    }
    auto list = [&](const char* what, const Json& names) {
        std::string all;
        for (const Json& name : names) all += (all.empty() ? "" : ", ") + name.get<std::string>();
        PrintResult(fmt::format("{}: {}", what, all.empty() ? "none" : all));
    };
    list("functions", plugin["functions"]);
    list("scatter proxies", plugin["scatter_proxy_functions"]);
}

}  // namespace

ExitCode RunInspectPlugin(const std::string& file, bool json) {
    std::error_code ignored;
    if (!fs::is_regular_file(file, ignored))
        return PrintError(fmt::format("{}: there is no such file", file)), kExitMissingInput;
    std::string program = FindHelper(), answer, error;
    if (program.empty())
        return PrintError("the program dravin_plugin_info is not installed"), kExitMissingInput;
    int status = 0;
    // With a folder in front: mere names are looked for among the system's libraries.
    std::string module = fs::absolute(file, ignored).string();
    if (!RunHelper(program, module, &answer, &status, &error))
        return PrintError(fmt::format("{}: {}", program, error)), kExitMissingInput;
    Json plugin = Json::parse(answer, nullptr, false);
    if (plugin.is_object() && plugin.contains("error"))
        error = plugin["error"].get<std::string>();
    else if (status != 0 || !plugin.is_object())
        error = fmt::format("{}: {}", file, EndText(status));
    if (!error.empty()) return PrintError(error), kExitMalformed;
    plugin["file"] = file;
    if (json)
        PrintResult(plugin.dump());
    else
        PrintPlugin(file, plugin);
    return kExitDone;
}

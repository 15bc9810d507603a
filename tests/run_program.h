// Runs a program and collects what it says. For tests of whole programs.
#pragma once

#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/temp_folder.h"

struct ProgramRun {
    int code = -1;  // exit code, or 1000 + the signal that ended the program
    std::string out, err;
    double seconds = 0;
    size_t peakBytes = 0;  // of memory that it held at a time
};

struct ProgramLimits {
    size_t memoryBytes = 0;  // address space; 0: no limit
    int killAfterMs = 0;     // a signal after so long; 0: never
    int killSignal = SIGTERM;
    std::string out = {};       // device for standard output; empty: collected
    bool closeResults = false;  // standard output is closed
    bool closeErrors = false;   // standard error is closed
};

// Starts `arguments` (the program first) in `folder` and waits for its end.
inline ProgramRun RunProgram(const std::vector<std::string>& arguments, const std::string& folder,
                             const ProgramLimits& limits = {}) {
    TempFolder logs;
    std::string out = limits.out.empty() ? logs.File("out") : limits.out, err = logs.File("err");
    auto start = std::chrono::steady_clock::now();
    pid_t pid = fork();
    if (pid == 0) {
        std::vector<char*> argv;
        for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        if (limits.memoryBytes) {
            rlimit limit{limits.memoryBytes, limits.memoryBytes};
            setrlimit(RLIMIT_AS, &limit);
        }
        if (chdir(folder.c_str()) != 0) _exit(99);
        int outFile = open(out.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        int errFile = open(err.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        dup2(outFile, STDOUT_FILENO);
        dup2(errFile, STDERR_FILENO);
        if (limits.closeResults) close(STDOUT_FILENO);
        if (limits.closeErrors) close(STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(99);
    }
    if (limits.killAfterMs) {
        usleep(useconds_t(limits.killAfterMs) * 1000);
        kill(pid, limits.killSignal);
    }
    int status = 0;
    rusage used{};
    while (wait4(pid, &status, 0, &used) < 0 && errno == EINTR) {
    }
    ProgramRun run;
    run.peakBytes = size_t(used.ru_maxrss) * 1024;
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    run.out = logs.Read("out");
    run.err = logs.Read("err");
    return run;
}

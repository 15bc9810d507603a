// How the command line talks: results on standard output, everything else on standard error.
#pragma once

#include <span>
#include <string>
#include <utility>

// Exit codes that scripts rely on.
enum ExitCode : int {
    kExitDone = 0,
    kExitFailed = 1,  // the work failed
    kExitUsage = 2,
    kExitMissingInput = 3,  // an input is missing or unreadable
    kExitMalformed = 4,     // an input is malformed
    kExitLimit = 5,         // a limit refused it
    kExitNoOutput = 6,      // an output cannot be written
};

// Every exit code with its meaning, those of signals included.
std::span<const std::pair<int, const char*>> ExitCodeTexts();

struct ConsoleOptions {
    bool quiet = false;  // errors only
    bool json = false;   // messages as JSON, one object a line
    int logLevel = 0;    // 0 none, 1 normal, 2 debug
};

// Installs the options: log sink and level. Signals remove half-written files and end the program
// with 128 + their number. May be called again with other options.
void SetUpConsole(const ConsoleOptions& options);

bool IsQuietConsole();  // errors only

// From now on, what libraries write to standard error by themselves is dropped; messages still
// arrive. Not at log level "debug".
void SilenceLibraries();

void PrintError(const std::string& text);
void PrintWarning(const std::string& text);
void PrintNote(const std::string& text);  // left out with --quiet
// A result, on standard output.
void PrintResult(const std::string& text);

// Whether all results have arrived; an error is printed when not. A reader that has seen enough and
// closed the pipe is no error. To be asked once, at the end.
bool FinishResults();

// Takes what would be printed, where commands run inside another program. Its functions are called
// by any thread, several at a time, and must not throw.
class ConsoleWatcher {
public:
    virtual ~ConsoleWatcher() = default;
    virtual void Error(const std::string& text) = 0;
    virtual void Warning(const std::string& text) = 0;
    virtual void Note(const std::string& text) = 0;
    virtual void Result(const std::string& text) = 0;
    // Work is so far, 0..1; whether it shall go on.
    virtual bool Progress(const std::string& title, float fraction) = 0;
};
// Borrows the watcher until another call; null: the terminal again. Returns the one before.
ConsoleWatcher* SetConsoleWatcher(ConsoleWatcher* watcher);
bool HasConsoleWatcher();
// While it lives, what this thread prints, and bars that it makes, go to a watcher of its own: for
// work beside other work.
class ThreadConsole {
public:
    explicit ThreadConsole(ConsoleWatcher& watcher);
    ~ThreadConsole();
    ThreadConsole(const ThreadConsole&) = delete;
    ThreadConsole& operator=(const ThreadConsole&) = delete;

private:
    ConsoleWatcher* m_before;
};

// A bar on a terminal, nothing elsewhere. One at a time; messages that come meanwhile take its
// line, and the next update draws it again.
class ProgressBar {
public:
    explicit ProgressBar(std::string title);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    // Whether there is somebody to see it.
    bool IsShown() const { return m_shown; }
    // Whether the work shall go on, which only a watcher may deny.
    bool Update(float fraction);

private:
    std::string m_title;
    ConsoleWatcher* m_watcher;  // of the thread that made it; null: the terminal
    bool m_shown;
};

// Text in bold where standard output is a terminal that wants colours.
std::string Bold(const std::string& text);

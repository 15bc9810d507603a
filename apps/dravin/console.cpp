#include "apps/dravin/console.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "host/base/atomic_file.h"
#include "host/base/log.h"

namespace {

constexpr std::pair<int, const char*> kExitCodeTexts[] = {
    {kExitDone, "done"},
    {kExitFailed, "the work failed: a build without items, an effect that does not compile"},
    {kExitUsage, "wrong usage"},
    {kExitMissingInput, "an input is missing or unreadable"},
    {kExitMalformed, "an input is malformed"},
    {kExitLimit, "a limit refused it; the message names the option that raises it"},
    {kExitNoOutput, "an output cannot be written"},
    {128 + SIGINT, "interrupted"},
    {128 + SIGTERM, "ended by a signal"},
};

ConsoleOptions g_options;
std::atomic<ConsoleWatcher*> g_watcher{nullptr};
thread_local ConsoleWatcher* t_watcher = nullptr;  // stands before the one of all threads
// What the bar on the terminal shows, in percent; kNoBar where there is none.
constexpr int kNoBar = -1;
std::atomic<int> g_barPercent{kNoBar};
int g_resultsError = 0;      // errno of the first result that did not arrive
FILE* g_messages = nullptr;  // standard error as the program found it; null: stderr itself

ConsoleWatcher* Watcher() { return t_watcher ? t_watcher : g_watcher.load(); }

FILE* Messages() { return g_messages ? g_messages : stderr; }

// Standard error may be closed; there is nobody to tell then.
void Complain(const std::string& line) {
    std::fputs(line.c_str(), Messages());
    std::fflush(Messages());
}

using Handler = nlohmann::json::error_handler_t;

// Messages quote what files hold: as UTF-8, and without characters that would steer a terminal.
std::string Printable(const std::string& text) {
    std::string utf8 = nlohmann::json(text).dump(-1, ' ', false, Handler::replace);
    std::string clean = nlohmann::json::parse(utf8).get<std::string>();
    for (char& c : clean)
        if ((uint8_t(c) < 0x20 && c != '\n' && c != '\t') || c == 0x7F) c = '?';
    return clean;
}

void ClearBar() {
    if (Watcher()) return;
    if (g_barPercent.exchange(kNoBar) != kNoBar) Complain("\r\033[K");
}

void Print(const char* level, const std::string& text) {
    ClearBar();
    if (g_options.json) {
        nlohmann::ordered_json line{{"level", level}, {"text", text}};
        return Complain(line.dump(-1, ' ', false, Handler::replace) + "\n");
    }
    std::string prefix = std::string(level) == "note" ? "" : std::string(level) + ": ";
    Complain(fmt::format("{}{}\n", prefix, Printable(text)));
}

// Only async-signal-safe work: remove what is half written, and go.
void OnSignal(int signal) {
    AtomicFile::RemoveTemporaryFiles();
    _exit(128 + signal);
}

// A standard stream that came closed would pass its number to the next file that is opened, and
// messages would end up in there. Writing to this stand-in fails, as it should.
void ReserveStandardStreams() {
    int fd = 0;
    do fd = open("/dev/null", O_RDONLY);
    while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0) close(fd);
}

}  // namespace

std::span<const std::pair<int, const char*>> ExitCodeTexts() { return kExitCodeTexts; }

void SetUpConsole(const ConsoleOptions& options) {
    ReserveStandardStreams();
    g_options = options;
    SetLogLevel(options.logLevel);
    SetLogSink([](LogKind kind, const std::string& text) {
        if (kind == LogKind::kError)
            PrintError(text);
        else if (kind == LogKind::kWarning)
            PrintWarning(text);
        else
            Print("note", text);
    });
    std::signal(SIGINT, OnSignal);
    std::signal(SIGTERM, OnSignal);
    std::signal(SIGHUP, OnSignal);
    std::signal(SIGXFSZ, SIG_IGN);  // a file that grows too large is a write error
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is a write error, not an end without a word
}

bool IsQuietConsole() { return g_options.quiet; }

void SilenceLibraries() {
    bool keeps = g_messages || g_options.logLevel >= int(LogKind::kDebug);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    keeps = true;  // their findings are told there
#endif
    if (keeps) return;
    int own = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (own >= 0) g_messages = fdopen(own, "w");
    if (g_messages && nothing >= 0) dup2(nothing, STDERR_FILENO);
    if (nothing >= 0) close(nothing);
}

ConsoleWatcher* SetConsoleWatcher(ConsoleWatcher* watcher) { return g_watcher.exchange(watcher); }
bool HasConsoleWatcher() { return Watcher() != nullptr; }

ThreadConsole::ThreadConsole(ConsoleWatcher& watcher)
    : m_before(std::exchange(t_watcher, &watcher)) {}

ThreadConsole::~ThreadConsole() { t_watcher = m_before; }

void PrintError(const std::string& text) {
    if (ConsoleWatcher* watcher = Watcher()) return watcher->Error(text);
    Print("error", text);
}

void PrintWarning(const std::string& text) {
    if (ConsoleWatcher* watcher = Watcher()) return watcher->Warning(text);
    if (!g_options.quiet) Print("warning", text);
}

void PrintNote(const std::string& text) {
    if (ConsoleWatcher* watcher = Watcher()) return watcher->Note(text);
    if (!g_options.quiet) Print("note", text);
}

void PrintResult(const std::string& text) {
    if (ConsoleWatcher* watcher = Watcher()) return watcher->Result(text);
    // A NUL ends nothing: programs may hold one, and messages quote them.
    errno = 0;
    bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
                     std::fputc('\n', stdout) != EOF;
    if (!isWritten && g_resultsError == 0) g_resultsError = errno ? errno : EIO;
}

bool FinishResults() {
    errno = 0;
    std::cout.flush();
    if ((std::fflush(stdout) != 0 || !std::cout) && g_resultsError == 0)
        g_resultsError = errno ? errno : EIO;
    if (g_resultsError == 0 || g_resultsError == EPIPE) return true;
    PrintError(fmt::format("standard output: cannot write the results: {}",
                           std::strerror(g_resultsError)));
    return false;
}

ProgressBar::ProgressBar(std::string title)
    : m_title(std::move(title)),
      m_watcher(Watcher()),
      m_shown(m_watcher || (isatty(fileno(Messages())) && !g_options.quiet && !g_options.json)) {}

ProgressBar::~ProgressBar() { ClearBar(); }

bool ProgressBar::Update(float fraction) {
    if (m_watcher) return m_watcher->Progress(m_title, fraction);
    int percent = int(fraction * 100);
    if (!m_shown || g_barPercent.exchange(percent) == percent) return true;
    constexpr int kWidth = 40;
    int filled = percent * kWidth / 100;
    Complain(fmt::format("\r{} [{}{}] {:3d}%", m_title, std::string(size_t(filled), '='),
                         std::string(size_t(kWidth - filled), ' '), percent));
    return true;
}

std::string Bold(const std::string& text) {
    const char* noColor = std::getenv("NO_COLOR");
    bool plain = !isatty(STDOUT_FILENO) || (noColor && *noColor);
    return plain ? text : "\033[1m" + text + "\033[0m";
}

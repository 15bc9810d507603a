#include "apps/dravin/console.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "host/base/atomic_file.h"
#include "host/base/log.h"

namespace {

ConsoleOptions g_options;
bool g_resultsFailed = false;

// Standard error may be closed; there is nobody to tell then.
void Complain(const std::string& line) { std::fputs(line.c_str(), stderr); }

using Handler = nlohmann::json::error_handler_t;

// Messages quote what files hold: as UTF-8, and without characters that would steer a terminal.
std::string Printable(const std::string& text) {
    std::string utf8 = nlohmann::json(text).dump(-1, ' ', false, Handler::replace);
    std::string clean = nlohmann::json::parse(utf8).get<std::string>();
    for (char& c : clean)
        if ((uint8_t(c) < 0x20 && c != '\n' && c != '\t') || c == 0x7F) c = '?';
    return clean;
}

void Print(const char* level, const std::string& text) {
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
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is a write error, not an end without a word
}

void PrintError(const std::string& text) { Print("error", text); }

void PrintWarning(const std::string& text) {
    if (!g_options.quiet) Print("warning", text);
}

void PrintNote(const std::string& text) {
    if (!g_options.quiet) Print("note", text);
}

void PrintResult(const std::string& text) {
    // A NUL ends nothing: programs may hold one, and messages quote them.
    bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
                     std::fputc('\n', stdout) != EOF;
    g_resultsFailed = g_resultsFailed || !isWritten;
}

bool FinishResults() {
    std::cout.flush();
    if (std::fflush(stdout) != 0 || !std::cout) g_resultsFailed = true;
    if (g_resultsFailed) PrintError("standard output: cannot write the results");
    return !g_resultsFailed;
}

ProgressBar::ProgressBar(std::string title)
    : m_title(std::move(title)),
      m_shown(isatty(STDERR_FILENO) && !g_options.quiet && !g_options.json) {}

ProgressBar::~ProgressBar() {
    if (m_shown && m_lastPercent >= 0) Complain("\r\033[K");
}

void ProgressBar::Update(float fraction) {
    int percent = int(fraction * 100);
    if (!m_shown || percent == m_lastPercent) return;
    m_lastPercent = percent;
    constexpr int kWidth = 40;
    int filled = percent * kWidth / 100;
    Complain(fmt::format("\r{} [{}{}] {:3d}%", m_title, std::string(size_t(filled), '='),
                         std::string(size_t(kWidth - filled), ' '), percent));
    std::fflush(stderr);
}

std::string Bold(const std::string& text) {
    bool plain = !isatty(STDOUT_FILENO) || std::getenv("NO_COLOR");
    return plain ? text : "\033[1m" + text + "\033[0m";
}

#include "apps/dravin/console.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "host/base/atomic_file.h"
#include "host/base/log.h"

namespace {

ConsoleOptions g_options;

void Print(const char* level, const std::string& text) {
    if (g_options.json) {
        nlohmann::ordered_json line{{"level", level}, {"text", text}};
        using Handler = nlohmann::json::error_handler_t;
        fmt::print(stderr, "{}\n", line.dump(-1, ' ', false, Handler::replace));
        return;
    }
    std::string prefix = std::string(level) == "note" ? "" : std::string(level) + ": ";
    fmt::print(stderr, "{}{}\n", prefix, text);
}

// Only async-signal-safe work: remove what is half written, and go.
void OnSignal(int signal) {
    AtomicFile::RemoveTemporaryFiles();
    _exit(128 + signal);
}

}  // namespace

void SetUpConsole(const ConsoleOptions& options) {
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
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is a write error, not an end without a word
}

void PrintError(const std::string& text) { Print("error", text); }

void PrintWarning(const std::string& text) {
    if (!g_options.quiet) Print("warning", text);
}

void PrintNote(const std::string& text) {
    if (!g_options.quiet) Print("note", text);
}

void PrintResult(const std::string& text) { fmt::print("{}\n", text); }

ProgressBar::ProgressBar(std::string title)
    : m_title(std::move(title)),
      m_shown(isatty(STDERR_FILENO) && !g_options.quiet && !g_options.json) {}

ProgressBar::~ProgressBar() {
    if (m_shown && m_lastPercent >= 0) fmt::print(stderr, "\r\033[K");
}

void ProgressBar::Update(float fraction) {
    int percent = int(fraction * 100);
    if (!m_shown || percent == m_lastPercent) return;
    m_lastPercent = percent;
    constexpr int kWidth = 40;
    int filled = percent * kWidth / 100;
    fmt::print(stderr, "\r{} [{}{}] {:3d}%", m_title, std::string(size_t(filled), '='),
               std::string(size_t(kWidth - filled), ' '), percent);
    std::fflush(stderr);
}

std::string Bold(const std::string& text) {
    bool plain = !isatty(STDOUT_FILENO) || std::getenv("NO_COLOR");
    return plain ? text : "\033[1m" + text + "\033[0m";
}

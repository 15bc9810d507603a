#include "host/base/log.h"

#include <atomic>
#include <cstdio>
#include <mutex>
#include <utility>

namespace {

std::atomic<int> g_level{0};
std::recursive_mutex g_mutex;  // a sink may log itself

LogSink& Sink() {
    static LogSink sink = [](LogKind kind, const std::string& text) {
        const char* prefix = kind == LogKind::kWarning ? "warning: "
                             : kind == LogKind::kError ? "error: "
                                                       : "";
        std::fprintf(stderr, "%s%s\n", prefix, text.c_str());
    };
    return sink;
}

}  // namespace

int SetLogLevel(int level) { return g_level.exchange(level); }
int GetLogLevel() { return g_level.load(); }

LogSink SetLogSink(LogSink sink) {
    std::lock_guard lock(g_mutex);
    return std::exchange(Sink(), std::move(sink));
}

bool IsLogged(LogKind kind) {
    return kind == LogKind::kWarning || kind == LogKind::kError || int(kind) <= GetLogLevel();
}

void Log(LogKind kind, const std::string& text) {
    if (IsLogged(kind)) LogAlways(kind, text);
}

void LogAlways(LogKind kind, const std::string& text) {
    std::lock_guard lock(g_mutex);
    if (Sink()) Sink()(kind, text);
}

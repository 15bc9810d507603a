// Levelled log with one process-wide sink, replaced by front ends and tests.
//
// Levels follow the product's option: 0 "None", 1 "Normal", 2 "Debug"; a line is written when its
// level is at most the current one. Warnings and errors always reach the sink. Thread safe.
#pragma once

#include <functional>
#include <string>

enum class LogKind { kNormal = 1, kDebug = 2, kWarning, kError };

using LogSink = std::function<void(LogKind, const std::string& text)>;

// 0 none, 1 normal, 2 debug. Returns the previous level.
int SetLogLevel(int level);
int GetLogLevel();

// Installs a sink and returns the previous one. An empty sink drops everything.
LogSink SetLogSink(LogSink sink);

void Log(LogKind kind, const std::string& text);
// Whatever the level.
void LogAlways(LogKind kind, const std::string& text);
// Whether Log would write a line of this kind now.
bool IsLogged(LogKind kind);
inline void LogWarning(const std::string& text) { Log(LogKind::kWarning, text); }
inline void LogError(const std::string& text) { Log(LogKind::kError, text); }

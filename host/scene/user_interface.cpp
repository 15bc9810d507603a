#include "host/scene/user_interface.h"

#include <cstdio>

#include <fmt/format.h>

#include "host/base/log.h"

namespace {

template <class T>
std::optional<T> Next(std::deque<T>& queue) {
    if (queue.empty()) return std::nullopt;
    T front = std::move(queue.front());
    queue.pop_front();
    return front;
}

}  // namespace

void ConsoleUserInterface::MessageBox(const std::string& text, const std::string& caption,
                                      MessageKind kind) {
    std::string line = caption + ": " + text + "\n";
    std::fputs(line.c_str(), stderr);
}

Answer ConsoleUserInterface::Question(const std::string& text, const std::string& caption,
                                      QuestionKind kind) {
    MessageBox(text + " (answered no)", caption, MessageKind::kInformation);
    return Answer::kNo;
}

void ConsoleUserInterface::ListenerPrint(const std::string& text) {
    std::fputs((text + "\n").c_str(), stderr);
}

void QuietUserInterface::MessageBox(const std::string& text, const std::string& caption,
                                    MessageKind kind) {
    LogKind level = kind == MessageKind::kError     ? LogKind::kError
                    : kind == MessageKind::kWarning ? LogKind::kWarning
                                                    : LogKind::kNormal;
    Log(level, fmt::format("{}: {}", caption, text));
}

Answer QuietUserInterface::Question(const std::string& text, const std::string& caption,
                                    QuestionKind kind) {
    Log(LogKind::kNormal, fmt::format("{}: {} (answered no)", caption, text));
    return Answer::kNo;
}

void ScriptedUserInterface::MessageBox(const std::string& text, const std::string& caption,
                                       MessageKind kind) {
    messages.push_back({text, caption, kind});
}

Answer ScriptedUserInterface::Question(const std::string& text, const std::string& caption,
                                       QuestionKind kind) {
    questions.push_back(text);
    return Next(answers).value_or(Answer::kNo);
}

Answer ScriptedUserInterface::SuppressibleQuestion(const std::string& text,
                                                   const std::string& caption, QuestionKind kind,
                                                   bool* never) {
    *never = Next(ticks).value_or(false);
    return Question(text, caption, kind);
}

std::optional<std::string> ScriptedUserInterface::PickFile(const FileRequest& request) {
    fileRequests.push_back(request);
    return Next(files);
}

std::optional<std::vector<std::string>> ScriptedUserInterface::SelectByName(
    const std::string& title, const std::vector<std::string>& names,
    const std::vector<std::string>& ticked) {
    return Next(selections);
}

std::optional<std::string> ScriptedUserInterface::AskText(const std::string& text,
                                                          const std::string& initial) {
    return Next(texts);
}

bool ScriptedUserInterface::ProgressUpdate(int percent) {
    progress.push_back(percent);
    return percent < stopAtPercent;
}

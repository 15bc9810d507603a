// The user-interface port: everything that the system asks of or tells a user.
//
// Three kinds of implementation stand behind it: the console (below), a scripted one for tests
// (below) and the desktop's. A run without a user never waits: questions answer no.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

enum class MessageKind { kInformation, kWarning, kError };
enum class QuestionKind { kYesNo, kYesNoCancel, kOkCancel, kOk };
enum class Answer { kNo, kYes, kCancel };

struct FileRequest {
    std::string title;
    bool save = false;
    std::string folder;
    std::vector<std::string> endings;  // ".ope", in the order offered
    std::string name = {};             // offered for a file to save
    std::string kind = {};             // of files: "Preset files"; empty: their endings say it
};

class IUserInterface {
public:
    virtual ~IUserInterface() = default;

    virtual void MessageBox(const std::string& text, const std::string& caption,
                            MessageKind kind = MessageKind::kInformation) = 0;
    virtual Answer Question(const std::string& text, const std::string& caption,
                            QuestionKind kind = QuestionKind::kYesNo) = 0;
    // A question with a box to tick for those who do not want to be asked again: `never` says
    // whether it was. A user interface without such a box asks each time.
    virtual Answer SuppressibleQuestion(const std::string& text, const std::string& caption,
                                        QuestionKind kind, bool* never) {
        *never = false;
        return Question(text, caption, kind);
    }
    // A path, or none when the user gave up.
    virtual std::optional<std::string> PickFile(const FileRequest& request) = 0;
    // The ticked names; none when the user gave up. `ticked` are on at the start.
    virtual std::optional<std::vector<std::string>> SelectByName(
        const std::string& title, const std::vector<std::string>& names,
        const std::vector<std::string>& ticked) = 0;
    // A line of text, or none.
    virtual std::optional<std::string> AskText(const std::string& prompt,
                                               const std::string& initial) = 0;

    virtual void SetPrompt(const std::string& text) {}      // the line below the view
    virtual void ListenerPrint(const std::string& text) {}  // output of scripts

    // Progress of one long operation. Update returns false when the user wants to stop.
    virtual void ProgressStart(const std::string& title) {}
    virtual bool ProgressUpdate(int percent) { return true; }
    virtual void ProgressEnd() {}
};

// Nobody is there to pick anything.
class UnattendedUserInterface : public IUserInterface {
public:
    std::optional<std::string> PickFile(const FileRequest& request) override { return {}; }
    std::optional<std::vector<std::string>> SelectByName(
        const std::string& title, const std::vector<std::string>& names,
        const std::vector<std::string>& ticked) override {
        return {};
    }
    std::optional<std::string> AskText(const std::string& prompt, const std::string&) override {
        return {};
    }
};

// Notices go to standard error, confirmations answer no.
class ConsoleUserInterface : public UnattendedUserInterface {
public:
    void MessageBox(const std::string& text, const std::string& caption, MessageKind kind) override;
    Answer Question(const std::string& text, const std::string& caption,
                    QuestionKind kind) override;
    void ListenerPrint(const std::string& text) override;
};

// Asks nobody and shows no box, for batch runs: messages become lines of the log, questions answer
// no. The prompt, the listener and progress go where they always go.
class QuietUserInterface : public UnattendedUserInterface {
public:
    // heard: outlives this.
    explicit QuietUserInterface(IUserInterface& heard) : m_heard(heard) {}

    void MessageBox(const std::string& text, const std::string& caption, MessageKind kind) override;
    Answer Question(const std::string& text, const std::string& caption,
                    QuestionKind kind) override;
    void SetPrompt(const std::string& text) override { m_heard.SetPrompt(text); }
    void ListenerPrint(const std::string& text) override { m_heard.ListenerPrint(text); }
    void ProgressStart(const std::string& title) override { m_heard.ProgressStart(title); }
    bool ProgressUpdate(int percent) override { return m_heard.ProgressUpdate(percent); }
    void ProgressEnd() override { m_heard.ProgressEnd(); }

private:
    IUserInterface& m_heard;
};

// Records what it is told, and answers from queues that are filled beforehand. An empty queue
// answers as the console does.
class ScriptedUserInterface : public IUserInterface {
public:
    struct Shown {
        std::string text, caption;
        MessageKind kind;
    };
    std::vector<Shown> messages;
    std::vector<std::string> questions;
    std::vector<std::string> listener;
    std::string prompt;
    std::vector<int> progress;
    std::deque<Answer> answers;
    std::deque<bool> ticks;  // of the boxes of suppressible questions; not ticked when empty
    std::deque<std::string> files;
    std::deque<std::vector<std::string>> selections;
    std::deque<std::string> texts;
    int stopAtPercent = 101;  // progress at or above asks to stop

    void MessageBox(const std::string& text, const std::string& caption, MessageKind kind) override;
    Answer Question(const std::string& text, const std::string& caption,
                    QuestionKind kind) override;
    Answer SuppressibleQuestion(const std::string& text, const std::string& caption,
                                QuestionKind kind, bool* never) override;
    std::vector<FileRequest> fileRequests;
    std::optional<std::string> PickFile(const FileRequest& request) override;
    std::optional<std::vector<std::string>> SelectByName(
        const std::string& title, const std::vector<std::string>& names,
        const std::vector<std::string>& ticked) override;
    std::optional<std::string> AskText(const std::string& text,
                                       const std::string& initial) override;
    void SetPrompt(const std::string& text) override { prompt = text; }
    void ListenerPrint(const std::string& text) override { listener.push_back(text); }
    bool ProgressUpdate(int percent) override;
};

// One call from Python into the engine: whose turn it is, what is told, and long work beside the
// interpreter.
//
// The engine serves one call at a time. A call from another Python thread waits, without the
// interpreter's lock; one from inside a progress function would wait for itself and is refused.
// Messages that the command line would print are collected: errors become the exception that ends
// the call, warnings go to Python's warnings.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>

#include "apps/dravin/console.h"

namespace py = pybind11;

class HostContext;
class Session;

// Raises the exception of an exit code of the command line (dravin.Error and its kinds).
[[noreturn]] void RaiseError(int code, const std::string& text,
                             const std::vector<std::string>& notes = {});

class Call : private ConsoleWatcher {
public:
    // Waits for its turn. session: the one to work in; null: none yet.
    explicit Call(Session* session = nullptr);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // Runs work() in a thread of its own, without the interpreter's lock. Meanwhile Ctrl-C and what
    // the progress function raises cancel the work, and are raised when it has ended. progress: a
    // function of a number 0..1, or None; hears 1 when all is done.
    void Run(const py::object& progress, const std::function<void()>& work);

    // Ends the call: warnings are issued; raises what was told as an error when the code is not 0.
    void Finish(int code = 0);
    // The errors so far, which then count as told. With the notes that follow them.
    std::string TakeErrors();

private:
    void Error(const std::string& text) override;
    void Warning(const std::string& text) override;
    void Note(const std::string& text) override;
    void Result(const std::string& text) override;
    bool Progress(const std::string& title, float fraction) override;
    void Watch(const py::object& progress);

    Session* m_session;
    ConsoleWatcher* m_previous = nullptr;
    std::mutex m_mutex;
    std::vector<std::string> m_errors, m_warnings, m_notes;
    std::atomic<float> m_fraction{-1};
    std::atomic<bool> m_isCancelled{false};
};

// The host's messages become those of calls. Once, when the module is loaded.
void ForwardLog();

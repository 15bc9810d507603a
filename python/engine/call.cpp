#include "python/engine/call.h"

#include <chrono>
#include <condition_variable>
#include <optional>
#include <thread>

#include "apps/dravin/session.h"
#include "host/base/log.h"
#include "host/scene/host_context.h"

namespace {

// Whose turn it is; taken before anything of the engine is touched.
std::mutex g_turn;
std::atomic<std::thread::id> g_owner{};

constexpr std::chrono::milliseconds kLook{10};  // how often Ctrl-C is looked for

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
    return text;
}

// Text from files need not be UTF-8.
py::str Text(const std::string& bytes) {
    PyObject* text = PyUnicode_DecodeUTF8(bytes.data(), Py_ssize_t(bytes.size()), "replace");
    if (!text) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(text);
}

}  // namespace

void RaiseError(int code, const std::string& text, const std::vector<std::string>& notes) {
    py::list lines;
    for (const std::string& note : notes) lines.append(Text(note));
    py::object error =
        py::module_::import("dravin._errors").attr("make_error")(code, Text(text), lines);
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
    throw py::error_already_set();
}

void ForwardLog() {
    SetLogLevel(0);
    SetLogSink([](LogKind kind, const std::string& text) {
        if (kind == LogKind::kError)
            PrintError(text);
        else if (kind == LogKind::kWarning)
            PrintWarning(text);
    });
}

Call::Call(Session* session) : m_session(session) {
    if (g_owner == std::this_thread::get_id())
        RaiseError(kExitUsage,
                   "this is called while other work of the same thread runs; a progress function "
                   "may look at finished results only");
    if (!g_turn.try_lock()) {
        py::gil_scoped_release others;
        g_turn.lock();
    }
    g_owner = std::this_thread::get_id();
    m_previous = SetConsoleWatcher(this);
    if (m_session) m_session->Use();
}

Call::~Call() {
    SetConsoleWatcher(m_previous);
    g_owner = std::thread::id();
    g_turn.unlock();
}

void Call::Run(const py::object& progress, const std::function<void()>& work) {
    std::mutex mutex;
    std::condition_variable ended;
    bool hasEnded = false;
    std::exception_ptr failure;
    std::jthread worker([&] {
        try {
            std::optional<ContextScope> scope;
            if (m_session) scope.emplace(m_session->Host());
            work();
        } catch (...) {
            failure = std::current_exception();
        }
        std::lock_guard lock(mutex);
        hasEnded = true;
        ended.notify_one();
    });
    std::optional<py::error_already_set> raised;
    for (bool isDone = false; !isDone;) {
        {
            py::gil_scoped_release others;
            std::unique_lock lock(mutex);
            isDone = ended.wait_for(lock, kLook, [&] { return hasEnded; });
        }
        if (raised) continue;
        try {
            if (isDone && !failure) m_fraction = 1;
            Watch(progress);
        } catch (py::error_already_set& error) {
            raised = std::move(error);
            m_isCancelled = true;
        }
    }
    worker.join();
    if (raised) throw std::move(*raised);
    if (failure) std::rethrow_exception(failure);
}

// Raises what Ctrl-C and the progress function do.
void Call::Watch(const py::object& progress) {
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    float fraction = m_fraction.exchange(-1);
    if (fraction >= 0 && !progress.is_none()) progress(fraction);
}

void Call::Finish(int code) {
    std::vector<std::string> errors, warnings, notes;
    {
        std::lock_guard lock(m_mutex);
        errors.swap(m_errors), warnings.swap(m_warnings), notes.swap(m_notes);
    }
    if (code == kExitDone)  // what was told of and went on
        warnings.insert(warnings.end(), errors.begin(), errors.end());
    py::object category = py::module_::import("dravin._errors").attr("DravinWarning");
    for (const std::string& warning : warnings)
        if (PyErr_WarnEx(category.ptr(), std::string(Text(warning)).c_str(), 2) != 0)
            throw py::error_already_set();
    if (code == kExitDone) return;
    RaiseError(code, errors.empty() ? Joined(notes) : Joined(errors),
               errors.empty() ? std::vector<std::string>() : notes);
}

std::string Call::TakeErrors() {
    std::lock_guard lock(m_mutex);
    std::vector<std::string> errors;
    errors.swap(m_errors);
    errors.insert(errors.end(), m_notes.begin(), m_notes.end());
    m_notes.clear();
    return Joined(errors);
}

void Call::Error(const std::string& text) {
    std::lock_guard lock(m_mutex);
    m_errors.push_back(text);
    m_notes.clear();  // only those that follow an error are about it
}

void Call::Warning(const std::string& text) {
    std::lock_guard lock(m_mutex);
    m_warnings.push_back(text);
}

void Call::Note(const std::string& text) {
    std::lock_guard lock(m_mutex);
    m_notes.push_back(text);
}

void Call::Result(const std::string&) {}

bool Call::Progress(const std::string&, float fraction) {
    m_fraction = fraction;
    return !m_isCancelled;
}

// What libraries and commands tell, on its way to the window: messages and progress of any thread.
#pragma once

#include <atomic>
#include <functional>

#include "apps/dravin/console.h"
#include "host/base/log.h"

// Of one job.
class JobConsole : public ConsoleWatcher {
public:
    // tell: called by any thread.
    enum class Kind { kNote, kWarning, kError };
    using Tell = std::function<void(Kind, const std::string&)>;
    explicit JobConsole(Tell tell) : m_tell(std::move(tell)) {}

    std::atomic<bool> isCancelled{false};
    float Fraction() const { return m_fraction; }
    void Start() { m_fraction = 0, isCancelled = false; }
    const Tell& Teller() const { return m_tell; }

private:
    void Error(const std::string& text) override { m_tell(Kind::kError, text); }
    void Warning(const std::string& text) override { m_tell(Kind::kWarning, text); }
    void Note(const std::string& text) override { m_tell(Kind::kNote, text); }
    void Result(const std::string& text) override { m_tell(Kind::kNote, text); }
    bool Progress(const std::string&, float fraction) override {
        m_fraction = fraction;
        return !isCancelled;
    }

    Tell m_tell;
    std::atomic<float> m_fraction{0};
};

// Of all threads that have none of their own, and of the log.
class StudioConsole : public JobConsole {
public:
    explicit StudioConsole(Tell tell)
        : JobConsole(std::move(tell)), m_before(SetConsoleWatcher(this)) {
        m_sinkBefore = SetLogSink([this](LogKind kind, const std::string& text) {
            Teller()(kind == LogKind::kError     ? Kind::kError
                     : kind == LogKind::kWarning ? Kind::kWarning
                                                 : Kind::kNote,
                     text);
        });
    }
    ~StudioConsole() override {
        SetLogSink(std::move(m_sinkBefore));
        SetConsoleWatcher(m_before);
    }

private:
    ConsoleWatcher* m_before;
    LogSink m_sinkBefore;
};

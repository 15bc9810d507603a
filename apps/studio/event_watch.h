// What the window's thread spends on each event: whether input ever waits.
//
// An event is what the event loop hands out, or a test sends; those sent meanwhile belong to it.
// Processor time is the thread's own, so that other programs do not count. A beat besides says how
// long the event loop does not come round, by the clock. For the window's thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

class EventWatch {
public:
    static constexpr double kSlowSeconds = 0.016;

    void Note(const QObject& receiver, const QEvent& event, double cpuSeconds, double wallSeconds);
    void NoteGap(double seconds) { m_gaps.push_back(float(seconds)); }
    // Counts from here on.
    void Start();

    size_t NumEvents() const { return m_cpu.size(); }
    // Events that took longer than kSlowSeconds of processor time.
    size_t NumSlow() const;
    // Lines: percentiles of processor time, of time by the clock and of gaps, and the handlers that
    // took longest, by who got which event.
    std::string Report() const;

private:
    struct Handler {
        uint64_t count = 0;
        double cpuSeconds = 0, longestCpu = 0, longestWall = 0;
    };
    std::vector<float> m_cpu, m_wall, m_gaps;
    std::map<std::string, Handler> m_handlers;
};

// An application whose events are watched.
class WatchedApplication : public QApplication {
public:
    WatchedApplication(int& argc, char** argv);
    bool notify(QObject* receiver, QEvent* event) override;
    EventWatch& Watch() { return m_watch; }

private:
    EventWatch m_watch;
    int m_depth = 0;
    QTimer m_beat;
    QElapsedTimer m_sinceBeat;
};

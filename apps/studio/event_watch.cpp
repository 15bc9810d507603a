#include "apps/studio/event_watch.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <typeinfo>

#include <cxxabi.h>
#include <fmt/format.h>
#include <QEvent>
#include <QMetaEnum>
#include <QPointer>
#include <QThread>

namespace {

constexpr int kBeatMs = 4;
constexpr size_t kMostHandlers = 12;

double ThreadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

std::string ClassName(const QObject& object) {
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(typeid(object).name(), nullptr, nullptr, &status), std::free);
    return status == 0 ? name.get() : object.metaObject()->className();
}

// "NumberField 'units_x' MouseMove"; of things without a name whose they are.
std::string NameOf(const QObject& receiver, const QEvent& event) {
    std::string name = ClassName(receiver);
    if (!receiver.objectName().isEmpty())
        name += " '" + receiver.objectName().toStdString() + "'";
    else if (receiver.parent())
        name += " of " + ClassName(*receiver.parent());
    const char* type = QMetaEnum::fromType<QEvent::Type>().valueToKey(event.type());
    return name + " " + (type ? type : std::to_string(event.type()));
}

// The value below which that share of them lies.
double Percentile(std::vector<float> values, double share) {
    if (values.empty()) return 0;
    auto place = values.begin() + ptrdiff_t(share * double(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

std::string Line(const char* what, const std::vector<float>& seconds) {
    auto ms = [&](double share) { return Percentile(seconds, share) * 1000; };
    auto slow = std::count_if(seconds.begin(), seconds.end(),
                              [](float s) { return s > EventWatch::kSlowSeconds; });
    return fmt::format(
        "{:<22} {:>8}  50 % {:6.2f}  99 % {:6.2f}  99.9 % {:6.2f}  longest {:6.1f} ms, {} above "
        "16\n",
        what, seconds.size(), ms(0.5), ms(0.99), ms(0.999), ms(1), slow);
}

}  // namespace

void EventWatch::Note(const QObject& receiver, const QEvent& event, double cpuSeconds,
                      double wallSeconds) {
    m_cpu.push_back(float(cpuSeconds));
    m_wall.push_back(float(wallSeconds));
    Handler& handler = m_handlers[NameOf(receiver, event)];
    ++handler.count;
    handler.cpuSeconds += cpuSeconds;
    handler.longestCpu = std::max(handler.longestCpu, cpuSeconds);
    handler.longestWall = std::max(handler.longestWall, wallSeconds);
}

void EventWatch::Start() { *this = EventWatch(); }

size_t EventWatch::NumSlow() const {
    return size_t(
        std::count_if(m_cpu.begin(), m_cpu.end(), [](float s) { return s > kSlowSeconds; }));
}

std::string EventWatch::Report() const {
    std::string text = Line("events, processor time", m_cpu) +
                       Line("events, by the clock", m_wall) + Line("gaps between beats", m_gaps);
    std::vector<std::pair<std::string, Handler>> slowest(m_handlers.begin(), m_handlers.end());
    std::sort(slowest.begin(), slowest.end(), [](const auto& a, const auto& b) {
        return a.second.longestCpu > b.second.longestCpu;
    });
    slowest.resize(std::min(slowest.size(), kMostHandlers));
    for (const auto& [name, h] : slowest)
        text += fmt::format("{:7.1f} ms at most, {:7.1f} by the clock, {:8.1f} in {:>6}: {}\n",
                            h.longestCpu * 1000, h.longestWall * 1000, h.cpuSeconds * 1000, h.count,
                            name);
    return text;
}

WatchedApplication::WatchedApplication(int& argc, char** argv) : QApplication(argc, argv) {
    m_beat.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_beat, &QTimer::timeout, this, [this] {
        if (m_sinceBeat.isValid()) m_watch.NoteGap(double(m_sinceBeat.nsecsElapsed()) * 1e-9);
        m_sinceBeat.start();
    });
    m_beat.start(kBeatMs);
}

bool WatchedApplication::notify(QObject* receiver, QEvent* event) {
    // Threads of Qt's own send events, too.
    if (QThread::currentThread() != thread() || m_depth > 0)
        return QApplication::notify(receiver, event);
    QPointer<QObject> alive(receiver);  // the event may delete it
    QEvent::Type type = event->type();
    QElapsedTimer wall;
    wall.start();
    double cpu = ThreadSeconds();
    ++m_depth;
    bool isDone = QApplication::notify(receiver, event);
    --m_depth;
    double cpuSeconds = ThreadSeconds() - cpu;
    if (alive && receiver != &m_beat)
        m_watch.Note(*receiver, QEvent(type), cpuSeconds, double(wall.nsecsElapsed()) * 1e-9);
    return isDone;
}

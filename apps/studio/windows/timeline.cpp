#include "apps/studio/windows/timeline.h"

#include <algorithm>
#include <cmath>

#include <QHBoxLayout>
#include <QLabel>
#include <QTimer>
#include <QToolButton>

#include "apps/studio/panels/free_number.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/theme.h"
#include "apps/studio/windows/time_ruler.h"
#include "host/scene/host_context.h"
#include "host/scene/key_times.h"

namespace {

constexpr int kClockMs = 10;
constexpr int kMostFrames = 1000000;

}  // namespace

Timeline::Timeline(StudioSession& session, QWidget* parent)
    : QWidget(parent), m_session(session), m_ruler(new TimeRuler), m_clock(new QTimer(this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(4, 4, 4, 4);
    row->setSpacing(4);
    auto goTo = [this](int frame) { GoToFrame(frame); };
    m_frameField = MakeFrameField("frame", "The frame that is shown", goTo, goTo);
    m_firstField = MakeFrameField("first", "First frame of the range",
                                  [this](int f) { SetRange(f, LastFrame()); }, {});
    m_lastField = MakeFrameField("last", "Last frame of the range",
                                 [this](int f) { SetRange(FirstFrame(), f); }, {});
    MakeButtons(*row);
    row->addWidget(m_frameField);
    row->addWidget(m_firstField);
    row->addWidget(m_ruler, 1);
    row->addWidget(m_lastField);
    m_autoKey = AddButton(*row, "auto_key", "key",
                          "Auto Key: changes of animatable values become keys at this frame", {});
    m_autoKey->setCheckable(true);
    connect(m_autoKey, &QToolButton::toggled, this, [this](bool on) { SetAutoKey(on); });
    m_ruler->onFrame = goTo;
    m_clock->setInterval(kClockMs);
    connect(m_clock, &QTimer::timeout, this, [this] { Advance(); });
    m_connections.push_back(session.changed.Connect([this](Scene& scene) { Show(scene); }));
    m_connections.push_back(session.sceneReplaced.Connect([this](Scene&) {
        Play(false);
        m_autoKey->setChecked(false);
    }));
}

void Timeline::MakeButtons(QHBoxLayout& row) {
    AddButton(row, "first_frame", "first", "To the first frame", [this] { GoToEnd(false); });
    AddButton(row, "key_before", "key_before", "To the key before", [this] { GoToKey(false); });
    m_play = AddButton(row, "play", "play", "Play the range again and again, or stop", {});
    m_play->setCheckable(true);
    connect(m_play, &QToolButton::toggled, this, [this](bool on) { Play(on); });
    AddButton(row, "key_after", "key_after", "To the next key", [this] { GoToKey(true); });
    AddButton(row, "last_frame", "last", "To the last frame", [this] { GoToEnd(true); });
}

QToolButton* Timeline::AddButton(QHBoxLayout& row, const char* name, const char* icon,
                                 const char* help, std::function<void()> run) {
    auto* button = new QToolButton;
    button->setObjectName(name);
    button->setIcon(ThemeIcon(icon));
    button->setProperty("iconName", icon);
    button->setToolTip(help);
    button->setAccessibleName(help);
    button->setAutoRaise(true);
    if (run) connect(button, &QToolButton::clicked, this, std::move(run));
    row.addWidget(button);
    return button;
}

NumberField* Timeline::MakeFrameField(const char* name, const char* help,
                                      std::function<void(int)> set,
                                      std::function<void(int)> preview) {
    FreeNumber number{name, help};
    number.form.isInteger = true;
    number.bounded = [](double frame) {
        return std::round(std::clamp(frame, double(-kMostFrames), double(kMostFrames)));
    };
    number.set = [set](double frame) { set(int(frame)); };
    if (preview) number.preview = [preview](double frame) { preview(int(frame)); };
    NumberField* field = MakeFreeNumber(std::move(number));
    field->setFixedWidth(72);
    return field;
}

void Timeline::Show(Scene& scene) {
    m_range = scene.timeRange;
    m_time = scene.GetTime();
    m_ticksPerFrame = std::max(scene.ticksPerFrame.Get(), 1);
    m_keys.clear();
    for (const INode* node : scene.Selection()) {
        std::vector<TimeValue> keys = KeyTimesOf(*node);
        m_keys.insert(m_keys.end(), keys.begin(), keys.end());
    }
    std::sort(m_keys.begin(), m_keys.end());
    m_keys.erase(std::unique(m_keys.begin(), m_keys.end()), m_keys.end());
    auto frameOf = [this](TimeValue t) { return double(t) / m_ticksPerFrame; };
    std::vector<double> marks;
    for (TimeValue key : m_keys) marks.push_back(frameOf(key));
    m_ruler->Show(FirstFrame(), LastFrame(), frameOf(m_time), std::move(marks));
    m_frameField->Show(frameOf(m_time), false,
                       !m_keys.empty() && std::binary_search(m_keys.begin(), m_keys.end(), m_time),
                       false);
    m_firstField->Show(FirstFrame(), false, false, false);
    m_lastField->Show(LastFrame(), false, false, false);
}

// --- moving through time

void Timeline::GoToFrame(int frame) {
    int64_t ticks = int64_t(frame) * m_ticksPerFrame;
    m_session.SetTime(
        TimeValue(std::clamp<int64_t>(ticks, kTimeNegInfinity + 1, kTimePosInfinity - 1)));
}

void Timeline::Step(int frames) {
    int frame = int(std::floor(double(m_time) / m_ticksPerFrame)) + frames;
    GoToFrame(std::clamp(frame, FirstFrame(), LastFrame()));
}

void Timeline::GoToEnd(bool last) { GoToFrame(last ? LastFrame() : FirstFrame()); }

void Timeline::GoToKey(bool next) {
    if (next) {
        auto after = std::upper_bound(m_keys.begin(), m_keys.end(), m_time);
        if (after != m_keys.end()) m_session.SetTime(*after);
    } else {
        auto at = std::lower_bound(m_keys.begin(), m_keys.end(), m_time);
        if (at != m_keys.begin()) m_session.SetTime(*--at);
    }
}

void Timeline::SetRange(int first, int last) {
    m_session.Run("scene.range", "", {{"first", int64_t(first)}, {"last", int64_t(last)}});
}

// --- playback

void Timeline::Play(bool on) {
    m_isPlaying = on;
    m_play->setChecked(on);
    m_session.SetPlaying(on);
    if (!on) return m_clock->stop();
    int frame = int(std::floor(double(m_time) / m_ticksPerFrame));
    m_startFrame = std::clamp(frame, FirstFrame(), LastFrame());
    m_sinceStart.start();
    m_clock->start();
}

// The frame of the clock, when the one before stands.
void Timeline::Advance() {
    if (!m_session.IsFree()) return;
    int64_t numFrames = std::max(LastFrame() - FirstFrame() + 1, 1);
    double perSecond = double(kTicksPerSecond) / m_ticksPerFrame;
    auto passed = int64_t(double(m_sinceStart.elapsed()) / 1000 * perSecond);
    int frame = FirstFrame() + int((m_startFrame - FirstFrame() + passed) % numFrames);
    if (TimeValue(frame) * m_ticksPerFrame != m_time) GoToFrame(frame);
}

void Timeline::SetAutoKey(bool on) {
    m_autoKey->setChecked(on);
    m_session.Look([on](Scene&) { HostContext::Current()->SetAnimating(on); });
}

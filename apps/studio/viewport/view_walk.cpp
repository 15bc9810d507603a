#include "apps/studio/viewport/view_walk.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kStepMs = 16;
constexpr double kLongestStep = 0.1;  // seconds: a view that was held up does not leap
constexpr double kFaster = 1.25;      // a step of the wheel
constexpr double kSlowest = 1e-3, kFastest = 1e3;

struct WalkKey {
    int key;
    float right, ahead, up;
};
constexpr WalkKey kKeys[] = {{Qt::Key_W, 0, 1, 0},  {Qt::Key_S, 0, -1, 0}, {Qt::Key_D, 1, 0, 0},
                             {Qt::Key_A, -1, 0, 0}, {Qt::Key_E, 0, 0, 1},  {Qt::Key_Q, 0, 0, -1}};

}  // namespace

ViewWalk::ViewWalk(ViewNavigation& navigation, std::function<void()> onMoved)
    : m_navigation(navigation), m_onMoved(std::move(onMoved)) {
    m_timer.setInterval(kStepMs);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer,
                     [this] { Step(std::min(double(m_clock.restart()) / 1000, kLongestStep)); });
}

bool ViewWalk::IsKey(int key) {
    return std::any_of(std::begin(kKeys), std::end(kKeys),
                       [key](const WalkKey& known) { return known.key == key; });
}

void ViewWalk::Press(int key) {
    m_keys.insert(key);
    if (m_timer.isActive()) return;
    m_clock.start();
    m_timer.start();
}

void ViewWalk::Release(int key) {
    m_keys.erase(key);
    if (m_keys.empty()) m_timer.stop();
}

void ViewWalk::End() {
    m_keys.clear();
    m_timer.stop();
}

void ViewWalk::ChangeSpeed(double steps) {
    m_factor = std::clamp(m_factor * std::pow(kFaster, steps), kSlowest, kFastest);
}

double ViewWalk::Speed() const { return m_factor * double(m_navigation.Pose().distance); }

void ViewWalk::Step(double seconds) {
    auto length = float(Speed() * seconds);
    float right = 0, ahead = 0, up = 0;
    for (const WalkKey& known : kKeys)
        if (m_keys.contains(known.key)) right += known.right, ahead += known.ahead, up += known.up;
    m_navigation.Walk(right * length, ahead * length, up * length);
    m_onMoved();
}

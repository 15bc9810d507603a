// Walks through a view, as long as its owner lets it: W and S go ahead and back, A and D to the
// sides, Q and E down and up; the wheel changes the speed.
#pragma once

#include <functional>
#include <set>

#include <QElapsedTimer>
#include <QTimer>

#include "apps/studio/viewport/view_navigation.h"

class ViewWalk {
public:
    // onMoved: after each step. Both live longer.
    ViewWalk(ViewNavigation& navigation, std::function<void()> onMoved);

    static bool IsKey(int key);
    void Press(int key);
    void Release(int key);
    // No key is down any more.
    void End();
    // Steps of the wheel.
    void ChangeSpeed(double steps);
    // Scene units a second: by default half the way to what the view turns around.
    double Speed() const;
    // As far as the keys that are down lead in this time.
    void Step(double seconds);

private:
    ViewNavigation& m_navigation;
    std::function<void()> m_onMoved;
    std::set<int> m_keys;
    double m_factor = 0.5;  // of the distance, a second
    QTimer m_timer;
    QElapsedTimer m_clock;
};

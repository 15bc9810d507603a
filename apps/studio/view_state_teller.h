// Keeps the scene informed of what its active view shows, and starts views where a scene was left.
#pragma once

#include <vector>

#include "apps/studio/studio_session.h"

class QTimer;
class QuadView;

class ViewStateTeller {
public:
    // Both outlive it. Takes the views' onCameraChanged.
    ViewStateTeller(StudioSession& session, QuadView& views);
    ~ViewStateTeller();

private:
    void Tell();
    void Restore(const Scene& scene);

    StudioSession& m_session;
    QuadView& m_views;
    std::unique_ptr<QTimer> m_rest;  // a hand that moves is not followed step by step
    Connection m_replaced;
};

#include "apps/studio/view_state_teller.h"

#include <cmath>

#include <QTimer>

#include "apps/studio/viewport/quad_view.h"

namespace {

constexpr int kRestMs = 200;
constexpr float kDegreesToRadians = 0.017453292f;

// None for a parallel view.
std::optional<ViewState> StateOf(ViewportWidget& view) {
    const ViewPose& pose = view.Navigation().Pose();
    if (pose.isParallel) return std::nullopt;
    QSize size = view.PictureSize();
    float fovDegrees = 2 * std::atan(pose.slope) / kDegreesToRadians;
    return ViewState{pose.Transform(), fovDegrees, size.width(), size.height()};
}

}  // namespace

ViewStateTeller::ViewStateTeller(StudioSession& session, QuadView& views)
    : m_session(session), m_views(views), m_rest(std::make_unique<QTimer>()) {
    m_rest->setSingleShot(true);
    m_rest->setInterval(kRestMs);
    QObject::connect(m_rest.get(), &QTimer::timeout, m_rest.get(), [this] { Tell(); });
    views.ForEachView([this](ViewportWidget& view) {
        view.onCameraChanged = [this, &view] {
            if (&view == &m_views.ActiveView()) m_rest->start();
        };
    });
    m_replaced = session.sceneReplaced.Connect([this](Scene& scene) { Restore(scene); });
}

ViewStateTeller::~ViewStateTeller() {
    m_views.ForEachView([](ViewportWidget& view) { view.onCameraChanged = {}; });
}

void ViewStateTeller::Tell() {
    ViewportWidget& view = m_views.ActiveView();
    m_session.LookFrom(StateOf(view), view.ThroughCamera());
}

// The views have forgotten the scene before.
void ViewStateTeller::Restore(const Scene& scene) {
    m_rest->stop();
    std::optional<ViewState> state = scene.ActiveView(scene.GetTime());
    if (!state) return;
    float slope = std::tan(state->fovDegrees * kDegreesToRadians / 2);
    m_views.ForEachView([&](ViewportWidget& view) {
        if (!view.Navigation().Pose().isParallel) view.StartFrom(state->transform, slope);
    });
}

#include "apps/studio/tools/snap_settings.h"

#include <algorithm>
#include <cmath>

#include <QSettings>

SnapSettings SnapSettings::Load() {
    QSettings stored;
    SnapSettings snap;
    snap.toPoints = stored.value("snap/points", snap.toPoints).toBool();
    snap.toSurface = stored.value("snap/surface", snap.toSurface).toBool();
    snap.toGrid = stored.value("snap/grid", snap.toGrid).toBool();
    snap.step = BoundedStep(stored.value("snap/step", snap.step).toDouble());
    snap.degrees = BoundedStep(stored.value("snap/degrees", snap.degrees).toDouble());
    snap.percent = BoundedStep(stored.value("snap/percent", snap.percent).toDouble());
    return snap;
}

void SnapSettings::Save() const {
    QSettings stored;
    stored.setValue("snap/points", toPoints);
    stored.setValue("snap/surface", toSurface);
    stored.setValue("snap/grid", toGrid);
    stored.setValue("snap/step", step);
    stored.setValue("snap/degrees", degrees);
    stored.setValue("snap/percent", percent);
}

double SnapSettings::BoundedStep(double wanted) {
    constexpr double kSmallest = 1e-4, kLargest = 1e6;
    return std::isfinite(wanted) ? std::clamp(wanted, kSmallest, kLargest) : 1;
}

void SnapSettings::PutInto(GizmoSnapping& snapping) const {
    snapping.toGrid = toGrid;
    snapping.step = float(step);
    snapping.degrees = float(degrees), snapping.percent = float(percent);
}

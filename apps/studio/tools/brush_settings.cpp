#include "apps/studio/tools/brush_settings.h"

#include <algorithm>
#include <cmath>

#include <QSettings>

BrushSettings BrushSettings::Load() {
    QSettings stored;
    BrushSettings brush;
    if (stored.contains("brush/size")) brush.SetSize(stored.value("brush/size").toDouble());
    brush.SetStrength(stored.value("brush/strength", 1).toDouble());
    int pen = stored.value("brush/pen", int(PenPressure::kSize)).toInt();
    brush.pen = PenPressure(std::clamp(pen, 0, int(PenPressure::kStrength)));
    return brush;
}

void BrushSettings::Save() const {
    QSettings stored;
    stored.setValue("brush/size", size);
    stored.setValue("brush/strength", strength);
    stored.setValue("brush/pen", int(pen));
}

void BrushSettings::SetSize(double wanted) {
    constexpr double kSmallest = 0.01;
    if (std::isfinite(wanted)) size = std::clamp(wanted, kSmallest, kLargest);
}

void BrushSettings::SetStrength(double wanted) {
    if (std::isfinite(wanted)) strength = std::clamp(wanted, 0.0, 1.0);
}

#include "apps/studio/viewport/view_request.h"

#include "host/base/thread_pool.h"

TViewportSettings SettingsOf(const ViewRequest& request) {
    TViewportSettings settings;
    settings.showsGrid = request.showsGrid;
    settings.isNavigating = request.isMoving;
    settings.instances = true;
    settings.threads = NumProcessors();
    if (request.shading == ViewportShading::kPoints) settings.display = TViewDisplay::kPoints;
    if (request.shading == ViewportShading::kBoxes) settings.display = TViewDisplay::kBoxes;
    if (request.shading == ViewportShading::kWire) settings.display = TViewDisplay::kWire;
    return settings;
}

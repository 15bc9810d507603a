// What drags snap to: kept from start to start.
#pragma once

#include "apps/studio/viewport/transform_gizmo.h"

struct SnapSettings {
    // Of moves, the first that applies: points near the pointer, the surface under it, the grid.
    bool toPoints = false, toSurface = false, toGrid = true;
    double step = 1;  // of the grid, scene units
    double degrees = 5, percent = 10;

    static SnapSettings Load();
    void Save() const;
    // A step within its range: above nothing, and no larger than scenes are.
    static double BoundedStep(double wanted);
    // Where it catches places is left as it is.
    void PutInto(GizmoSnapping& snapping) const;
};

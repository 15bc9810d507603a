// Places that something which is moved may be put on: pivots, points of splines, items.
//
// Gathered when a gesture begins; then the scene and the target are needed no more.
#pragma once

#include <optional>
#include <vector>

#include "apps/studio/tools/edit_target.h"

class SnapPlaces {
public:
    SnapPlaces() = default;  // none
    // What moves with the target's selection is left out.
    SnapPlaces(const TViewportScene& scene, const EditTarget& target);

    // The one that stands nearest to a pixel of a picture, within `reach` pixels; of those at one
    // pixel the nearest to the eye.
    std::optional<Point3> Near(const TViewportCamera& camera, float x, float y, float reach) const;

private:
    std::vector<Point3> m_places;  // world space
};

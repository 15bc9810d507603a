// Places in the world under pixels of a view, and what lies below places.
#pragma once

#include <functional>
#include <optional>

#include "apps/studio/viewport/viewport_widget.h"

// On the nearest thing of a scene under a pixel of the view's picture that is one of those wanted.
std::optional<Point3> PlaceOn(const TViewportScene& scene, const ViewportWidget& view,
                              QPointF pixel, const std::function<bool(const TViewNode&)>& isWanted);

// On the construction plane: the ground, or the upright plane of the world that a view from the
// front, the back or a side faces. None where the line of sight does not meet it ahead.
std::optional<Point3> PlaceOnGrid(ViewportWidget& view, QPointF pixel);

// Which way the surfaces of a scene that are wanted face straight below or above a place, of unit
// length, upwards. Up where there are none.
Point3 GroundNormal(const TViewportScene& scene, const Point3& place,
                    const std::function<bool(const TViewNode&)>& isWanted);

// Places in the world under pixels of a view.
#pragma once

#include <functional>
#include <optional>

#include "apps/studio/viewport/viewport_widget.h"

// On the nearest thing of a scene under a pixel of the view's picture that is one of those wanted.
std::optional<Point3> PlaceOn(const TViewportScene& scene, const ViewportWidget& view,
                              QPointF pixel, const std::function<bool(const TViewNode&)>& isWanted);

// The surfaces that a brush paints on: what lies under the pointer, and how high the ground is.
//
// Made while the scene is free; then it needs the scene no more.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Dravin/engine/surface_array.h"
#include "apps/studio/viewport/viewport_widget.h"

class INode;

class PaintGround {
public:
    PaintGround() = default;  // nothing
    PaintGround(const std::vector<INode*>& surfaces, TimeValue t);

    // The place on the ground under a pixel of the view's picture, whatever stands before it.
    std::optional<Point3> Under(const ViewportWidget& view, QPointF pixel) const;
    // A place of the world moved up or down onto the topmost surface; as it is beside the ground.
    Point3 Drop(const Point3& place) const;
    // World space.
    const Box3& Bounds() const { return m_bounds; }

private:
    struct Surface {
        std::shared_ptr<const TSurfXYArray> array;
        Matrix3 toWorld, toSurface;

        // How far along a line of the world it comes from above to below, first.
        std::optional<float> Meet(const Point3& from, const Point3& along) const;
    };
    std::vector<Surface> m_surfaces;
    Box3 m_bounds;
};

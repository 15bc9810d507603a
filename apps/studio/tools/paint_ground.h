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

    // The place on the ground under a pixel of the view's picture.
    std::optional<Point3> Under(const ViewportWidget& view, QPointF pixel);
    // A place of the world moved up or down onto the topmost surface; as it is beside the ground.
    Point3 Drop(const Point3& place) const;
    // World space.
    const Box3& Bounds() const { return m_bounds; }

private:
    struct Surface {
        NodeHandle node;
        std::shared_ptr<const TSurfXYArray> array;
        Matrix3 toWorld, toSurface;
    };
    std::vector<Surface> m_surfaces;
    Box3 m_bounds;
    // Of the last view's snapshot, the surfaces alone: items are in nobody's way.
    std::shared_ptr<const TViewportScene> m_shown, m_onlySurfaces;
};

// Draws the outline of a new area: each click adds a point on what lies under the pointer.
#pragma once

#include <functional>
#include <vector>

#include "apps/studio/viewport/viewport_widget.h"

class AreaTool : public IViewTool {
public:
    // Three points at least, world space.
    std::function<void(std::vector<Point3>)> onDrawn;
    std::function<void()> onGivenUp;

    // Enter, or a click on the first point, closes the outline; Backspace takes a point back;
    // Escape gives it up.
    bool Press(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) override;
    void Drag(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) override;
    void Release(ViewportWidget& view) override;
    void Cancel(ViewportWidget& view) override;
    void Hover(ViewportWidget& view, QPointF pixel) override;
    bool Key(ViewportWidget& view, int key, Qt::KeyboardModifiers modifiers) override;

    void Start() { m_points.clear(); }
    const std::vector<Point3>& Points() const { return m_points; }
    void Paint(ViewportWidget& view, QPainter& painter) const;

private:
    bool IsOnFirst(const ViewportWidget& view, QPointF pixel) const;
    void Finish();

    std::vector<Point3> m_points;
    QPointF m_pointer;  // pixels
};

// Draws an outline or a line: each click adds a point on what lies under the pointer.
#pragma once

#include <functional>
#include <vector>

#include "apps/studio/viewport/viewport_widget.h"

class OutlineTool : public IViewTool {
public:
    // World space; three points at least, of a line that stays open two.
    std::function<void(std::vector<Point3> points, bool isClosed)> onDrawn;
    std::function<void()> onGivenUp;

    // A click on the first point closes the outline, and so does Enter, unless it may stay open;
    // Backspace takes a point back; Escape gives it up.
    bool Press(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) override;
    void Drag(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) override;
    void Release(ViewportWidget& view) override;
    void Cancel(ViewportWidget& view) override;
    void Hover(ViewportWidget& view, QPointF pixel) override;
    bool Key(ViewportWidget& view, int key, Qt::KeyboardModifiers modifiers) override;

    // The lines that are drawn from now on.
    void Start(bool mayStayOpen) {
        m_points.clear();
        m_mayStayOpen = mayStayOpen;
    }
    // As Enter does; without points enough it is given up.
    void End();
    const std::vector<Point3>& Points() const { return m_points; }
    void Paint(ViewportWidget& view, QPainter& painter) const;

private:
    bool IsOnFirst(const ViewportWidget& view, QPointF pixel) const;
    bool Finish(bool isClosed);

    std::vector<Point3> m_points;
    QPointF m_pointer;  // pixels
    bool m_mayStayOpen = false;
};

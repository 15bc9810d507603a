// Makes an object where the hand presses: what a press, a drag and a release mean is the rule of
// the object's class.
#pragma once

#include <functional>
#include <optional>

#include "apps/studio/viewport/viewport_widget.h"
#include "host/geom/poly_line.h"
#include "host/scene/creation.h"

// What a rule hears.
struct CreationStep {
    CreationMessage message;
    int point = 0;     // from 0: the press is the first, the release the second
    Point3 onGrid;     // where the construction plane lies under the pointer
    float height = 0;  // of the pointer above the first point
};
// The object so far.
struct Creation {
    Matrix3 transform;
    float drag = 0;  // as the rule measures it
};
using CreationRule = std::function<CreationAnswer(const CreationStep&, Creation&)>;

// Where the pointer is while the button is down.
CreationRule PlacedByClick();
// At the press; the drag is how far the pointer goes on the construction plane, and none shorter
// than 0.0001 makes an object.
CreationRule SizedByDrag();
// At the press; the drag lifts it.
CreationRule LiftedByDrag();

class CreateTool : public IViewTool {
public:
    // Once for each object.
    std::function<void(const Creation&)> onMade;
    std::function<void()> onGivenUp;  // Escape outside gestures
    // Where a pixel is meant; none: nowhere.
    std::function<std::optional<Point3>(ViewportWidget&, QPointF)> placeAt;

    // icon: shown where the object will be, object space; scaled by the drag where it has a size
    // of 1. Without lines a cross is.
    void Start(CreationRule rule, PolyShape icon, bool isSized);
    // Whether an object is in the making.
    bool IsMaking() const { return m_making.has_value(); }
    void Paint(ViewportWidget& view, QPainter& painter) const;

    bool Press(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) override;
    void Drag(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) override;
    void Release(ViewportWidget& view) override;
    void Cancel(ViewportWidget& view) override;
    void Hover(ViewportWidget& view, QPointF pixel) override;
    bool Key(ViewportWidget& view, int key, Qt::KeyboardModifiers modifiers) override;

private:
    void Tell(CreationMessage message, int point, const Point3& onGrid, float height);

    CreationRule m_rule;
    PolyShape m_icon;
    bool m_isSized = false;
    std::optional<Creation> m_making;
    Point3 m_first, m_last;
    float m_height = 0;
    std::optional<Point3> m_hovered;
};

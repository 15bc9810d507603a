// Paints in a paint area: a ring on the ground, strokes of the hand, and keys for the brush.
//
// Strokes are worked out here, on a copy of the region; what they come to goes to whoever owns the
// scene (TPaintRegion in Dravin/geometry/paint_region.h).
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "Dravin/geometry/paint_region.h"
#include "apps/studio/tools/brush_settings.h"
#include "apps/studio/tools/paint_ground.h"

// What is painted, as it was when the scene was free.
struct PaintTarget {
    NodeHandle object = 0;
    int areaId = 0;
    TPaintMode mode = TPaintMode::kPaint;
    Matrix3 toWorld;  // from the object's space
    TPaintRegion region{1};
    PaintGround ground;
};

class PaintTool : public IViewTool {
public:
    using Region = std::shared_ptr<const TPaintRegion>;
    std::function<bool()> onBegin;  // whether a stroke may begin now
    std::function<void(Region)> onPreview;
    std::function<void(Region)> onEnd;  // null: the stroke is taken back
    std::function<void()> onLeave;
    std::function<void()> onBrushChanged;

    BrushSettings brush;

    // A stroke that goes on is lost.
    void Take(PaintTarget target);
    void Forget();
    const std::optional<PaintTarget>& Target() const { return m_target; }
    bool IsPainting() const { return m_stroke != nullptr; }
    // What a stroke with these keys does.
    TPaintMode ModeOf(Qt::KeyboardModifiers modifiers, bool isEraser) const;

    // Ctrl does the other one of painting and erasing, Shift smooths; [ and ] change the size,
    // with Shift the strength; Escape leaves.
    bool Press(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) override;
    void Drag(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) override;
    void Release(ViewportWidget& view) override;
    void Cancel(ViewportWidget& view) override;
    void Hover(ViewportWidget& view, QPointF pixel) override;
    bool Key(ViewportWidget& view, int key, Qt::KeyboardModifiers modifiers) override;

    void Paint(ViewportWidget& view, QPainter& painter) const;
    // The circle that a sample would paint now, on the ground; empty beside it.
    std::vector<Point3> Ring() const;

private:
    TPaintSample SampleAt(const ViewportWidget& view, const Point3& place) const;
    void Follow(ViewportWidget& view, QPointF pixel);
    void ShowRegion(const TPaintRegion& region);
    void End(ViewportWidget& view, Region region);

    std::optional<PaintTarget> m_target;
    std::unique_ptr<TPaintStroke> m_stroke;
    bool m_hasChanged = false;                    // in the stroke
    std::optional<Point3> m_place;                // of the pointer on the ground, world space
    float m_radius = 0;                           // there, with the pen's pressure
    std::vector<std::vector<Point3>> m_outlines;  // on the ground, world space
};

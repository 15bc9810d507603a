// A curve to draw at: points with handles over a grid.
//
// Double click or Ctrl-click on the curve adds a point, a drag moves the selected ones: Shift along
// one axis, Ctrl to the grid. Alt breaks a handle from its twin. Delete removes, F frames, a drag
// from nothing selects, Alt-middle pans, the wheel zooms, with Ctrl along x alone. The widget owns
// no value: it shows points and tells what becomes of them.
#pragma once

#include <functional>
#include <set>
#include <vector>

#include <QWidget>

#include "Dravin/engine/falloff_curve.h"

class CurveView : public QWidget {
public:
    struct Hooks {
        std::function<void(const std::vector<CurvePoint>&)> preview;  // while the hand moves
        std::function<void(const std::vector<CurvePoint>&)> commit;   // in the end
        std::function<void()> cancel;                                 // as it was before
        std::function<void()> selected;
    };
    explicit CurveView(Hooks hooks, QWidget* parent = nullptr);

    // Not while a gesture runs.
    void Show(std::vector<CurvePoint> points, float yMax);
    // How much falls on equal pieces of x from 0 to 1, as bars behind the curve; empty: unknown.
    void ShowUse(std::vector<size_t> counts);
    const std::vector<size_t>& Use() const { return m_use; }
    const std::vector<CurvePoint>& Points() const { return m_points; }
    std::vector<size_t> Selected() const { return {m_selected.begin(), m_selected.end()}; }
    void Select(std::set<size_t> points);
    void Frame();
    bool IsInGesture() const { return m_gesture != Gesture::kNone; }
    // Where a point of the curve is seen.
    QPointF At(double x, double y) const;
    QPointF HandleAt(size_t index, bool isOut) const;
    // A change by a menu, a key or a typed number.
    void Change(std::vector<CurvePoint> points);
    void FillPointMenu(class QMenu& menu, size_t index);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    enum class Gesture { kNone, kPoints, kHandle, kRectangle, kPan };
    QPointF ValueAt(const QPointF& position) const;
    QRectF Area() const;
    int PointAt(const QPointF& position) const;
    bool FindHandle(const QPointF& position, size_t* index, bool* isOut) const;
    bool IsOnCurve(const QPointF& position) const;
    void AddAt(const QPointF& position);
    void Drag(const QPointF& position, Qt::KeyboardModifiers modifiers);
    void Finish(bool keep);
    void PaintGrid(class QPainter& painter) const;
    void PaintUse(class QPainter& painter) const;
    void PaintCurve(class QPainter& painter) const;
    void PaintPoints(class QPainter& painter) const;

    Hooks m_hooks;
    std::vector<CurvePoint> m_points, m_before;
    float m_yMax = 100;
    std::vector<size_t> m_use;
    std::set<size_t> m_selected;
    QRectF m_shown{-0.05, -0.05, 1.1, 1.1};  // x, and y as a share of yMax
    Gesture m_gesture = Gesture::kNone;
    QPointF m_pressed, m_last;
    size_t m_handle = 0;
    bool m_isOut = false, m_hasMoved = false;
};

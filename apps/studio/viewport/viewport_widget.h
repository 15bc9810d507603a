// A view of a scene that hands move through, pick in and transform in.
//
// Pictures come finished from the drawing thread (view_renderer.h) and clicks are answered by the
// picker's; the window's thread only paints and hears. Keys and buttons are those of
// docs/studio-viewport.md. Positions of events are logical; pictures, cameras and pixels of picks
// are physical: ToPixel is the one way from one to the other.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include <QImage>
#include <QPointF>
#include <QWidget>

#include "apps/studio/viewport/transform_gizmo.h"
#include "apps/studio/viewport/view_navigation.h"
#include "apps/studio/viewport/view_picker.h"
#include "apps/studio/viewport/view_renderer.h"
#include "apps/studio/viewport/view_walk.h"

class QTimer;

// What a click means for what is selected already.
enum class PickMode { kReplace, kAdd, kRemove, kToggle };

struct ViewportPick {
    // Of `scene`: nearest first, or the items in a region, or all that is seen there. Empty:
    // nothing was there.
    std::vector<uint32_t> ids;
    PickMode mode = PickMode::kReplace;
    std::shared_ptr<const TViewportScene> scene;
    // Of clicks: which of the ids is meant. A second click at the same place means the next.
    size_t meant = 0;
    Point3 place;                // of what is nearest, world space
    std::vector<Point3> places;  // of clicks, one an id
    // Pixels of the camera's picture; of a click its own alone.
    TPickRegion region;
    TViewportCamera camera;
    // Of rectangles drawn from the right to the left: they take what they touch, too.
    bool takesTouched = false;
    // Where only what is seen counts: what the pixels show; null: all counts.
    std::shared_ptr<const TSeenPicture> seen;
};

class ViewportWidget;

// What a person has asked to choose from.
enum class ViewMenu {
    kAll,      // the right button
    kSides,    // V, or the first word in the corner: from where
    kShading,  // the second word: how
};

// What takes the left button before the view picks or draws rectangles with it. A gesture ends by
// exactly one of Release and Cancel.
class IViewTool {
public:
    virtual ~IViewTool() = default;
    // Positions are pixels of the picture. Whether a gesture begins.
    virtual bool Press(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) = 0;
    virtual void Drag(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) = 0;
    virtual void Release(ViewportWidget& view) = 0;
    virtual void Cancel(ViewportWidget& view) = 0;
    virtual void Hover(ViewportWidget& view, QPointF pixel) = 0;
    // A key outside gestures; whether it was taken.
    virtual bool Key(ViewportWidget& view, int key, Qt::KeyboardModifiers modifiers) = 0;
};

class ViewportWidget : public QWidget {
public:
    // avoidsOpenGl: draws with the splatter.
    explicit ViewportWidget(QWidget* parent = nullptr, bool avoidsOpenGl = false);
    ~ViewportWidget() override;

    // Shown from now on; null shows nothing. The first scene is framed.
    void ShowScene(std::shared_ptr<const TViewportScene> scene);
    const std::shared_ptr<const TViewportScene>& Shown() const { return m_scene; }
    // What ShowScene was given, of which Shown may be a part.
    const std::shared_ptr<const TViewportScene>& Given() const { return m_given; }
    void FrameAll();
    // The selected nodes and items; all where there are none.
    void FrameSelection();
    void SetShading(ViewportShading shading);
    ViewportShading Shading() const { return m_shading; }
    void SetEdges(bool areShown);
    bool ShowsEdges() const { return m_showsEdges; }
    void SetGrid(bool isShown);
    bool ShowsGrid() const { return m_showsGrid; }
    // Nothing but what is selected now, until it is switched off; where nothing is, it stays off.
    void SetOnlySelected(bool isOn);
    bool ShowsOnlySelected() const { return !m_only.empty(); }
    // The frame of pictures of this width to height, as wide as the view; 0: none.
    void SetSafeFrame(double aspect);
    double SafeFrame() const { return m_safeFrame; }
    // What is being worked on beside the view; empty: nothing.
    void SetBusy(const QString& text);
    // Of the pointer where nothing else gives it one.
    void SetRestCursor(Qt::CursorShape shape);
    // Rectangles and lassos take only what a pixel shows.
    void SetOnlySeen(bool onlySeen) { m_onlySeen = onlySeen; }
    // Drags from nothing draw a lasso instead of a rectangle.
    void SetLasso(bool isLasso) { m_usesLasso = isLasso; }

    ViewNavigation& Navigation() { return m_navigation; }
    // After changes to the navigation from outside.
    void CameraChanged();
    void LookThroughCamera();  // the first of the scene; without one nothing changes
    void LookThrough(NodeHandle camera);
    // The camera that the view was put at and has not left since; 0: none.
    NodeHandle ThroughCamera() const { return m_throughCamera; }
    // The next scene is not framed but seen from there. slope: half the width of the view at
    // distance 1.
    void StartFrom(const Matrix3& camera, float slope);
    TransformGizmo& Gizmo() { return m_gizmo; }
    void ShowGizmo(GizmoTool tool, const Matrix3& frame);
    // Null: none. It must live until another one is set; a gesture of the one before is cancelled.
    void SetTool(IViewTool* tool);
    // Of the press that began the present gesture.
    Qt::KeyboardModifiers PressModifiers() const { return m_modifiers; }
    // How hard a pen is pressed, 0..1; 1 of a mouse. Whether its eraser is.
    float Pressure() const { return m_pressure; }
    bool IsEraser() const { return m_isEraser; }

    std::function<void(const ViewportPick&)> onPick;    // clicks
    std::function<void(const ViewportPick&)> onRegion;  // rectangles and lassos
    std::function<void()> onCameraChanged;
    std::function<void(QPainter&)> onPaintOver;  // over the picture, below the gizmo
    // What is shown, how, and what buttons do: for a status line.
    std::function<void(const QString&)> onStatus;
    std::function<void()> onActivated;  // the pointer went down in it
    std::function<void()> onMaximize;   // Alt-W
    std::function<void(ViewMenu, const QPoint& global)> onMenu;

    // From a logical position to the picture's pixels.
    QPointF ToPixel(const QPointF& logical) const;
    QPointF ToLogical(const QPointF& pixel) const;
    QSize PictureSize() const;
    TViewportCamera Camera() const;
    // The last that came, null before; whether it shows the present view, whole.
    const ViewPicture* Picture() const { return m_picture.get(); }
    bool IsUpToDate() const;
    uint32_t HoveredId() const { return m_hovered; }
    // "120,000 of 1,000,000 shown" and the like; empty when there is nothing to say.
    QString Notice() const;
    // "Top", "Perspective", or the camera that the view was put at.
    QString ViewName() const;
    // The words in the corner that open menus, logical pixels: the view's name, then its shading.
    std::array<QRectF, 2> LabelBoxes() const;
    ViewWalk& Walk() { return m_walk; }
    // What lies under the pointer, as far as it is known.
    std::optional<Point3> PlaceUnderPointer() const;

protected:
    void paintEvent(QPaintEvent*) override;
    void resizeEvent(QResizeEvent*) override;
    void mousePressEvent(QMouseEvent*) override;
    void mouseMoveEvent(QMouseEvent*) override;
    void mouseReleaseEvent(QMouseEvent*) override;
    void wheelEvent(QWheelEvent*) override;
    void tabletEvent(QTabletEvent*) override;
    void keyPressEvent(QKeyEvent*) override;
    void keyReleaseEvent(QKeyEvent*) override;
    void focusOutEvent(QFocusEvent*) override;
    void leaveEvent(QEvent*) override;
    bool event(QEvent*) override;

private:
    // kMenu: the right button is down, and it is not yet known what for.
    enum class Gesture {
        kNone,
        kOrbit,
        kPan,
        kZoom,
        kMenu,
        kWalk,
        kClick,
        kRectangle,
        kLasso,
        kGizmo,
        kTool
    };
    bool IsNavigating() const {
        return m_gesture == Gesture::kOrbit || m_gesture == Gesture::kPan ||
               m_gesture == Gesture::kZoom || m_gesture == Gesture::kWalk;
    }

    ViewRequest Request(bool isMoving) const;
    void AskPicture(bool isMoving);
    void AskPick(PickWish::Kind kind, TPickRegion region);
    void TakePicture(std::shared_ptr<const ViewPicture> picture);
    void TakeAnswer(const PickAnswer& answer);
    void TakeHover(const PickAnswer& answer);
    void ForgetHover();
    void BeginNavigation(Gesture gesture, const QPointF& at);
    void MoveNavigation(const QPointF& by);
    void WrapPointer(const QPointF& at);
    TPickRegion DrawnRegion(const QPointF& end) const;
    void EndGesture();
    void CancelGesture();
    void HoverAt(const QPointF& at);
    void UpdateCursor();
    bool PressLabel(const QPointF& at);
    bool PressWalkKey(QKeyEvent* event);
    bool PressGizmo(const QPointF& pixel);
    bool TypeIntoGizmo(QKeyEvent* event);
    bool PressViewKey(QKeyEvent* event);
    Point3 Pivot(const QPointF& at) const;
    Box3 SelectionBox() const;
    float PixelScale() const { return float(devicePixelRatioF()); }
    void PaintHover(QPainter& painter) const;
    void PaintGizmo(QPainter& painter) const;
    void PaintAxes(QPainter& painter) const;
    void PaintTexts(QPainter& painter) const;
    void PaintLabels(QPainter& painter) const;
    void PaintSafeFrame(QPainter& painter) const;
    void PaintIcons(QPainter& painter) const;
    void PaintRegion(QPainter& painter) const;
    void Tell();

    std::shared_ptr<const TViewportScene> m_given, m_scene;
    std::set<NodeHandle> m_only;     // nodes that alone are shown; empty: all are
    bool m_wantsNewPicture = false;  // those on their way are of a scene that is gone
    std::shared_ptr<const ViewPicture> m_picture;
    QImage m_image;  // of the picture's bytes
    ViewportShading m_shading = ViewportShading::kShaded;
    bool m_showsEdges = false, m_showsGrid = true, m_onlySeen = false, m_wasFramed = false;
    bool m_usesLasso = false;
    double m_safeFrame = 0;
    QString m_busy;
    Qt::CursorShape m_restCursor = Qt::ArrowCursor;
    ViewNavigation m_navigation;
    ViewWalk m_walk;
    TransformGizmo m_gizmo;
    IViewTool* m_tool = nullptr;
    Gesture m_gesture = Gesture::kNone;
    Qt::MouseButton m_button = Qt::NoButton;
    Qt::KeyboardModifiers m_modifiers;
    QPointF m_pressed, m_last, m_pointer;
    std::vector<QPointF> m_lasso;  // logical
    float m_pressure = 1;
    bool m_isEraser = false;
    ViewPose m_poseBefore;
    Point3 m_pivot;
    bool m_ignoresMove = false;           // the pointer was set by us
    bool m_hasNavigated = false;          // the present gesture has moved the view
    std::optional<float> m_pointerDepth;  // of what lay under it at m_depthAt
    QPointF m_depthAt;
    uint32_t m_hovered = TViewportScene::kNoId;
    std::vector<Point3> m_hoveredCorners;
    QPoint m_lastClick{-1000, -1000};
    size_t m_clickTurn = 0;
    NodeHandle m_throughCamera = 0;
    uint64_t m_pickNumber = 0;
    std::map<uint64_t, PickMode> m_modes;
    QTimer* m_rest;
    std::unique_ptr<ViewPicker> m_picker;
    std::unique_ptr<ViewRenderer> m_renderer;
};

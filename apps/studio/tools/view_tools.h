// The tools of the views: selecting, the gizmo, drawing and painting areas, and what works on the
// items of a scatter object and on the points of a spline.
//
// It stands between the views and the session: picks become selections, gestures of gizmos become
// previews and one undo step each. Actions tells the window which commands there are; their keys
// hold in the views alone, so that letters can be typed elsewhere.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <QKeySequence>
#include <QObject>
#include <QPointer>

#include "apps/studio/studio_session.h"
#include "apps/studio/tools/create_tool.h"
#include "apps/studio/tools/edit_target.h"
#include "apps/studio/tools/node_pick_tool.h"
#include "apps/studio/tools/outline_tool.h"
#include "apps/studio/tools/paint_tool.h"
#include "apps/studio/tools/snap_places.h"
#include "apps/studio/tools/snap_settings.h"
#include "apps/studio/viewport/quad_view.h"

class BrushBar;
class CopyQuestion;
class QAction;
class QLabel;
class QMenu;
class QToolBar;
class SnapWindow;
class TDravin;
class TypedTransform;

// What is made by hand in a view.
enum class CreateKind { kScatter, kLod, kProxy, kLight };

class ViewTools : public QObject {
public:
    // views, session: live longer.
    ViewTools(StudioSession& session, QuadView& views);
    ~ViewTools() override;

    // Actions by name ("tool.move"); parents are the views.
    const std::map<std::string, QAction*>& Actions() const { return m_actions; }
    void FillMenu(QMenu& menu) const;
    void FillCreateMenu(QMenu& menu) const;
    void FillBar(QToolBar& bar);  // once
    // What buttons and keys do now, and what is selected: for the status line.
    QLabel* PromptLabel() const { return m_prompt; }

    void SetGizmoTool(GizmoTool tool);
    GizmoTool Tool() const { return m_tool; }
    const EditTarget& Target() const { return *m_target; }
    // Where the gizmo stands; none without a selection.
    const std::optional<Matrix3>& GizmoFrame() const { return m_frame; }
    PaintTool& Brush() { return m_paint; }
    void SetAxes(GizmoAxes axes);
    SnapSettings& Snapping() { return m_snapSettings; }
    // The next press in a view makes one; a press of the same kind's action gives that up.
    void StartCreation(CreateKind kind);
    // The right button, where nothing was dragged: ends what waits for clicks. Whether there was.
    bool RightClick();

    // What a click met: an item of a scatter object, by its place in the list of that build.
    struct MetItem {
        NodeHandle object = 0;
        uint32_t item = 0;
        uint64_t buildNumber = 0;
    };
    // The next click in a view tells the nearest item there, and selects nothing. Null: no more.
    void AskForItem(std::function<void(const MetItem&)> taker) { m_itemTaker = std::move(taker); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Level { kNodes, kItems, kPins, kPoints };
    enum class ClickMode { kSelect, kAddItem, kAttach, kAddPoint, kFitLeftUp, kFitRightDown };

    QAction* AddAction(const char* name, const char* text, const char* icon, const char* keys,
                       std::function<void()> run, bool isCheckable = false);
    void MakeActions();
    void MakeTransformActions();
    void MakePointActions();
    void MakeCreateActions();
    void AddAxesButton(QToolBar& bar);
    void Connect(ViewportWidget& view);
    void Follow(Scene& scene);
    void ShowState();
    void TakeBoxes();
    QString Prompt() const;
    QString BrushPrompt() const;
    static const char* StepName(GizmoTool tool);
    static NodeHandle SelectedScatter(Scene& scene);
    static TDravin* ScatterOf(Scene& scene, NodeHandle handle);

    void EnterLevel(Level level);
    void EnterPoints();
    void OpenItems(NodeHandle object);
    void SetLevel(Level level, NodeHandle object);
    void SetClickMode(ClickMode mode);
    void SetLasso(bool usesLasso, bool onlySeen);
    void Select(SelectWhat what);
    void Delete();
    void TakePick(const ViewportPick& pick);
    void GiveItem(const ViewportPick& pick);
    void TakeRegion(const ViewportPick& pick);
    void RunOnPoints(const std::string& command, TArguments arguments);
    void CloseSpline();
    void AddItem(const ViewportPick& pick);
    void FitMap(ClickMode corner);
    void TakeCorner(const ViewportPick& pick);
    void Attach(const ViewportPick& pick);

    NodeHandle ScatterForAreas(Scene& scene);
    void SetViewTool();
    void DrawArea(bool begins);
    void AddArea(const std::vector<Point3>& outline);
    void DrawSpline(bool begins);
    void Outlined(const std::vector<Point3>& points, bool isClosed);
    bool IsOutlining() const { return m_areaObject || m_drawsSpline; }

    void EndCreation();
    void Made(const Creation& made);
    void CreateCamera();
    // A command that makes a node, which is selected then: one undo step.
    void Create(const std::string& command, TArguments arguments,
                std::function<void(Scene&, INode&)> then = {});
    void ConnectBrush();
    void ToggleBrush();
    void FollowBrush(Scene& scene);
    void SaveBrush();
    std::function<void(Scene&)> SetRegion(PaintTool::Region region) const;

    void RunOnObject(const std::string& command, TArguments arguments);
    // work, as one undo step of the target.
    void Step(const char* name, std::function<void(Scene&)> work);

    Matrix3 FrameOf(Scene& scene, const GizmoPlace& place) const;
    Matrix3 FrameInView() const;
    std::optional<Point3> Catch(ViewportWidget& view, QPointF pixel) const;
    // On the construction plane, snapped where that is on.
    std::optional<Point3> PlaceOnPlane(ViewportWidget& view, QPointF pixel) const;
    void OpenSnapping();
    void OpenTyped();
    void ShowTyped(Scene& scene);
    void TakeTyped(std::function<ToolChange(GizmoTool, Scene&)> change);
    void AskCopies(const ToolChange& made);

    void Begin(ViewportWidget& view);
    void PreviewChange(ViewportWidget& view, const Matrix3& change);
    void Commit(ViewportWidget& view, const Matrix3& change);
    void PaintOver(ViewportWidget& view, QPainter& painter) const;
    void PaintMarks(ViewportWidget& view, QPainter& painter) const;

    StudioSession& m_session;
    QuadView& m_views;
    std::vector<Connection> m_connections;
    std::map<std::string, QAction*> m_actions;
    std::map<GizmoAxes, QAction*> m_axesActions;
    std::map<CreateKind, QAction*> m_createActions;
    std::vector<std::string> m_order;  // of the actions; empty: a separator
    size_t m_firstCreation = 0;        // among those
    QLabel* m_prompt;
    std::unique_ptr<EditTarget> m_target;
    OutlineTool m_outline;
    CreateTool m_create;
    PaintTool m_paint;
    NodePickTool m_nodePick{m_session};
    BrushBar* m_brushBar = nullptr;  // of the toolbar
    QAction* m_brushInBar = nullptr;
    NodeHandle m_fitObject = 0;   // whose map a click fits
    NodeHandle m_areaObject = 0;  // whose area is being drawn; 0: none is
    bool m_drawsSpline = false;
    std::optional<CreateKind> m_creates;
    int m_creationMode = 0;  // of scatter objects, as the options say
    Level m_level = Level::kNodes;
    ClickMode m_clickMode = ClickMode::kSelect;
    GizmoTool m_tool = GizmoTool::kNone;
    GizmoAxes m_axes = GizmoAxes::kWorld;
    bool m_snaps = false, m_clones = false, m_dragged = false;
    SnapSettings m_snapSettings;
    SnapPlaces m_snapPlaces;  // of the present gesture
    // Windows of the views' window, while that lives.
    QPointer<SnapWindow> m_snapWindow;
    QPointer<TypedTransform> m_typed;
    QPointer<CopyQuestion> m_copyQuestion;
    bool m_usesLasso = false, m_onlySeen = false;
    bool m_keepsBoxes = false;
    std::function<void(const MetItem&)> m_itemTaker;
    std::optional<Matrix3> m_frame;
    std::string m_summary;
    TargetMarks m_marks;
    std::vector<BoxCorners> m_boxes;  // of what is selected, or was when a gesture began
    Matrix3 m_shownChange;            // of the boxes, while a gesture runs
};

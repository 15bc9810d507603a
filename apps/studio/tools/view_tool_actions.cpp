// The commands of the tools: names, keys and icons.
#include <QAction>
#include <QEvent>
#include <QMenu>
#include <QToolBar>
#include <QToolButton>

#include <cstring>

#include "apps/studio/command_form.h"
#include "apps/studio/theme.h"
#include "apps/studio/tools/brush_bar.h"
#include "apps/studio/tools/view_tools.h"

QAction* ViewTools::AddAction(const char* name, const char* text, const char* icon,
                              const char* keys, std::function<void()> run, bool isCheckable) {
    auto* action = new QAction(text, &m_views);
    if (*icon) {
        action->setIcon(ThemeIcon(icon));
        action->setProperty("iconName", icon);
    }
    action->setShortcut(QKeySequence(keys));
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    action->setCheckable(isCheckable);
    connect(action, &QAction::triggered, this, std::move(run));
    m_views.addAction(action);
    m_order.push_back(name);
    return m_actions[name] = action;
}

void ViewTools::MakeActions() {
    auto tool = [this](const char* name, const char* text, const char* icon, const char* keys,
                       GizmoTool which) {
        AddAction(
            name, text, icon, keys, [this, which] { SetGizmoTool(which); }, true);
    };
    tool("tool.select", "Select", "select", "Q", GizmoTool::kNone);
    tool("tool.move", "Move", "move", "W", GizmoTool::kMove);
    tool("tool.rotate", "Rotate", "rotate", "E", GizmoTool::kRotate);
    tool("tool.scale", "Scale", "scale", "R", GizmoTool::kScale);
    MakeTransformActions();
    AddAction(
        "tool.lasso", "Lasso", "lasso", "L", [this] { SetLasso(!m_usesLasso, m_onlySeen); }, true);
    AddAction(
        "select.only_seen", "Select Only What Is Seen", "eye", "",
        [this] { SetLasso(m_usesLasso, !m_onlySeen); }, true);
    m_order.push_back("");
    AddAction("select.all", "Select All", "", "Ctrl+A", [this] { Select(SelectWhat::kAll); });
    AddAction("select.none", "Select None", "", "Ctrl+D", [this] { Select(SelectWhat::kNone); });
    AddAction("select.invert", "Invert Selection", "", "Ctrl+I",
              [this] { Select(SelectWhat::kInvert); });
    AddAction("select.delete", "Delete Selected", "", "Del", [this] { Delete(); });
    m_order.push_back("");
    AddAction(
        "area.draw", "Draw Area", "spline", "Shift+A", [this] { DrawArea(m_areaObject == 0); },
        true);
    AddAction(
        "area.paint_brush", "Paint Area", "brush", "B", [this] { ToggleBrush(); }, true);
    m_outline.onDrawn = [this](const std::vector<Point3>& points, bool isClosed) {
        Outlined(points, isClosed);
    };
    m_outline.onGivenUp = [this] { DrawArea(false); };
    MakePointActions();
    AddAction(
        "items.edit", "Edit Items", "items", "I", [this] { EnterLevel(Level::kItems); }, true);
    AddAction(
        "items.pin", "Pin Items", "pin", "Shift+I", [this] { EnterLevel(Level::kPins); }, true);
    AddAction(
        "items.add_by_click", "Add Items by Click", "add", "",
        [this] {
            bool isOn = m_clickMode == ClickMode::kAddItem;
            SetClickMode(isOn ? ClickMode::kSelect : ClickMode::kAddItem);
            if (!isOn) RunOnObject("items.start_adding", {});
        },
        true);
    AddAction(
        "items.attach_by_click", "Attach by Click", "", "",
        [this] {
            SetClickMode(m_clickMode == ClickMode::kAttach ? ClickMode::kSelect
                                                           : ClickMode::kAttach);
        },
        true);
    auto fit = [this](const char* name, const char* text, const char* help, ClickMode corner) {
        AddAction(
            name, text, "", "", [this, corner] { FitMap(corner); }, true)
            ->setToolTip(help);
    };
    fit("map.fit_left_up", "Fit Map: Left-Up Corner",
        "Fit distribution map over scene (set left-up corner)", ClickMode::kFitLeftUp);
    fit("map.fit_right_down", "Fit Map: Right-Down Corner",
        "Fit distribution map over scene (set right-down corner)", ClickMode::kFitRightDown);
    AddAction("items.detach_selected", "Detach Selected Items", "", "",
              [this] { RunOnObject("items.detach", {}); });
    AddAction("items.set_properties", "Properties of Selected Items...", "", "",
              [this] { RunWithForm(m_session, "items.properties", {}, &m_views); });
    AddAction("items.restore_pins", "Take Back Changes of Single Items", "", "",
              [this] { RunOnObject("items.restore", {}); });
    MakeCreateActions();
}

void ViewTools::MakeTransformActions() {
    auto axes = [this](const char* name, const char* text, GizmoAxes which) {
        m_axesActions[which] = AddAction(
            name, text, "", "", [this, which] { SetAxes(which); }, true);
    };
    axes("tool.axes_world", "World Axes", GizmoAxes::kWorld);
    axes("tool.axes_view", "View Axes", GizmoAxes::kView);
    axes("tool.local", "Local Axes", GizmoAxes::kLocal);
    axes("tool.axes_parent", "Parent Axes", GizmoAxes::kParent);
    axes("tool.axes_surface", "Surface Axes", GizmoAxes::kSurface);
    AddAction(
        "tool.snap", "Snap", "snap", "S",
        [this] {
            m_snaps = !m_snaps;
            ShowState();
        },
        true);
    AddAction("tool.snap_settings", "Snapping...", "", "", [this] { OpenSnapping(); });
    AddAction("tool.typed", "Transform by Numbers...", "", "F12", [this] { OpenTyped(); });
}

void ViewTools::MakeCreateActions() {
    m_order.push_back("");
    m_firstCreation = m_order.size();
    auto create = [this](const char* name, const char* text, const char* icon, CreateKind kind) {
        m_createActions[kind] = AddAction(
            name, text, icon, "", [this, kind] { StartCreation(kind); }, true);
    };
    create("create.scatter", "Scatter Object", "scatter", CreateKind::kScatter);
    create("create.lod", "LOD Object", "lod", CreateKind::kLod);
    create("create.proxy", "Proxy Object", "mesh", CreateKind::kProxy);
    create("create.light", "Light", "light", CreateKind::kLight);
    AddAction("create.camera", "Camera from View", "camera", "Ctrl+Alt+C",
              [this] { CreateCamera(); });
    AddAction(
        "create.spline", "Spline", "spline", "", [this] { DrawSpline(!m_drawsSpline); }, true);
}

void ViewTools::MakePointActions() {
    AddAction(
        "points.edit", "Edit Points of a Spline", "points", "P",
        [this] { EnterLevel(Level::kPoints); }, true);
    AddAction(
        "points.add_by_click", "Add Points by Click", "", "",
        [this] {
            SetClickMode(m_clickMode == ClickMode::kAddPoint ? ClickMode::kSelect
                                                             : ClickMode::kAddPoint);
        },
        true);
    auto handles = [this](const char* kind) {
        RunOnPoints("spline.handles", {{"kind", ParamInput(kind)}});
    };
    AddAction("points.smooth", "Smooth Points", "", "", [handles] { handles("smooth"); });
    AddAction("points.corner", "Corner Points", "", "", [handles] { handles("corner"); });
    AddAction("points.close", "Close or Open Spline", "", "", [this] { CloseSpline(); });
    m_order.push_back("");
}

void ViewTools::FillMenu(QMenu& menu) const {
    for (size_t i = 0; i + 1 < m_firstCreation; ++i)
        m_order[i].empty() ? (void)menu.addSeparator() : menu.addAction(m_actions.at(m_order[i]));
}

void ViewTools::FillCreateMenu(QMenu& menu) const {
    for (size_t i = m_firstCreation; i < m_order.size(); ++i)
        menu.addAction(m_actions.at(m_order[i]));
}

void ViewTools::AddAxesButton(QToolBar& bar) {
    auto* button = new QToolButton;
    button->setObjectName("axes");
    button->setIcon(ThemeIcon("axes"));
    button->setToolTip("Axes of the gizmo");
    button->setAccessibleName("Axes of the gizmo");
    button->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(button);
    for (auto& [axes, action] : m_axesActions) menu->addAction(action);
    button->setMenu(menu);
    bar.addWidget(button);
}

bool ViewTools::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonDblClick) OpenTyped();
    return QObject::eventFilter(watched, event);
}

void ViewTools::FillBar(QToolBar& bar) {
    bar.addSeparator();
    for (const char* name : {"tool.select", "tool.lasso", "tool.move", "tool.rotate", "tool.scale",
                             "tool.snap", "axes", "", "area.draw", "area.paint_brush",
                             "points.edit", "items.edit", "items.pin", "items.add_by_click"}) {
        if (!std::strcmp(name, "axes"))
            AddAxesButton(bar);
        else
            *name ? bar.addAction(m_actions.at(name)) : (void)bar.addSeparator();
    }
    // A double click on a tool of the gizmo opens its numbers.
    for (const char* name : {"tool.move", "tool.rotate", "tool.scale"})
        if (QWidget* button = bar.widgetForAction(m_actions.at(name)))
            button->installEventFilter(this);
    m_brushBar = new BrushBar(m_paint.brush);
    m_brushBar->onChanged = [this] { SaveBrush(); };
    m_brushInBar = bar.addWidget(m_brushBar);
    m_brushInBar->setVisible(m_paint.Target().has_value());
}

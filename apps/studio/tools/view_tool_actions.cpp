// The commands of the tools: names, keys and icons.
#include <QAction>
#include <QMenu>
#include <QToolBar>

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
    AddAction(
        "tool.snap", "Snap", "snap", "S",
        [this] {
            m_snaps = !m_snaps;
            ShowState();
        },
        true);
    AddAction(
        "tool.local", "Local Axes", "axes", "",
        [this] {
            m_axes = m_axes == GizmoAxes::kLocal ? GizmoAxes::kWorld : GizmoAxes::kLocal;
            m_session.Look([this](Scene& scene) { Follow(scene); });
        },
        true);
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
    m_area.onDrawn = [this](const std::vector<Point3>& outline) { AddArea(outline); };
    m_area.onGivenUp = [this] { DrawArea(false); };
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
    AddAction("items.detach_selected", "Detach Selected Items", "", "",
              [this] { RunOnObject("items.detach", {}); });
    AddAction("items.set_properties", "Properties of Selected Items...", "", "",
              [this] { RunWithForm(m_session, "items.properties", {}, &m_views); });
    AddAction("items.restore_pins", "Take Back Changes of Single Items", "", "",
              [this] { RunOnObject("items.restore", {}); });
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
    for (const std::string& name : m_order)
        name.empty() ? (void)menu.addSeparator() : menu.addAction(m_actions.at(name));
}

void ViewTools::FillBar(QToolBar& bar) {
    bar.addSeparator();
    for (const char* name : {"tool.select", "tool.lasso", "tool.move", "tool.rotate", "tool.scale",
                             "tool.snap", "tool.local", "", "area.draw", "area.paint_brush",
                             "points.edit", "items.edit", "items.pin", "items.add_by_click"})
        *name ? bar.addAction(m_actions.at(name)) : (void)bar.addSeparator();
    m_brushBar = new BrushBar(m_paint.brush);
    m_brushBar->onChanged = [this] { SaveBrush(); };
    m_brushInBar = bar.addWidget(m_brushBar);
    m_brushInBar->setVisible(m_paint.Target().has_value());
}

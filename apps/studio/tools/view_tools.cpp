#include "apps/studio/tools/view_tools.h"

#include <algorithm>

#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QToolBar>

#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "apps/studio/command_form.h"
#include "apps/studio/theme.h"
#include "host/params/undo_step.h"
#include "host/scene/scene.h"

namespace {

const char* StepName(GizmoTool tool) {
    return tool == GizmoTool::kMove ? "Move" : tool == GizmoTool::kRotate ? "Rotate" : "Scale";
}

// The scatter object that is meant when none is named: of the selection.
NodeHandle SelectedScatter(Scene& scene) {
    for (INode* node : scene.Selection())
        if (dynamic_cast<TDravin*>(node->GetObjectRef())) return node->GetHandle();
    return 0;
}

TDravin* ScatterOf(Scene& scene, NodeHandle handle) {
    INode* node = handle ? scene.FindHandle(handle) : nullptr;
    return node ? dynamic_cast<TDravin*>(node->GetObjectRef()) : nullptr;
}

bool IsCustomEdit(const TDravin& object) {
    return object.Block(kEditionParams).GetInt(editionParams::kMode, 0) == 1;
}

}  // namespace

ViewTools::ViewTools(StudioSession& session, QuadView& views)
    : m_session(session), m_views(views), m_prompt(new QLabel), m_target(MakeNodeTarget()) {
    m_prompt->setObjectName("prompt");
    m_prompt->setAccessibleName("What the tool does");
    MakeActions();
    views.ForEachView([this](ViewportWidget& view) { Connect(view); });
    m_connections.push_back(session.changed.Connect([this](Scene& scene) { Follow(scene); }));
    m_connections.push_back(session.sceneReplaced.Connect([this](Scene&) {
        SetLevel(Level::kNodes, 0);
        SetClickMode(ClickMode::kSelect);
        DrawArea(false);
    }));
    m_connections.push_back(session.viewReady.Connect([this] {
        m_keepsBoxes = false;
        m_session.Look([this](Scene& scene) { Follow(scene); });
    }));
    ShowState();
}

ViewTools::~ViewTools() {
    m_views.ForEachView([](ViewportWidget& view) {
        view.onPick = view.onRectangle = {};
        view.onPaintOver = {};
        view.SetTool(nullptr);
        TransformGizmo& gizmo = view.Gizmo();
        gizmo.onBegin = gizmo.onCancel = {};
        gizmo.onPreview = gizmo.onCommit = {};
    });
}

// --- actions

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
    m_area.onDrawn = [this](const std::vector<Point3>& outline) { AddArea(outline); };
    m_area.onGivenUp = [this] { DrawArea(false); };
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

void ViewTools::FillMenu(QMenu& menu) const {
    for (const std::string& name : m_order)
        name.empty() ? (void)menu.addSeparator() : menu.addAction(m_actions.at(name));
}

void ViewTools::FillBar(QToolBar& bar) const {
    bar.addSeparator();
    for (const char* name :
         {"tool.select", "tool.move", "tool.rotate", "tool.scale", "tool.snap", "tool.local", "",
          "area.draw", "items.edit", "items.pin", "items.add_by_click"})
        *name ? bar.addAction(m_actions.at(name)) : (void)bar.addSeparator();
}

// --- state

void ViewTools::SetGizmoTool(GizmoTool tool) {
    if (m_session.HasGesture()) return ShowState();
    m_tool = tool;
    SetClickMode(ClickMode::kSelect);
}

void ViewTools::SetClickMode(ClickMode mode) {
    m_clickMode = m_level == Level::kItems ? mode : ClickMode::kSelect;
    ShowState();
}

// The scene is free.
void ViewTools::Follow(Scene& scene) {
    if (m_level != Level::kNodes) {
        TDravin* object = ScatterOf(scene, m_target->Object());
        // Undo may have taken the object or its mode away.
        if (!object || IsCustomEdit(*object) != (m_level == Level::kItems))
            SetLevel(Level::kNodes, 0);
    }
    m_summary = m_target->Summary(scene);
    if (!m_session.HasGesture()) m_frame = m_target->Frame(scene, m_axes);
    ShowState();
}

void ViewTools::ShowState() {
    bool hasGizmo = m_frame && m_tool != GizmoTool::kNone && m_clickMode == ClickMode::kSelect;
    if (!m_session.HasGesture()) {
        if (!m_keepsBoxes) TakeBoxes();
        m_views.ForEachView([&](ViewportWidget& view) {
            view.Gizmo().snapping.isOn = m_snaps;
            view.ShowGizmo(hasGizmo ? m_tool : GizmoTool::kNone, m_frame.value_or(Matrix3()));
        });
    }
    auto check = [this](const char* name, bool isOn) { m_actions.at(name)->setChecked(isOn); };
    check("tool.select", m_tool == GizmoTool::kNone);
    check("tool.move", m_tool == GizmoTool::kMove);
    check("tool.rotate", m_tool == GizmoTool::kRotate);
    check("tool.scale", m_tool == GizmoTool::kScale);
    check("tool.snap", m_snaps);
    check("tool.local", m_axes == GizmoAxes::kLocal);
    check("area.draw", m_areaObject != 0);
    check("items.edit", m_level == Level::kItems);
    check("items.pin", m_level == Level::kPins);
    check("items.add_by_click", m_clickMode == ClickMode::kAddItem);
    check("items.attach_by_click", m_clickMode == ClickMode::kAttach);
    for (const char* name : {"items.add_by_click", "items.attach_by_click", "items.detach_selected",
                             "items.set_properties"})
        m_actions.at(name)->setEnabled(m_level == Level::kItems);
    m_actions.at("items.restore_pins")->setEnabled(m_level == Level::kPins);
    m_prompt->setText(Prompt());
}

void ViewTools::TakeBoxes() {
    m_boxes.clear();
    if (m_session.View()) m_boxes = m_target->Boxes(*m_session.View());
    m_shownChange = Matrix3();
    m_views.ForEachView([](ViewportWidget& view) { view.update(); });
}

QString ViewTools::Prompt() const {
    QString text = QString::fromStdString(m_summary);
    if (!text.isEmpty()) text += " \u2014 ";
    if (m_areaObject)
        return "Click points of the area's outline; Enter or the first point closes it; Backspace: "
               "one back; Esc: give up";
    if (m_clickMode == ClickMode::kAddItem) return text + "Click to add an item";
    if (m_clickMode == ClickMode::kAttach)
        return text + "Click a scatter object to take its items over";
    if (m_session.HasGesture())
        return text + "X Y Z: one axis; digits: exactly; Ctrl: snap the other way; Esc: take back";
    if (!m_frame) return text + "Click or drag a rectangle to select";
    if (m_tool == GizmoTool::kNone) return text + "Q W E R: select, move, rotate, scale";
    return text + "Drag a handle to " + QString(StepName(m_tool)).toLower() +
           (m_level == Level::kPins ? "" : "; Shift copies");
}

// --- levels

void ViewTools::EnterLevel(Level level) {
    ShowState();  // actions check themselves
    if (m_session.HasGesture()) return;
    if (m_level == level) return SetLevel(Level::kNodes, 0);
    m_session.Look([this, level](Scene& scene) {
        NodeHandle handle = m_level == Level::kNodes ? SelectedScatter(scene) : m_target->Object();
        TDravin* object = ScatterOf(scene, handle);
        if (!object)
            return m_session.told.Send(MessageLevel::kWarning,
                                       "Select the scatter object whose items are meant first");
        bool isCustom = IsCustomEdit(*object);
        if (level == Level::kPins && isCustom)
            return m_session.told.Send(
                MessageLevel::kWarning,
                "The items are hand-edited: \"Edit Items\" changes them one by one");
        if (level == Level::kPins) return SetLevel(level, handle);
        if (isCustom) return OpenItems(handle);
        // Asks, as the items stop following their rules.
        m_session.Run("mode.switch", scene.FindHandle(handle)->GetName(), {{"mode", "custom_edit"}},
                      [this, handle](const TCommandResult& result) {
                          if (result) OpenItems(handle);
                      });
    });
}

void ViewTools::OpenItems(NodeHandle object) { SetLevel(Level::kItems, object); }

void ViewTools::SetLevel(Level level, NodeHandle object) {
    NodeHandle before = m_target->Object();
    if (level == m_level && before == object) return;
    m_level = level;
    m_clickMode = ClickMode::kSelect;
    m_target = level == Level::kItems  ? MakeItemTarget(object)
               : level == Level::kPins ? MakePinTarget(object)
                                       : MakeNodeTarget();
    m_frame.reset();
    // What shows selected items shows them only while they are edited.
    m_session.Do([before, object, level](Scene& scene) {
        for (NodeHandle handle : {before, object})
            if (TDravin* scatter = ScatterOf(scene, handle)) {
                bool isEdited = handle == object && level == Level::kItems;
                if (scatter->editingItems == isEdited) continue;
                scatter->editingItems = isEdited;
                scatter->TellItemsChanged();
            }
    });
    ShowState();
}

// --- selection

void ViewTools::Step(const char* name, std::function<void(Scene&)> work) {
    if (m_session.HasGesture()) return;
    m_session.Do([name, work = std::move(work)](Scene& scene) {
        UndoStep step(name);
        work(scene);
    });
}

void ViewTools::Select(SelectWhat what) {
    Step("Select", [this, what](Scene& scene) { m_target->Select(scene, what); });
}

void ViewTools::Delete() {
    Step("Delete", [this](Scene& scene) { m_target->Delete(scene); });
}

void ViewTools::TakePick(const ViewportPick& pick) {
    if (m_clickMode == ClickMode::kAddItem) return AddItem(pick);
    if (m_clickMode == ClickMode::kAttach) return Attach(pick);
    Step("Select", [this, pick](Scene& scene) { m_target->Pick(scene, pick); });
}

void ViewTools::TakeRectangle(const ViewportPick& pick) {
    if (m_clickMode != ClickMode::kSelect) return;
    Step("Select", [this, pick](Scene& scene) { m_target->PickRectangle(scene, pick); });
}

void ViewTools::RunOnObject(const std::string& command, TArguments arguments) {
    m_session.Look([=, this](Scene& scene) {
        if (INode* node = scene.FindHandle(m_target->Object()))
            m_session.Run(command, node->GetName(), arguments);
    });
}

// On whatever lies under the pointer that is not an item of the object itself.
void ViewTools::AddItem(const ViewportPick& pick) {
    for (size_t i = 0; i < pick.ids.size(); ++i) {
        const TViewNode* node = pick.scene->Find(pick.ids[i]).node;
        if (!node || node->handle == m_target->Object()) continue;
        const Point3& p = pick.places[i];
        return RunOnObject("items.add",
                           {{"position", ParamInput(ParamInput::Array{ParamInput(double(p.x)),
                                                                      ParamInput(double(p.y)),
                                                                      ParamInput(double(p.z))})},
                            {"choice", "random"}});
    }
    m_session.told.Send(MessageLevel::kNote, "Nothing lies there that an item could stand on");
}

void ViewTools::Attach(const ViewportPick& pick) {
    for (uint32_t id : pick.ids) {
        const TViewNode* node = pick.scene->Find(id).node;
        if (!node || node->handle == m_target->Object() || node->kind != TViewKind::kScatter)
            continue;
        SetClickMode(ClickMode::kSelect);
        return RunOnObject("items.attach",
                           {{"nodes", ParamInput(ParamInput::Array{ParamInput(node->name)})}});
    }
    m_session.told.Send(MessageLevel::kNote, "No other scatter object lies there");
}

// --- areas

void ViewTools::DrawArea(bool begins) {
    if (m_session.HasGesture()) return ShowState();
    auto set = [this](NodeHandle object) {
        m_areaObject = object;
        m_area.Start();
        m_views.ForEachView(
            [&](ViewportWidget& view) { view.SetTool(object ? &m_area : nullptr); });
        ShowState();
    };
    if (!begins) return set(0);
    ShowState();  // the action has checked itself
    m_session.Look([this, set](Scene& scene) {
        NodeHandle handle = SelectedScatter(scene);
        if (!handle && m_level != Level::kNodes) handle = m_target->Object();
        if (handle) return set(handle);
        m_session.told.Send(MessageLevel::kWarning,
                            "Select the scatter object that the area is for first");
    });
}

// A spline of its own, which may be moved like any other, and a row of the list of areas.
void ViewTools::AddArea(const std::vector<Point3>& outline) {
    NodeHandle handle = m_areaObject;
    DrawArea(false);
    m_session.Do([this, outline, handle](Scene& scene) {
        INode* object = scene.FindHandle(handle);
        if (!object) return;
        UndoStep step("Draw Area");
        Point3 middle;
        for (const Point3& p : outline) middle += p * (1.f / float(outline.size()));
        BezierSpline spline;
        spline.closed = true;
        for (const Point3& p : outline) spline.knots.push_back({p - middle, {}, {}});
        auto shape = std::make_shared<ShapeObject>();
        shape->shape = BezierShape{{spline}};
        INode* node = scene.AddNode(scene.UniqueNodeName("Area"), shape);
        node->SetLocalTM(Matrix3::Translation(middle));
        TCommandResult result = m_session.Commands().Run("area.add", scene, object->GetName(),
                                                         {{"node", ParamInput(node->GetName())}});
        if (result) return;
        step.Cancel();
        m_session.told.Send(MessageLevel::kError, result.error);
    });
}

// --- gestures

void ViewTools::Connect(ViewportWidget& view) {
    view.onPick = [this](const ViewportPick& pick) { TakePick(pick); };
    view.onRectangle = [this](const ViewportPick& pick) { TakeRectangle(pick); };
    view.onPaintOver = [this, &view](QPainter& painter) { PaintOver(view, painter); };
    TransformGizmo& gizmo = view.Gizmo();
    gizmo.onBegin = [this, &view] { Begin(view); };
    gizmo.onPreview = [this, &view](const Matrix3& change) { PreviewChange(view, change); };
    gizmo.onCommit = [this, &view](const Matrix3& change) { Commit(view, change); };
    gizmo.onCancel = [this] {
        m_session.EndGesture();
        ShowState();
    };
}

void ViewTools::Begin(ViewportWidget& view) {
    m_dragged = false;
    m_clones = (view.PressModifiers() & Qt::ShiftModifier) && m_level != Level::kPins;
    m_session.BeginGesture(m_clones ? "Clone" : StepName(m_tool));
    ShowState();
}

// Copies come in the end; until then their boxes stand for them.
void ViewTools::PreviewChange(ViewportWidget& view, const Matrix3& change) {
    if (!m_session.HasGesture()) return;
    m_dragged = true;
    m_shownChange = change;
    m_views.ForEachView([](ViewportWidget& each) { each.update(); });
    if (m_clones) return;
    ToolChange made{m_tool, change, view.Gizmo().Frame(), view.Gizmo().Values()};
    m_session.Preview([this, made](Scene& scene) { m_target->Change(scene, made); });
}

void ViewTools::Commit(ViewportWidget& view, const Matrix3& change) {
    ToolChange made{m_tool, change, view.Gizmo().Frame(), view.Gizmo().Values()};
    bool isChange = m_dragged && !(change == Matrix3());
    // The view shows the change when it is built; until then the boxes do.
    m_keepsBoxes = isChange;
    if (!isChange)
        m_session.EndGesture();
    else
        m_session.EndGesture([this, made, clones = m_clones](Scene& scene) {
            if (clones) m_target->Clone(scene);
            m_target->Change(scene, made);
        });
    ShowState();
}

void ViewTools::PaintOver(ViewportWidget& view, QPainter& painter) const {
    constexpr size_t kMostBoxes = 3000;
    if (m_areaObject) m_area.Paint(view, painter);
    TViewportCamera camera = view.Camera();
    QColor color = CurrentColors().accent;
    color.setAlpha(m_session.HasGesture() ? 255 : 170);
    painter.setPen(QPen(color, 1.2));
    for (size_t i = 0; i < std::min(m_boxes.size(), kMostBoxes); ++i)
        for (size_t corner = 0; corner < 8; ++corner)
            for (size_t axis = 1; axis < 8; axis <<= 1) {
                TScreenPoint a, b;
                if (corner & axis || !camera.Project(m_boxes[i][corner] * m_shownChange, &a) ||
                    !camera.Project(m_boxes[i][corner | axis] * m_shownChange, &b))
                    continue;
                painter.drawLine(view.ToLogical({a.x, a.y}), view.ToLogical({b.x, b.y}));
            }
}

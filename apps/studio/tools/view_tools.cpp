#include "apps/studio/tools/view_tools.h"

#include <algorithm>

#include <QAction>
#include <QLabel>

#include "Dravin/commands/area_paint.h"
#include "Dravin/dravin.h"
#include "apps/studio/windows/command_calls.h"
#include "host/geom/spline_edit.h"
#include "host/params/undo_step.h"
#include "host/scene/scene.h"

const char* ViewTools::StepName(GizmoTool tool) {
    return tool == GizmoTool::kMove ? "Move" : tool == GizmoTool::kRotate ? "Rotate" : "Scale";
}

// The scatter object that is meant when none is named: of the selection.
NodeHandle ViewTools::SelectedScatter(Scene& scene) {
    for (INode* node : scene.Selection())
        if (dynamic_cast<TDravin*>(node->GetObjectRef())) return node->GetHandle();
    return 0;
}

TDravin* ViewTools::ScatterOf(Scene& scene, NodeHandle handle) {
    INode* node = handle ? scene.FindHandle(handle) : nullptr;
    return node ? dynamic_cast<TDravin*>(node->GetObjectRef()) : nullptr;
}

namespace {

ShapeObject* SplineOf(Scene& scene, NodeHandle handle) {
    INode* node = handle ? scene.FindHandle(handle) : nullptr;
    return node ? dynamic_cast<ShapeObject*>(node->GetObjectRef()) : nullptr;
}

NodeHandle SelectedSpline(Scene& scene) {
    for (INode* node : scene.Selection())
        if (dynamic_cast<ShapeObject*>(node->GetObjectRef())) return node->GetHandle();
    return 0;
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
    ConnectBrush();
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
        view.onPick = view.onRegion = {};
        view.onPaintOver = {};
        view.SetTool(nullptr);
        TransformGizmo& gizmo = view.Gizmo();
        gizmo.onBegin = gizmo.onCancel = {};
        gizmo.onPreview = gizmo.onCommit = {};
    });
}

// --- state

void ViewTools::SetGizmoTool(GizmoTool tool) {
    if (m_session.HasGesture()) return ShowState();
    m_tool = tool;
    SetClickMode(ClickMode::kSelect);
}

void ViewTools::SetClickMode(ClickMode mode) {
    Level wanted = mode == ClickMode::kAddPoint ? Level::kPoints : Level::kItems;
    m_clickMode = m_level == wanted ? mode : ClickMode::kSelect;
    ShowState();
}

void ViewTools::SetLasso(bool usesLasso, bool onlySeen) {
    m_usesLasso = usesLasso, m_onlySeen = onlySeen;
    m_views.ForEachView([&](ViewportWidget& view) {
        view.SetLasso(usesLasso);
        view.SetOnlySeen(onlySeen);
    });
    ShowState();
}

// The scene is free.
void ViewTools::Follow(Scene& scene) {
    // Undo may have taken the object or its mode away.
    if (m_level == Level::kPoints) {
        if (!SplineOf(scene, m_target->Object())) SetLevel(Level::kNodes, 0);
    } else if (m_level != Level::kNodes) {
        TDravin* object = ScatterOf(scene, m_target->Object());
        if (!object || IsCustomEdit(*object) != (m_level == Level::kItems))
            SetLevel(Level::kNodes, 0);
    }
    FollowBrush(scene);
    m_summary = m_target->Summary(scene);
    m_marks = m_target->Marks();
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
    check("tool.lasso", m_usesLasso);
    check("select.only_seen", m_onlySeen);
    check("area.draw", m_areaObject != 0);
    check("area.paint_brush", m_paint.Target().has_value());
    check("points.edit", m_level == Level::kPoints);
    check("points.add_by_click", m_clickMode == ClickMode::kAddPoint);
    for (const char* name :
         {"points.add_by_click", "points.smooth", "points.corner", "points.close"})
        m_actions.at(name)->setEnabled(m_level == Level::kPoints);
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
    if (m_paint.Target()) return BrushPrompt();
    if (m_clickMode == ClickMode::kAddPoint) return text + "Click on the spline to add a point";
    if (m_clickMode == ClickMode::kAddItem) return text + "Click to add an item";
    if (m_clickMode == ClickMode::kAttach)
        return text + "Click a scatter object to take its items over";
    if (m_session.HasGesture())
        return text + "X Y Z: one axis; digits: exactly; Ctrl: snap the other way; Esc: take back";
    if (!m_frame)
        return text + (m_usesLasso ? "Click or draw a lasso to select"
                                   : "Click or drag a rectangle to select");
    if (m_tool == GizmoTool::kNone) return text + "Q W E R: select, move, rotate, scale";
    return text + "Drag a handle to " + QString(StepName(m_tool)).toLower() +
           (m_level == Level::kPins || m_level == Level::kPoints ? "" : "; Shift copies");
}

QString ViewTools::BrushPrompt() const {
    bool isErasing = m_paint.Target()->mode == TPaintMode::kErase;
    if (m_session.HasGesture()) return "Painting; Esc: take the stroke back";
    return QString(
               "%1 across, strength %2 % \u2014 Drag to %3; Ctrl: %4; Shift: smooth; [ ]: size; "
               "Shift-[ ]: strength; Esc: end")
        .arg(m_paint.brush.size, 0, 'g', 4)
        .arg(m_paint.brush.strength * 100, 0, 'f', 0)
        .arg(isErasing ? "erase" : "paint", isErasing ? "paint" : "erase");
}

// --- levels

void ViewTools::EnterLevel(Level level) {
    ShowState();  // actions check themselves
    if (m_session.HasGesture()) return;
    if (m_level == level) return SetLevel(Level::kNodes, 0);
    if (level == Level::kPoints) return EnterPoints();
    m_session.Look([this, level](Scene& scene) {
        bool isAmongItems = m_level == Level::kItems || m_level == Level::kPins;
        NodeHandle handle = isAmongItems ? m_target->Object() : SelectedScatter(scene);
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

void ViewTools::EnterPoints() {
    m_session.Look([this](Scene& scene) {
        if (NodeHandle handle = SelectedSpline(scene)) return SetLevel(Level::kPoints, handle);
        m_session.told.Send(MessageLevel::kWarning,
                            "Select the spline whose points are meant first");
    });
}

void ViewTools::OpenItems(NodeHandle object) { SetLevel(Level::kItems, object); }

void ViewTools::SetLevel(Level level, NodeHandle object) {
    NodeHandle before = m_target->Object();
    if (level == m_level && before == object) return;
    m_level = level;
    m_clickMode = ClickMode::kSelect;
    m_target = level == Level::kItems    ? MakeItemTarget(object)
               : level == Level::kPins   ? MakePinTarget(object)
               : level == Level::kPoints ? MakePointTarget(object)
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

void ViewTools::GiveItem(const ViewportPick& pick) {
    for (uint32_t id : pick.ids) {
        TViewportScene::Found found = pick.scene->Find(id);
        if (!found.node || found.item == TViewportScene::kNoItem || !found.node->scatter) continue;
        auto taker = std::exchange(m_itemTaker, nullptr);
        return taker({found.node->handle, found.item, found.node->scatter->content->buildNumber});
    }
    m_session.told.Send(MessageLevel::kNote, "There is no item at that place");
}

void ViewTools::TakePick(const ViewportPick& pick) {
    if (m_itemTaker) return GiveItem(pick);
    if (m_clickMode == ClickMode::kAddItem) return AddItem(pick);
    if (m_clickMode == ClickMode::kAttach) return Attach(pick);
    if (m_clickMode == ClickMode::kAddPoint)
        return Step("Insert Point", [this, pick](Scene& scene) {
            if (!m_target->AddAt(scene, pick))
                m_session.told.Send(MessageLevel::kNote, "The spline does not run through there");
        });
    Step("Select", [this, pick](Scene& scene) { m_target->Pick(scene, pick); });
}

void ViewTools::TakeRegion(const ViewportPick& pick) {
    if (m_clickMode != ClickMode::kSelect) return;
    Step("Select", [this, pick](Scene& scene) { m_target->PickRegion(scene, pick); });
}

// --- points

void ViewTools::RunOnPoints(const std::string& command, TArguments arguments) {
    ParamInput::Array numbers;
    for (int number : m_target->SelectedNumbers()) numbers.emplace_back(number);
    if (numbers.empty())
        return m_session.told.Send(MessageLevel::kWarning, "Select points of the spline first");
    arguments["points"] = ParamInput(std::move(numbers));
    RunNow(m_session, command, m_target->Object(), arguments);
}

// Of the first selected point; a shape of one spline needs none.
void ViewTools::CloseSpline() {
    m_session.Look([this](Scene& scene) {
        ShapeObject* spline = SplineOf(scene, m_target->Object());
        if (!spline) return;
        std::vector<int> selected = m_target->SelectedNumbers();
        int point = selected.empty() ? 0 : selected[0];
        auto place = FindKnot(spline->shape, size_t(point));
        if (!place) return;
        bool isClosed = spline->shape.Get().splines[place->spline].closed;
        RunNow(m_session, "spline.close", m_target->Object(),
               {{"point", ParamInput(point)}, {"closed", ParamInput(!isClosed)}});
    });
}

// --- items

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

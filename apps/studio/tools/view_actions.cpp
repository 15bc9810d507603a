#include "apps/studio/tools/view_actions.h"

#include <fstream>

#include <QAction>
#include <QEvent>
#include <QLabel>
#include <QMenu>

#include "host/scene/scene.h"

namespace {

// Mebibytes that the process has in memory; 0: the system does not say.
int64_t MemoryOfProcess() {
    constexpr int64_t kPageBytes = 4096;
    std::ifstream file("/proc/self/statm");
    int64_t all = 0, resident = 0;
    return file >> all >> resident ? resident * kPageBytes >> 20 : 0;
}

}  // namespace

ViewActions::ViewActions(StudioSession& session, QuadView& views)
    : m_session(session), m_views(views), m_status(new QLabel) {
    m_status->setObjectName("view_status");
    m_status->setAccessibleName("What the view shows");
    // The letters are those of the menu that V opens: alone, some of them are tools.
    AddSide("view.perspective", "&Perspective", ViewSide::kUser);
    AddAction("view.parallel", "&User, Parallel", [this] {
        View().Navigation().Remember();
        if (View().Navigation().Pose().side != ViewSide::kUser)
            View().Navigation().SetSide(ViewSide::kUser);
        View().Navigation().SetParallel(true);
        View().CameraChanged();
    });
    AddSide("view.top", "&Top", ViewSide::kTop);
    AddSide("view.bottom", "&Bottom", ViewSide::kBottom);
    AddSide("view.front", "&Front", ViewSide::kFront);
    AddSide("view.back", "Bac&k", ViewSide::kBack);
    AddSide("view.left", "&Left", ViewSide::kLeft);
    AddSide("view.right", "&Right", ViewSide::kRight);
    AddAction("view.camera", "&Camera", [this] { LookThrough(); });
    AddShading("view.points", "Points", ViewportShading::kPoints);
    AddShading("view.boxes", "Boxes", ViewportShading::kBoxes);
    AddShading("view.wire", "Wire", ViewportShading::kWire);
    AddShading("view.shaded", "Shaded", ViewportShading::kShaded);
    AddShading("view.textured", "Textured", ViewportShading::kTextured);
    AddShading("view.rendered", "Rendered", ViewportShading::kRendered);
    AddSwitches();
    views.ForEachView([this](ViewportWidget& view) {
        view.onMenu = [this, &view](ViewMenu which, const QPoint& at) {
            if (view.onActivated) view.onActivated();
            Open(which, at);
        };
        view.onStatus = [this](const QString& text) {
            m_status->setText(text + QString(" | %1 MB").arg(MemoryOfProcess()));
        };
    });
    m_connections.push_back(session.changed.Connect([this](Scene& scene) {
        m_views.ForEachView([&](ViewportWidget& view) {
            const SceneRenderSettings& render = scene.render.Get();
            if (view.SafeFrame() > 0) view.SetSafeFrame(double(render.width) / render.height);
        });
    }));
}

ViewActions::~ViewActions() {
    m_views.ForEachView([](ViewportWidget& view) {
        view.onMenu = {};
        view.onStatus = {};
    });
}

QAction* ViewActions::Make(const char* name, const char* text) {
    auto* action = new QAction(text, &m_views);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    m_views.addAction(action);
    return m_actions[name] = action;
}

void ViewActions::AddAction(const char* name, const char* text, std::function<void()> run) {
    connect(Make(name, text), &QAction::triggered, this, std::move(run));
}

void ViewActions::AddSide(const char* name, const char* text, ViewSide side) {
    AddAction(name, text, [this, side] {
        View().Navigation().Remember();
        View().Navigation().SetSide(side);
        View().CameraChanged();
    });
}

void ViewActions::AddShading(const char* name, const char* text, ViewportShading shading) {
    QAction* action = Make(name, text);
    action->setCheckable(true);
    connect(action, &QAction::triggered, this, [this, shading] {
        View().SetShading(shading);
        ShowState();
    });
    m_shadings.emplace_back(shading, action);
}

void ViewActions::AddSwitches() {
    auto add = [this](const char* name, const char* text, std::function<void(bool)> set) {
        QAction* action = Make(name, text);
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, [this, set = std::move(set)](bool isOn) {
            set(isOn);
            ShowState();
        });
    };
    add("view.edges", "Edges over Faces", [this](bool isOn) { View().SetEdges(isOn); });
    add("view.grid", "Grid", [this](bool isOn) { View().SetGrid(isOn); });
    add("view.only_selected", "Only Selected", [this](bool isOn) { View().SetOnlySelected(isOn); });
    add("view.safe_frame", "Safe Frame", [this](bool isOn) { ShowSafeFrame(isOn); });
    AddAction("view.frame_selection", "Frame Selection", [this] { View().FrameSelection(); });
    auto layout = [this](const char* name, const char* text, QuadLayout which) {
        AddAction(name, text, [this, which] { m_views.SetLayout(which); });
    };
    layout("view.one", "One View", QuadLayout::kOne);
    layout("view.two", "Two Views", QuadLayout::kTwo);
    layout("view.four", "Four Views", QuadLayout::kFour);
    ShowState();
}

// The selected camera, else the first.
void ViewActions::LookThrough() {
    if (!View().Given()) return;
    for (const TViewNode& node : View().Given()->Nodes())
        if (node.kind == TViewKind::kCamera && node.isSelected)
            return View().LookThrough(node.handle);
    View().LookThroughCamera();
}

void ViewActions::ShowSafeFrame(bool isOn) {
    if (!isOn) return View().SetSafeFrame(0);
    m_session.Look([&view = View()](Scene& scene) {
        const SceneRenderSettings& render = scene.render.Get();
        view.SetSafeFrame(double(render.width) / render.height);
    });
}

// --- menus

void ViewActions::Add(QMenu& menu, const std::vector<const char*>& names) {
    for (const char* name : names)
        *name ? menu.addAction(m_actions.at(name)) : (void)menu.addSeparator();
}

void ViewActions::FillSides(QMenu& menu) {
    Add(menu, {"view.perspective", "view.parallel", "view.top", "view.bottom", "view.front",
               "view.back", "view.left", "view.right", "view.camera"});
}

void ViewActions::FillShadings(QMenu& menu) {
    Add(menu, {"view.points", "view.boxes", "view.wire", "view.shaded", "view.textured",
               "view.rendered", "", "view.edges", "view.grid"});
}

void ViewActions::FillCameras(QMenu& menu) {
    menu.clear();
    if (View().Given())
        for (const TViewNode& node : View().Given()->Nodes()) {
            if (node.kind != TViewKind::kCamera) continue;
            QAction* action = menu.addAction(QString::fromStdString(node.name));
            action->setCheckable(true);
            action->setChecked(View().ThroughCamera() == node.handle);
            connect(action, &QAction::triggered, this,
                    [this, camera = node.handle] { View().LookThrough(camera); });
        }
    menu.setEnabled(!menu.isEmpty());
}

void ViewActions::FillMenu(QMenu& menu) {
    FillSides(*menu.addMenu("Look &From"));
    FillShadings(*menu.addMenu("&Shading"));
    QMenu* cameras = menu.addMenu("Look &Through");
    connect(&menu, &QMenu::aboutToShow, this, [this, cameras] {
        FillCameras(*cameras);
        ShowState();
    });
    Add(menu, {"view.frame_selection", "", "view.only_selected", "view.safe_frame", "", "view.one",
               "view.two", "view.four"});
}

void ViewActions::Open(ViewMenu which, const QPoint& global) {
    if (which == ViewMenu::kAll && onRightClick && onRightClick()) return;
    ShowState();
    auto* menu = new QMenu(&m_views);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->installEventFilter(this);
    if (which == ViewMenu::kAll) {
        FillMenu(*menu);
    } else if (which == ViewMenu::kShading) {
        FillShadings(*menu);
    } else {
        FillSides(*menu);
        FillCameras(*menu->addMenu("Look T&hrough"));
    }
    menu->popup(global);
}

// Letters are the open menu's, not those of tools.
bool ViewActions::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::ShortcutOverride) return QObject::eventFilter(watched, event);
    event->accept();
    return true;
}

void ViewActions::ShowState() {
    for (auto& [shading, action] : m_shadings) action->setChecked(View().Shading() == shading);
    m_actions.at("view.edges")->setChecked(View().ShowsEdges());
    m_actions.at("view.grid")->setChecked(View().ShowsGrid());
    m_actions.at("view.only_selected")->setChecked(View().ShowsOnlySelected());
    m_actions.at("view.safe_frame")->setChecked(View().SafeFrame() > 0);
}

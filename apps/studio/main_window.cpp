#include "apps/studio/main_window.h"

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>

#include "Dravin/dravin.h"
#include "apps/studio/command_form.h"
#include "apps/studio/outliner.h"
#include "apps/studio/qt_user_interface.h"
#include "apps/studio/theme.h"
#include "apps/studio/tools/view_tools.h"
#include "apps/studio/view_state_teller.h"
#include "apps/studio/viewport/quad_view.h"
#include "apps/studio/windows/effect_windows.h"
#include "apps/studio/windows/pack_toolbar.h"
#include "apps/studio/windows/statistics_view.h"
#include "apps/studio/windows/studio_windows.h"
#include "apps/studio/windows/timeline.h"

#include "host/scene/scene.h"
#include "host/scene/user_interface.h"

namespace {

constexpr int kBusyMs = 200;  // before work is shown as such

QString Text(const std::string& text) { return QString::fromStdString(text); }

QString Number(int64_t n) { return QLocale(QLocale::English).toString(qlonglong(n)); }

}  // namespace

MainWindow::MainWindow(StudioSession::MakeInterface makeInterface) {
    if (!makeInterface) makeInterface = [this] { return MakeQtUserInterface(this); };
    setWindowIcon(ThemeIcon("scatter"));
    m_session = std::make_unique<StudioSession>(std::move(makeInterface));
    m_view = new QuadView(this);
    setCentralWidget(m_view);
    m_tools = std::make_unique<ViewTools>(*m_session, *m_view);
    setAcceptDrops(true);
    MakeDocks();
    m_windows = std::make_unique<StudioWindows>(
        *m_session, *m_view, *this,
        [this](std::function<void()> next) { WhenSaved(std::move(next)); });
    MakeActions();
    m_actions.insert(m_tools->Actions().begin(), m_tools->Actions().end());
    m_windows->TakeKeys(m_actions);
    MakeMenus();
    MakeStatusLine();
    Listen();
    m_viewState = std::make_unique<ViewStateTeller>(*m_session, *m_view);  // after who clears views
    resize(1440, 900);
    m_firstLayout = saveState();
    restoreGeometry(QSettings().value("window/geometry").toByteArray());
    restoreState(QSettings().value("window/layout").toByteArray());
    m_session->Refresh();
    ShowRecent();
}

MainWindow::~MainWindow() {
    m_activity->stop();  // it asks the session
    m_connections.clear();
    m_windows.reset();
    m_tools.reset();
    m_viewState.reset();
    // Widgets hold on to the session.
    delete takeCentralWidget();
    for (QDockWidget* dock : findChildren<QDockWidget*>()) delete dock;
    m_session.reset();
}

// --- what there is

void MainWindow::MakeDocks() {
    auto add = [this](const char* name, const char* title, QWidget* content,
                      Qt::DockWidgetArea area) {
        auto* dock = new QDockWidget(title, this);
        dock->setObjectName(name);
        dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetClosable);
        dock->setWidget(content);
        addDockWidget(area, dock);
        return dock;
    };
    auto text = [](const char* name) {
        auto* edit = new QPlainTextEdit;
        edit->setReadOnly(true);
        edit->setTabChangesFocus(true);
        edit->setTabStopDistance(200);
        edit->setMaximumBlockCount(10000);
        edit->setAccessibleName(name);
        return edit;
    };
    m_outliner = new Outliner(*m_session);
    m_panel = new CommandPanel(*m_session);
    m_statistics = new StatisticsView;
    m_log = text("Log");
    m_timeline = new Timeline(*m_session);
    auto* timeline = add("dock_timeline", "Timeline", m_timeline, Qt::BottomDockWidgetArea);
    add("dock_outliner", "Outliner", m_outliner, Qt::LeftDockWidgetArea);
    add("dock_panel", "Parameters", m_panel, Qt::RightDockWidgetArea);
    auto* statistics = add("dock_statistics", "Statistics", m_statistics, Qt::BottomDockWidgetArea);
    auto* log = add("dock_log", "Log", m_log, Qt::BottomDockWidgetArea);
    splitDockWidget(timeline, statistics, Qt::Vertical);
    tabifyDockWidget(statistics, log);
    statistics->raise();
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
    auto docks = findChildren<QDockWidget*>();
    resizeDocks({docks[0], docks[1]}, {240, 380}, Qt::Horizontal);
    resizeDocks({timeline, statistics}, {48, 180}, Qt::Vertical);
}

QAction* MainWindow::AddAction(const char* name, const char* text, const char* icon,
                               QKeySequence keys, std::function<void()> run) {
    auto* action = new QAction(text, this);
    if (*icon) {
        action->setIcon(ThemeIcon(icon));
        action->setProperty("iconName", icon);
    }
    action->setShortcut(keys);
    connect(action, &QAction::triggered, this, std::move(run));
    addAction(action);
    return m_actions[name] = action;
}

void MainWindow::MakeActions() {
    AddAction("file.new", "New", "new", QKeySequence::New,
              [this] { WhenSaved([this] { m_session->NewScene(); }); });
    AddAction("file.open", "Open...", "open", QKeySequence::Open,
              [this] { WhenSaved([this] { AskAndOpen(); }); });
    AddAction("file.save", "Save", "save", QKeySequence::Save, [this] { Save(false); });
    AddAction("file.save_as", "Save As...", "", QKeySequence("Ctrl+Shift+S"),
              [this] { Save(true); });
    AddAction("file.quit", "Quit", "", QKeySequence::Quit, [this] { close(); });
    AddAction("edit.undo", "Undo", "undo", QKeySequence::Undo, [this] { m_session->Undo(); });
    AddAction("edit.redo", "Redo", "redo", QKeySequence("Ctrl+Shift+Z"),
              [this] { m_session->Redo(); });
    m_actions["edit.redo"]->setShortcuts({QKeySequence("Ctrl+Shift+Z"), QKeySequence("Ctrl+Y")});
    AddAction("edit.commands", "Commands...", "palette", QKeySequence("Ctrl+Shift+P"),
              [this] { ShowPalette(); });
    AddAction("object.create", "Create Scatter Object...", "scatter", {},
              [this] { RunWithForm(*m_session, "object.create", {}, this); });
    AddAction("object.update", "Update All", "update", QKeySequence("F5"),
              [this] { m_session->Run("update.all", "", {}); });
    // Effects and curves.
    auto effects = std::make_shared<EffectWindows>(*m_session, *m_tools, this);
    m_connections.push_back(Connection(effects));  // it goes with all who listen
    AddAction("effects.editor", "Effects Editor", "effect", QKeySequence("Ctrl+Shift+E"),
              [e = effects.get()] { e->Toggle("effect.edit"); });
    AddAction("effects.library", "Effects Library", "library", QKeySequence("Ctrl+Shift+L"),
              [e = effects.get()] { e->Toggle("effect.browse"); });
    AddAction("view.frame", "Frame All", "frame", QKeySequence("Shift+F"),
              [this] { m_view->ActiveView().FrameAll(); });
    AddAction("time.play", "Play or Stop", "play", QKeySequence("/"),
              [this] { m_timeline->Play(!m_timeline->IsPlaying()); });
    AddAction("time.next", "Next Frame", "", QKeySequence("."), [this] { m_timeline->Step(1); });
    AddAction("time.before", "Frame Before", "", QKeySequence(","),
              [this] { m_timeline->Step(-1); });
    AddAction("view.theme", "Light or Dark", "theme", {}, [this] { SwitchTheme(); });
    AddAction("view.reset", "Reset Layout", "", {}, [this] { restoreState(m_firstLayout); });
    AddAction("view.filter", "Find a Parameter", "", QKeySequence::Find, [this] {
        if (auto* filter = m_panel->findChild<QLineEdit*>())
            filter->setFocus(Qt::ShortcutFocusReason);
    });
    // Windows around this one.
    AddAction("window.lister", "Lister", "list", QKeySequence("Ctrl+L"),
              [this] { m_windows->OpenLister(); });
    AddAction("window.render", "Render...", "camera", QKeySequence("Ctrl+R"),
              [this] { m_windows->OpenRender(); });
    AddAction("window.undo", "Undo List", "", QKeySequence("Ctrl+Alt+Z"),
              [this] { m_windows->OpenUndoList(); });
    AddAction("edit.settings", "Settings...", "settings", QKeySequence("Ctrl+,"),
              [this] { m_windows->OpenSettings(); });
    AddAction("file.recover", "Recover...", "", {}, [this] { m_windows->OfferRecovery(true); });
    AddAction("pack.create", "Create a Dravin Object", "scatter", {},
              [this] { m_windows->Pack().Execute(TDToolbar::kCreateDravin); });
    AddAction("pack.lod", "Create a LOD Object", "lod", {},
              [this] { m_windows->Pack().Execute(TDToolbar::kCreateLod); });
    AddAction("pack.tools", "Dravin Tools", "tools", {},
              [this] { m_windows->Pack().Execute(TDToolbar::kOpenTools); });
    MakeHelpActions();
    m_windows->Share({m_actions["edit.undo"], m_actions["edit.redo"], m_actions["edit.commands"]});
}

void MainWindow::MakeMenus() {
    auto fill = [this](QMenu* menu, std::initializer_list<const char*> names) {
        for (const char* name : names)
            *name ? menu->addAction(m_actions[name]) : (void)menu->addSeparator();
    };
    QMenu* file = menuBar()->addMenu("&File");
    fill(file, {"file.new", "file.open"});
    m_recent = file->addMenu("Open Recent");
    fill(file, {"file.save", "file.save_as", "file.recover", "", "file.quit"});
    fill(menuBar()->addMenu("&Edit"),
         {"edit.undo", "edit.redo", "", "edit.commands", "edit.settings"});
    fill(menuBar()->addMenu("&Object"),
         {"object.create", "object.update", "", "effects.editor", "effects.library"});
    m_tools->FillMenu(*menuBar()->addMenu("&Tools"));
    QMenu* view = menuBar()->addMenu("&View");
    fill(view, {"view.frame", "view.filter", "", "view.theme", "view.reset", ""});
    for (QDockWidget* dock : findChildren<QDockWidget*>())
        view->addAction(dock->toggleViewAction());
    fill(menuBar()->addMenu("T&ime"), {"time.play", "time.next", "time.before"});
    fill(menuBar()->addMenu("&Windows"),
         {"window.render", "window.lister", "window.undo", "pack.tools"});
    MakeHelpMenu();

    QToolBar* bar = addToolBar("Tools");
    bar->setObjectName("toolbar");
    bar->setMovable(false);
    bar->setIconSize({20, 20});
    for (const char* name :
         {"file.new", "file.open", "file.save", "", "edit.undo", "edit.redo", "", "object.update",
          "", "view.frame", "view.theme", "", "window.render", "window.lister", "edit.commands"})
        *name ? bar->addAction(m_actions[name]) : (void)bar->addSeparator();
    m_windows->Pack().Show(
        {m_actions["pack.create"], m_actions["pack.lod"], m_actions["pack.tools"]});
    m_tools->FillBar(*bar);
}

void MainWindow::MakeStatusLine() {
    m_message = new QLabel;
    m_items = new QLabel;
    m_build = new QLabel;
    m_progress = new QProgressBar;
    m_progress->setRange(0, 100);
    m_progress->setFixedWidth(160);
    m_cancel = new QPushButton("Cancel");
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_session->CancelJob(); });
    statusBar()->addWidget(m_tools->PromptLabel(), 1);
    statusBar()->addWidget(m_message, 1);
    for (QWidget* widget : std::initializer_list<QWidget*>{m_progress, m_cancel, m_items, m_build})
        statusBar()->addPermanentWidget(widget);
    m_progress->hide();
    m_cancel->hide();
    m_activity = new QTimer(this);
    m_activity->setInterval(kBusyMs);
    connect(m_activity, &QTimer::timeout, this, [this] {
        bool isRunning = !m_session->Activity().empty();
        m_progress->setVisible(isRunning);
        m_cancel->setVisible(isRunning);
        m_progress->setFormat(Text(m_session->Activity()) + " %p%");
        m_progress->setValue(int(m_session->Progress() * 100));
    });
}

// --- what it shows

void MainWindow::Listen() {
    StudioSession& s = *m_session;
    m_connections.push_back(s.changed.Connect([this](Scene& scene) {
        m_outliner->Show(scene);
        m_panel->Show(scene);
        ShowStatistics(scene);
        ShowMarks();
    }));
    m_connections.push_back(s.sceneReplaced.Connect([this](Scene&) {
        m_view->ShowScene(nullptr);
        if (!m_session->Path().empty()) AddRecent(m_session->Path());
    }));
    m_connections.push_back(s.viewReady.Connect([this] {
        m_view->ShowScene(m_session->View());
        ShowReports();
    }));
    m_connections.push_back(s.activityChanged.Connect([this] { ShowActivity(); }));
    m_connections.push_back(s.told.Connect(
        [this](MessageLevel level, const std::string& text) { ShowMessage(level, text); }));
}

void MainWindow::ShowMarks() {
    const std::string& path = m_session->Path();
    QString name = path.empty() ? QString("Untitled") : QFileInfo(Text(path)).fileName();
    setWindowTitle(name + "[*] \u2014 Dravin Studio");
    setWindowModified(m_session->IsModified());
    auto show = [](QAction* action, const char* verb, const std::string& step) {
        action->setEnabled(!step.empty());
        action->setText(step.empty() ? QString(verb) : QString(verb) + " " + Text(step));
    };
    show(m_actions["edit.undo"], "Undo", m_session->UndoName());
    show(m_actions["edit.redo"], "Redo", m_session->RedoName());
}

void MainWindow::ShowReports() {
    int64_t items = 0, milliseconds = 0;
    for (const ObjectReport& report : m_session->Reports()) {
        items += report.numItems;
        milliseconds += report.buildMs;
    }
    m_items->setText(Number(items) + (m_session->IsThinned() ? " items, thinned" : " items"));
    m_build->setText("built in " + Number(milliseconds) + " ms");
    m_session->Look([this](Scene& scene) { ShowStatistics(scene); });
}

// Of the panel's objects; what is wrong with any is told, once.
void MainWindow::ShowStatistics(Scene& scene) {
    TPanel panel = m_session->Panel(scene);
    std::vector<ShownStatistics> shown;
    std::string warning;
    for (const ObjectReport& report : m_session->Reports()) {
        INode* node = scene.FindHandle(report.handle);
        if (!node) continue;
        if (!report.message.empty()) warning = node->GetName() + ": " + report.message;
        if (panel.Holds(*node))
            shown.push_back({node->GetName(), report.message, report.statistics});
    }
    m_statistics->Show(shown);
    if (!warning.empty() && warning != m_lastWarning) ShowMessage(MessageLevel::kWarning, warning);
    m_lastWarning = warning;
}

void MainWindow::ShowActivity() {
    if (!m_session->Activity().empty()) return m_activity->start();
    m_activity->stop();
    m_progress->hide();
    m_cancel->hide();
}

void MainWindow::ShowMessage(MessageLevel level, const std::string& text) {
    const char* kinds[] = {"", "Warning: ", "Error: "};
    QString line = kinds[int(level)] + Text(text);
    m_log->appendPlainText(line);
    const ThemeColors& colors = CurrentColors();
    QColor color = level == MessageLevel::kError     ? colors.error
                   : level == MessageLevel::kWarning ? colors.warning
                                                     : colors.text;
    m_message->setStyleSheet("color: " + color.name());
    m_message->setText(line.section('\n', 0, 0));
    m_message->setToolTip(line);
}

QString MainWindow::LogText() const { return m_log->toPlainText(); }

void MainWindow::SwitchTheme() {
    ApplyTheme(*qApp, CurrentTheme() == Theme::kDark ? Theme::kLight : Theme::kDark);
    QSettings().setValue("window/light", CurrentTheme() == Theme::kLight);
    for (auto& [name, action] : m_actions)
        if (QByteArray icon = action->property("iconName").toByteArray(); !icon.isEmpty())
            action->setIcon(ThemeIcon(icon));
    m_outliner->viewport()->update();
}

// --- palette

std::vector<PaletteEntry> MainWindow::PaletteEntries() {
    std::vector<PaletteEntry> entries;
    for (auto& [name, action] : m_actions)
        entries.push_back({action->text().remove("..."), "", action->shortcut().toString(),
                           [action = action] { action->trigger(); },
                           action->isEnabled() ? "" : "nothing to do"});
    QString busy = m_session->IsBusy() ? Text(m_session->Activity() + " is running") : QString();
    for (const auto& [name, command] : m_session->Commands().All())
        entries.push_back({Text(name), Text(command.meaning), "",
                           [this, name = name] { RunWithForm(*m_session, name, {}, this); }, busy});
    for (const TRollout& rollout : DravinRollouts())
        for (const TPanelGroup& group : rollout.groups)
            for (TParamKey key : group.params) {
                const ParamDef& def = key.Def();
                QString title = Text(rollout.Title() + ": " + CaptionOf(def));
                entries.push_back({title, Text(def.name + " \u2014 " + def.meaning), "",
                                   [this, key] { m_panel->JumpTo(key); }});
            }
    return entries;
}

void MainWindow::ShowPalette() { CommandPalette(PaletteEntries(), this).exec(); }

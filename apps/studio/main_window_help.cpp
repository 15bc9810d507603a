// The menu Help: sample scenes, the tour, and the keys.
#include <QDockWidget>
#include <QMenu>
#include <QMenuBar>
#include <QTabWidget>
#include <QToolBar>

#include "apps/studio/main_window.h"
#include "apps/studio/outliner.h"
#include "apps/studio/viewport/quad_view.h"
#include "apps/studio/windows/studio_windows.h"
#include "apps/studio/windows/timeline.h"
#include "apps/studio/windows/tour.h"
#include "apps/studio/windows/welcome.h"

void MainWindow::MakeHelpActions() {
    AddAction("help.welcome", "Welcome...", "", {}, [this] { OpenWelcome(); });
    AddAction("help.tour", "Tour of the Window", "", {}, [this] { StartTour(); });
    AddAction("help.keys", "Keys", "", {}, [this] {
        m_windows->OpenSettings();
        if (auto* settings = findChild<QWidget*>("Settings"))
            if (auto* pages = settings->findChild<QTabWidget*>()) pages->setCurrentIndex(1);
    });
}

void MainWindow::MakeHelpMenu() {
    QMenu* help = menuBar()->addMenu("&Help");
    help->addAction(m_actions["help.welcome"]);
    QMenu* samples = help->addMenu("Open Sample");
    for (const SampleScene& sample : SampleScenes())
        samples->addAction(sample.title, [this, &sample] { OpenSample(sample); });
    help->addAction(m_actions["help.tour"]);
    help->addAction(m_actions["help.keys"]);
}

void MainWindow::OpenSample(const SampleScene& sample) {
    WhenSaved(
        [this, file = std::string(sample.file)] { m_session->OpenDemo(SamplesFolder(), file); });
}

void MainWindow::OpenWelcome() {
    auto* welcome = new Welcome(
        {[this](const SampleScene& sample) { OpenSample(sample); }, [this] { StartTour(); }}, this);
    welcome->setAttribute(Qt::WA_DeleteOnClose);
    welcome->show();
}

void MainWindow::StartTour() {
    auto part = [](QWidget* widget) { return [widget] { return widget; }; };
    auto dock = [this](const char* name) {
        return [this, name] { return static_cast<QWidget*>(findChild<QDockWidget*>(name)); };
    };
    new Tour(
        {{part(m_view), "The views",
          "The middle mouse button pans, with Alt it orbits, the wheel zooms. F frames what is "
          "selected, Shift-F everything, Alt-W shows one view or four."},
         {dock("dock_outliner"), "The outliner",
          "All nodes of the scene. What is selected here, or by a click in a view, is what "
          "commands "
          "and parameters work on. Every selection can be undone."},
         {dock("dock_panel"), "The parameters",
          "What a scatter object does, in thirteen rollouts. Drag the arrows of a number, or type "
          "2*3: the items follow. Ctrl-F finds a parameter by its words."},
         {[this] { return static_cast<QWidget*>(findChild<QToolBar*>("toolbar")); }, "Tools",
          "Q selects, W moves, E rotates, R scales. B paints areas, Shift-A draws them, I edits "
          "single items, Shift-I pins what is done to them while rules go on."},
         {dock("dock_statistics"), "What was built",
          "How many items there are, what dropped the others, and what is wrong. The log beside it "
          "holds what was told."},
         {part(m_timeline), "Time", "Frames, keys, and playing. Auto Key makes changes into keys."},
         {{},
          "Everything else",
          "Ctrl-Shift-P finds every command by a few letters, with its keys. Ctrl-R renders beside "
          "your work. Ctrl-Z undoes all of it."}},
        *this);
}

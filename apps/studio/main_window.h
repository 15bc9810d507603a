// The window: the view in the middle, outliner, command panel, statistics and log around it.
#pragma once

#include <map>

#include <QMainWindow>

#include "apps/studio/command_palette.h"
#include "apps/studio/panels/command_panel.h"
#include "apps/studio/studio_session.h"

class QuadView;
class ViewStateTeller;
class ViewTools;
class Outliner;
class StatisticsView;
class StudioWindows;
class Timeline;
class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QTimer;

class MainWindow : public QMainWindow {
public:
    // makeInterface: where boxes and questions go; none: windows of Qt.
    explicit MainWindow(StudioSession::MakeInterface makeInterface = {});
    ~MainWindow() override;

    StudioSession& Session() { return *m_session; }
    CommandPanel& Panel() { return *m_panel; }
    StudioWindows& Windows() { return *m_windows; }
    QuadView& Views() { return *m_view; }
    ViewTools& Tools() { return *m_tools; }
    Timeline& Time() { return *m_timeline; }

    void OpenFile(const std::string& path);
    void OpenDemo(const std::string& folder);
    void OpenWelcome();
    void StartTour();
    // Actions of menus and toolbar by name ("file.open"), for tests and the palette.
    QAction* Action(const char* name) const { return m_actions.at(name); }
    std::vector<PaletteEntry> PaletteEntries();
    QString LogText() const;
    QStringList RecentFiles() const;

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QAction* AddAction(const char* name, const char* text, const char* icon, QKeySequence keys,
                       std::function<void()> run);
    void MakeActions();
    void MakeHelpActions();
    void MakeMenus();
    void MakeHelpMenu();
    void MakeDocks();
    void MakeStatusLine();
    void Listen();
    void ShowMarks();
    void ShowReports();
    void ShowStatistics(Scene& scene);
    void ShowActivity();
    void ShowMessage(MessageLevel level, const std::string& text);
    void ShowPalette();
    void ShowRecent();
    void AddRecent(const std::string& path);
    void SwitchTheme();
    void AskAndOpen();
    void OpenSample(const struct SampleScene& sample);
    // Calls next once nothing unsaved can be lost; not when the user wants to stay.
    void WhenSaved(std::function<void()> next);
    void Save(bool asksName, std::function<void()> next = {});

    std::unique_ptr<StudioSession> m_session;
    std::unique_ptr<StudioWindows> m_windows;
    std::vector<Connection> m_connections;
    std::map<std::string, QAction*> m_actions;
    QuadView* m_view;
    std::unique_ptr<ViewTools> m_tools;
    std::unique_ptr<ViewStateTeller> m_viewState;
    Outliner* m_outliner;
    CommandPanel* m_panel;
    Timeline* m_timeline;
    StatisticsView* m_statistics;
    QPlainTextEdit* m_log;
    QMenu* m_recent;
    QLabel *m_message, *m_items, *m_build;
    QProgressBar* m_progress;
    QPushButton* m_cancel;
    QTimer* m_activity;
    QByteArray m_firstLayout;
    std::string m_lastWarning;
    bool m_mayClose = false;
};

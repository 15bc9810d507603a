// From where the views look, and how they show the scene: actions on the active view, and the menus
// that views open.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <QObject>

#include "apps/studio/studio_session.h"
#include "apps/studio/viewport/quad_view.h"

class QAction;
class QLabel;
class QMenu;

class ViewActions : public QObject {
public:
    // Both live longer. Takes the views' onMenu and onStatus.
    ViewActions(StudioSession& session, QuadView& views);
    ~ViewActions() override;

    // By name ("view.top"); parents are the views.
    const std::map<std::string, QAction*>& Actions() const { return m_actions; }
    void FillMenu(QMenu& menu);
    // Where the pointer is, how long pictures take, and the memory that the application has: for
    // the status line.
    QLabel* StatusLabel() const { return m_status; }
    // Asked before a menu opens: true when a tool has taken the right button for itself.
    std::function<bool()> onRightClick;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QAction* Make(const char* name, const char* text);
    void AddAction(const char* name, const char* text, std::function<void()> run);
    void AddSide(const char* name, const char* text, ViewSide side);
    void AddShading(const char* name, const char* text, ViewportShading shading);
    void AddSwitches();
    void LookThrough();
    void ShowSafeFrame(bool isOn);
    void Open(ViewMenu which, const QPoint& global);
    void FillSides(QMenu& menu);
    void FillShadings(QMenu& menu);
    void FillCameras(QMenu& menu);
    void Add(QMenu& menu, const std::vector<const char*>& names);
    void ShowState();
    ViewportWidget& View() { return m_views.ActiveView(); }

    StudioSession& m_session;
    QuadView& m_views;
    std::vector<Connection> m_connections;
    std::map<std::string, QAction*> m_actions;
    std::vector<std::pair<ViewportShading, QAction*>> m_shadings;
    QLabel* m_status;
};

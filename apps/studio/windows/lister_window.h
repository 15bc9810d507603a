// The lister: a row for each scatter object of the scene, with what it is set up to do.
//
// Rows that are selected here are selected in the scene, and so in the parameters, where a change
// is one for all of them. The tick before a name shows the object or hides it, with all selected
// ones when it is one of them. Rows are data of a model: a thousand objects make no widgets.
#pragma once

#include <vector>

#include "apps/studio/windows/tool_window.h"
#include "host/base/signal.h"
#include "host/scene/node.h"

class ListerModel;
class ListerTable;
class QLabel;
class QLineEdit;
class QPushButton;
class QSortFilterProxyModel;
class Scene;
class StudioSession;

class ListerWindow : public ToolWindow {
public:
    explicit ListerWindow(StudioSession& session, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void Read(Scene& scene);
    void ReadSoon();
    std::vector<NodeHandle> Selected() const;
    void ShowCount();
    void Select();
    void Hide(std::vector<NodeHandle> handles, bool isHidden);

    StudioSession& m_session;
    std::vector<Connection> m_connections;
    ListerModel* m_model;
    QSortFilterProxyModel* m_sorted;
    ListerTable* m_table;
    QLineEdit* m_filter;
    QLabel* m_count;
    QPushButton *m_hide, *m_show;
    bool m_isReading = false;
};

// A list of a rollout: its rows as a table with editable cells, and its buttons.
#pragma once

#include <QWidget>

#include "Dravin/panels/rollouts.h"

class QLabel;
class QTableView;
class RowModel;
class StudioSession;
class TPanel;

class RowList : public QWidget {
public:
    RowList(StudioSession& session, const TPanelList& list);
    void Show(const TPanel& panel);

private:
    StudioSession& m_session;
    const TPanelList& m_list;
    RowModel* m_model;
    QTableView* m_view;
    QLabel* m_notice;
    QWidget* m_buttons;
};

// A row of buttons that issue commands on the selected object. row: of a list, -1 for none.
QWidget* MakeButtonRow(StudioSession& session, const std::vector<TPanelButton>& buttons,
                       std::function<int()> row);

// A list of a rollout: its rows as a table with editable cells, and its buttons.
#pragma once

#include <QWidget>

#include "apps/studio/panels/controls.h"

class QLabel;
class QTableView;
class RowModel;
class TPanel;

class RowList : public QWidget {
public:
    RowList(const PanelScope& scope, const TPanelList& list);
    void Show(const TPanel& panel);

private:
    std::vector<int> Selected() const;

    const TPanelList& m_list;
    RowModel* m_model;
    QTableView* m_view;
    QLabel* m_notice;
    QWidget* m_buttons;
};

// A row of buttons that issue commands on what the scope shows. rows: selected in a list, the
// current one first; none: there is no list.
QWidget* MakeButtonRow(const PanelScope& scope, const std::vector<TPanelButton>& buttons,
                       std::function<std::vector<int>()> rows);

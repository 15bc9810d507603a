// The table of actions and their keys, which can be changed: a double click or Enter takes new
// ones.
#pragma once

#include <QWidget>

class ActionKeys;
class KeysModel;
class QLabel;
class QTableView;

class KeysPage : public QWidget {
public:
    explicit KeysPage(ActionKeys& keys, QWidget* parent = nullptr);

private:
    KeysModel* m_model;
    QTableView* m_table;
    QLabel* m_error;
};

// What the last build of each shown object counted: a line with its name, what is wrong or worth
// knowing, and the fields of the statistics panel, those that are blank left out.
#pragma once

#include <string>
#include <vector>

#include <QTableView>

class StatisticsModel;

struct ShownStatistics {
    std::string name, message;  // message: empty for none
    std::string lines;          // "label<tab>value<newline>" each
};

class StatisticsView : public QTableView {
public:
    explicit StatisticsView(QWidget* parent = nullptr);
    void Show(const std::vector<ShownStatistics>& objects);

protected:
    void keyPressEvent(QKeyEvent* event) override;  // Ctrl-C copies the selected lines

private:
    StatisticsModel* m_model;
};

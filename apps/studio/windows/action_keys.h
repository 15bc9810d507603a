// The keys of all actions, as the user wants them: one table with defaults, kept in the settings.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <QKeySequence>
#include <QList>

class QAction;

class ActionKeys {
public:
    struct Row {
        std::string name;  // "file.open"
        QString text;
        QAction* action;
        QList<QKeySequence> defaults;
    };
    // Takes the actions' keys as defaults, and gives them the user's. The actions stay longer.
    explicit ActionKeys(const std::map<std::string, QAction*>& actions);

    const std::vector<Row>& Rows() const { return m_rows; }
    QString KeysOf(size_t row) const;
    bool IsDefault(size_t row) const;
    // Empty keys: none. False with a reason in `error` when another action has them already.
    bool Set(size_t row, const QKeySequence& keys, QString* error);
    // False likewise, when another action has been given one of the defaults.
    bool Reset(size_t row, QString* error);

private:
    bool IsFree(size_t row, const QList<QKeySequence>& keys, QString* error) const;

    std::vector<Row> m_rows;
};

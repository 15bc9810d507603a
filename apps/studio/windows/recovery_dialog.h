// Offers what sessions that did not end well have left: which scene, how old, where the copy lies,
// and a picture. It never blocks the window: closed, it offers the same at the next start; what is
// skipped is offered no more, and can still be had from the menu.
#pragma once

#include <functional>
#include <vector>

#include <QDialog>

#include "apps/studio/windows/recovery_store.h"

class QComboBox;
class QLabel;
class QListView;
class QPushButton;

class RecoveryDialog : public QDialog {
public:
    struct Actions {
        std::function<void(const LostSession&, const SceneCopy&)> recover;
        std::function<void(const LostSession&)> skip;
    };
    // now: what ages are counted to.
    RecoveryDialog(std::vector<LostSession> lost, Actions actions, const QDateTime& now,
                   QWidget* parent);

    size_t NumOffered() const { return m_lost.size(); }

private:
    void ShowList();
    void ShowCurrent();
    int Current() const;
    void Recover();
    void Skip();

    std::vector<LostSession> m_lost;
    Actions m_actions;
    QDateTime m_now;
    QListView* m_list;
    QComboBox* m_copies;
    QLabel* m_place;
    QPushButton *m_recover, *m_skip;
};

// "just now", "3 minutes ago", "2 hours ago", "5 days ago".
QString AgeText(const QDateTime& then, const QDateTime& now);

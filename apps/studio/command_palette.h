// Every command, action and parameter by a few letters: Ctrl-Shift-P.
#pragma once

#include <functional>
#include <vector>

#include <QDialog>

class PaletteModel;
class QLineEdit;
class QListView;

struct PaletteEntry {
    QString title, detail, keys;
    std::function<void()> run;
    QString whyDisabled = {};  // empty: it can be run
};

// How well an entry fits the words, in any order: 0 not at all, more is better.
int MatchScore(const PaletteEntry& entry, const QStringList& words);

class CommandPalette : public QDialog {
public:
    CommandPalette(std::vector<PaletteEntry> entries, QWidget* parent);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Filter(const QString& text);
    void RunCurrent();

    std::vector<PaletteEntry> m_entries;
    QLineEdit* m_edit;
    QListView* m_view;
    PaletteModel* m_model;
};

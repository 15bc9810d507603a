#include "apps/studio/command_palette.h"

#include <algorithm>

#include <QAbstractListModel>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QVBoxLayout>

#include "apps/studio/theme.h"

int MatchScore(const PaletteEntry& entry, const QStringList& words) {
    int score = 1;
    for (const QString& word : words) {
        qsizetype at = entry.title.indexOf(word, 0, Qt::CaseInsensitive);
        if (at == 0)
            score += 100;
        else if (at > 0)
            score += entry.title[at - 1].isLetterOrNumber() ? 20 : 60;
        else if (entry.detail.contains(word, Qt::CaseInsensitive))
            score += 5;
        else
            return 0;
    }
    return score;
}

class PaletteModel : public QAbstractListModel {
public:
    explicit PaletteModel(const std::vector<PaletteEntry>& entries) : m_entries(entries) {}

    void Filter(const QStringList& words) {
        std::vector<std::pair<int, size_t>> found;
        for (size_t i = 0; i < m_entries.size(); ++i)
            if (int score = MatchScore(m_entries[i], words)) found.emplace_back(-score, i);
        std::stable_sort(found.begin(), found.end(),
                         [](auto& a, auto& b) { return a.first < b.first; });
        beginResetModel();
        m_shown.clear();
        for (const auto& [score, i] : found) m_shown.push_back(i);
        endResetModel();
    }
    const PaletteEntry& At(int row) const { return m_entries[m_shown[size_t(row)]]; }
    int rowCount(const QModelIndex& = {}) const override { return int(m_shown.size()); }
    QVariant data(const QModelIndex& index, int role) const override {
        const PaletteEntry& entry = At(index.row());
        bool isOn = entry.whyDisabled.isEmpty();
        if (role == Qt::DisplayRole) {
            QString text = entry.title + "   " + (isOn ? entry.detail : entry.whyDisabled);
            return entry.keys.isEmpty() ? text : text + "   [" + entry.keys + "]";
        }
        if (role == Qt::ForegroundRole && !isOn) return CurrentColors().dimText;
        return role == Qt::ToolTipRole ? QVariant(entry.detail) : QVariant();
    }

private:
    const std::vector<PaletteEntry>& m_entries;
    std::vector<size_t> m_shown;
};

CommandPalette::CommandPalette(std::vector<PaletteEntry> entries, QWidget* parent)
    : QDialog(parent), m_entries(std::move(entries)) {
    setWindowTitle("Commands");
    m_model = new PaletteModel(m_entries);
    m_model->setParent(this);
    m_edit = new QLineEdit;
    m_edit->setPlaceholderText("A command, an action or a parameter");
    m_edit->setAccessibleName("Search");
    m_edit->installEventFilter(this);
    m_view = new QListView;
    m_view->setModel(m_model);
    m_view->setUniformItemSizes(true);
    m_view->setTextElideMode(Qt::ElideRight);
    m_view->setAccessibleName("Results");
    auto* column = new QVBoxLayout(this);
    column->addWidget(m_edit);
    column->addWidget(m_view, 1);
    connect(m_edit, &QLineEdit::textChanged, this, [this](const QString& t) { Filter(t); });
    connect(m_edit, &QLineEdit::returnPressed, this, [this] { RunCurrent(); });
    connect(m_view, &QListView::clicked, this, [this] { RunCurrent(); });
    resize(640, 420);
    Filter({});
}

void CommandPalette::Filter(const QString& text) {
    m_model->Filter(text.split(' ', Qt::SkipEmptyParts));
    m_view->setCurrentIndex(m_model->index(0));
}

// The palette closes first: what runs may open windows of its own.
void CommandPalette::RunCurrent() {
    QModelIndex index = m_view->currentIndex();
    if (!index.isValid() || !m_model->At(index.row()).whyDisabled.isEmpty()) return;
    auto run = m_model->At(index.row()).run;
    accept();
    run();
}

bool CommandPalette::eventFilter(QObject* watched, QEvent* event) {
    auto* key = event->type() == QEvent::KeyPress ? static_cast<QKeyEvent*>(event) : nullptr;
    if (!key || (key->key() != Qt::Key_Up && key->key() != Qt::Key_Down))
        return QDialog::eventFilter(watched, event);
    int row = m_view->currentIndex().row() + (key->key() == Qt::Key_Up ? -1 : 1);
    if (row >= 0 && row < m_model->rowCount()) m_view->setCurrentIndex(m_model->index(row));
    return true;
}

#include "apps/studio/windows/undo_window.h"

#include <QAbstractListModel>
#include <QFont>
#include <QListView>
#include <QVBoxLayout>

#include "apps/studio/studio_session.h"
#include "apps/studio/theme.h"

// Row 0 is the state before the oldest step.
class UndoModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    void Take(const UndoMarks& marks) {
        beginResetModel();
        m_names = {"The oldest state"};
        for (const std::string& name : marks.StepNames())
            m_names.append(QString::fromStdString(name));
        m_current = int(marks.NumUndoSteps());
        endResetModel();
    }
    int Current() const { return m_current; }
    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : int(m_names.size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        if (role == Qt::DisplayRole) return m_names[index.row()];
        if (role == Qt::ForegroundRole && index.row() > m_current) return CurrentColors().dimText;
        if (role == Qt::ToolTipRole && index.row() > m_current)
            return m_names[index.row()] + " (undone)";
        if (role != Qt::FontRole || index.row() != m_current) return {};
        QFont font;
        font.setBold(true);
        return font;
    }

private:
    QStringList m_names = {"The oldest state"};
    int m_current = 0;
};

UndoWindow::UndoWindow(StudioSession& session, QWidget* parent)
    : ToolWindow("UndoList", "Undo List", {300, 420}, parent),
      m_session(session),
      m_model(new UndoModel(this)),
      m_list(new QListView) {
    m_list->setModel(m_model);
    m_list->setUniformItemSizes(true);
    m_list->setObjectName("undo_steps");
    m_list->setAccessibleName("Steps");
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 8);
    column->addWidget(m_list);
    auto go = [this](const QModelIndex& index) {
        if (index.isValid()) m_session.GoToStep(size_t(index.row()));
    };
    connect(m_list, &QListView::clicked, this, go);
    connect(m_list, &QListView::activated, this, go);  // Enter
    m_connections.push_back(m_session.changed.Connect([this](Scene&) { ShowSteps(); }));
    ShowSteps();
}

void UndoWindow::ShowSteps() {
    m_model->Take(m_session.Marks());
    m_list->setCurrentIndex(m_model->index(m_model->Current()));
}

#include "apps/studio/windows/statistics_view.h"

#include <QAbstractTableModel>
#include <QApplication>
#include <QClipboard>
#include <QFont>
#include <QHeaderView>
#include <QKeyEvent>

#include "apps/studio/theme.h"

namespace {

enum class RowKind { kObject, kMessage, kLine };

struct StatisticsRow {
    RowKind kind;
    QString label, value;
    friend bool operator==(const StatisticsRow&, const StatisticsRow&) = default;
};

std::vector<StatisticsRow> RowsOf(const std::vector<ShownStatistics>& objects) {
    std::vector<StatisticsRow> rows;
    for (const ShownStatistics& object : objects) {
        rows.push_back({RowKind::kObject, QString::fromStdString(object.name), ""});
        if (!object.message.empty())
            rows.push_back(
                {RowKind::kMessage, "Warning", QString::fromStdString(object.message).trimmed()});
        QString text = QString::fromStdString(object.lines);
        for (const QString& line : text.split('\n', Qt::SkipEmptyParts))
            if (QString value = line.section('\t', 1).trimmed(); !value.isEmpty())
                rows.push_back({RowKind::kLine, line.section('\t', 0, 0), value});
    }
    return rows;
}

}  // namespace

class StatisticsModel : public QAbstractTableModel {
public:
    using QAbstractTableModel::QAbstractTableModel;

    void Take(std::vector<StatisticsRow> rows) {
        if (rows == m_rows) return;
        bool isSame = rows.size() == m_rows.size();
        if (!isSame) beginResetModel();
        m_rows = std::move(rows);
        if (!isSame) return endResetModel();
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, 1));
    }
    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : int(m_rows.size());
    }
    int columnCount(const QModelIndex& = {}) const override { return 2; }
    QVariant data(const QModelIndex& index, int role) const override {
        const StatisticsRow& row = m_rows[size_t(index.row())];
        if (role == Qt::DisplayRole) return index.column() == 0 ? row.label : row.value;
        if (role == Qt::ToolTipRole && row.kind == RowKind::kMessage) return row.value;
        if (role == Qt::ForegroundRole && row.kind == RowKind::kMessage)
            return CurrentColors().warning;
        if (role == Qt::ForegroundRole && row.kind == RowKind::kLine && index.column() == 0)
            return CurrentColors().dimText;
        if (role != Qt::FontRole || row.kind != RowKind::kObject) return {};
        QFont font = QApplication::font();
        font.setBold(true);
        return font;
    }

private:
    std::vector<StatisticsRow> m_rows;
};

StatisticsView::StatisticsView(QWidget* parent)
    : QTableView(parent), m_model(new StatisticsModel(this)) {
    setModel(m_model);
    setObjectName("statistics_rows");
    setAccessibleName("Statistics");
    setShowGrid(false);
    setTabKeyNavigation(false);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(22);
    horizontalHeader()->hide();
    horizontalHeader()->setStretchLastSection(true);
    setColumnWidth(0, 200);
}

void StatisticsView::Show(const std::vector<ShownStatistics>& objects) {
    m_model->Take(RowsOf(objects));
}

void StatisticsView::keyPressEvent(QKeyEvent* event) {
    if (!event->matches(QKeySequence::Copy)) return QTableView::keyPressEvent(event);
    QStringList lines;
    for (const QModelIndex& index : selectionModel()->selectedRows())
        lines.append(index.data().toString() + "\t" + index.siblingAtColumn(1).data().toString());
    QApplication::clipboard()->setText(lines.join('\n'));
}

#include "apps/studio/windows/lister_window.h"

#include <algorithm>
#include <array>
#include <unordered_set>

#include <QAbstractTableModel>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QVBoxLayout>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/tools/lister_commands.h"
#include "apps/studio/studio_session.h"
#include "apps/studio/theme.h"
#include "host/params/undo_step.h"
#include "host/scene/scene.h"

namespace {

constexpr int kSortRole = Qt::UserRole;
constexpr int kNumColumns = 1 + int(kNumListerColumns);  // the name before the lister's
constexpr int kItemsColumn = 3;
constexpr int kWidths[kNumColumns] = {160, 90, 80, 100, 100, 110, 100, 110, 100, 90, 100};

struct Row {
    NodeHandle handle = 0;
    std::array<QString, kNumColumns> cells;
    int64_t numItems = 0;
    bool isHidden = false;
    friend bool operator==(const Row&, const Row&) = default;
};

std::vector<Row> RowsOf(Scene& scene) {
    TListerCommands lister(scene);
    std::vector<Row> rows(lister.NumRows());
    for (size_t i = 0; i < rows.size(); ++i) {
        INode& node = lister.Node(i);
        rows[i].handle = node.GetHandle();
        rows[i].isHidden = node.IsHidden(scene.GetTime());
        auto& object = dynamic_cast<TDravin&>(*node.GetObjectRef());
        rows[i].numItems = object.Build().Statistics().itemCount;
        rows[i].cells[0] = QString::fromStdString(node.GetName());
        for (size_t c = 0; c < kNumListerColumns; ++c)
            rows[i].cells[c + 1] = QString::fromStdString(lister.Cell(i, c));
    }
    return rows;
}

// The lister's numbers of these nodes; those that have gone are left out.
std::vector<size_t> RowsOfHandles(const TListerCommands& lister,
                                  const std::vector<NodeHandle>& handles) {
    std::unordered_set<NodeHandle> wanted(handles.begin(), handles.end());
    std::vector<size_t> rows;
    for (size_t i = 0; i < lister.NumRows(); ++i)
        if (wanted.contains(lister.Node(i).GetHandle())) rows.push_back(i);
    return rows;
}

}  // namespace

class ListerModel : public QAbstractTableModel {
public:
    using QAbstractTableModel::QAbstractTableModel;
    // A tick was set: the object is to be shown or not.
    std::function<void(NodeHandle, bool isHidden)> onTick;

    // Where the objects are the same, views keep their selection and place.
    void Take(std::vector<Row> rows) {
        if (rows == m_rows) return;
        bool isSame = std::equal(rows.begin(), rows.end(), m_rows.begin(), m_rows.end(),
                                 [](const Row& a, const Row& b) { return a.handle == b.handle; });
        if (!isSame) beginResetModel();
        m_rows = std::move(rows);
        if (!isSame) return endResetModel();
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, kNumColumns - 1));
    }
    const Row& At(int row) const { return m_rows[size_t(row)]; }

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : int(m_rows.size());
    }
    int columnCount(const QModelIndex& = {}) const override { return kNumColumns; }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        if (orientation == Qt::Vertical || role != Qt::DisplayRole) return {};
        return section == 0 ? "Object" : ListerHeaders()[size_t(section) - 1];
    }
    QVariant data(const QModelIndex& index, int role) const override {
        const Row& row = At(index.row());
        const QString& cell = row.cells[size_t(index.column())];
        bool isName = index.column() == 0;
        if (role == Qt::DisplayRole) return cell;
        if (role == Qt::CheckStateRole && isName) return row.isHidden ? Qt::Unchecked : Qt::Checked;
        if (role == Qt::ForegroundRole && row.isHidden) return CurrentColors().dimText;
        if (role == Qt::ToolTipRole && isName) return row.isHidden ? cell + " (hidden)" : cell;
        if (role != kSortRole) return {};
        return index.column() == kItemsColumn ? QVariant(qlonglong(row.numItems)) : cell;
    }
    Qt::ItemFlags flags(const QModelIndex& index) const override {
        Qt::ItemFlags flags = QAbstractTableModel::flags(index);
        return index.column() == 0 ? flags | Qt::ItemIsUserCheckable : flags;
    }
    bool setData(const QModelIndex& index, const QVariant& value, int role) override {
        if (role != Qt::CheckStateRole || !onTick) return false;
        onTick(At(index.row()).handle, value.toInt() != Qt::Checked);
        return true;
    }

private:
    std::vector<Row> m_rows;
};

// A drag over rows is one selection, which counts when the button is released.
class ListerTable : public QTableView {
public:
    using QTableView::QTableView;
    std::function<void()> onSelected;

    bool IsPressed() const { return m_isPressed; }
    void SelectionMoved() {
        if (!m_isPressed && onSelected) onSelected();
    }

protected:
    void mousePressEvent(QMouseEvent* event) override {
        m_isPressed = true;
        QTableView::mousePressEvent(event);
    }
    void mouseReleaseEvent(QMouseEvent* event) override {
        QTableView::mouseReleaseEvent(event);
        m_isPressed = false;
        SelectionMoved();
    }

private:
    bool m_isPressed = false;
};

ListerWindow::ListerWindow(StudioSession& session, QWidget* parent)
    : ToolWindow("Lister", "Lister", {1200, 420}, parent),
      m_session(session),
      m_model(new ListerModel(this)),
      m_sorted(new QSortFilterProxyModel(this)),
      m_table(new ListerTable) {
    m_sorted->setSourceModel(m_model);
    m_sorted->setSortRole(kSortRole);
    m_sorted->setSortCaseSensitivity(Qt::CaseInsensitive);
    m_sorted->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_sorted->setFilterKeyColumn(-1);  // any
    m_table->setModel(m_sorted);
    m_table->setObjectName("lister_rows");
    m_table->setAccessibleName("Scatter objects");
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setTabKeyNavigation(false);
    m_table->setShowGrid(false);
    m_table->setWordWrap(false);
    m_table->setSortingEnabled(true);
    m_table->sortByColumn(-1, Qt::AscendingOrder);  // as in the scene
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(24);
    m_table->horizontalHeader()->setHighlightSections(false);
    m_table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    for (int c = 0; c < kNumColumns; ++c) m_table->setColumnWidth(c, kWidths[c]);
    m_table->horizontalHeader()->setStretchLastSection(true);

    m_filter = new QLineEdit;
    m_filter->setPlaceholderText("Only rows with this text");
    m_filter->setClearButtonEnabled(true);
    m_filter->setAccessibleName("Filter");
    m_count = new QLabel;
    m_hide = new QPushButton("Hide");
    m_hide->setToolTip("Hides the selected objects\nIn scripts: lister.hide");
    m_show = new QPushButton("Show");
    m_show->setToolTip("Shows the selected objects again\nIn scripts: lister.hide, hidden = false");
    auto* bar = new QHBoxLayout;
    bar->addWidget(m_filter, 1);
    for (QWidget* widget : std::initializer_list<QWidget*>{m_count, m_hide, m_show})
        bar->addWidget(widget);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 8);
    column->addLayout(bar);
    column->addWidget(m_table, 1);

    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_isReading = true;  // what is filtered out stays selected
        m_sorted->setFilterFixedString(text);
        m_isReading = false;
        ReadSoon();
    });
    connect(m_hide, &QPushButton::clicked, this, [this] { Hide(Selected(), true); });
    connect(m_show, &QPushButton::clicked, this, [this] { Hide(Selected(), false); });
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        ShowCount();
        if (!m_isReading) m_table->SelectionMoved();
    });
    m_table->onSelected = [this] { Select(); };
    m_model->onTick = [this](NodeHandle handle, bool isHidden) {
        std::vector<NodeHandle> selected = Selected();
        bool isOfThem = std::find(selected.begin(), selected.end(), handle) != selected.end();
        Hide(isOfThem ? selected : std::vector{handle}, isHidden);
    };
    m_connections.push_back(m_session.changed.Connect([this](Scene& scene) {
        if (isVisible()) Read(scene);
    }));
    m_connections.push_back(m_session.viewReady.Connect([this] { ReadSoon(); }));
    ShowCount();
}

void ListerWindow::showEvent(QShowEvent* event) {
    ToolWindow::showEvent(event);
    ReadSoon();
}

void ListerWindow::ReadSoon() {
    if (!isVisible()) return;
    m_session.Look([self = QPointer<ListerWindow>(this)](Scene& scene) {
        if (self) self->Read(scene);
    });
}

// Not while a hand drags over rows: what it selects is read when it lets go.
void ListerWindow::Read(Scene& scene) {
    if (m_table->IsPressed()) return;
    m_isReading = true;
    m_model->Take(RowsOf(scene));
    std::unordered_set<NodeHandle> selected;
    for (INode* node : scene.Selection()) selected.insert(node->GetHandle());
    QItemSelection rows;
    for (int row = 0; row < m_sorted->rowCount(); ++row) {
        int source = m_sorted->mapToSource(m_sorted->index(row, 0)).row();
        if (selected.contains(m_model->At(source).handle))
            rows.select(m_sorted->index(row, 0), m_sorted->index(row, kNumColumns - 1));
    }
    m_table->selectionModel()->select(rows, QItemSelectionModel::ClearAndSelect);
    m_isReading = false;
    ShowCount();
}

std::vector<NodeHandle> ListerWindow::Selected() const {
    std::vector<NodeHandle> handles;
    for (const QModelIndex& index : m_table->selectionModel()->selectedRows())
        handles.push_back(m_model->At(m_sorted->mapToSource(index).row()).handle);
    return handles;
}

void ListerWindow::ShowCount() {
    qsizetype selected = m_table->selectionModel()->selectedRows().size();
    QLocale english(QLocale::English);
    m_count->setText(english.toString(selected) + " of " + english.toString(m_model->rowCount()) +
                     " selected");
    m_hide->setEnabled(selected > 0);
    m_show->setEnabled(selected > 0);
}

void ListerWindow::Select() {
    m_session.Do([handles = Selected()](Scene& scene) {
        TListerCommands lister(scene);
        std::vector<size_t> rows = RowsOfHandles(lister, handles);
        std::unordered_set<const INode*> now, wanted;
        for (INode* node : scene.Selection()) now.insert(node);
        for (size_t row : rows) wanted.insert(&lister.Node(row));
        if (now != wanted) lister.Select(rows);
    });
}

void ListerWindow::Hide(std::vector<NodeHandle> handles, bool isHidden) {
    m_session.Do([this, handles = std::move(handles), isHidden](Scene& scene) {
        TListerCommands lister(scene);
        UndoStep step(isHidden ? "Hide" : "Show");
        std::string error;
        for (size_t row : RowsOfHandles(lister, handles))
            if (lister.Node(row).IsHidden(scene.GetTime()) != isHidden &&
                !lister.Hide(row, isHidden, &error)) {
                step.Cancel();
                return m_session.told.Send(MessageLevel::kError, error);
            }
    });
}

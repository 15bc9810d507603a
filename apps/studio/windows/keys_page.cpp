#include "apps/studio/windows/keys_page.h"

#include <QAbstractTableModel>
#include <QAction>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QVBoxLayout>

#include "apps/studio/theme.h"
#include "apps/studio/windows/action_keys.h"

class KeysModel : public QAbstractTableModel {
public:
    KeysModel(ActionKeys& keys, QObject* parent) : QAbstractTableModel(parent), m_keys(keys) {}
    std::function<void(const QString& error)> onError;

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : int(m_keys.Rows().size());
    }
    int columnCount(const QModelIndex& = {}) const override { return 3; }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        constexpr const char* kHeaders[] = {"Action", "Keys", "Name"};
        if (orientation == Qt::Vertical || role != Qt::DisplayRole) return {};
        return kHeaders[section];
    }
    QVariant data(const QModelIndex& index, int role) const override {
        size_t row = size_t(index.row());
        bool isKeys = index.column() == 1;
        if (role == Qt::EditRole && isKeys)
            return QVariant::fromValue(m_keys.Rows()[row].action->shortcut());
        if (role == Qt::ForegroundRole && isKeys && !m_keys.IsDefault(row))
            return CurrentColors().accent;
        if (role == Qt::ToolTipRole && isKeys && !m_keys.IsDefault(row))
            return "Changed; by default: " +
                   QKeySequence::listToString(m_keys.Rows()[row].defaults);
        if (role != Qt::DisplayRole) return {};
        const ActionKeys::Row& action = m_keys.Rows()[row];
        return isKeys                ? m_keys.KeysOf(row)
               : index.column() == 0 ? action.text
                                     : QString::fromStdString(action.name);
    }
    Qt::ItemFlags flags(const QModelIndex& index) const override {
        Qt::ItemFlags flags = QAbstractTableModel::flags(index);
        return index.column() == 1 ? flags | Qt::ItemIsEditable : flags;
    }
    bool setData(const QModelIndex& index, const QVariant& value, int) override {
        auto keys = value.value<QKeySequence>();
        QString error;
        size_t row = size_t(index.row());
        bool isSame = m_keys.Rows()[row].action->shortcut() == keys;
        bool isDone = isSame || m_keys.Set(row, keys, &error);
        Changed(index.row(), error);
        return isDone;
    }
    void Reset(int row) {
        QString error;
        m_keys.Reset(size_t(row), &error);
        Changed(row, error);
    }
    void Clear(int row) {
        setData(index(row, 1), QVariant::fromValue(QKeySequence()), Qt::EditRole);
    }

private:
    void Changed(int row, const QString& error) {
        Q_EMIT dataChanged(index(row, 1), index(row, 1));
        if (onError) onError(error);
    }
    ActionKeys& m_keys;
};

namespace {

// Its editor takes the next keys that are pressed.
class KeysDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                          const QModelIndex&) const override {
        auto* edit = new QKeySequenceEdit(parent);
        edit->setClearButtonEnabled(true);
        connect(edit, &QKeySequenceEdit::editingFinished, this, [this, edit] {
            auto* self = const_cast<KeysDelegate*>(this);
            Q_EMIT self->commitData(edit);
            Q_EMIT self->closeEditor(edit);
        });
        return edit;
    }
    void setEditorData(QWidget* editor, const QModelIndex& index) const override {
        static_cast<QKeySequenceEdit*>(editor)->setKeySequence(
            index.data(Qt::EditRole).value<QKeySequence>());
    }
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override {
        auto keys = static_cast<QKeySequenceEdit*>(editor)->keySequence();
        model->setData(index, QVariant::fromValue(keys));
    }
};

}  // namespace

KeysPage::KeysPage(ActionKeys& keys, QWidget* parent)
    : QWidget(parent),
      m_model(new KeysModel(keys, this)),
      m_table(new QTableView),
      m_error(new QLabel) {
    auto* sorted = new QSortFilterProxyModel(this);
    sorted->setSourceModel(m_model);
    sorted->setFilterKeyColumn(-1);
    sorted->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_table->setModel(sorted);
    m_table->setObjectName("keys_rows");
    m_table->setAccessibleName("Actions and their keys");
    m_table->setItemDelegate(new KeysDelegate(this));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setTabKeyNavigation(false);
    m_table->setShowGrid(false);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(24);
    m_table->setColumnWidth(0, 220);
    m_table->setColumnWidth(1, 180);
    m_table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_table->horizontalHeader()->setStretchLastSection(true);
    auto* filter = new QLineEdit;
    filter->setPlaceholderText("Only actions with this text");
    filter->setAccessibleName("Filter");
    m_error->setObjectName("notice");
    m_error->setWordWrap(true);
    auto button = [this](const char* name, const char* tip, auto run) {
        auto* push = new QPushButton(name);
        push->setToolTip(tip);
        connect(push, &QPushButton::clicked, this, run);
        return push;
    };
    auto row = [this, sorted] { return sorted->mapToSource(m_table->currentIndex()).row(); };
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_error, 1);
    buttons->addWidget(button("No Keys", "Takes the action's keys away", [this, row] {
        if (int r = row(); r >= 0) m_model->Clear(r);
    }));
    buttons->addWidget(button("Default", "Gives the action its first keys back", [this, row] {
        if (int r = row(); r >= 0) m_model->Reset(r);
    }));
    auto* column = new QVBoxLayout(this);
    column->addWidget(filter);
    column->addWidget(m_table, 1);
    column->addLayout(buttons);
    connect(filter, &QLineEdit::textChanged, sorted, &QSortFilterProxyModel::setFilterFixedString);
    m_model->onError = [this](const QString& error) { m_error->setText(error); };
}

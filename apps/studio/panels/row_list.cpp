#include "apps/studio/panels/row_list.h"

#include <functional>

#include <QAbstractTableModel>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QVBoxLayout>

#include "Dravin/panels/panel_list.h"
#include "apps/dravin/command_values.h"
#include "apps/studio/command_form.h"
#include "apps/studio/flow_layout.h"
#include "apps/studio/studio_session.h"
#include "host/scene/scene.h"

namespace {

QString Text(const std::string& text) { return QString::fromStdString(text); }
bool IsTruth(const TListColumn& column) {
    return column.entries.empty() && column.key.Def().type == ParamType::kBool;
}

// Cells with named values, and references, are chosen from what there is.
class CellDelegate : public QStyledItemDelegate {
public:
    CellDelegate(StudioSession& session, const TPanelList& list, QObject* parent)
        : QStyledItemDelegate(parent), m_session(session), m_list(list) {}

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override {
        const TListColumn& column = m_list.columns[size_t(index.column())];
        bool isReference = IsReferenceType(column.key.Def().type);
        if (column.entries.empty() && !isReference)
            return QStyledItemDelegate::createEditor(parent, option, index);
        auto* box = new QComboBox(parent);
        for (const std::string& entry : column.entries) box->addItem(Text(entry));
        if (isReference) {
            box->addItem("None");
            m_session.Look([this, key = column.key, now = index.data().toString(),
                            box = QPointer<QComboBox>(box)](Scene& scene) {
                if (!box) return;
                for (const std::string& name : m_session.Panel(scene).Candidates(key))
                    box->addItem(Text(name));
                box->setCurrentText(now);
            });
        }
        return box;
    }
    void setEditorData(QWidget* editor, const QModelIndex& index) const override {
        if (auto* box = qobject_cast<QComboBox*>(editor))
            box->setCurrentText(index.data().toString());
        else
            QStyledItemDelegate::setEditorData(editor, index);
    }
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override {
        if (auto* box = qobject_cast<QComboBox*>(editor))
            model->setData(index, box->currentText());
        else
            QStyledItemDelegate::setModelData(editor, model, index);
    }

private:
    StudioSession& m_session;
    const TPanelList& m_list;
};

}  // namespace

class RowModel : public QAbstractTableModel {
public:
    RowModel(StudioSession& session, const TPanelList& list, QObject* parent)
        : QAbstractTableModel(parent), m_session(session), m_list(list) {}

    void Read(const TPanel& panel) {
        TPanelRows rows(panel, m_list);
        int count = rows.Count(), columns = int(m_list.columns.size());
        std::vector<QString> cells;
        for (int row = 0; row < count; ++row)
            for (int column = 0; column < columns; ++column)
                cells.push_back(Text(rows.Cell(row, column)));
        if (count == m_count) {
            m_cells = std::move(cells);
            if (count) Q_EMIT dataChanged(index(0, 0), index(count - 1, columns - 1));
            return;
        }
        beginResetModel();
        m_count = count;
        m_cells = std::move(cells);
        endResetModel();
    }

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : m_count;
    }
    int columnCount(const QModelIndex& = {}) const override { return int(m_list.columns.size()); }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        if (orientation == Qt::Vertical)
            return role == Qt::DisplayRole ? QVariant(section) : QVariant();
        const TListColumn& column = m_list.columns[size_t(section)];
        if (role == Qt::DisplayRole) return Text(column.title);
        return role == Qt::ToolTipRole ? QVariant(Text(HelpOf(column.key.Def()))) : QVariant();
    }
    QVariant data(const QModelIndex& index, int role) const override {
        const QString& cell = m_cells[size_t(index.row() * columnCount() + index.column())];
        bool isTruth = IsTruth(m_list.columns[size_t(index.column())]);
        if (role == Qt::CheckStateRole && isTruth)
            return cell == "on" ? Qt::Checked : Qt::Unchecked;
        bool isText = role == Qt::DisplayRole || role == Qt::EditRole;
        return isText && !isTruth ? QVariant(cell) : QVariant();
    }
    Qt::ItemFlags flags(const QModelIndex& index) const override {
        const TListColumn& column = m_list.columns[size_t(index.column())];
        Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
        if (!column.isEditable) return flags;
        return flags | (IsTruth(column) ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable);
    }
    bool setData(const QModelIndex& index, const QVariant& value, int role) override {
        bool isCheck = role == Qt::CheckStateRole;
        QString text = isCheck ? (value.toInt() == Qt::Checked ? "on" : "off") : value.toString();
        if (!isCheck && text == data(index, Qt::EditRole).toString()) return false;
        m_session.Do([this, row = index.row(), column = index.column(), text](Scene& scene) {
            TPanel panel = m_session.Panel(scene);
            TPanelResult result =
                TPanelRows(panel, m_list).SetCell(row, column, text.toStdString());
            if (!result) m_session.told.Send(MessageLevel::kError, result.error);
        });
        return true;
    }

private:
    StudioSession& m_session;
    const TPanelList& m_list;
    int m_count = 0;
    std::vector<QString> m_cells;
};

RowList::RowList(StudioSession& session, const TPanelList& list)
    : m_session(session), m_list(list), m_model(new RowModel(session, list, this)) {
    m_notice = new QLabel;
    m_notice->setObjectName("notice");
    m_notice->setAlignment(Qt::AlignCenter);
    m_view = new QTableView;
    m_view->setModel(m_model);
    m_view->setObjectName(Text(list.name) + "_rows");
    m_view->setAccessibleName(Text(list.name) + " list");
    m_view->setItemDelegate(new CellDelegate(session, list, this));
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setTabKeyNavigation(false);
    m_view->setFixedHeight(160);
    m_view->verticalHeader()->setDefaultSectionSize(22);
    m_view->horizontalHeader()->setMinimumSectionSize(32);
    for (size_t i = 0; i < list.columns.size(); ++i) {
        bool isWide = list.columns[i].key.Def().type == ParamType::kString;
        m_view->setColumnWidth(int(i), isWide ? 120 : IsTruth(list.columns[i]) ? 32 : 72);
    }
    m_buttons =
        MakeButtonRow(session, list.buttons, [this] { return m_view->currentIndex().row(); });
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_notice);
    column->addWidget(m_view);
    column->addWidget(m_buttons);
}

void RowList::Show(const TPanel& panel) {
    m_model->Read(panel);
    std::string why;
    bool isOn = !panel.IsEmpty();
    if (isOn && m_list.name == "area")
        isOn = AreAreasEnabled(*panel.Objects()[0], panel.GetScene().GetTime(), &why);
    m_notice->setText(Text(why).trimmed());
    m_notice->setVisible(!why.empty());
    m_view->setEnabled(isOn);
    m_buttons->setEnabled(isOn);
}

QWidget* MakeButtonRow(StudioSession& session, const std::vector<TPanelButton>& buttons,
                       std::function<int()> row) {
    auto* widget = new QWidget;
    auto* flow = new FlowLayout(widget);
    for (const TPanelButton& button : buttons) {
        auto* push = new QPushButton(Text(button.label));
        push->setObjectName(Text(button.command));
        // With arguments of its own, as the command line reads them.
        std::string name, error;
        TArguments fixed;
        ParseCommandText(button.command, &name, &fixed, &error);
        const TCommand* command = session.Commands().Find(name);
        push->setToolTip(Text(command->meaning) + "\nIn scripts: " + Text(button.command));
        QObject::connect(push, &QPushButton::clicked, push, [=, &session] {
            TArguments given = fixed;
            int current = row ? row() : -1;
            if (!button.rowArgument.empty()) {
                if (current < 0)
                    return session.told.Send(MessageLevel::kWarning, "Select a row of the list");
                ParamInput number{current};
                given[button.rowArgument] =
                    button.isRowList ? ParamInput(ParamInput::Array{number}) : number;
            }
            if (button.asks)
                RunWithForm(session, name, std::move(given), widget);
            else
                RunOnSelection(session, name, given);
        });
        flow->addWidget(push);
    }
    return widget;
}

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
#include <QTimer>
#include <QVBoxLayout>

#include "Dravin/panels/panel_list.h"
#include "apps/dravin/command_values.h"
#include "apps/studio/command_form.h"
#include "apps/studio/flow_layout.h"
#include "apps/studio/panels/color_button.h"
#include "apps/studio/panels/labelled_control.h"
#include "apps/studio/studio_session.h"
#include "common/pbstore/pb_store.h"
#include "host/scene/scene.h"
#include "host/scene/user_interface.h"

namespace {

bool IsTruth(const TListColumn& column) {
    return column.entries.empty() && column.key.Def().type == ParamType::kBool;
}
bool IsColor(const TListColumn& column) { return column.key.Def().type == ParamType::kColor; }

// Of a cell with "red green blue".
Color ColorOf(const QString& cell) {
    QStringList parts = cell.split(' ');
    if (parts.size() != 3) return {};
    return {parts[0].toFloat(), parts[1].toFloat(), parts[2].toFloat()};
}

// Cells with named values, and references, are chosen from what there is.
class CellDelegate : public QStyledItemDelegate {
public:
    CellDelegate(const PanelScope& scope, const TPanelList& list, QObject* parent)
        : QStyledItemDelegate(parent), m_scope(scope), m_list(list) {}

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
            m_scope.session.Look([this, key = column.key, now = index.data().toString(),
                                  box = QPointer<QComboBox>(box)](Scene& scene) {
                if (!box) return;
                for (const std::string& name : m_scope.panel(scene).Candidates(key))
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
    PanelScope m_scope;
    const TPanelList& m_list;
};

}  // namespace

class RowModel : public QAbstractTableModel {
public:
    RowModel(const PanelScope& scope, const TPanelList& list, QObject* parent)
        : QAbstractTableModel(parent), m_scope(scope), m_list(list) {}

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
        const TListColumn& column = m_list.columns[size_t(index.column())];
        bool isTruth = IsTruth(column);
        if (role == Qt::CheckStateRole && isTruth)
            return cell == "on" ? Qt::Checked : Qt::Unchecked;
        if (role == Qt::DecorationRole && IsColor(column)) return ShownColor(ColorOf(cell));
        bool isText = role == Qt::DisplayRole || role == Qt::EditRole;
        return isText && !isTruth ? QVariant(cell) : QVariant();
    }
    Qt::ItemFlags flags(const QModelIndex& index) const override {
        const TListColumn& column = m_list.columns[size_t(index.column())];
        Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
        if (!column.isEditable) return flags;
        if (IsColor(column)) return flags;
        return flags | (IsTruth(column) ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable);
    }
    bool setData(const QModelIndex& index, const QVariant& value, int role) override {
        bool isCheck = role == Qt::CheckStateRole;
        QString text = isCheck ? (value.toInt() == Qt::Checked ? "on" : "off") : value.toString();
        if (!isCheck && text == data(index, Qt::EditRole).toString()) return false;
        Change(m_scope,
               [&list = m_list, row = index.row(), column = index.column(), text](TPanel& panel) {
                   return TPanelRows(panel, list).SetCell(row, column, text.toStdString());
               });
        return true;
    }

private:
    PanelScope m_scope;
    const TPanelList& m_list;
    int m_count = 0;
    std::vector<QString> m_cells;
};

RowList::RowList(const PanelScope& scope, const TPanelList& list)
    : m_list(list), m_model(new RowModel(scope, list, this)) {
    m_notice = new QLabel;
    m_notice->setObjectName("notice");
    m_notice->setAlignment(Qt::AlignCenter);
    m_view = new QTableView;
    m_view->setModel(m_model);
    m_view->setObjectName(Text(list.name) + "_rows");
    m_view->setAccessibleName(Text(list.name) + " list");
    m_view->setItemDelegate(new CellDelegate(scope, list, this));
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setTabKeyNavigation(false);
    m_view->setFixedHeight(160);
    m_view->verticalHeader()->setDefaultSectionSize(22);
    m_view->horizontalHeader()->setMinimumSectionSize(32);
    for (size_t i = 0; i < list.columns.size(); ++i) {
        bool isWide = list.columns[i].key.Def().type == ParamType::kString;
        m_view->setColumnWidth(int(i), isWide ? 120 : IsTruth(list.columns[i]) ? 32 : 72);
    }
    connect(m_view, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
        if (!IsColor(m_list.columns[size_t(index.column())])) return;
        Color now = ColorOf(index.data(Qt::EditRole).toString());
        if (std::optional<Color> color = PickColor(now, this))
            m_model->setData(index, QString("%1 %2 %3").arg(color->r).arg(color->g).arg(color->b),
                             Qt::EditRole);
    });
    m_buttons = MakeButtonRow(scope, list.buttons, [this] { return Selected(); });
    if (list.buttons.empty()) m_buttons->hide();
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
    if (TDravin* object = panel.Scatter(); object && m_list.name == "area")
        isOn = AreAreasEnabled(*object, panel.GetScene().GetTime(), &why);
    m_notice->setText(Text(why).trimmed());
    m_notice->setVisible(!why.empty());
    m_view->setEnabled(isOn);
    m_buttons->setEnabled(isOn);
}

std::vector<int> RowList::Selected() const {
    int current = m_view->currentIndex().row();
    std::vector<int> rows;
    if (current >= 0) rows.push_back(current);
    for (const QModelIndex& index : m_view->selectionModel()->selectedRows())
        if (index.row() != current) rows.push_back(index.row());
    return rows;
}

namespace {

// The rows that a button's command takes; false after a word why it cannot run.
bool TakeRows(StudioSession& session, const TPanelButton& button, const std::vector<int>& rows,
              TArguments* arguments) {
    if (button.rowArgument.empty()) return true;
    if (rows.empty()) {
        session.told.Send(MessageLevel::kWarning, "Select a row of the list");
        return false;
    }
    ParamInput::Array numbers;
    for (int row : rows) numbers.emplace_back(row);
    if (rows.size() > 1 && !button.isRowList) {
        session.Ui().MessageBox(kMultipleSelectionMessage, kMessageCaption);
        return false;
    }
    (*arguments)[button.rowArgument] =
        button.isRowList ? ParamInput(std::move(numbers)) : numbers[0];
    return true;
}

void Press(const PanelScope& scope, const TPanelButton& button, const std::vector<int>& rows,
           QWidget* parent) {
    std::string name, error;
    TArguments given;
    // With arguments of its own, as the command line reads them.
    ParseCommandText(button.command, &name, &given, &error);
    if (!TakeRows(scope.session, button, rows, &given)) return;
    auto run = [=, &session = scope.session](TArguments all) {
        if (button.asks)
            RunWithForm(session, name, std::move(all), parent);
        else
            RunOnSelection(session, name, all);
    };
    if (!scope.named) return run(std::move(given));
    scope.session.Look([=](Scene& scene) {
        TArguments all = given;
        all.merge(scope.named(scene));
        // Not before this look has ended: a form waits for its user.
        QTimer::singleShot(0, parent, [=] { run(all); });
    });
}

}  // namespace

QWidget* MakeButtonRow(const PanelScope& scope, const std::vector<TPanelButton>& buttons,
                       std::function<std::vector<int>()> rows) {
    auto* widget = new QWidget;
    auto* flow = new FlowLayout(widget);
    for (const TPanelButton& button : buttons) {
        auto* push = new QPushButton(Text(button.label));
        flow->addWidget(push);
        if (button.command.empty()) {
            push->setToolTip("Kept for other programs; does nothing here");
            continue;
        }
        push->setObjectName(Text(button.command));
        std::string name = button.command.substr(0, button.command.find(' '));
        push->setToolTip(
            Text(button.tip.empty() ? scope.session.Commands().Find(name)->meaning : button.tip) +
            "\nIn scripts: " + Text(button.command));
        QObject::connect(push, &QPushButton::clicked, push,
                         [=] { Press(scope, button, rows ? rows() : std::vector<int>(), widget); });
    }
    return widget;
}

#include "apps/studio/windows/recovery_dialog.h"

#include <algorithm>

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QStandardItemModel>
#include <QVBoxLayout>

#include "apps/studio/theme.h"

namespace {

QString Text(const std::string& text) { return QString::fromStdString(text); }

QString Plural(qint64 n, const char* one) {
    return QString("%1 %2%3").arg(n).arg(one, n == 1 ? "" : "s");
}

QString NameOf(const LostSession& lost) {
    return lost.scene.empty() ? QString("Never saved scene")
                              : QFileInfo(Text(lost.scene)).fileName();
}

QIcon PictureOf(const LostSession& lost) {
    if (lost.picture.isNull()) return ThemeIcon("scatter");
    QIcon icon;
    for (QIcon::Mode mode : {QIcon::Normal, QIcon::Selected})  // without a tint
        icon.addPixmap(QPixmap::fromImage(lost.picture), mode);
    return icon;
}

}  // namespace

QString AgeText(const QDateTime& then, const QDateTime& now) {
    qint64 minutes = then.secsTo(now) / 60;
    if (minutes < 1) return "just now";
    if (minutes < 60) return Plural(minutes, "minute") + " ago";
    if (minutes < 24 * 60) return Plural(minutes / 60, "hour") + " ago";
    return Plural(minutes / (24 * 60), "day") + " ago";
}

RecoveryDialog::RecoveryDialog(std::vector<LostSession> lost, Actions actions, const QDateTime& now,
                               QWidget* parent)
    : QDialog(parent), m_lost(std::move(lost)), m_actions(std::move(actions)), m_now(now) {
    setWindowTitle("Recover Scenes");
    setObjectName("recovery");
    auto* intro = new QLabel(
        "Dravin Studio did not end well. These scenes had changes that were not saved; copies of "
        "them lie on disk.");
    intro->setWordWrap(true);
    m_list = new QListView;
    m_list->setModel(new QStandardItemModel(m_list));
    m_list->setAccessibleName("Scenes");
    m_list->setIconSize({120, 68});
    m_list->setSpacing(4);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_copies = new QComboBox;
    m_copies->setAccessibleName("Copy");
    m_place = new QLabel;
    m_place->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_place->setWordWrap(true);
    auto* form = new QFormLayout;
    form->addRow("Copy", m_copies);
    form->addRow("Place", m_place);
    auto* buttons = new QDialogButtonBox;
    m_recover = buttons->addButton("Recover", QDialogButtonBox::ActionRole);
    m_recover->setObjectName("recover");
    m_recover->setDefault(true);
    m_skip = buttons->addButton("Skip", QDialogButtonBox::ActionRole);
    m_skip->setObjectName("skip");
    m_skip->setToolTip("Offers this scene no more at the start; its copies stay");
    buttons->addButton("Later", QDialogButtonBox::RejectRole);
    auto* column = new QVBoxLayout(this);
    column->addWidget(intro);
    column->addWidget(m_list, 1);
    column->addLayout(form);
    column->addWidget(buttons);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this] { ShowCurrent(); });
    connect(m_copies, &QComboBox::currentIndexChanged, this, [this](int i) {
        int lost = Current();
        m_place->setText(lost < 0 || i < 0 ? ""
                                           : Text(m_lost[size_t(lost)].copies[size_t(i)].path));
    });
    connect(m_recover, &QPushButton::clicked, this, [this] { Recover(); });
    connect(m_skip, &QPushButton::clicked, this, [this] { Skip(); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    resize(600, 400);
    ShowList();
}

void RecoveryDialog::ShowList() {
    auto* model = static_cast<QStandardItemModel*>(m_list->model());
    model->clear();
    for (const LostSession& lost : m_lost) {
        QString file = lost.scene.empty() ? QString("no file yet") : Text(lost.scene);
        const SceneCopy& newest = lost.copies[0];
        QString text = NameOf(lost) + (lost.isSkipped ? " (skipped)" : "") + "\n" +
                       AgeText(newest.saved, m_now) + ", " + Plural(newest.numChanges, "change") +
                       "\n" + file;
        auto* item = new QStandardItem(PictureOf(lost), text);
        item->setToolTip(file);
        model->appendRow(item);
    }
    if (!m_lost.empty()) m_list->setCurrentIndex(model->index(0, 0));
    ShowCurrent();
}

int RecoveryDialog::Current() const {
    int row = m_list->currentIndex().row();
    return row < int(m_lost.size()) ? row : -1;
}

void RecoveryDialog::ShowCurrent() {
    int row = Current();
    m_copies->clear();
    for (QWidget* widget : std::initializer_list<QWidget*>{m_copies, m_recover, m_skip})
        widget->setEnabled(row >= 0);
    if (row < 0) return;
    QLocale english(QLocale::English);
    for (const SceneCopy& copy : m_lost[size_t(row)].copies)
        m_copies->addItem(english.toString(copy.saved, "d MMMM yyyy, HH:mm:ss") + " \u2014 " +
                          Plural(copy.numChanges, "change"));
    m_skip->setEnabled(!m_lost[size_t(row)].isSkipped);
}

void RecoveryDialog::Recover() {
    int row = Current(), copy = m_copies->currentIndex();
    if (row < 0 || copy < 0) return;
    LostSession lost = m_lost[size_t(row)];
    accept();
    m_actions.recover(lost, lost.copies[size_t(copy)]);
}

void RecoveryDialog::Skip() {
    int row = Current();
    if (row < 0) return;
    m_actions.skip(m_lost[size_t(row)]);
    m_lost.erase(m_lost.begin() + row);
    ShowList();
    if (m_lost.empty()) accept();
}

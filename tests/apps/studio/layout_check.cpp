#include "tests/apps/studio/layout_check.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QSplitterHandle>
#include <QStyle>
#include <QTabBar>
#include <QToolBar>
#include <QToolButton>

namespace {

std::string NameOf(const QWidget& widget, const QString& text) {
    QString name =
        widget.objectName().isEmpty() ? widget.metaObject()->className() : widget.objectName();
    return (name + " \"" + text.left(40) + "\"").toStdString();
}

// Room that a widget's own text wants, where that is known.
QSize Wanted(const QWidget& widget, QString* text) {
    if (auto* label = qobject_cast<const QLabel*>(&widget)) {
        *text = label->text();
        if (text->isEmpty()) return {};
        if (label->wordWrap()) return {0, label->heightForWidth(label->width())};
        return label->minimumSizeHint();
    }
    if (auto* button = qobject_cast<const QAbstractButton*>(&widget)) {
        *text = button->text();
        return text->isEmpty() ? QSize() : button->sizeHint();
    }
    if (auto* edit = qobject_cast<const QLineEdit*>(&widget)) {
        *text = edit->placeholderText();
        if (text->isEmpty()) return {};
        return {edit->fontMetrics().horizontalAdvance(*text), edit->fontMetrics().height()};
    }
    if (auto* box = qobject_cast<const QComboBox*>(&widget)) {
        *text = box->currentText();
        return {0, box->fontMetrics().height()};
    }
    return {};
}

void CheckText(const QWidget& widget, std::vector<std::string>& faults) {
    QString text;
    QSize wanted = Wanted(widget, &text);
    QSize has = widget.size();
    if (wanted.width() > has.width() || wanted.height() > has.height())
        faults.push_back(NameOf(widget, text) + " has " + std::to_string(has.width()) + " x " +
                         std::to_string(has.height()) + " and wants " +
                         std::to_string(wanted.width()) + " x " + std::to_string(wanted.height()));
}

// Tabs, and tools that a bar has no room for.
void CheckParts(const QWidget& widget, std::vector<std::string>& faults) {
    if (auto* bar = qobject_cast<const QToolBar*>(&widget)) {
        auto* rest = bar->findChild<QToolButton*>("qt_toolbar_ext_button");
        if (rest && rest->isVisible()) faults.push_back(NameOf(widget, "") + " hides tools");
    }
    if (auto* tabs = qobject_cast<const QTabBar*>(&widget))
        for (int i = 0; i < tabs->count(); ++i)
            if (tabs->fontMetrics().horizontalAdvance(tabs->tabText(i)) > tabs->tabRect(i).width())
                faults.push_back(NameOf(widget, tabs->tabText(i)) + " is cut");
}

bool IsLaid(const QWidget& widget) {
    return widget.isVisible() && !widget.isWindow() && !widget.size().isEmpty() &&
           !qobject_cast<const QSplitterHandle*>(&widget);
}

// Siblings that a layout has placed.
void CheckSiblings(const QWidget& parent, std::vector<std::string>& faults) {
    if (!parent.layout()) return;
    QList<QWidget*> laid;
    for (QWidget* child : parent.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
        if (IsLaid(*child) && parent.layout()->indexOf(child) >= 0) laid.push_back(child);
    for (qsizetype i = 0; i < laid.size(); ++i)
        for (qsizetype j = i + 1; j < laid.size(); ++j)
            if (laid[i]->geometry().intersects(laid[j]->geometry()))
                faults.push_back(NameOf(*laid[i], laid[i]->accessibleName()) + " covers " +
                                 NameOf(*laid[j], laid[j]->accessibleName()));
}

QString Pretended(const QString& text) {
    // Numbers of lists and what has been replaced already stay.
    if (text.isEmpty() || text.contains('<') || text.startsWith('[')) return text;
    static const QString plain = "aeiouyncsAEIOUYNCS", accented = "áéïöûýñçšÁÉÏÖÛÝÑÇŠ";
    QString longer = text;
    for (QChar& c : longer)
        if (qsizetype at = plain.indexOf(c); at >= 0) c = accented[at];
    return "[" + longer + QString((text.size() * 2 + 4) / 5, QChar('~')) + "]";
}

}  // namespace

std::vector<std::string> LayoutFaults(QWidget& window) {
    std::vector<std::string> faults;
    QList<QWidget*> all = window.findChildren<QWidget*>();
    all.push_back(&window);
    for (QWidget* widget : all) {
        // What is shown in windows of its own is asked for itself.
        if (!widget->isVisible() || (widget != &window && widget->window() != window.window()))
            continue;
        CheckText(*widget, faults);
        CheckParts(*widget, faults);
        CheckSiblings(*widget, faults);
    }
    return faults;
}

void PretendTranslation(QWidget& window) {
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        if (auto* label = qobject_cast<QLabel*>(widget)) label->setText(Pretended(label->text()));
        if (auto* box = qobject_cast<QGroupBox*>(widget)) box->setTitle(Pretended(box->title()));
        if (auto* edit = qobject_cast<QLineEdit*>(widget))
            edit->setPlaceholderText(Pretended(edit->placeholderText()));
        if (auto* menu = qobject_cast<QMenu*>(widget)) menu->setTitle(Pretended(menu->title()));
        if (auto* tabs = qobject_cast<QTabBar*>(widget))
            for (int i = 0; i < tabs->count(); ++i)
                tabs->setTabText(i, Pretended(tabs->tabText(i)));
        auto* button = qobject_cast<QAbstractButton*>(widget);
        auto* tool = qobject_cast<QToolButton*>(widget);
        bool isOfAction = tool && tool->defaultAction();
        if (button && !isOfAction) button->setText(Pretended(button->text()));
    }
    for (QAction* action : window.findChildren<QAction*>())
        action->setText(Pretended(action->text()));
}

#include "apps/studio/theme.h"

#include <QApplication>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>

namespace {

Theme g_theme = Theme::kDark;

// Frames of boxes to tick, which the style draws in a shade of the window, stand out from it.
class MarkStyle : public QProxyStyle {
public:
    MarkStyle() : QProxyStyle(QStyleFactory::create("Fusion")) {}

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override {
        bool isMark = element == PE_IndicatorCheckBox || element == PE_IndicatorRadioButton;
        auto* button = isMark ? qstyleoption_cast<const QStyleOptionButton*>(option) : nullptr;
        if (!button) return QProxyStyle::drawPrimitive(element, option, painter, widget);
        constexpr int kUndoesShade = 140;
        QStyleOptionButton marked(*button);
        marked.palette.setColor(QPalette::Window, CurrentColors().dimText.lighter(kUndoesShade));
        QProxyStyle::drawPrimitive(element, &marked, painter, widget);
    }
};

QPalette PaletteOf(const ThemeColors& c) {
    QPalette p;
    p.setColor(QPalette::Window, c.window);
    p.setColor(QPalette::Base, c.field);
    p.setColor(QPalette::AlternateBase, c.panel);
    p.setColor(QPalette::Button, c.panel);
    p.setColor(QPalette::ToolTipBase, c.panel);
    for (auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        p.setColor(role, c.text);
        p.setColor(QPalette::Disabled, role, c.dimText);
    }
    p.setColor(QPalette::PlaceholderText, c.dimText);
    p.setColor(QPalette::Highlight, c.accent);
    p.setColor(QPalette::HighlightedText, c.accentText);
    p.setColor(QPalette::Link, c.accent);
    p.setColor(QPalette::Mid, c.border);
    p.setColor(QPalette::Dark, c.border);
    return p;
}

// A grid of four pixels; what has the focus has a ring of two.
QString SheetOf(const ThemeColors& c) {
    QString sheet = R"(
QToolTip { border: 1px solid %border; padding: 4px; }
QMainWindow::separator { background: %border; width: 3px; height: 3px; }
QDockWidget { titlebar-close-icon: none; titlebar-normal-icon: none; }
QDockWidget::title { background: %window; padding: 6px 8px; }
QToolBar { border: none; border-bottom: 1px solid %border; padding: 4px; spacing: 2px; }
QToolBar QToolButton { padding: 4px; border: 2px solid transparent; border-radius: 4px; }
QToolBar QToolButton:hover { background: %panel; }
QToolBar QToolButton:checked { background: %panel; border-color: %border; }
QToolBar QToolButton:focus { border-color: %accent; }
QStatusBar { border-top: 1px solid %border; }
QStatusBar::item { border: none; }
QTreeView, QTableView, QListView, QPlainTextEdit { border: none; background: %field; }
QListView::item { padding: 2px; }
QHeaderView::section { background: %panel; border: none; border-right: 1px solid %border;
                       padding: 4px; }
QPushButton { background: %panel; border: 2px solid %border; border-radius: 4px;
              padding: 2px 8px; min-height: 18px; }
QPushButton:hover, QPushButton:focus { border-color: %accent; }
QPushButton:disabled { color: %dim; }
QLineEdit, QComboBox { background: %field; border: 2px solid %border; border-radius: 4px;
                       padding: 1px 4px; min-height: 18px; }
QLineEdit:focus, QComboBox:focus { border-color: %accent; }
QLineEdit[error="true"] { border-color: %error; color: %error; }
QLineEdit[keyed="true"] { border-color: %keyed; }
QLineEdit:disabled, QComboBox:disabled { color: %dim; background: %window; }
QToolButton#rollout { background: %panel; border: 2px solid transparent; border-radius: 4px;
                      font-weight: bold; padding: 4px; text-align: left; }
QToolButton#rollout:focus { border-color: %accent; }
QLabel#group { color: %dim; font-weight: bold; padding-top: 6px; }
QLabel#notice { color: %warning; }
)";
    // Longer names before those that they begin with.
    const std::pair<const char*, QColor> names[] = {
        {"%border", c.border}, {"%window", c.window}, {"%panel", c.panel},
        {"%accent", c.accent}, {"%field", c.field},   {"%error", c.error},
        {"%keyed", c.keyed},   {"%dim", c.dimText},   {"%warning", c.warning}};
    for (const auto& [name, color] : names) sheet.replace(name, color.name());
    return sheet;
}

}  // namespace

const ThemeColors& ColorsOf(Theme theme) {
    static const ThemeColors dark{"#26292e", "#32363d", "#1c1f23", "#4a505a", "#e6e8eb", "#a0a7b2",
                                  "#5aa9e6", "#0b1620", "#ff7b72", "#e3b341", "#c678dd", "#1b1e22"};
    static const ThemeColors light{"#f3f4f6", "#e4e7eb", "#ffffff", "#b4bac4",
                                   "#1b1f24", "#59616d", "#0b63b0", "#ffffff",
                                   "#b42318", "#8a5a00", "#8b3fb0", "#d7dbe0"};
    return theme == Theme::kDark ? dark : light;
}

const ThemeColors& CurrentColors() { return ColorsOf(g_theme); }
Theme CurrentTheme() { return g_theme; }

void ApplyTheme(QApplication& application, Theme theme) {
    g_theme = theme;
    application.setStyle(new MarkStyle);
    application.setPalette(PaletteOf(ColorsOf(theme)));
    application.setStyleSheet(SheetOf(ColorsOf(theme)));
}

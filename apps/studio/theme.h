// How the application looks: one table of colours, light and dark, and the icons drawn in them.
#pragma once

#include <span>

#include <QColor>

class QApplication;
class QIcon;
class QString;

struct ThemeColors {
    QColor window, panel, field, border, text, dimText, accent, accentText, error, warning, keyed,
        view;
};

enum class Theme { kDark, kLight };

const ThemeColors& ColorsOf(Theme theme);
// Of the application as it is now.
const ThemeColors& CurrentColors();
Theme CurrentTheme();
void ApplyTheme(QApplication& application, Theme theme);

// Sharp at every scale, in the text colour of the current theme. Names stand in icons.cpp; another
// name gives an empty icon.
QIcon ThemeIcon(const char* name);
std::span<const char* const> ThemeIconNames();

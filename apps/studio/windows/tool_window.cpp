#include "apps/studio/windows/tool_window.h"

#include <algorithm>
#include <string>

#include <QGuiApplication>
#include <QLayout>
#include <QScreen>

#include "Dravin/config/settings.h"
#include "host/base/log.h"

namespace {

std::string KeyOf(const char* name) { return std::string(kSettingsKey) + "\\" + name; }

}  // namespace

QRect PlacedOnScreen(QRect place, const QRect& screen) {
    place.setSize(place.size().boundedTo(screen.size()));
    place.moveLeft(std::clamp(place.left(), screen.left(), screen.right() + 1 - place.width()));
    place.moveTop(std::clamp(place.top(), screen.top(), screen.bottom() + 1 - place.height()));
    return place;
}

ToolWindow::ToolWindow(const char* name, const QString& title, QSize size, QWidget* parent)
    : QWidget(parent, Qt::Window), m_name(name), m_firstSize(size) {
    setObjectName(name);
    setWindowTitle(title);
    resize(size);
}

void ToolWindow::Open() {
    show();
    raise();
    activateWindow();
}

void ToolWindow::showEvent(QShowEvent* event) {
    if (!std::exchange(m_isPlaced, true)) {
        LoadPlace();
        // Texts may be larger than they were when that size was chosen.
        if (layout())
            resize(size().expandedTo(layout()->sizeHint().boundedTo(screen()->availableSize())));
    }
    QWidget::showEvent(event);
}

void ToolWindow::hideEvent(QHideEvent* event) {
    if (m_isPlaced) SavePlace();
    QWidget::hideEvent(event);
}

void ToolWindow::LoadPlace() {
    SettingsStore settings = DravinSettings();
    auto read = [&](const char* value) { return settings.ReadInt(KeyOf(m_name), value, 0); };
    QRect place(read("Left"), read("Top"), read("Width"), read("Height"));
    if (place.isEmpty()) return;  // never stored
    QScreen* screen = QGuiApplication::screenAt(place.center());
    if (!screen) screen = QGuiApplication::primaryScreen();
    if (screen) setGeometry(PlacedOnScreen(place, screen->availableGeometry()));
}

void ToolWindow::SavePlace() {
    SettingsStore settings = DravinSettings();
    QRect place = geometry();
    const std::pair<const char*, int> values[] = {{"Left", place.left()},
                                                  {"Top", place.top()},
                                                  {"Width", place.width()},
                                                  {"Height", place.height()}};
    std::string error;
    for (const auto& [value, number] : values)
        if (!settings.Write(KeyOf(m_name), value, std::to_string(number), &error))
            return LogWarning("The window's place is not kept: " + error);
}

// Windows that the main window has opened.
#pragma once

#include <QWidget>

// Null until it has been opened once.
template <class Window>
Window* Child(const QWidget& parent) {
    for (QWidget* child : parent.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
        if (auto* window = dynamic_cast<Window*>(child)) return window;
    return nullptr;
}

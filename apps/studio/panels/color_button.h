// A swatch of a linear colour, shown as displays show it. A click opens the picker; a swatch
// dragged onto another gives it its colour.
#pragma once

#include <functional>

#include <QPushButton>

#include "host/math/color.h"

class ColorButton : public QPushButton {
public:
    explicit ColorButton(std::function<void(const Color&)> set, QWidget* parent = nullptr);
    void Show(const Color& color, bool isMixed);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void Pick();

    std::function<void(const Color&)> m_set;
    Color m_color;
    bool m_isMixed = false;
};

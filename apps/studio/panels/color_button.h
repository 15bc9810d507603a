// A swatch of a display colour (sRGB), as those of materials, maps and tints are. A click opens the
// picker; a swatch dragged onto another gives it its colour.
#pragma once

#include <functional>
#include <optional>

#include <QPushButton>

#include "host/math/color.h"

// As the screen shows it; what is beyond its range is cut.
QColor ShownColor(const Color& color);
// Asks for another colour; none when it stays.
std::optional<Color> PickColor(const Color& now, QWidget* parent);

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

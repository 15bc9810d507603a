#include "apps/studio/panels/color_button.h"

#include <algorithm>
#include <cmath>

#include <QApplication>
#include <QColorDialog>
#include <QDrag>
#include <QDropEvent>
#include <QMimeData>
#include <QPainter>

#include "apps/studio/theme.h"

QColor ShownColor(const Color& c) {
    auto part = [](float v) { return std::isfinite(v) ? std::clamp(v, 0.0f, 1.0f) : 0.0f; };
    return QColor::fromRgbF(part(c.r), part(c.g), part(c.b));
}

// What is not touched keeps its exact value: eight bits a channel come from the picker alone.
std::optional<Color> PickColor(const Color& now, QWidget* parent) {
    QColorDialog dialog(ShownColor(now), parent);
    dialog.setWindowTitle("Colour (sRGB)");
    dialog.setOption(QColorDialog::DontUseNativeDialog);
    if (dialog.exec() != QDialog::Accepted || dialog.currentColor() == ShownColor(now)) return {};
    QColor c = dialog.currentColor();
    return Color{c.redF(), c.greenF(), c.blueF()};
}

ColorButton::ColorButton(std::function<void(const Color&)> set, QWidget* parent)
    : QPushButton(parent), m_set(std::move(set)) {
    setFixedWidth(64);
    setAcceptDrops(true);
    connect(this, &QPushButton::clicked, this, [this] { Pick(); });
}

void ColorButton::Show(const Color& color, bool isMixed) {
    m_color = color;
    m_isMixed = isMixed;
    update();
}

void ColorButton::Pick() {
    if (std::optional<Color> color = PickColor(m_color, this)) m_set(*color);
}

void ColorButton::paintEvent(QPaintEvent* event) {
    QPushButton::paintEvent(event);
    QPainter painter(this);
    QRect inside = rect().adjusted(5, 5, -5, -5);
    if (m_isMixed) return painter.drawText(inside, Qt::AlignCenter, QString(u'\u2013'));
    painter.setOpacity(isEnabled() ? 1 : 0.4);
    painter.fillRect(inside, ShownColor(m_color));
}

void ColorButton::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton) || rect().contains(event->pos())) return;
    auto* drag = new QDrag(this);
    auto* data = new QMimeData;
    data->setData("application/x-dravin-color",
                  QByteArray(reinterpret_cast<const char*>(&m_color), sizeof(m_color)));
    drag->setMimeData(data);
    setDown(false);
    drag->exec();
}

void ColorButton::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasFormat("application/x-dravin-color")) event->acceptProposedAction();
}

void ColorButton::dropEvent(QDropEvent* event) {
    QByteArray bytes = event->mimeData()->data("application/x-dravin-color");
    Color color;
    if (size_t(bytes.size()) != sizeof(color)) return;
    std::copy_n(bytes.constData(), sizeof(color), reinterpret_cast<char*>(&color));
    bool isColor = std::isfinite(color.r) && std::isfinite(color.g) && std::isfinite(color.b);
    if (isColor) m_set(color);
}

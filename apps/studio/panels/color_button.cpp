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

namespace {

float ToDisplay(float linear) {
    float c = std::clamp(linear, 0.0f, 1.0f);
    return c <= 0.0031308f ? 12.92f * c : 1.055f * std::pow(c, 1 / 2.4f) - 0.055f;
}
float ToLinear(float shown) {
    return shown <= 0.04045f ? shown / 12.92f : std::pow((shown + 0.055f) / 1.055f, 2.4f);
}
QColor Shown(const Color& c) {
    return QColor::fromRgbF(ToDisplay(c.r), ToDisplay(c.g), ToDisplay(c.b));
}

}  // namespace

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

// What is not touched keeps its exact value: eight bits a channel come from the picker alone.
void ColorButton::Pick() {
    QColorDialog dialog(Shown(m_color), this);
    dialog.setWindowTitle("Colour (shown as sRGB, kept linear)");
    dialog.setOption(QColorDialog::DontUseNativeDialog);
    if (dialog.exec() != QDialog::Accepted || dialog.currentColor() == Shown(m_color)) return;
    QColor c = dialog.currentColor();
    m_set({ToLinear(c.redF()), ToLinear(c.greenF()), ToLinear(c.blueF())});
}

void ColorButton::paintEvent(QPaintEvent* event) {
    QPushButton::paintEvent(event);
    QPainter painter(this);
    QRect inside = rect().adjusted(5, 5, -5, -5);
    if (m_isMixed) return painter.drawText(inside, Qt::AlignCenter, QString(u'\u2013'));
    painter.setOpacity(isEnabled() ? 1 : 0.4);
    painter.fillRect(inside, Shown(m_color));
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

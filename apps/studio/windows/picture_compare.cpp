#include "apps/studio/windows/picture_compare.h"

#include <algorithm>
#include <cmath>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include "apps/studio/theme.h"

namespace {

constexpr double kLeastZoom = 0.02, kMostZoom = 64;
constexpr double kKeyStep = 0.02;

}  // namespace

PictureCompare::PictureCompare(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(160, 90);
    setAccessibleName("Picture");
    setToolTip("Wheel: zoom. Middle button: pan. Double click: all of it. Drag the line: A and B.");
}

void PictureCompare::Show(const QImage& a, const QImage& b) {
    bool isOther = a.size() != m_a.size();
    m_a = a, m_b = b;
    if (isOther || m_isFitted) Fit();
    update();
}

void PictureCompare::SetSplit(double split) {
    m_split = std::clamp(split, 0.0, 1.0);
    update();
}

void PictureCompare::Fit() {
    m_isFitted = true;
    m_center = {m_a.width() / 2.0, m_a.height() / 2.0};
    double wide = double(width()) / std::max(m_a.width(), 1);
    double high = double(height()) / std::max(m_a.height(), 1);
    m_zoom = std::clamp(std::min({wide, high, 1.0}), kLeastZoom, kMostZoom);
    update();
}

QRectF PictureCompare::PictureRect() const {
    QPointF corner = QPointF(width() / 2.0, height() / 2.0) - m_center * m_zoom;
    return {corner, QSizeF(m_a.size()) * m_zoom};
}

void PictureCompare::paintEvent(QPaintEvent*) {
    const ThemeColors& colors = CurrentColors();
    QPainter painter(this);
    painter.fillRect(rect(), colors.view);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, m_zoom < 1);
    painter.setPen(colors.dimText);
    if (m_a.isNull())
        return painter.drawText(rect(), Qt::AlignCenter, "Nothing has been rendered yet");
    QRectF place = PictureRect();
    painter.drawImage(place, m_a);
    if (!IsComparing()) return;
    double x = place.left() + m_split * place.width();
    painter.save();
    painter.setClipRect(QRectF(x, 0, width() - x, height()));
    painter.drawImage(place, m_b);  // scaled to the other one's size
    painter.restore();
    painter.setPen(QPen(colors.accent, 2));
    painter.drawLine(QPointF(x, place.top()), QPointF(x, place.bottom()));
    painter.drawText(QPointF(x - 16, place.top() + 16), "A");
    painter.drawText(QPointF(x + 8, place.top() + 16), "B");
}

void PictureCompare::resizeEvent(QResizeEvent*) {
    if (m_isFitted) Fit();
}

void PictureCompare::SplitAt(double x) {
    QRectF place = PictureRect();
    if (IsComparing() && place.width() > 0) SetSplit((x - place.left()) / place.width());
}

void PictureCompare::mousePressEvent(QMouseEvent* event) {
    m_last = event->position();
    if (event->button() == Qt::LeftButton) SplitAt(m_last.x());
}

void PictureCompare::mouseMoveEvent(QMouseEvent* event) {
    QPointF by = event->position() - m_last;
    m_last = event->position();
    if (event->buttons() & Qt::MiddleButton) {
        m_center -= by / m_zoom;
        m_isFitted = false;
        update();
    }
    if (event->buttons() & Qt::LeftButton) SplitAt(m_last.x());
}

void PictureCompare::mouseDoubleClickEvent(QMouseEvent*) { Fit(); }

void PictureCompare::wheelEvent(QWheelEvent* event) {
    if (m_a.isNull()) return;
    QPointF at = event->position() - QPointF(width() / 2.0, height() / 2.0);
    QPointF pixel = m_center + at / m_zoom;
    constexpr double kStepsToDouble = 480;
    double factor = std::exp2(event->angleDelta().y() / kStepsToDouble);
    m_zoom = std::clamp(m_zoom * factor, kLeastZoom, kMostZoom);
    m_center = pixel - at / m_zoom;
    m_isFitted = false;
    update();
}

void PictureCompare::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Left) return SetSplit(m_split - kKeyStep);
    if (event->key() == Qt::Key_Right) return SetSplit(m_split + kKeyStep);
    if (event->key() == Qt::Key_F) return Fit();
    QWidget::keyPressEvent(event);
}

#include "apps/studio/windows/time_ruler.h"

#include <algorithm>
#include <cmath>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include "apps/studio/theme.h"

namespace {

constexpr int kMargin = 10;      // pixels left and right of the range
constexpr int kLabelWidth = 44;  // room of a number

}  // namespace

TimeRuler::TimeRuler(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName("Time");
    setToolTip(
        "Drag to move through time. Left and Right: a frame, Home and End: the ends of the range.");
    setMinimumSize(120, 32);
}

void TimeRuler::Show(int first, int last, double frame, std::vector<double> keys) {
    m_first = first, m_last = std::max(last, first);
    m_frame = frame;
    m_keys = std::move(keys);
    update();
}

double TimeRuler::XOf(double frame) const {
    double span = std::max(m_last - m_first, 1);
    return kMargin + (frame - m_first) / span * std::max(width() - 2 * kMargin, 1);
}

double TimeRuler::FrameAt(double x) const {
    double span = std::max(m_last - m_first, 1);
    return m_first + (x - kMargin) / std::max(width() - 2 * kMargin, 1) * span;
}

int TimeRuler::LabelStep() const {
    int most = std::max(width() / kLabelWidth, 1);
    for (int64_t unit = 1;; unit *= 10)
        for (int64_t step : {unit, 2 * unit, 5 * unit})
            if ((int64_t(m_last) - m_first) / step <= most) return int(step);
}

void TimeRuler::paintEvent(QPaintEvent*) {
    const ThemeColors& colors = CurrentColors();
    QPainter painter(this);
    painter.fillRect(rect(), colors.field);
    painter.setRenderHint(QPainter::Antialiasing);
    int step = LabelStep(), bottom = height() - 1;
    auto first = int(std::ceil(double(m_first) / step)) * int64_t(step);
    for (int64_t frame = first; frame <= m_last; frame += step) {
        double x = XOf(double(frame));
        painter.setPen(colors.border);
        painter.drawLine(QPointF(x, bottom - 6), QPointF(x, bottom));
        painter.setPen(colors.dimText);
        painter.drawText(QRectF(x - kLabelWidth / 2.0, 0, kLabelWidth, height() - 8),
                         Qt::AlignHCenter | Qt::AlignBottom, QString::number(frame));
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors.keyed);
    constexpr double kHalf = 4;
    for (double key : m_keys) {
        double x = XOf(key);
        const QPointF diamond[] = {
            {x, 2}, {x + kHalf, 2 + kHalf}, {x, 2 + 2 * kHalf}, {x - kHalf, 2 + kHalf}};
        painter.drawPolygon(diamond, 4);
    }
    painter.setPen(QPen(colors.accent, 2));
    painter.drawLine(QPointF(XOf(m_frame), 0), QPointF(XOf(m_frame), bottom));
    if (!hasFocus()) return;
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect().adjusted(1, 1, -1, -1));
}

void TimeRuler::Pick(double x) {
    if (onFrame) onFrame(std::clamp(int(std::lround(FrameAt(x))), m_first, m_last));
}

void TimeRuler::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) Pick(event->position().x());
}

void TimeRuler::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton) Pick(event->position().x());
}

void TimeRuler::keyPressEvent(QKeyEvent* event) {
    auto go = [this](double frame) {
        if (onFrame) onFrame(std::clamp(int(std::lround(frame)), m_first, m_last));
    };
    switch (event->key()) {
        case Qt::Key_Left:
            return go(std::ceil(m_frame) - 1);
        case Qt::Key_Right:
            return go(std::floor(m_frame) + 1);
        case Qt::Key_Home:
            return go(m_first);
        case Qt::Key_End:
            return go(m_last);
        default:
            QWidget::keyPressEvent(event);
    }
}

#include "apps/studio/windows/curve_view.h"

#include <cmath>

#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>

#include "Dravin/panels/curve_shape.h"
#include "Dravin/panels/number_entry.h"
#include "apps/studio/theme.h"

namespace {

constexpr double kReach = 8;    // pixels that still hit
constexpr int kGridLines = 10;  // of each axis
constexpr double kSnap = 0.05;  // of each axis
constexpr int kMargin = 32;

bool IsNear(const QPointF& a, const QPointF& b) {
    return std::hypot(a.x() - b.x(), a.y() - b.y()) <= kReach;
}
double Snapped(double value) { return std::round(value / kSnap) * kSnap; }

}  // namespace

CurveView::CurveView(Hooks hooks, QWidget* parent) : QWidget(parent), m_hooks(std::move(hooks)) {
    setObjectName("curve_view");
    setAccessibleName("Curve");
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(240, 160);
}

void CurveView::Show(std::vector<CurvePoint> points, float yMax) {
    if (IsInGesture()) return;
    if (points.size() != m_points.size()) m_selected.clear();
    m_points = std::move(points);
    m_yMax = yMax;
    update();
    m_hooks.selected();
}

void CurveView::ShowUse(std::vector<size_t> counts) {
    if (counts == m_use) return;
    m_use = std::move(counts);
    update();
}

void CurveView::Select(std::set<size_t> points) {
    m_selected = std::move(points);
    update();
    m_hooks.selected();
}

void CurveView::Frame() {
    m_shown = {-0.05, -0.05, 1.1, 1.1};
    update();
}

// --- places

QRectF CurveView::Area() const { return QRectF(rect()).adjusted(kMargin, 8, -8, -20); }

QPointF CurveView::At(double x, double y) const {
    QRectF area = Area();
    double u = (x - m_shown.x()) / m_shown.width();
    double v = (y / m_yMax - m_shown.y()) / m_shown.height();
    return {area.left() + u * area.width(), area.bottom() - v * area.height()};
}

QPointF CurveView::ValueAt(const QPointF& position) const {
    QRectF area = Area();
    double u = (position.x() - area.left()) / area.width();
    double v = (area.bottom() - position.y()) / area.height();
    return {m_shown.x() + u * m_shown.width(), (m_shown.y() + v * m_shown.height()) * m_yMax};
}

QPointF CurveView::HandleAt(size_t i, bool isOut) const {
    const CurvePoint& p = m_points[i];
    return isOut ? At(p.px + p.outx, p.py + p.outy) : At(p.px + p.inx, p.py + p.iny);
}

int CurveView::PointAt(const QPointF& position) const {
    for (size_t i = m_points.size(); i-- > 0;)
        if (IsNear(At(m_points[i].px, m_points[i].py), position)) return int(i);
    return -1;
}

// Handles of the selected points are seen; the outer ones of the ends shape nothing.
bool CurveView::FindHandle(const QPointF& position, size_t* index, bool* isOut) const {
    for (size_t i : m_selected) {
        if (i >= m_points.size()) continue;
        const CurvePoint& p = m_points[i];
        for (bool out : {false, true}) {
            bool isEnd = out ? i + 1 == m_points.size() : i == 0;
            bool isThere = out ? p.outx != 0 || p.outy != 0 : p.inx != 0 || p.iny != 0;
            if (isEnd || !isThere || !IsNear(HandleAt(i, out), position)) continue;
            *index = i;
            *isOut = out;
            return true;
        }
    }
    return false;
}

bool CurveView::IsOnCurve(const QPointF& position) const {
    BezierCurve curve(m_points);
    QPointF value = ValueAt(position);
    return std::abs(At(value.x(), curve.Value(float(value.x()))).y() - position.y()) <= kReach;
}

// --- gestures

void CurveView::Change(std::vector<CurvePoint> points) {
    if (IsInGesture()) return;
    m_points = std::move(points);
    std::erase_if(m_selected, [this](size_t i) { return i >= m_points.size(); });
    update();
    m_hooks.commit(m_points);
    m_hooks.selected();
}

void CurveView::AddAt(const QPointF& position) {
    std::vector<CurvePoint> points = m_points;
    size_t at = InsertCurvePoint(points, float(ValueAt(position).x()));
    m_selected = {at};
    if (points != m_points) Change(std::move(points));
}

void CurveView::mousePressEvent(QMouseEvent* event) {
    if (IsInGesture()) {
        if (event->button() == Qt::RightButton) Finish(false);
        return;
    }
    QPointF at = event->position();
    m_pressed = m_last = at;
    m_before = m_points;
    m_hasMoved = false;
    if (event->button() == Qt::MiddleButton && event->modifiers() & Qt::AltModifier)
        m_gesture = Gesture::kPan;
    if (event->button() != Qt::LeftButton) return;
    if (FindHandle(at, &m_handle, &m_isOut)) {
        m_gesture = Gesture::kHandle;
        return;
    }
    int hit = PointAt(at);
    bool adds = event->modifiers() & Qt::ControlModifier;
    if (hit < 0 && adds && IsOnCurve(at)) return AddAt(at);
    if (hit < 0) {
        m_gesture = Gesture::kRectangle;
        if (!adds) Select({});
        return;
    }
    std::set<size_t> selected = m_selected;
    if (event->modifiers() & Qt::ShiftModifier || adds) selected.insert(size_t(hit));
    if (!m_selected.contains(size_t(hit)) && selected == m_selected) selected = {size_t(hit)};
    Select(std::move(selected));
    m_gesture = Gesture::kPoints;
}

void CurveView::mouseMoveEvent(QMouseEvent* event) {
    if (m_gesture == Gesture::kNone) return;
    Drag(event->position(), event->modifiers());
    m_last = event->position();
    update();
}

void CurveView::Drag(const QPointF& position, Qt::KeyboardModifiers modifiers) {
    if (m_gesture == Gesture::kRectangle) return;
    if (m_gesture == Gesture::kPan) {
        QPointF by = ValueAt(position) - ValueAt(m_last);
        m_shown.translate(-by.x(), -by.y() / m_yMax);
        return;
    }
    m_hasMoved = true;
    QPointF value = ValueAt(position), offset = value - ValueAt(m_pressed);
    if (modifiers & Qt::ControlModifier)
        value = {Snapped(value.x()), Snapped(value.y() / m_yMax) * m_yMax};
    m_points = m_before;
    if (m_gesture == Gesture::kHandle) {
        MoveCurveHandle(m_points, m_handle, m_isOut, float(value.x()), float(value.y()),
                        bool(modifiers & Qt::AltModifier));
    } else {
        int hit = -1;
        for (size_t i : m_selected)
            if (IsNear(At(m_before[i].px, m_before[i].py), m_pressed)) hit = int(i);
        if (modifiers & Qt::ControlModifier && hit >= 0)
            offset = value - QPointF(m_before[size_t(hit)].px, m_before[size_t(hit)].py);
        if (modifiers & Qt::ShiftModifier) {
            QPointF by = position - m_pressed;
            (std::abs(by.x()) > std::abs(by.y()) ? offset.ry() : offset.rx()) = 0;
        }
        MoveCurvePoints(m_points, Selected(), float(offset.x()), float(offset.y()), m_yMax);
    }
    m_hooks.preview(m_points);
    m_hooks.selected();
}

void CurveView::mouseReleaseEvent(QMouseEvent* event) {
    bool isEnd = m_gesture == Gesture::kPan ? event->button() == Qt::MiddleButton
                                            : event->button() == Qt::LeftButton;
    if (isEnd) Finish(true);
}

void CurveView::Finish(bool keep) {
    Gesture gesture = std::exchange(m_gesture, Gesture::kNone);
    if (gesture == Gesture::kRectangle && keep) {
        QRectF box = QRectF(m_pressed, m_last).normalized();
        std::set<size_t> inside = m_selected;
        for (size_t i = 0; i < m_points.size(); ++i)
            if (box.contains(At(m_points[i].px, m_points[i].py))) inside.insert(i);
        Select(std::move(inside));
    }
    bool isDrag = gesture == Gesture::kPoints || gesture == Gesture::kHandle;
    if (isDrag && m_hasMoved) {
        if (!keep) m_points = m_before;
        bool isChange = keep && m_points != m_before;
        isChange ? m_hooks.commit(m_points) : m_hooks.cancel();
        m_hooks.selected();
    }
    update();
}

void CurveView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || PointAt(event->position()) >= 0) return;
    Finish(false);
    if (IsOnCurve(event->position())) AddAt(event->position());
}

void CurveView::wheelEvent(QWheelEvent* event) {
    constexpr double kNotch = 120, kStep = 1.2, kLeast = 0.01, kMost = 10;
    double factor = std::pow(kStep, -event->angleDelta().y() / kNotch);
    QPointF at = ValueAt(event->position());
    at.ry() /= m_yMax;
    bool isAlongX = event->modifiers() & Qt::ControlModifier;
    double w = std::clamp(m_shown.width() * factor, kLeast, kMost);
    double h = isAlongX ? m_shown.height() : std::clamp(m_shown.height() * factor, kLeast, kMost);
    m_shown = {at.x() - (at.x() - m_shown.x()) * w / m_shown.width(),
               at.y() - (at.y() - m_shown.y()) * h / m_shown.height(), w, h};
    event->accept();
    update();
}

// While a hand drags, keys of menus (undo above all) wait.
bool CurveView::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride && IsInGesture()) event->accept();
    return QWidget::event(event);
}

void CurveView::keyPressEvent(QKeyEvent* event) {
    if (IsInGesture()) {
        if (event->key() == Qt::Key_Escape) Finish(false);
        return;
    }
    if (event->key() == Qt::Key_F) return Frame();
    bool deletes = event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace;
    if (deletes) {
        std::vector<CurvePoint> points = m_points;
        RemoveCurvePoints(points, Selected());
        if (points == m_points) return;
        m_selected.clear();
        return Change(std::move(points));
    }
    if (event->key() == Qt::Key_A && event->modifiers() & Qt::ControlModifier) {
        std::set<size_t> all;
        for (size_t i = 0; i < m_points.size(); ++i) all.insert(i);
        return Select(std::move(all));
    }
    QWidget::keyPressEvent(event);
}

void CurveView::focusOutEvent(QFocusEvent* event) {
    if (IsInGesture() && event->reason() != Qt::PopupFocusReason) Finish(false);
    QWidget::focusOutEvent(event);
}

void CurveView::FillPointMenu(QMenu& menu, size_t index) {
    auto add = [&](const char* text, auto change) {
        menu.addAction(text, this, [this, change] {
            std::vector<CurvePoint> points = m_points;
            std::vector<size_t> selected = Selected();
            // From the right, so that points added leave the others' places alone.
            for (size_t i = selected.size(); i-- > 0;) change(points, selected[i]);
            if (points != m_points) Change(std::move(points));
        });
    };
    if (!m_selected.contains(index)) Select({index});
    add("Smooth", SmoothCurvePoint);
    add("Linear", StraightenCurvePoint);
    add("Step", StepCurvePoint);
    add("Broken", [](std::vector<CurvePoint>& points, size_t i) {
        CurvePoint& p = points[i];
        const CurvePoint& a = points[i > 0 ? i - 1 : i];
        const CurvePoint& b = points[std::min(i + 1, points.size() - 1)];
        p.inx = (a.px - p.px) / 3, p.iny = (a.py - p.py) / 3;
        p.outx = (b.px - p.px) / 3, p.outy = (b.py - p.py) / 3;
    });
    menu.addSeparator();
    QAction* remove = menu.addAction("Delete", this, [this] {
        std::vector<CurvePoint> points = m_points;
        RemoveCurvePoints(points, Selected());
        if (points != m_points) Change(std::move(points));
    });
    remove->setEnabled(index > 0 && index + 1 < m_points.size());
}

void CurveView::contextMenuEvent(QContextMenuEvent* event) {
    int hit = PointAt(event->pos());
    if (hit < 0 || IsInGesture()) return;
    QMenu menu;
    FillPointMenu(menu, size_t(hit));
    menu.exec(event->globalPos());
}

// --- picture

void CurveView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const ThemeColors& colors = CurrentColors();
    painter.fillRect(rect(), colors.field);
    painter.setRenderHint(QPainter::Antialiasing);
    PaintGrid(painter);
    painter.setClipRect(Area().adjusted(-4, -4, 4, 4));
    PaintUse(painter);
    PaintCurve(painter);
    PaintPoints(painter);
    if (m_gesture == Gesture::kRectangle) {
        QColor fill = colors.accent;
        fill.setAlpha(40);
        painter.setBrush(fill);
        painter.setPen(colors.accent);
        painter.drawRect(QRectF(m_pressed, m_last).normalized());
    }
    painter.setClipping(false);
    if (!hasFocus()) return;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colors.accent, 2));
    painter.drawRect(rect().adjusted(1, 1, -1, -1));
}

// Lines at tenths, or at finer steps when little is shown.
void CurveView::PaintGrid(QPainter& painter) const {
    const ThemeColors& colors = CurrentColors();
    QRectF area = Area();
    painter.fillRect(QRectF(At(0, m_yMax), At(1, 0)).intersected(area), colors.window);
    auto stepOf = [](double shown) {
        return std::pow(10.0, std::floor(std::log10(shown / 1.01))) / kGridLines * (kGridLines);
    };
    auto text = [](double value) { return QString::fromStdString(ShownNumber(value)); };
    double dx = std::max(stepOf(m_shown.width()) / 10, 1e-4);
    if (m_shown.width() / dx > 16) dx *= 2;
    for (double x = std::ceil(m_shown.left() / dx) * dx; x < m_shown.right(); x += dx) {
        double at = At(x, 0).x();
        painter.setPen(colors.border);
        painter.drawLine(QPointF(at, area.top()), QPointF(at, area.bottom()));
        painter.setPen(colors.dimText);
        painter.drawText(QRectF(at - 24, area.bottom() + 2, 48, 16), Qt::AlignCenter,
                         text(std::round(x / dx) * dx));
    }
    double dy = std::max(stepOf(m_shown.height()) / 10, 1e-4);
    if (m_shown.height() / dy > 16) dy *= 2;
    for (double y = std::ceil(m_shown.top() / dy) * dy; y < m_shown.bottom(); y += dy) {
        double at = At(0, y * m_yMax).y();
        painter.setPen(colors.border);
        painter.drawLine(QPointF(area.left(), at), QPointF(area.right(), at));
        painter.setPen(colors.dimText);
        painter.drawText(QRectF(0, at - 8, kMargin - 4, 16), Qt::AlignRight | Qt::AlignVCenter,
                         text(std::round(y / dy) * dy * m_yMax));
    }
}

// The highest bar takes half the height, so that the curve stays in front.
void CurveView::PaintUse(QPainter& painter) const {
    size_t most = m_use.empty() ? 0 : *std::max_element(m_use.begin(), m_use.end());
    if (most == 0) return;
    QColor color = CurrentColors().dimText;
    color.setAlpha(70);
    double width = 1.0 / double(m_use.size());
    for (size_t i = 0; i < m_use.size(); ++i) {
        double height = double(m_use[i]) / double(most) / 2 * m_yMax;
        QRectF bar(At(double(i) * width, height), At(double(i + 1) * width, 0));
        painter.fillRect(bar.adjusted(0.5, 0, -0.5, 0), color);
    }
}

void CurveView::PaintCurve(QPainter& painter) const {
    BezierCurve curve(m_points);
    QRectF area = Area();
    QPainterPath path;
    for (double at = area.left(); at <= area.right(); at += 1) {
        double x = ValueAt({at, 0}).x();
        QPointF place(at, At(x, curve.Value(float(x))).y());
        at == area.left() ? path.moveTo(place) : path.lineTo(place);
    }
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(CurrentColors().accent, 2));
    painter.drawPath(path);
}

void CurveView::PaintPoints(QPainter& painter) const {
    const ThemeColors& colors = CurrentColors();
    for (size_t i = 0; i < m_points.size(); ++i) {
        QPointF at = At(m_points[i].px, m_points[i].py);
        bool isSelected = m_selected.contains(i);
        for (bool out : {false, true}) {
            bool isEnd = out ? i + 1 == m_points.size() : i == 0;
            QPointF handle = HandleAt(i, out);
            if (!isSelected || isEnd || handle == at) continue;
            painter.setPen(colors.dimText);
            painter.drawLine(at, handle);
            painter.setBrush(colors.field);
            painter.drawEllipse(handle, 4, 4);
        }
        painter.setPen(QPen(colors.field, 1));
        painter.setBrush(isSelected ? colors.warning : colors.text);
        painter.drawRect(QRectF(at - QPointF(4, 4), QSizeF(8, 8)));
    }
}

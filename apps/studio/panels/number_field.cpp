#include "apps/studio/panels/number_field.h"

#include <cmath>

#include <QContextMenuEvent>
#include <QCursor>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QStyle>
#include <QTimer>
#include <QWheelEvent>

#include "Dravin/panels/number_entry.h"
#include "apps/studio/theme.h"

namespace {

constexpr int kDragThreshold = 3;   // pixels
constexpr double kPixelsAStep = 2;  // of a drag
constexpr int kBurstMs = 500;

double FactorOf(Qt::KeyboardModifiers modifiers) {
    return modifiers & Qt::ControlModifier ? 10 : modifiers & Qt::AltModifier ? 0.1 : 1;
}

}  // namespace

NumberField::NumberField(Hooks hooks, QWidget* parent)
    : QLineEdit(parent), m_hooks(std::move(hooks)), m_burst(new QTimer(this)) {
    setFocusPolicy(Qt::StrongFocus);
    setTextMargins(0, 0, ArrowWidth(), 0);
    m_burst->setSingleShot(true);
    m_burst->setInterval(kBurstMs);
    connect(m_burst, &QTimer::timeout, this, [this] { EndBurst(true); });
}

QSize NumberField::sizeHint() const { return {88, QLineEdit::sizeHint().height()}; }

void NumberField::Mark(const char* property, bool on) {
    if (this->property(property).toBool() == on) return;
    setProperty(property, on);
    style()->unpolish(this);
    style()->polish(this);
}

void NumberField::Show(double value, bool isMixed, bool isKeyed, bool isDefault) {
    if (isMixed != m_isMixed || value != m_value) m_wasReset &= isDefault;
    m_value = value;
    m_isMixed = isMixed;
    Mark("keyed", isKeyed);
    bool isTyping = hasFocus() && isModified();
    if (!isTyping) ShowShown();
}

void NumberField::ShowShown() {
    m_hasError = false;
    Mark("error", false);
    QString shown = m_isMixed ? QString(u'\u2013') : QString::fromStdString(ShownNumber(m_value));
    if (text() != shown) {
        int cursor = cursorPosition();
        setText(shown);
        setCursorPosition(cursor);
    }
    setModified(false);
}

// What stood there before the steps.
void NumberField::GiveUp() {
    m_value = m_from;
    ShowShown();
}

void NumberField::AttachLabel(QWidget* label) {
    label->setCursor(Qt::SizeHorCursor);
    label->installEventFilter(this);
}

// --- dragging

bool NumberField::IsOnArrows(const QPointF& position) const {
    return position.x() >= width() - ArrowWidth() - 2;
}

void NumberField::StartDrag(const QPointF& global) {
    EndBurst(true);
    m_isPressed = true;
    m_pressed = m_last = global;
    m_offset = 0;
}

// Beyond the edge of the screen the pointer comes back in on the other side.
void NumberField::MoveDrag(const QPointF& global, Qt::KeyboardModifiers modifiers,
                           bool isSideways) {
    QPointF moved = global - m_pressed;
    if (!m_isDragging) {
        if (moved.manhattanLength() < kDragThreshold) return;
        m_isDragging = true;
        m_from = m_value;
        m_hooks.begin();
    }
    double pixels = isSideways ? global.x() - m_last.x() : m_last.y() - global.y();
    m_last = global;
    m_offset += pixels / kPixelsAStep * m_hooks.step(m_from) * FactorOf(modifiers);
    setText(QString::fromStdString(ShownNumber(m_from + m_offset)));
    m_hooks.offset(m_offset);
    QRect screen = QGuiApplication::primaryScreen()->geometry();
    QPoint place = global.toPoint(), inside = place;
    if (place.y() <= screen.top()) inside.setY(screen.bottom() - 2);
    if (place.y() >= screen.bottom()) inside.setY(screen.top() + 2);
    if (place.x() <= screen.left()) inside.setX(screen.right() - 2);
    if (place.x() >= screen.right()) inside.setX(screen.left() + 2);
    if (inside == place) return;
    QCursor::setPos(inside);
    m_last = inside;
}

void NumberField::FinishDrag(bool keep) {
    m_isPressed = false;
    if (!std::exchange(m_isDragging, false)) return;
    m_hooks.end(keep);
    if (QCursor::pos() != m_last.toPoint()) QCursor::setPos(m_pressed.toPoint());
    setModified(false);
    if (!keep) GiveUp();
}

bool NumberField::eventFilter(QObject* watched, QEvent* event) {
    auto* mouse = dynamic_cast<QMouseEvent*>(event);
    if (!mouse || !isEnabled()) return QLineEdit::eventFilter(watched, event);
    if (event->type() == QEvent::MouseButtonPress && mouse->button() == Qt::LeftButton)
        return setFocus(Qt::MouseFocusReason), StartDrag(mouse->globalPosition()), true;
    if (event->type() == QEvent::MouseButtonPress && m_isDragging) return FinishDrag(false), true;
    if (event->type() == QEvent::MouseMove && m_isPressed)
        return MoveDrag(mouse->globalPosition(), mouse->modifiers(), true), true;
    if (event->type() == QEvent::MouseButtonRelease && mouse->button() == Qt::LeftButton)
        return FinishDrag(true), true;
    return QLineEdit::eventFilter(watched, event);
}

void NumberField::mousePressEvent(QMouseEvent* event) {
    if (m_isDragging && event->button() != Qt::LeftButton) return FinishDrag(false);
    if (!IsOnArrows(event->position())) return QLineEdit::mousePressEvent(event);
    if (event->button() == Qt::LeftButton) return StartDrag(event->globalPosition());
    if (event->button() != Qt::RightButton) return;
    // The default, and at the next click what stood there before.
    if (m_wasReset) {
        m_wasReset = false;
        m_hooks.enter(FullNumber(m_resetFrom));
    } else {
        m_resetFrom = m_value;
        m_hooks.reset();
        m_wasReset = true;
    }
}

void NumberField::mouseMoveEvent(QMouseEvent* event) {
    setCursor(IsOnArrows(event->position()) ? Qt::SizeVerCursor : Qt::IBeamCursor);
    if (m_isPressed) return MoveDrag(event->globalPosition(), event->modifiers(), false);
    QLineEdit::mouseMoveEvent(event);
}

// A click on an arrow is one step.
void NumberField::mouseReleaseEvent(QMouseEvent* event) {
    if (!m_isPressed || event->button() != Qt::LeftButton)
        return QLineEdit::mouseReleaseEvent(event);
    bool isClick = !m_isDragging;
    FinishDrag(true);
    if (!isClick) return;
    double step = m_hooks.step(m_value) * FactorOf(event->modifiers());
    StepBy(event->position().y() < height() / 2.0 ? 1 : -1, step);
    EndBurst(true);
}

// --- steps

void NumberField::StepBy(double steps, double step) {
    if (!m_inBurst) {
        m_inBurst = true;
        m_offset = 0;
        m_from = m_value;
        m_hooks.begin();
    }
    m_offset += steps * step;
    int cursor = cursorPosition();
    QString before = text();
    setText(QString::fromStdString(ShownNumber(m_from + m_offset)));
    setCursorPosition(std::max(0, cursor + int(text().size() - before.size())));
    m_hooks.offset(m_offset);
    m_burst->start();
}

void NumberField::EndBurst(bool keep) {
    m_burst->stop();
    if (!std::exchange(m_inBurst, false)) return;
    setModified(false);
    m_hooks.end(keep);
    if (!keep) GiveUp();
}

// Elsewhere the wheel scrolls the panel. (With Alt some systems turn the wheel sideways.)
void NumberField::wheelEvent(QWheelEvent* event) {
    if (!hasFocus() || m_isDragging) return event->ignore();
    QPoint angle = event->angleDelta();
    double steps = (angle.y() ? angle.y() : angle.x()) / 120.0;
    if (steps != 0) StepBy(steps, m_hooks.step(m_value) * FactorOf(event->modifiers()));
    event->accept();
}

void NumberField::keyPressEvent(QKeyEvent* event) {
    int key = event->key();
    if (key == Qt::Key_Escape) {
        if (m_isDragging) return FinishDrag(false);
        if (m_inBurst) return EndBurst(false);
        if (!isModified() && !m_hasError) return event->ignore();
        ShowShown();
        return selectAll();
    }
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        Apply();
        return selectAll();
    }
    bool isPage = key == Qt::Key_PageUp || key == Qt::Key_PageDown;
    if (!isPage && key != Qt::Key_Up && key != Qt::Key_Down) {
        if (!event->text().isEmpty()) EndBurst(true);
        return QLineEdit::keyPressEvent(event);
    }
    if (isModified() && !m_inBurst) Apply();
    double step = m_hooks.step(m_value);
    if (!hasSelectedText())
        step = StepAtCursor(text().toStdString(), size_t(cursorPosition()), step);
    bool isUp = key == Qt::Key_PageUp || key == Qt::Key_Up;
    StepBy((isUp ? 1 : -1) * (isPage ? 10 : 1), step * FactorOf(event->modifiers()));
}

// --- typing

void NumberField::Apply() {
    EndBurst(true);
    if (!isModified()) return;
    std::string entry = text().toStdString(), error = m_hooks.enter(entry);
    m_hasError = !error.empty();
    Mark("error", m_hasError);
    if (m_hasError) {
        setToolTip(QString::fromStdString(error));
        return;
    }
    setModified(false);
    ShowShown();
}

// Typing is taken back first, then the scene: where nothing has been typed, the window's shortcut
// has the key.
bool NumberField::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        auto* key = static_cast<QKeyEvent*>(event);
        bool isUndo = key->matches(QKeySequence::Undo) && !(isModified() && isUndoAvailable());
        bool isRedo = key->matches(QKeySequence::Redo) && !(isModified() && isRedoAvailable());
        if (isUndo || isRedo) return event->ignore(), true;
    }
    return QLineEdit::event(event);
}

void NumberField::focusInEvent(QFocusEvent* event) {
    QLineEdit::focusInEvent(event);
    QTimer::singleShot(0, this, [this] {
        if (hasFocus() && !isModified() && !m_isDragging) selectAll();
    });
}

// Tab and clicks elsewhere apply; a drag whose focus goes is given up.
void NumberField::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    if (event->reason() == Qt::PopupFocusReason) return;
    FinishDrag(false);
    Apply();
    deselect();
}

void NumberField::contextMenuEvent(QContextMenuEvent* event) {
    if (!IsOnArrows(event->pos()) && m_hooks.menu) m_hooks.menu(event->globalPos());
}

void NumberField::paintEvent(QPaintEvent* event) {
    QLineEdit::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isEnabled() ? CurrentColors().text : CurrentColors().border);
    double x = width() - ArrowWidth() / 2.0 - 2, middle = height() / 2.0;
    for (double side : {-1.0, 1.0}) {
        QPointF tip(x, middle + side * 6), left(x - 3.5, middle + side * 2.5),
            right(x + 3.5, middle + side * 2.5);
        painter.drawPolygon(QPolygonF({tip, left, right}));
    }
}

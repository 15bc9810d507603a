// A field for a number with arrows, as artists expect it.
//
// Drag the arrows up and down or the label sideways; wheel only with the focus; Ctrl ten times, Alt
// a tenth; Up and Down step the digit left of the cursor, Page Up and Down ten steps. Enter applies
// an entry (an expression, see Dravin/panels/number_entry.h), Escape restores; a wrong entry stays,
// marked, and changes nothing. Right click on the arrows: the default, and back.
//
// The field owns no value: it shows what it is given and tells what the user wants.
#pragma once

#include <functional>
#include <string>

#include <QLineEdit>

class QTimer;

class NumberField : public QLineEdit {
public:
    struct Hooks {
        // An entry as typed; the reason why it is none, else empty.
        std::function<std::string(const std::string&)> enter;
        // A drag, a burst of wheel steps or of keys: from where it began, as an offset.
        std::function<void()> begin;
        std::function<void(double)> offset;
        std::function<void(bool keep)> end;
        std::function<void()> reset;
        std::function<void(const QPoint& global)> menu;
        std::function<double(double value)> step;  // of the arrows at that value
    };
    explicit NumberField(Hooks hooks, QWidget* parent = nullptr);

    void Show(double value, bool isMixed, bool isKeyed, bool isDefault);
    double Value() const { return m_value; }
    // The label beside it: dragging sideways on it drags the value.
    void AttachLabel(QWidget* label);
    static int ArrowWidth() { return 14; }
    QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    bool IsOnArrows(const QPointF& position) const;
    void StartDrag(const QPointF& global);
    void MoveDrag(const QPointF& global, Qt::KeyboardModifiers modifiers, bool isSideways);
    void FinishDrag(bool keep);
    void StepBy(double steps, double step);
    void EndBurst(bool keep);
    void Apply();
    void ShowShown();
    void GiveUp();
    void Mark(const char* property, bool on);

    Hooks m_hooks;
    double m_value = 0, m_resetFrom = 0;
    bool m_isMixed = false, m_hasError = false, m_wasReset = false;
    // A press on the arrows or the label, and the drag that it becomes.
    bool m_isPressed = false, m_isDragging = false;
    QPointF m_pressed, m_last;
    double m_from = 0, m_offset = 0;  // where the steps began, and all of them
    QTimer* m_burst;                  // runs while steps of wheel or keys make one
    bool m_inBurst = false;
};

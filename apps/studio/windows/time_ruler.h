// Frames of a range from left to right, with the one that is shown and marks of keys.
#pragma once

#include <functional>
#include <vector>

#include <QWidget>

class TimeRuler : public QWidget {
public:
    explicit TimeRuler(QWidget* parent = nullptr);

    // Frames; keys between two frames have fractions.
    void Show(int first, int last, double frame, std::vector<double> keys);
    // A frame of the range, while the pointer is pressed.
    std::function<void(int frame)> onFrame;

    double FrameAt(double x) const;
    double XOf(double frame) const;
    QSize sizeHint() const override { return {400, 36}; }

protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent*) override;
    void mouseMoveEvent(QMouseEvent*) override;
    void keyPressEvent(QKeyEvent*) override;

private:
    void Pick(double x);
    // Frames between two numbers, so that these do not touch.
    int LabelStep() const;

    int m_first = 0, m_last = 100;
    double m_frame = 0;
    std::vector<double> m_keys;
};
